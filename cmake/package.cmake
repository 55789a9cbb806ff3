# Debian packages of the Linux build, made by CPack (scripts/package):
#   tovport      the commands, libtovport.so.N, the server module and the man pages
#   tovport-dev  the public headers, libtovport.a, the libtovport.so link, the CMake and pkg-config
#                files and the IDL
# Both carry the project's version; Depends: is computed from the binaries by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tovport)
set(CPACK_PACKAGE_VENDOR "${TOVPORT_PUBLISHER}")
set(CPACK_PACKAGE_CONTACT "${TOVPORT_PUBLISHER}")
# Each package's description below begins with its own synopsis line; CPack would put this
# summary in front of it, unless it is CPack's default.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)  # tovport-dev depends on tovport of the same version
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)         # tovport_2.7.0_amd64.deb
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME tovport)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION comm)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "find the mobile phones attached to a PC (tovComPrtv3 component)
tovport is an automation component that finds the mobile phones attached to a PC: it discovers
which COM ports exist and of what kind they are (serial, infrared, Bluetooth, USB) and detects
BenQ-Siemens phones on them with a short AT dialogue.

This package holds the command-line host tovport, which describes this machine's serial ports as
Windows would see them and runs the component's requests on them, the phone simulator
tovport-phone, the C++ library libtovport and the in-process server module.")
# Packages built against libtovport.so.N depend on this one from this version on. (The server
# module beside it has no soname, so CPack's own shlibs file would warn about it.)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/debian/shlibs
  CONTENT "libtovport ${PROJECT_VERSION_MAJOR} tovport (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/shlibs)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME tovport-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DESCRIPTION "development files of tovport, the phone-finding automation component
The public C++ headers of tovport, the static library libtovport.a, the CMake package
(find_package(tovport): tovport::tovport) and the pkg-config file (tovport) for building hosts of
the tovComPrtv3 component, and its type library as IDL.")

include(CPack)
