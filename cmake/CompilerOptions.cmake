# jy_options: what every target of the project compiles and links with.
add_library(jy_options INTERFACE)
target_include_directories(jy_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_definitions(
  jy_options INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX WINVER=0x0A00 _WIN32_WINNT=0x0A00
                       NTDDI_VERSION=0x0A000000)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(
    jy_options
    INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wall
              -Wextra
              -Wpedantic
              -Wconversion
              -Wshadow
              -Werror
              # A hardware fault is thrown as a C++ exception at the faulting instruction.
              -fnon-call-exceptions>
              # Undefined behaviour traps, and the C++ library checks its preconditions.
              $<$<AND:$<CONFIG:Debug>,$<COMPILE_LANGUAGE:CXX>>:-O1
              -D_GLIBCXX_ASSERTIONS
              -fsanitize=undefined
              -fsanitize-undefined-trap-on-error>)
  # The module imports system DLLs only.
  target_link_options(jy_options INTERFACE -static)
elseif(MSVC)
  target_compile_options(jy_options INTERFACE /W4 /WX /EHa /permissive- /Zc:__cplusplus)
endif()

# The module's own code alone is counted, so that everything else compiles as in the preset debug.
option(JY_COVERAGE "Count how often the lines of the module run, for scripts/coverage.sh (GCC)" OFF)
if(JY_COVERAGE)
  # With -pthread the counters are atomic: several threads run the module's code at once. (The option that says so
  # itself keeps ccache from working.)
  set(JY_COVERAGE_OPTIONS --coverage -pthread)
endif()

# jy_count_lines(TARGET): the lines of a part of the module, if lines are counted.
function(jy_count_lines target)
  if(JY_COVERAGE)
    target_compile_options(${target} PRIVATE ${JY_COVERAGE_OPTIONS})
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()

# jy_add_layer(NAME sources... USES layers...): one folder of the module as a static library.
function(jy_add_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(jy_${name} STATIC ${ARG_SOURCES})
  target_link_libraries(jy_${name} PUBLIC jy_options jy_boost ${ARG_USES})
  jy_count_lines(jy_${name})
endfunction()

# jy_separate_debug_information(TARGET): moves it into a file beside the library, TARGET.debug, which debuggers find; a
# host that loads the library need not read it.
function(jy_separate_debug_information target)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_OBJCOPY AND CMAKE_STRIP)
    set(file $<TARGET_FILE:${target}>)
    set(debug_file $<TARGET_FILE_DIR:${target}>/${target}.debug)
    add_custom_command(
      TARGET ${target} POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${debug_file}
      COMMAND ${CMAKE_STRIP} ${file}
      COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${debug_file} ${file}
      VERBATIM)
  endif()
endfunction()
