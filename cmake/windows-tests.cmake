# The unit tests as a Windows program, on the simulated backends and the manual clock. Tests of
# the POSIX backends, of pseudo-terminals and of the Linux command-line host stay out.
set(gtest_force_shared_crt OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)

set(TOVPORT_TEST_DIR ${PROJECT_SOURCE_DIR}/tests)
file(GLOB_RECURSE TOVPORT_WINDOWS_TEST_SOURCES CONFIGURE_DEPENDS ${TOVPORT_TEST_DIR}/*.cpp)
# Each pattern names a test unit that needs a POSIX system.
set(TOVPORT_POSIX_ONLY_TESTS
  "_posix_test\\.cpp$"
  "/posix/"
  "/host/"
  "_pty_test\\.cpp$"
  "/serial/pty_test\\.cpp$")
foreach(pattern ${TOVPORT_POSIX_ONLY_TESTS})
  list(FILTER TOVPORT_WINDOWS_TEST_SOURCES EXCLUDE REGEX "${pattern}")
endforeach()
list(FILTER TOVPORT_WINDOWS_TEST_SOURCES EXCLUDE REGEX "/tests/windows/")  # host programs, below
add_executable(tovport_tests ${TOVPORT_WINDOWS_TEST_SOURCES})
target_compile_options(tovport_tests PRIVATE ${TOVPORT_WARNINGS})
target_include_directories(tovport_tests PRIVATE ${TOVPORT_TEST_DIR} ${PROJECT_SOURCE_DIR}/tools/tovport)
target_sources(tovport_tests PRIVATE ${PROJECT_SOURCE_DIR}/tools/tovport/port_changes.cpp)
target_compile_definitions(tovport_tests PRIVATE TOVPORT_FIXTURES="${TOVPORT_TEST_DIR}/fixtures")
target_link_libraries(tovport_tests PRIVATE tovport_static tovport_internals GTest::gtest GTest::gtest_main GTest::gmock)
target_link_options(tovport_tests PRIVATE ${TOVPORT_STATIC_RUNTIME})

# Host programs of the registered server, run by the Windows stage (tests/windows/ole_boundary.sh)
# where the build runs its programs: an early-bound client of the generated header, a VB-style
# event host, a caller from another apartment, the type library read back against the interface
# table, and the 32-bit server's registration done from a 64-bit process. With them, a program
# that crashes on purpose (scripts/test-windows).
if(TARGET tovport_com_header)
  set(TOVPORT_HOSTS early_bound event_host other_apartment type_library_check register_width)
  foreach(host ${TOVPORT_HOSTS})
    string(REPLACE "_" "-" name "tovport-${host}")
    add_executable(${name} ${TOVPORT_TEST_DIR}/windows/${host}.cpp)
    target_compile_options(${name} PRIVATE ${TOVPORT_WARNINGS})
    target_include_directories(${name} PRIVATE ${TOVPORT_TYPELIB_DIR})
    target_link_options(${name} PRIVATE ${TOVPORT_STATIC_RUNTIME})
    add_dependencies(${name} tovport_com_header)
    list(APPEND TOVPORT_HOST_TARGETS ${name})
  endforeach()
  # Only these two read the interface table or the registration code; the others see the header.
  foreach(name tovport-type-library-check tovport-register-width)
    target_link_libraries(${name} PRIVATE tovport_static tovport_internals)
  endforeach()
  foreach(name tovport-early-bound tovport-event-host tovport-other-apartment)
    target_link_libraries(${name} PRIVATE ole32 oleaut32 uuid)
  endforeach()
  # The stage proves with it that a program that crashes fails its step.
  add_executable(tovport-crash ${TOVPORT_TEST_DIR}/windows/crash.cpp)
  target_compile_options(tovport-crash PRIVATE ${TOVPORT_WARNINGS})
  target_link_options(tovport-crash PRIVATE ${TOVPORT_STATIC_RUNTIME})
  list(APPEND TOVPORT_HOST_TARGETS tovport-crash)
  add_custom_target(tovport_windows_hosts DEPENDS ${TOVPORT_HOST_TARGETS})
endif()
