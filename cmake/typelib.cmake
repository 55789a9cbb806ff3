# Windows: the in-process server carries its type library as resource TYPELIB 1, compiled by widl
# from the IDL that tovport-idlgen writes, and exports exactly its four entry points (.def).
# A cross-build cannot run the generator it builds; it is given TOVPORT_HOST_IDLGEN, the same
# generator built for the build machine.
enable_language(RC)
set(TOVPORT_HOST_IDLGEN "" CACHE FILEPATH "tovport-idlgen built for the build machine (needed when cross-building)")
string(REGEX REPLACE "g\\+\\+(-posix|-win32)?$" "widl" TOVPORT_WIDL_GUESS "${CMAKE_CXX_COMPILER}")
find_program(TOVPORT_WIDL NAMES ${TOVPORT_WIDL_GUESS} widl REQUIRED)
# stdole2.tlb, which the library imports; Wine ships one.
find_path(TOVPORT_STDOLE2_DIR stdole2.tlb REQUIRED NO_CMAKE_FIND_ROOT_PATH PATHS
  /usr/lib/x86_64-linux-gnu/wine/x86_64-windows /usr/lib/i386-linux-gnu/wine/i386-windows
  /usr/lib/wine/x86_64-windows /usr/lib/wine/i386-windows /usr/lib64/wine/x86_64-windows)

if(CMAKE_CROSSCOMPILING)
  if(NOT TOVPORT_HOST_IDLGEN)
    message(FATAL_ERROR "Cross-building for Windows needs -DTOVPORT_HOST_IDLGEN=<tovport-idlgen built for this machine>")
  endif()
  set(TOVPORT_IDLGEN_COMMAND ${TOVPORT_HOST_IDLGEN})
else()
  set(TOVPORT_IDLGEN_COMMAND $<TARGET_FILE:tovport-idlgen>)
endif()

set(TOVPORT_TYPELIB_DIR ${PROJECT_BINARY_DIR}/typelib)
set(TOVPORT_WIN32_DIR ${PROJECT_SOURCE_DIR}/src/component/win32)
file(MAKE_DIRECTORY ${TOVPORT_TYPELIB_DIR})
add_custom_command(OUTPUT ${TOVPORT_TYPELIB_DIR}/tovport.idl
  COMMAND ${TOVPORT_IDLGEN_COMMAND} --widl > ${TOVPORT_TYPELIB_DIR}/tovport.idl
  DEPENDS $<$<NOT:$<BOOL:${CMAKE_CROSSCOMPILING}>>:tovport-idlgen> ${TOVPORT_HOST_IDLGEN}
  COMMENT "Generating tovport.idl for widl")
add_custom_command(OUTPUT ${TOVPORT_TYPELIB_DIR}/tovport.tlb
  COMMAND ${TOVPORT_WIDL} -I ${TOVPORT_TYPELIB_DIR} -L ${TOVPORT_STDOLE2_DIR} -t -o ${TOVPORT_TYPELIB_DIR}/tovport.tlb
          ${TOVPORT_WIN32_DIR}/tovport_typelib.idl
  DEPENDS ${TOVPORT_TYPELIB_DIR}/tovport.idl ${TOVPORT_WIN32_DIR}/tovport_typelib.idl
  COMMENT "Compiling the type library tovport.tlb")

set(TOVPORT_TYPELIB_RC ${TOVPORT_WIN32_DIR}/tovport_typelib.rc)
set_source_files_properties(${TOVPORT_TYPELIB_RC} PROPERTIES
  OBJECT_DEPENDS ${TOVPORT_TYPELIB_DIR}/tovport.tlb
  INCLUDE_DIRECTORIES ${TOVPORT_TYPELIB_DIR})
target_sources(tovport PRIVATE ${TOVPORT_TYPELIB_RC} ${TOVPORT_WIN32_DIR}/tovport.def)
set_target_properties(tovport PROPERTIES PREFIX "" OUTPUT_NAME tovport)

# The OLE boundary (src/automation/win32) calls COM and OLE Automation.
foreach(target tovport tovport_static)
  target_link_libraries(${target} PUBLIC ole32 oleaut32 uuid advapi32 user32)
endforeach()
