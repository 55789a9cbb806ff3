// Prints the type library as IDL text (the build writes it to tovport.idl). With --widl, in
// the form widl compiles into the binary type library.
#include <iostream>
#include <string_view>

#include "component/type_library.h"

int main(int argc, char** argv) {
  using tov::automation::IdlDialect;
  const bool widl = argc > 1 && std::string_view(argv[1]) == "--widl";
  if (argc > 2 || (argc == 2 && !widl)) {
    std::cerr << "usage: tovport-idlgen [--widl]\n";
    return 2;
  }
  std::cout << tov::automation::generateIdl(tov::typeLibrary(), widl ? IdlDialect::Widl : IdlDialect::Midl);
  return 0;
}
