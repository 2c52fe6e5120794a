# How every target of this tree is made: one place for flags, include root and test registration.

add_library(orv_flags INTERFACE)
target_include_directories(orv_flags INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(orv_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wunused -Wformat=2 -Wundef
  -Wimplicit-fallthrough -Wdouble-promotion)
# Where sources are compiled together, a local name may be the same as one in another file's unnamed namespace, and GCC
# takes all of them for headers.
set(together $<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>)
target_compile_options(orv_flags INTERFACE
  $<$<NOT:${together}>:-Wshadow>
  $<$<AND:${together},$<CXX_COMPILER_ID:GNU>>:-Wshadow=local$<SEMICOLON>-Wno-subobject-linkage>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(orv_flags INTERFACE -Wduplicated-cond -Wlogical-op -Wuseless-cast)
  # A compilation here needs half a gigabyte. Collecting garbage sooner than at 256 MiB takes a tenth of its time.
  target_compile_options(orv_flags INTERFACE --param=ggc-min-heapsize=262144)
  # GCC 12 sees an overlap in "literal" + std::string that is not there.
  target_compile_options(orv_flags INTERFACE -Wno-restrict)
endif()
# Results that a recording depends on must not change with the optimiser's mood.
target_compile_options(orv_flags INTERFACE -ffp-contract=off)
# A binary carries the names of its sources, not the folder that somebody built it in.
target_compile_options(orv_flags INTERFACE -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)

if(WIN32)
  target_compile_definitions(orv_flags INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
  # Self-contained binaries: nothing but system libraries is imported. The time of the build is not written, so that the
  # same sources give the same file.
  target_link_options(orv_flags INTERFACE -static -Wl,--no-insert-timestamp)
else()
  find_package(Threads REQUIRED)
  target_link_libraries(orv_flags INTERFACE Threads::Threads ${CMAKE_DL_LIBS})
endif()

# How much longer a test may take than in a plain build.
set(ORV_TIME_FACTOR 1)
if(ORV_SANITIZE)
  set(ORV_TIME_FACTOR 5)
  # Reports name functions and lines. More than that takes as long to write as the rest of a compilation.
  target_compile_options(orv_flags INTERFACE -fsanitize=${ORV_SANITIZE} -fno-omit-frame-pointer -g1)
  target_link_options(orv_flags INTERFACE -fsanitize=${ORV_SANITIZE})
  if(ORV_SANITIZE MATCHES "undefined")
    target_compile_options(orv_flags INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()
# For sources that use precompiled headers.
set(ORV_PRECOMPILED_FLAGS "")
set(ORV_TEST_WARNINGS "")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # With -fpch-preprocess a compiler cache can tell what is in such a header. GCC forgets which part of it was a system's,
  # and warns of what is not there.
  set(ORV_PRECOMPILED_FLAGS -fpch-preprocess -Wno-stringop-overflow -Wno-array-bounds)
  set(ORV_TEST_WARNINGS -fpch-preprocess -Wno-array-bounds)
  # With sanitizers GCC 12 sees uninitialised members in the library's own regular expressions, which tests use, and
  # fills of negative length in its vectors.
  if(ORV_SANITIZE)
    list(APPEND ORV_TEST_WARNINGS -Wno-maybe-uninitialized -Wno-stringop-overflow)
  endif()
endif()
# Every access to an atomic calls an entry point, which tests/simulation supplies: only its programs can be linked.
if(ORV_ATOMIC_POINTS)
  target_compile_options(orv_flags INTERFACE -fsanitize=thread --param tsan-instrument-func-entry-exit=0)
endif()
if(ORV_COVERAGE)
  target_compile_options(orv_flags INTERFACE --coverage -O0 -g)
  target_link_options(orv_flags INTERFACE --coverage)
endif()

# orv_headers(<name> HEADERS <header>... [OPTIONS ...] [DEPENDS ...]): headers that nearly every source of some folders
# begins with, compiled once.
function(orv_headers name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "HEADERS;OPTIONS;DEPENDS")
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/${name}.cpp CONTENT "")
  add_library(${name} STATIC EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/${name}.cpp)
  target_link_libraries(${name} PRIVATE orv_flags ${ARG_DEPENDS})
  target_compile_options(${name} PRIVATE ${ORV_PRECOMPILED_FLAGS} ${ARG_OPTIONS})
  target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
endfunction()
set(standard_headers <algorithm> <array> <filesystem> <functional> <map> <memory> <mutex> <optional> <span> <sstream>
  <string> <string_view> <thread> <vector>)
orv_headers(orv_library_headers HEADERS ${standard_headers})
# What waits for files and for the unit takes longer to compile than more optimisation saves.
set(ORV_QUICK_RUN $<$<CONFIG:Release>:-O1>)
# Commands and reports are a fraction of a second of templates that are called once: inlining them is what takes long.
set(ORV_PROGRAM_RUN $<$<CONFIG:Release>:-Og>)
orv_headers(orv_program_headers HEADERS ${standard_headers} <fmt/core.h> <nlohmann/json.hpp> OPTIONS ${ORV_PROGRAM_RUN}
            DEPENDS orv_header_packages)

# orv_static(<name> SOURCES ... [DEPENDS ...]): one folder of the tree as a static library. With ORV_PRECOMPILED, it uses
# the precompiled headers of that target.
function(orv_static name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;DEPENDS")
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC orv_flags ${ARG_DEPENDS})
  if(ORV_PRECOMPILED)
    target_compile_options(${name} PRIVATE ${ORV_PRECOMPILED_FLAGS})
    target_precompile_headers(${name} REUSE_FROM ${ORV_PRECOMPILED})
  endif()
endfunction()

# orv_program(<name> SOURCES ... [DEPENDS ...]). Its narrow texts are UTF-8 on Windows, too.
function(orv_program name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;DEPENDS")
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE orv_flags ${ARG_DEPENDS})
  if(WIN32)
    target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/cmake/windows/program.rc)
    set_source_files_properties(${CMAKE_SOURCE_DIR}/cmake/windows/program.rc PROPERTIES
      OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/windows/program.manifest)
  endif()
endfunction()

# orv_loadable(<name> EXPORTS <symbol>... SOURCES ... [DEPENDS ...]): a library that is loaded by its bare
# name (<name>.dll or <name>.so) and exports exactly the symbols named.
function(orv_loadable name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;DEPENDS;EXPORTS")
  add_library(${name} MODULE ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE orv_flags ${ARG_DEPENDS})
  set_target_properties(${name} PROPERTIES PREFIX "" OUTPUT_NAME ${name})
  if(WIN32)
    string(REPLACE ";" "\n  " lines "${ARG_EXPORTS}")
    file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.def CONTENT "EXPORTS\n  @lines@\n" @ONLY)
    target_sources(${name} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${name}.def)
  else()
    string(REPLACE ";" ";\n    " lines "${ARG_EXPORTS}")
    file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.map
         CONTENT "{\n  global:\n    @lines@;\n  local:\n    *;\n};\n" @ONLY)
    target_link_options(${name} PRIVATE -Wl,--version-script=${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
    # A symbol that no library supplies is an error of the build, not of the first host that loads it. Sanitizers' own
    # symbols come from the program.
    if(NOT ORV_SANITIZE AND NOT ORV_ATOMIC_POINTS)
      target_link_options(${name} PRIVATE -Wl,-z,defs)
    endif()
    # Debian asks every library to name the C library, also one that reaches it through the C++ library only.
    target_link_libraries(${name} PRIVATE -Wl,--push-state,--no-as-needed,-lc,--pop-state)
  endif()
endfunction()

# A test that takes the lock data_server_port runs in namespaces of its own, beside others; under Wine with a server of
# Wine's of its own, too. Where the system does not permit namespaces, it runs alone.
set(ORV_OWN_NAMESPACES "")
if(NOT CMAKE_HOST_WIN32)
  execute_process(COMMAND ${CMAKE_SOURCE_DIR}/tools/run-in-namespace true
                  RESULT_VARIABLE refused OUTPUT_QUIET ERROR_QUIET TIMEOUT 20)
  if(refused EQUAL 0)
    set(ORV_OWN_NAMESPACES ${CMAKE_SOURCE_DIR}/tools/run-in-namespace)
    if(WIN32)
      list(APPEND ORV_OWN_NAMESPACES ${CMAKE_CROSSCOMPILING_EMULATOR} --own-server)
    endif()
  else()
    message(STATUS "No namespaces here: tests that start the data server run one after another")
  endif()
endif()

# The headers that nearly every test begins with, compiled once for each of the two ways in which tests are compiled.
function(orv_test_headers target)
  set(main ${CMAKE_BINARY_DIR}/${target}.cpp)
  file(CONFIGURE OUTPUT ${main} CONTENT "int main() {}\n")
  add_executable(${target} EXCLUDE_FROM_ALL ${main})
  target_link_libraries(${target} PRIVATE orv_flags orv_header_packages GTest::gmock)
  target_compile_options(${target} PRIVATE ${ARGN} ${ORV_TEST_WARNINGS})
  target_precompile_headers(${target} PRIVATE
    <gmock/gmock.h> <gtest/gtest.h> <filesystem> <fstream> <functional> <nlohmann/json.hpp> <regex> <sstream> <thread>)
endfunction()
# A test is compiled more often than it is run.
set(ORV_QUICK_BUILD $<$<CONFIG:Release>:-O0>)

# GNU's linker for Windows takes a time that grows with the square of an object's functions: half a minute for the
# largest test, which LLVM's links in half a second. GNU's links what is shipped, and tests that replace functions of the C
# or C++ library: with LLVM's these crash.
set(ORV_TEST_LINKER "")
if(WIN32 AND CMAKE_CROSSCOMPILING)
  find_program(ORV_LLD ld.lld NO_CMAKE_FIND_ROOT_PATH)
  if(ORV_LLD)
    set(ORV_TEST_LINKER -B${CMAKE_SOURCE_DIR}/cmake/windows/lld/)
  endif()
endif()

# Tests that also run where time is short (`./test --reduced`).
add_custom_target(reduced_tests)

# orv_suites(<name> PROPERTIES ...): each suite of a program is a test, which ctest finds out when it runs
# (OrvSuites.cmake).
function(orv_suites name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "PROPERTIES")
  get_target_property(launcher ${name} CROSSCOMPILING_EMULATOR)
  if(NOT launcher)
    set(launcher "")
  endif()
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${name}-suites.cmake)
  string(JOIN " " words ${launcher} "$<TARGET_FILE:${name}>")
  string(JOIN " " properties ${ARG_PROPERTIES})
  file(GENERATE OUTPUT ${file} CONTENT "include(${CMAKE_SOURCE_DIR}/cmake/OrvSuites.cmake)
orv_add_suites(${name} $<TARGET_FILE:${name}> ${CMAKE_CURRENT_BINARY_DIR}
  COMMAND ${words} PROPERTIES ${properties})
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${file})
endfunction()

# orv_test(<name> SOURCES ... [DEPENDS ...] [TIMEOUT s] [LOCK resource] [COST n] [SUITES] [ISOLATED] [COMPUTES]
# [REPLACES] [REDUCED sanitizer...]): a GoogleTest program.
# Natively each suite is a test of its own. Starting a process under Wine costs more than most suites do, so there the whole
# program is one test, unless SUITES says that they are long. ISOLATED says that its cases need a fresh process each, on
# both systems. COMPUTES is for a program that spends its time in its own code rather than in the product's. REPLACES is for
# one that replaces functions of the C or C++ library, by --wrap or with an operator new of its own. COST orders a first run,
# in which ctest knows no times yet: seconds of its longest suite, for those above ten. REDUCED names the sanitizers, address
# or thread, under which it belongs to the reduced set.
function(orv_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "SUITES;ISOLATED;COMPUTES;REPLACES" "TIMEOUT;LOCK;COST" "SOURCES;DEPENDS;REDUCED")
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * ${ORV_TIME_FACTOR}")
  math(EXPR discovery "60 * ${ORV_TIME_FACTOR}")
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE orv_flags ${ARG_DEPENDS} GTest::gmock_main)
  if(NOT ARG_REPLACES)
    target_link_options(${name} PRIVATE ${ORV_TEST_LINKER})
  endif()
  if(ARG_COMPUTES)
    target_compile_options(${name} PRIVATE ${ORV_QUICK_RUN} ${ORV_TEST_WARNINGS})
    target_precompile_headers(${name} REUSE_FROM orv_test_headers_quick_run)
  else()
    target_compile_options(${name} PRIVATE ${ORV_QUICK_BUILD} ${ORV_TEST_WARNINGS})
    target_precompile_headers(${name} REUSE_FROM orv_test_headers_quick_build)
  endif()
  set(properties TIMEOUT ${ARG_TIMEOUT})
  if(ARG_COST)
    list(APPEND properties COST ${ARG_COST})
  endif()
  foreach(sanitizer ${ARG_REDUCED})
    if(ORV_SANITIZE MATCHES "${sanitizer}")
      list(APPEND properties LABELS reduced)
      add_dependencies(reduced_tests ${name})
    endif()
  endforeach()
  if(ARG_LOCK AND ORV_OWN_NAMESPACES)
    # The only launcher that CTest knows before CMake 3.29.
    set(launcher ${ORV_OWN_NAMESPACES} ${CMAKE_CROSSCOMPILING_EMULATOR})
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "${launcher}")
  elseif(ARG_LOCK)
    list(APPEND properties RESOURCE_LOCK ${ARG_LOCK})
  endif()
  if(ARG_ISOLATED)
    include(GoogleTest)
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT ${discovery}
                         PROPERTIES ${properties})
  elseif(WIN32 AND NOT ARG_SUITES)
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES ${properties})
  else()
    orv_suites(${name} PROPERTIES ${properties})
  endif()
endfunction()
