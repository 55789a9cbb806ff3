// Registers or unregisters a server of the other width, from a 64-bit process: the 32-bit
// tovport.dll's own registration code, run for its width in its view of the registry (64-bit Wine
// cannot load the 32-bit DLL itself).
//   tovport-register-width register   DLL   writes the rows of the 32-bit DLL at DLL
//   tovport-register-width unregister        removes them as the 32-bit DLL's DllUnregisterServer does
#include <cstdio>
#include <string>

#include "component/win32/registration_win32.h"

int main(int argc, char** argv) {
  const std::string step = argc > 1 ? argv[1] : "";
  if (step == "register" && argc == 3) return tov::server::registerWidth(argv[2], tov::Width::Bits32) == 0 ? 0 : 1;
  if (step == "unregister" && argc == 2) return tov::server::unregisterWidth(tov::Width::Bits32) == 0 ? 0 : 1;
  std::fprintf(stderr, "usage: tovport-register-width register DLL | unregister\n");
  return 2;
}
