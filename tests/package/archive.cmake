# Packs, unpacks into an empty folder, and records with what is there.
include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)
new_folder(archive folder)

run("packing" ${CPACK} --config ${BUILD}/CPackConfig.cmake -B ${folder}/packages)

# record(<root>): `orvtrace record` from the unpacked tree, in an empty folder.
function(record name program)
  file(MAKE_DIRECTORY ${folder}/${name})
  native_path(${folder}/${name}/run out)
  native_path(${folder}/${name}/samples.bin raw)
  run("recording from ${name}" ${CMAKE_COMMAND} -E chdir ${folder}/${name}
      ${RUNNER} ${program} record --scenario clean --out ${out} --raw ${raw})
  require_file(${folder}/${name}/samples.bin)
endfunction()

function(unpack name file)
  file(MAKE_DIRECTORY ${folder}/${name}-root)
  run("unpacking ${file}" ${CMAKE_COMMAND} -E chdir ${folder}/${name}-root ${CMAKE_COMMAND} -E tar xf ${file})
endfunction()

# only(<pattern> <out>): the one package of that ending.
function(only pattern out)
  file(GLOB found ${folder}/packages/${pattern})
  list(LENGTH found count)
  if(NOT count EQUAL 1)
    message(FATAL_ERROR "${count} packages ${pattern}: ${found}")
  endif()
  set(${out} ${found} PARENT_SCOPE)
endfunction()

if(SYSTEM STREQUAL "Windows")
  only(*.zip zip)
  unpack(zip ${zip})
  file(GLOB top ${folder}/zip-root/*)
  record(zip ${top}/bin/orvtrace.exe)
else()
  only(*.deb deb)
  run("unpacking ${deb}" dpkg-deb -x ${deb} ${folder}/deb-root)
  record(deb ${folder}/deb-root/usr/bin/orvtrace)
  run("reading ${deb}" dpkg-deb -f ${deb} Package Version Depends Description)
  if(NOT output MATCHES "Package: orvrcvr" OR NOT output MATCHES "libstdc\\+\\+6")
    message(FATAL_ERROR "the package says:\n${output}")
  endif()
  only(*.tar.gz tgz)
  unpack(tgz ${tgz})
  file(GLOB top ${folder}/tgz-root/*)
  record(tgz ${top}/bin/orvtrace)
endif()
