# GoogleTest and GoogleMock as the targets gtest_main and gmock: from their sources, or, without them, from a package.
# Cross-compiling needs the sources, which Debian's package googletest brings.
set(JY_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "GoogleTest's sources")

if(EXISTS ${JY_GOOGLETEST_DIR}/CMakeLists.txt)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads ON CACHE BOOL "" FORCE)
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  add_subdirectory(${JY_GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
else()
  find_package(GTest CONFIG)
  if(NOT GTest_FOUND)
    message(FATAL_ERROR "GoogleTest was not found: set JY_GOOGLETEST_DIR to its sources, or GTest_DIR to its package, "
                        "or switch the tests off with -DBUILD_TESTING=OFF.")
  endif()
  add_library(gmock ALIAS GTest::gmock)
  add_library(gtest_main ALIAS GTest::gtest_main)
endif()
