# The Windows build: the in-process server tovport.dll, the command-line host tovport.exe and the
# unit tests that need no POSIX system, as a Windows program. Cross-compiled with mingw-w64
# (cmake/mingw-*.cmake); the C++ and GCC runtimes and winpthreads are linked in statically, so
# that the binaries import system DLLs only.
set(TOVPORT_WIN32_LIBS ole32 oleaut32 uuid advapi32 user32)
set(TOVPORT_STATIC_RUNTIME -static -static-libgcc -static-libstdc++)
target_link_libraries(tovport_objects PUBLIC ${TOVPORT_WIN32_LIBS})
# windows.h (included by the *_win32.cpp units only) without its min and max macros.
target_compile_definitions(tovport_objects PRIVATE NOMINMAX)

add_library(tovport SHARED $<TARGET_OBJECTS:tovport_objects> ${PROJECT_SOURCE_DIR}/cmake/tovport.def)
set_target_properties(tovport PROPERTIES PREFIX "" OUTPUT_NAME tovport)
target_link_libraries(tovport PRIVATE ${TOVPORT_WIN32_LIBS})
target_link_options(tovport PRIVATE ${TOVPORT_STATIC_RUNTIME})
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # The entry points are __stdcall (DllGetClassObject@12): the .def names them undecorated.
  target_link_options(tovport PRIVATE -Wl,--enable-stdcall-fixup)
endif()
include(${PROJECT_SOURCE_DIR}/cmake/typelib.cmake)

# Command-line host: the same sources as on Linux, less those of the other system.
file(GLOB TOVPORT_CLI_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/tovport/*.cpp)
# The demo runs on a simulated PC, which a component created through COM does not see.
list(FILTER TOVPORT_CLI_SOURCES EXCLUDE REGEX "(_posix|/cmd_demo|/demo_pc)\\.cpp$")
add_executable(tovport-cli ${TOVPORT_CLI_SOURCES})
set_target_properties(tovport-cli PROPERTIES OUTPUT_NAME tovport)
target_compile_options(tovport-cli PRIVATE ${TOVPORT_WARNINGS})
target_link_libraries(tovport-cli PRIVATE tovport_static tovport_internals)
target_compile_definitions(tovport-cli PRIVATE TOVPORT_VERSION="${PROJECT_VERSION}")
target_link_options(tovport-cli PRIVATE ${TOVPORT_STATIC_RUNTIME})

option(TOVPORT_WINDOWS_TESTS "Build the unit tests as a Windows program (run under Wine)" ON)
if(TOVPORT_WINDOWS_TESTS)
  include(${PROJECT_SOURCE_DIR}/cmake/windows-tests.cmake)
endif()
include(${PROJECT_SOURCE_DIR}/cmake/windows-version.cmake)

# The Windows backends compile alone, outside the combined units: the macros of <windows.h>
# (ERROR_SUCCESS, SendMessage, ...) would rename the component's own names in the units after them.
foreach(target tovport_objects tovport-cli tovport_tests)
  if(TARGET ${target})
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "(/win32/|_win32(_test)?\\.cpp$)")
    set_source_files_properties(${sources} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
endforeach()
