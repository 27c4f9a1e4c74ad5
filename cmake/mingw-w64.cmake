# Cross-compiles for 64-bit Windows with MinGW-w64 (POSIX thread model, which std::mutex and friends need).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Programs that the build has made run under Wine, in a prefix of the build tree's own.
if(NOT CMAKE_HOST_WIN32)
  get_filename_component(jy_emulator ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine.sh ABSOLUTE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${jy_emulator})
endif()
