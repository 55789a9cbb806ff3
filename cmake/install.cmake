# cmake --install: the C++ library and its headers, the in-process server, the generated IDL,
# the executables, a CMake package (find_package(tovport)) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS tovport_static EXPORT tovportTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovport)
install(TARGETS tovport LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS tovport-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET tovport-phone)
  install(TARGETS tovport-phone RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovport
  FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_BINARY_DIR}/tovport.idl DESTINATION ${CMAKE_INSTALL_DATADIR}/tovport)

install(EXPORT tovportTargets NAMESPACE tovport:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tovport)
file(WRITE ${PROJECT_BINARY_DIR}/tovportConfig.cmake.in [=[
@PACKAGE_INIT@
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include("${CMAKE_CURRENT_LIST_DIR}/tovportTargets.cmake")
]=])
configure_package_config_file(${PROJECT_BINARY_DIR}/tovportConfig.cmake.in ${PROJECT_BINARY_DIR}/tovportConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tovport)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tovportConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tovportConfig.cmake ${PROJECT_BINARY_DIR}/tovportConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tovport)

file(WRITE ${PROJECT_BINARY_DIR}/tovport.pc.in [=[
prefix=@CMAKE_INSTALL_PREFIX@
libdir=${prefix}/@CMAKE_INSTALL_LIBDIR@
includedir=${prefix}/@CMAKE_INSTALL_INCLUDEDIR@/tovport

Name: tovport
Description: Finds the mobile phones attached to a PC (tovComPrtv3 automation component)
Version: @PROJECT_VERSION@
Cflags: -I${includedir} -std=c++20
Libs: ${libdir}/libtovport.a -pthread
]=])
configure_file(${PROJECT_BINARY_DIR}/tovport.pc.in ${PROJECT_BINARY_DIR}/tovport.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tovport.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
