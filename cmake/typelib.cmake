# The type library as resource TYPELIB 1 of tovport.dll, so that LoadTypeLib on the DLL's path
# finds it: compiled by widl from the IDL that tovport-idlgen writes in widl's dialect. A
# cross-build cannot run the generator it builds; TOVPORT_HOST_IDLGEN names the same generator
# built for the build machine (scripts/build-windows builds it first).
enable_language(RC)
set(TOVPORT_HOST_IDLGEN "" CACHE FILEPATH "tovport-idlgen built for the build machine")
if(NOT TOVPORT_HOST_IDLGEN)
  message(FATAL_ERROR "The Windows build needs -DTOVPORT_HOST_IDLGEN=<tovport-idlgen built for this machine>")
endif()
string(REGEX REPLACE "g\\+\\+(-posix|-win32)?$" "widl" TOVPORT_WIDL_GUESS "${CMAKE_CXX_COMPILER}")
find_program(TOVPORT_WIDL NAMES ${TOVPORT_WIDL_GUESS} widl REQUIRED)
# stdole2.tlb, which the library imports; Wine ships one.
find_path(TOVPORT_STDOLE2_DIR stdole2.tlb REQUIRED NO_CMAKE_FIND_ROOT_PATH PATHS
  /usr/lib/x86_64-linux-gnu/wine/x86_64-windows /usr/lib/i386-linux-gnu/wine/i386-windows
  /usr/lib/wine/x86_64-windows /usr/lib/wine/i386-windows)

set(TOVPORT_TYPELIB_DIR ${PROJECT_BINARY_DIR}/typelib)
set(TOVPORT_TYPELIB_SOURCES ${PROJECT_SOURCE_DIR}/src/component/win32)
file(MAKE_DIRECTORY ${TOVPORT_TYPELIB_DIR})
add_custom_command(OUTPUT ${TOVPORT_TYPELIB_DIR}/tovport.idl
  COMMAND ${TOVPORT_HOST_IDLGEN} --widl > ${TOVPORT_TYPELIB_DIR}/tovport.idl
  DEPENDS ${TOVPORT_HOST_IDLGEN}
  COMMENT "Generating tovport.idl for widl")
add_custom_command(OUTPUT ${TOVPORT_TYPELIB_DIR}/tovport.tlb
  COMMAND ${TOVPORT_WIDL} -I ${TOVPORT_TYPELIB_DIR} -L ${TOVPORT_STDOLE2_DIR} -t -o ${TOVPORT_TYPELIB_DIR}/tovport.tlb
          ${TOVPORT_TYPELIB_SOURCES}/tovport_typelib.idl
  DEPENDS ${TOVPORT_TYPELIB_DIR}/tovport.idl ${TOVPORT_TYPELIB_SOURCES}/tovport_typelib.idl
  COMMENT "Compiling the type library tovport.tlb")

set(TOVPORT_TYPELIB_RC ${TOVPORT_TYPELIB_SOURCES}/tovport_typelib.rc)
set_source_files_properties(${TOVPORT_TYPELIB_RC} PROPERTIES
  OBJECT_DEPENDS ${TOVPORT_TYPELIB_DIR}/tovport.tlb
  INCLUDE_DIRECTORIES ${TOVPORT_TYPELIB_DIR})
target_sources(tovport PRIVATE ${TOVPORT_TYPELIB_RC})
