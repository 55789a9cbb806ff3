# Cross-compiling for Windows with Debian's mingw-w64 toolchain of CMAKE_SYSTEM_PROCESSOR (set by
# cmake/mingw-ARCH.cmake), in its posix threading variant, for std::thread and std::mutex.
set(CMAKE_SYSTEM_NAME Windows)
set(TOVPORT_MINGW_TRIPLE ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
set(CMAKE_C_COMPILER ${TOVPORT_MINGW_TRIPLE}-gcc-posix)  # GoogleTest builds as a C and C++ project
set(CMAKE_CXX_COMPILER ${TOVPORT_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${TOVPORT_MINGW_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${TOVPORT_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
