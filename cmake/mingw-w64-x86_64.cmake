# Cross-compiling for 64-bit Windows with mingw-w64 (the posix threads flavour,
# so std::thread and std::mutex work without a third-party threads library).
#   cmake -S . -B build-win -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake
# Everything is linked statically, so the program imports only system DLLs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(QTX_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${QTX_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QTX_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${QTX_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${QTX_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
# Tests and benchmarks would need a Windows GoogleTest; the smoke test runs
# the program itself under Wine instead.
set(QTX_TESTS OFF CACHE BOOL "" FORCE)
set(QTX_GL_TESTS OFF CACHE BOOL "" FORCE)
