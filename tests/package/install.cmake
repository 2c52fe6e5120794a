# Installs the tree, builds the small host against it, and records with it on the installed bench.
include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)
new_folder(install folder)

run("installing" ${CMAKE_COMMAND} --install ${BUILD} --prefix ${folder}/root)
run("installing the receiver alone" ${CMAKE_COMMAND} --install ${BUILD} --prefix ${folder}/alone --component receiver)
require_file(${folder}/alone/${programs}/${library})
if(EXISTS ${folder}/alone/${programs}/mpx_ecom_server.exe OR EXISTS ${folder}/alone/${headers}/rcvr)
  message(FATAL_ERROR "the receiver's component brings the bench or headers")
endif()

set(toolchain "")
if(TOOLCHAIN)
  set(toolchain -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
run("configuring the small host" ${CMAKE_COMMAND} -G ${GENERATOR} -S ${SOURCE}/examples/small-host -B ${folder}/host
    ${toolchain} -DCMAKE_PREFIX_PATH=${folder}/root -DCMAKE_BUILD_TYPE=Release)
run("building the small host" ${CMAKE_COMMAND} --build ${folder}/host)

native_path(${folder}/root/${programs} where)
native_path(${folder}/root/${programs}/scenarios/clean.toml scenario)
native_path(${folder} here)
native_path(${folder}/settings.xml settings)
native_path(${folder}/samples.bin samples)
file(MAKE_DIRECTORY ${folder}/bench)
# The receiver keeps its own files in the user's folder.
if(SYSTEM STREQUAL "Windows")
  set(bench "${here}\\bench")
  set(home USERPROFILE=${here})
else()
  set(bench ${here}/bench)
  set(home HOME=${here})
endif()
run("the small host" ${CMAKE_COMMAND} -E env ORV_BENCH_SCENARIO=${scenario} ORV_BENCH_DIR=${bench} ${home}
    ${RUNNER} ${folder}/host/small_host${exe} ${where} bench/app ${settings} ${samples})
if(NOT output MATCHES "upload complete, [1-9][0-9]* samples")
  message(FATAL_ERROR "the small host recorded nothing:\n${output}")
endif()
require_file(${folder}/samples.bin)
