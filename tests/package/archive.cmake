# Packs, unpacks into an empty folder, and records with the unpacked programs.
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

# links(<file>): the targets of a document's links are in the package.
function(links document)
  require_file(${document})
  file(READ ${document} text)
  get_filename_component(place ${document} DIRECTORY)
  # CMake would read brackets and semicolons as those of a list.
  string(REPLACE ";" "," text "${text}")
  string(REPLACE "](" "!link!" text "${text}")
  string(REGEX REPLACE "[][]" "" text "${text}")
  string(REGEX MATCHALL "!link![^)#: ]+[)#]" found "${text}")
  foreach(link ${found})
    string(REGEX REPLACE "!link!(.*)[)#]" "\\1" target "${link}")
    if(NOT EXISTS ${place}/${target})
      message(FATAL_ERROR "${document} links to ${target}, which is not in the package")
    endif()
  endforeach()
endfunction()

# documents(<folder of the README> <folder of the documents>)
function(documents readme docs)
  links(${readme}/README.md)
  file(GLOB_RECURSE pages ${docs}/*.md)
  list(LENGTH pages count)
  if(count LESS 20)
    message(FATAL_ERROR "${count} pages in ${docs}")
  endif()
  foreach(page ${pages})
    links(${page})
  endforeach()
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
  documents(${top} ${top}/doc)
else()
  # Each package has what it is named for, and nothing of another's.
  foreach(holds "liborvrcvr0 usr/${programs}/OrvRcvr.so" "orvtrace usr/bin/orvtrace"
                "orvtrace usr/share/man/man1/orvtrace-record.1.gz"
                "orvtrace usr/share/bash-completion/completions/orvtrace"
                "orvtrace usr/share/zsh/vendor-completions/_orvtrace"
                "orvtrace usr/share/fish/vendor_completions.d/orvtrace.fish"
                "orvrcvr-bench usr/${programs}/scenarios/clean.toml"
                "orvrcvr-dev usr/include/orvrcvr/rcvr/framework/CReceiver.h"
                "orvrcvr-doc usr/share/doc/orvrcvr/docs/orvtrace.md"
                "python3-orvtrace usr/lib/python3/dist-packages/orvtrace.py")
    string(REPLACE " " ";" holds ${holds})
    list(GET holds 0 package)
    list(GET holds 1 file)
    only(${package}_*.deb deb)
    run("unpacking ${deb}" dpkg-deb -x ${deb} ${folder}/${package})
    require_file(${folder}/${package}/${file})
    require_file(${folder}/${package}/usr/share/doc/${package}/copyright)
    require_file(${folder}/${package}/usr/share/doc/${package}/changelog.gz)
  endforeach()
  file(GLOB debs ${folder}/packages/*.deb)
  list(LENGTH debs count)
  if(NOT count EQUAL 6)
    message(FATAL_ERROR "${count} packages: ${debs}")
  endif()
  foreach(deb ${debs})
    run("unpacking ${deb}" dpkg-deb -x ${deb} ${folder}/deb-root)
    run("unpacking what ${deb} tells the system" dpkg-deb -e ${deb} ${folder}/control)
    foreach(script postinst postrm preinst prerm triggers)
      if(EXISTS ${folder}/control/${script})
        message(FATAL_ERROR "${deb} has a ${script}, which none of its files needs")
      endif()
    endforeach()
    file(REMOVE_RECURSE ${folder}/control)
  endforeach()
  record(deb ${folder}/deb-root/usr/bin/orvtrace)
  documents(${folder}/deb-root/usr/share/doc/orvrcvr ${folder}/deb-root/usr/share/doc/orvrcvr)
  only(orvtrace_*.deb deb)
  run("reading ${deb}" dpkg-deb -f ${deb} Package Source Version Depends Description)
  if(NOT output MATCHES "liborvrcvr0 \\(= " OR NOT output MATCHES "libstdc\\+\\+6")
    message(FATAL_ERROR "the package says:\n${output}")
  endif()
  # What Debian's own checker calls an error or a warning.
  run("lintian" lintian --fail-on error,warning --allow-root ${debs})
  only(*.tar.gz tgz)
  unpack(tgz ${tgz})
  file(GLOB top ${folder}/tgz-root/*)
  record(tgz ${top}/bin/orvtrace)
  documents(${top}/share/doc/orvrcvr ${top}/share/doc/orvrcvr)
endif()
