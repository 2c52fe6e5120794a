# What is installed and packed, by component:
#   receiver      the library
#   orvtrace      the command-line host, its manual pages and completion
#   python        the module that reads recordings and runs
#   development   the framework's interface headers, the CMake package
#   bench         simulated data server, sibling libraries, devices and scenarios
#   documents     documents and examples
#   license       the license, where no package format has a place of its own for it
include(CMakePackageConfigHelpers)
include(OrvManual)

# The library finds its siblings, and programs find the library, beside themselves: one folder holds them all. On Linux
# that is no folder of the search path, so a link stands there for orvtrace. In lib/orvrcvr the system's linker would be
# told of the library, which nothing links.
if(WIN32)
  set(ORV_INSTALL_FOLDER bin)
  set(ORV_INSTALL_INCLUDE include)
  set(ORV_INSTALL_CMAKE cmake)
  set(ORV_INSTALL_DOCUMENTS doc)
  set(ORV_INSTALL_PYTHON python)
else()
  set(architecture ${CMAKE_LIBRARY_ARCHITECTURE})
  if(NOT architecture)
    set(architecture ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
  endif()
  set(ORV_INSTALL_FOLDER lib/${architecture}/orvrcvr)
  set(ORV_INSTALL_INCLUDE include/orvrcvr)
  set(ORV_INSTALL_CMAKE lib/${architecture}/cmake/OrvRcvr)
  set(ORV_INSTALL_DOCUMENTS share/doc/orvrcvr)
  set(ORV_INSTALL_PYTHON lib/python3/dist-packages)
endif()

install(TARGETS OrvRcvr COMPONENT receiver
        RUNTIME DESTINATION ${ORV_INSTALL_FOLDER} LIBRARY DESTINATION ${ORV_INSTALL_FOLDER})
install(TARGETS orvtrace COMPONENT orvtrace RUNTIME DESTINATION ${ORV_INSTALL_FOLDER})
if(WIN32)
  install(FILES host/completion/orvtrace.ps1 host/completion/orvtrace.bash DESTINATION completions COMPONENT orvtrace)
else()
  file(CREATE_LINK ../${ORV_INSTALL_FOLDER}/orvtrace ${CMAKE_BINARY_DIR}/orvtrace-link SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/orvtrace-link DESTINATION bin RENAME orvtrace COMPONENT orvtrace)
  install(FILES host/completion/orvtrace.bash DESTINATION share/bash-completion/completions RENAME orvtrace
          COMPONENT orvtrace)
  install(FILES host/completion/_orvtrace DESTINATION share/zsh/vendor-completions COMPONENT orvtrace)
  install(FILES host/completion/orvtrace.fish DESTINATION share/fish/vendor_completions.d COMPONENT orvtrace)
endif()
if(ORV_MANUAL)
  install(DIRECTORY ${ORV_MANUAL}/ DESTINATION share/man/man1 COMPONENT orvtrace FILES_MATCHING PATTERN "*.1.gz")
endif()
install(FILES python/orvtrace.py DESTINATION ${ORV_INSTALL_PYTHON} COMPONENT python)

# The tree's own README is for who builds. On Windows the package's lies on top, where one looks first.
if(WIN32)
  set(ORV_PACKAGE_SYSTEM "Windows x86-64")
  set(ORV_PACKAGE_DOCS doc/docs)
  set(ORV_PACKAGE_EXAMPLES doc/examples)
  set(ORV_PACKAGE_EXTRAS "`completions/orvtrace.ps1` completes commands in PowerShell: add `. FOLDER\\completions\\orvtrace.ps1` \
to the file that `$PROFILE` names. The script was never run; Windows blocks it until `Unblock-File`.")
  set(readme_folder .)
else()
  set(ORV_PACKAGE_SYSTEM "Linux x86-64")
  set(ORV_PACKAGE_DOCS docs)
  set(ORV_PACKAGE_EXAMPLES examples)
  set(ORV_PACKAGE_EXTRAS "Each subcommand has a manual page, such as `man orvtrace-record`. bash, zsh and fish complete commands.

Of the Debian \
packages, `orvtrace` with `liborvrcvr${PROJECT_VERSION_MAJOR}` serves a real unit; `orvrcvr-bench` is the bench, `orvrcvr-dev` is \
for hosts, `orvrcvr-doc` has the documents and examples, `python3-orvtrace` the Python module.")
  set(readme_folder ${ORV_INSTALL_DOCUMENTS})
endif()
configure_file(cmake/package/README.md.in ${CMAKE_BINARY_DIR}/package/README.md @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/README.md DESTINATION ${readme_folder} COMPONENT documents)
install(FILES CHANGELOG.md DESTINATION ${ORV_INSTALL_DOCUMENTS} COMPONENT documents)
install(DIRECTORY docs DESTINATION ${ORV_INSTALL_DOCUMENTS} COMPONENT documents)
install(DIRECTORY examples DESTINATION ${ORV_INSTALL_DOCUMENTS} COMPONENT documents PATTERN __pycache__ EXCLUDE)
install(FILES LICENSE DESTINATION ${ORV_INSTALL_DOCUMENTS} COMPONENT license)

install(TARGETS mpx_ecom_server PartIdentifier HaloTargetAdapter zarn_xmtr AmbitFileChannelDriver OrvDataSource
        COMPONENT bench
        RUNTIME DESTINATION ${ORV_INSTALL_FOLDER} LIBRARY DESTINATION ${ORV_INSTALL_FOLDER})
install(FILES bench/scenarios/devices.toml DESTINATION ${ORV_INSTALL_FOLDER} COMPONENT bench)
install(DIRECTORY bench/scenarios/ DESTINATION ${ORV_INSTALL_FOLDER}/scenarios COMPONENT bench
        FILES_MATCHING PATTERN "*.toml" PATTERN devices.toml EXCLUDE)

install(DIRECTORY rcvr/framework DESTINATION ${ORV_INSTALL_INCLUDE}/rcvr COMPONENT development
        FILES_MATCHING PATTERN "*.h")
configure_package_config_file(cmake/OrvRcvrConfig.cmake.in ${CMAKE_BINARY_DIR}/OrvRcvrConfig.cmake
  INSTALL_DESTINATION ${ORV_INSTALL_CMAKE} PATH_VARS ORV_INSTALL_FOLDER ORV_INSTALL_INCLUDE)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OrvRcvrConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/OrvRcvrConfig.cmake ${CMAKE_BINARY_DIR}/OrvRcvrConfigVersion.cmake
        DESTINATION ${ORV_INSTALL_CMAKE} COMPONENT development)

set(CPACK_PACKAGE_NAME orvrcvr)
set(CPACK_PACKAGE_VENDOR "OrvRcvr developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Trace receiver for ORV capture units")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/cmake/package/cpack-config.cmake)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME orvrcvr-${PROJECT_VERSION}-windows-x86_64)
else()
  set(CPACK_GENERATOR DEB TGZ)
  set(CPACK_PACKAGE_FILE_NAME orvrcvr-${PROJECT_VERSION}-linux-x86_64)
  include(OrvDebian)
endif()
include(CPack)
