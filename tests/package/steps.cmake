# Shared by the package tests. Each runs in its own folder under SCRATCH.

function(new_folder name out)
  file(REMOVE_RECURSE ${SCRATCH}/${name})
  file(MAKE_DIRECTORY ${SCRATCH}/${name})
  set(${out} ${SCRATCH}/${name} PARENT_SCOPE)
endfunction()

# run(<what> COMMAND...): fails the test, with all output, when the command fails. The output is left in `output`.
function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output
                  TIMEOUT 600)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${what} failed (${result}):\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# A path as the program under test reads it. Wine shows the whole file system as drive Z.
function(native_path path out)
  if(SYSTEM STREQUAL "Windows")
    string(REPLACE "/" "\\" path "Z:${path}")
  endif()
  set(${out} "${path}" PARENT_SCOPE)
endfunction()

function(require_file file)
  if(NOT EXISTS ${file})
    message(FATAL_ERROR "${file} is missing")
  endif()
  file(SIZE ${file} size)
  if(size EQUAL 0)
    message(FATAL_ERROR "${file} is empty")
  endif()
endfunction()

if(SYSTEM STREQUAL "Windows")
  set(programs bin)
  set(headers include)
  set(exe .exe)
  set(library OrvRcvr.dll)
else()
  set(programs lib/${ARCHITECTURE}/orvrcvr)
  set(headers include/orvrcvr)
  set(exe "")
  set(library OrvRcvr.so)
endif()
