# Read by ctest: each suite of a GoogleTest program as a test of its own, named PROGRAM.SUITE.

# orv_add_suites(<name> <executable> <folder> COMMAND <word>... PROPERTIES <name> <value>...)
function(orv_add_suites name executable folder)
  cmake_parse_arguments(PARSE_ARGV 3 ARG "" "" "COMMAND;PROPERTIES")
  if(NOT EXISTS ${executable})
    add_test(${name}_NOT_BUILT ${name}_NOT_BUILT)
    return()
  endif()
  # Programs are asked again only after they have changed.
  set(list ${folder}/${name}-suites.txt)
  if(${executable} IS_NEWER_THAN ${list})
    execute_process(COMMAND ${ARG_COMMAND} --gtest_list_tests WORKING_DIRECTORY ${folder}
                    OUTPUT_VARIABLE output RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
      message(FATAL_ERROR "${executable} does not list its tests (${result}):\n${output}")
    endif()
    string(REPLACE "\r" "" output "${output}")
    file(WRITE ${list} "${output}")
  endif()
  # A suite's line ends with a full stop, perhaps followed by the type that it is for; those of its cases are indented.
  file(STRINGS ${list} lines REGEX "^[A-Za-z0-9_/]+\\.( +#.*)?$")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "\\..*" "" suite "${line}")
    add_test("${name}.${suite}" ${ARG_COMMAND} "--gtest_filter=${suite}.*" --gtest_brief=1)
    set_tests_properties("${name}.${suite}" PROPERTIES WORKING_DIRECTORY ${folder} ${ARG_PROPERTIES})
  endforeach()
endfunction()
