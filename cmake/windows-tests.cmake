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
add_executable(tovport_tests ${TOVPORT_WINDOWS_TEST_SOURCES})
target_compile_options(tovport_tests PRIVATE ${TOVPORT_WARNINGS})
target_include_directories(tovport_tests PRIVATE ${TOVPORT_TEST_DIR} ${PROJECT_SOURCE_DIR}/tools/tovport)
target_sources(tovport_tests PRIVATE ${PROJECT_SOURCE_DIR}/tools/tovport/port_changes.cpp)
target_compile_definitions(tovport_tests PRIVATE TOVPORT_FIXTURES="${TOVPORT_TEST_DIR}/fixtures")
target_link_libraries(tovport_tests PRIVATE tovport_static tovport_internals GTest::gtest GTest::gtest_main GTest::gmock)
target_link_options(tovport_tests PRIVATE ${TOVPORT_STATIC_RUNTIME})
