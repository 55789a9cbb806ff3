# The type library tovport 2.7, written by tovport-typelibgen from the interface table with the
# system's ICreateTypeLib2 for both pointer widths (with the C++ header early-bound hosts include),
# and embedded as resource TYPELIB 1 of tovport.dll, so that LoadTypeLib on the DLL's path finds it.
# A cross-build runs the generator under 64-bit Wine in a throw-away prefix. A build whose
# generator cannot run on this machine (the 32-bit cross-build: Wine's 32-bit half is not
# installed) embeds the library of its width that another build wrote: TOVPORT_TYPELIB names it.
enable_language(RC)
set(TOVPORT_TYPELIB "" CACHE FILEPATH "tovport.tlb of this build's width, written by another build's generator")
set(TOVPORT_TYPELIB_DIR ${PROJECT_BINARY_DIR}/typelib)

if(TOVPORT_TYPELIB)
  set(TOVPORT_TLB ${TOVPORT_TYPELIB})
elseif(CMAKE_CROSSCOMPILING AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  message(FATAL_ERROR "The 32-bit cross-build embeds the library the 64-bit build writes: "
                      "-DTOVPORT_TYPELIB=<64-bit build>/typelib/win32/tovport.tlb")
else()
  add_executable(tovport-typelibgen tools/typelibgen/main.cpp)
  target_compile_options(tovport-typelibgen PRIVATE ${TOVPORT_WARNINGS})
  target_link_libraries(tovport-typelibgen PRIVATE tovport_static tovport_internals)
  target_link_options(tovport-typelibgen PRIVATE ${TOVPORT_STATIC_RUNTIME})
  if(CMAKE_CROSSCOMPILING)
    set_target_properties(tovport-typelibgen PROPERTIES
      CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/cmake/run-under-wine.sh)
  endif()
  add_custom_command(
    OUTPUT ${TOVPORT_TYPELIB_DIR}/win32/tovport.tlb ${TOVPORT_TYPELIB_DIR}/win64/tovport.tlb
           ${TOVPORT_TYPELIB_DIR}/tovport_com.h
    COMMAND tovport-typelibgen ${TOVPORT_TYPELIB_DIR}
    DEPENDS tovport-typelibgen
    COMMENT "Writing the type library tovport.tlb (32- and 64-bit) and tovport_com.h")
  add_custom_target(tovport_com_header DEPENDS ${TOVPORT_TYPELIB_DIR}/tovport_com.h)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(TOVPORT_TLB ${TOVPORT_TYPELIB_DIR}/win64/tovport.tlb)
  else()
    set(TOVPORT_TLB ${TOVPORT_TYPELIB_DIR}/win32/tovport.tlb)
  endif()
endif()

set(TOVPORT_TYPELIB_RC ${TOVPORT_TYPELIB_DIR}/tovport_typelib.rc)
file(CONFIGURE OUTPUT ${TOVPORT_TYPELIB_RC} CONTENT "1 TYPELIB \"${TOVPORT_TLB}\"\n")
set_source_files_properties(${TOVPORT_TYPELIB_RC} PROPERTIES OBJECT_DEPENDS ${TOVPORT_TLB})
target_sources(tovport PRIVATE ${TOVPORT_TYPELIB_RC})
