// Prints the type library as IDL text (the build writes it to tovport.idl).
#include <iostream>

#include "component/type_library.h"

int main() {
  std::cout << tov::automation::generateIdl(tov::typeLibrary());
  return 0;
}
