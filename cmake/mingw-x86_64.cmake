# Cross-compiling for x86_64 Windows with Debian's mingw-w64 toolchain (the posix threading variant,
# for std::thread and std::mutex).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(TOVPORT_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${TOVPORT_MINGW_TRIPLE}-gcc-posix)  # GoogleTest builds as a C and C++ project
set(CMAKE_CXX_COMPILER ${TOVPORT_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${TOVPORT_MINGW_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${TOVPORT_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
