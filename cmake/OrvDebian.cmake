# Debian's packages, one for each component. The library is loaded by its bare name and has no SONAME; the number in its
# package's name is that of its interface, the project's major version.
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(ORV_MAINTAINER "OrvRcvr developers <maintainers@orvrcvr.example.org>")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ORV_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SOURCE orvrcvr)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)

execute_process(COMMAND date -u -d ${ORV_RELEASE_DATE} "+%a, %d %b %Y" OUTPUT_VARIABLE ORV_RELEASE_DAY
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(cmake/package/debian/changelog.in ${CMAKE_BINARY_DIR}/package/changelog @ONLY)
find_program(ORV_GZIP gzip REQUIRED)
execute_process(COMMAND ${ORV_GZIP} -9nf ${CMAKE_BINARY_DIR}/package/changelog COMMAND_ERROR_IS_FATAL ANY)

# debian_package(<component> <package> <section> <description> [DEPENDS ...] [RECOMMENDS ...] [SUGGESTS ...]
#                [INDEPENDENT]): INDEPENDENT of the architecture.
function(debian_package component package section description)
  cmake_parse_arguments(PARSE_ARGV 4 ARG INDEPENDENT "DEPENDS;RECOMMENDS;SUGGESTS" "")
  install(FILES cmake/package/debian/copyright ${CMAKE_BINARY_DIR}/package/changelog.gz
          DESTINATION share/doc/${package} COMPONENT debian-${component} EXCLUDE_FROM_ALL)
  string(TOUPPER ${component} upper)
  # A group has the name of its main component.
  set(CPACK_COMPONENT_${upper}_GROUP ${component} PARENT_SCOPE)
  set(CPACK_COMPONENT_DEBIAN-${upper}_GROUP ${component} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${ARG_DEPENDS}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_RECOMMENDS "${ARG_RECOMMENDS}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SUGGESTS "${ARG_SUGGESTS}" PARENT_SCOPE)
  if(ARG_INDEPENDENT)
    set(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE all PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS OFF PARENT_SCOPE)
  else()
    set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS ON PARENT_SCOPE)
  endif()
  set(CPACK_ORV_DEBIAN_COMPONENTS ${CPACK_ORV_DEBIAN_COMPONENTS} ${component} debian-${component} PARENT_SCOPE)
endfunction()

set(library liborvrcvr${PROJECT_VERSION_MAJOR})
set(this "(= ${PROJECT_VERSION})")
set(about "OrvRcvr records a chip's trace through an ORV capture unit: it measures rates\nand wiring, calibrates \
every pin, verifies the result by a short recording,\nrecords, uploads and saves.")
debian_package(receiver ${library} libs "trace receiver for ORV capture units
${about}

This package holds the library that a debugger's trace framework loads."
  RECOMMENDS orvtrace)
debian_package(orvtrace orvtrace devel "command-line host of the OrvRcvr trace receiver
${about}

This package holds orvtrace, which drives the receiver from a terminal or a
script, reports calibrations and checks recordings."
  DEPENDS "${library} ${this}" RECOMMENDS "orvrcvr-bench ${this}" SUGGESTS "orvrcvr-doc, python3-orvtrace, sigrok-cli")
debian_package(bench orvrcvr-bench devel "simulated capture unit for the OrvRcvr trace receiver
${about}

This package holds a simulated unit with wiring, target and data server, so
that the receiver runs without hardware, and its scenarios."
  DEPENDS "${library} ${this}" RECOMMENDS "orvtrace ${this}")
debian_package(development orvrcvr-dev libdevel "trace receiver for ORV capture units (development files)
${about}

This package holds the interface headers of a host and a CMake package."
  DEPENDS "${library} ${this}" SUGGESTS orvrcvr-doc)
debian_package(documents orvrcvr-doc doc "trace receiver for ORV capture units (documentation)
${about}

This package holds the documents, the formats of all files and examples."
  SUGGESTS orvtrace INDEPENDENT)
debian_package(python python3-orvtrace python "Python module that reads recordings of orvtrace
${about}

This package holds a Python module that reads recordings, trace data files,
bursts and whole runs."
  DEPENDS "python3:any" RECOMMENDS python3-numpy SUGGESTS orvtrace INDEPENDENT)
