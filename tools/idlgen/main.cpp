// Prints the type library as IDL text (the build writes it to tovport.idl).
#include <iostream>

#include "component/type_library.h"

int main(int argc, char**) {
  if (argc > 1) {
    std::cerr << "usage: tovport-idlgen\n";
    return 2;
  }
  std::cout << tov::automation::generateIdl(tov::typeLibrary());
  return 0;
}
