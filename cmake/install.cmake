# cmake --install: libtovport (static and shared) with its public headers (include/tovport/), the
# in-process server module, the generated IDL, the executables, a CMake package
# (find_package(tovport)) and a pkg-config file; both packages work from wherever the tree is moved.
include(CMakePackageConfigHelpers)

# Two components, one per Debian package (cmake/package.cmake): runtime (what users run and hosts
# load) and dev (what hosts are built with).
install(TARGETS ${TOVPORT_LIBRARIES} EXPORT tovportTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(TARGETS tovport_server LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
install(TARGETS tovport-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
if(TARGET tovport-phone)
  install(TARGETS tovport-phone RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()
# `cmake --install --strip` (and so CPack) drops the archive's debug information too, as it does
# the shared objects'.
install(CODE "if(CMAKE_INSTALL_DO_STRIP)
  execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_NAME:tovport_static>\"
    COMMAND_ERROR_IS_FATAL ANY)
endif()" COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tovport DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/tovport.idl DESTINATION ${CMAKE_INSTALL_DATADIR}/tovport COMPONENT dev)

install(EXPORT tovportTargets NAMESPACE tovport:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tovport COMPONENT dev)
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
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tovport COMPONENT dev)

# The prefix is found from the .pc file's own place, so a moved tree still resolves.
file(RELATIVE_PATH TOVPORT_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" TOVPORT_PC_TO_PREFIX "${TOVPORT_PC_TO_PREFIX}")
file(WRITE ${PROJECT_BINARY_DIR}/tovport.pc.in [=[
prefix=${pcfiledir}/@TOVPORT_PC_TO_PREFIX@
libdir=${prefix}/@CMAKE_INSTALL_LIBDIR@
includedir=${prefix}/@CMAKE_INSTALL_INCLUDEDIR@

Name: tovport
Description: @PROJECT_DESCRIPTION@
Version: @PROJECT_VERSION@
Cflags: -I${includedir} -std=c++20
Libs: -L${libdir} -ltovport
Libs.private: -pthread
]=])
configure_file(${PROJECT_BINARY_DIR}/tovport.pc.in ${PROJECT_BINARY_DIR}/tovport.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tovport.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
