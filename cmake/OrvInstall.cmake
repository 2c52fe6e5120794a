# What is installed and packed. Three components:
#   receiver      the library and orvtrace
#   development   the framework's interface headers, the CMake package, a small host to start from
#   bench         simulated data server, sibling libraries, devices and scenarios
include(CMakePackageConfigHelpers)

# The library finds its siblings, and programs find the library, beside themselves: one folder holds them all. On Linux
# that is no folder of the search path, so a link stands there for orvtrace.
if(WIN32)
  set(ORV_INSTALL_FOLDER bin)
  set(ORV_INSTALL_INCLUDE include)
  set(ORV_INSTALL_CMAKE cmake)
  set(ORV_INSTALL_DOCUMENTS doc)
else()
  set(ORV_INSTALL_FOLDER lib/orvrcvr)
  set(ORV_INSTALL_INCLUDE include/orvrcvr)
  set(ORV_INSTALL_CMAKE lib/cmake/OrvRcvr)
  set(ORV_INSTALL_DOCUMENTS share/doc/orvrcvr)
endif()

install(TARGETS OrvRcvr orvtrace COMPONENT receiver
        RUNTIME DESTINATION ${ORV_INSTALL_FOLDER} LIBRARY DESTINATION ${ORV_INSTALL_FOLDER})
# The tree's own README is for who builds. On Windows the package's lies on top, where one looks first.
if(WIN32)
  set(ORV_PACKAGE_SYSTEM "Windows x86-64")
  set(ORV_PACKAGE_DOCS doc/docs)
  set(ORV_PACKAGE_EXAMPLES doc/examples)
  set(readme_folder .)
else()
  set(ORV_PACKAGE_SYSTEM "Linux x86-64")
  set(ORV_PACKAGE_DOCS docs)
  set(ORV_PACKAGE_EXAMPLES examples)
  set(readme_folder ${ORV_INSTALL_DOCUMENTS})
endif()
configure_file(cmake/package/README.md.in ${CMAKE_BINARY_DIR}/package/README.md @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/README.md DESTINATION ${readme_folder} COMPONENT receiver)
install(FILES LICENSE CHANGELOG.md DESTINATION ${ORV_INSTALL_DOCUMENTS} COMPONENT receiver)
install(DIRECTORY docs DESTINATION ${ORV_INSTALL_DOCUMENTS} COMPONENT receiver)
if(NOT WIN32)
  file(CREATE_LINK ../${ORV_INSTALL_FOLDER}/orvtrace ${CMAKE_BINARY_DIR}/orvtrace-link SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/orvtrace-link DESTINATION bin RENAME orvtrace COMPONENT receiver)
endif()

install(TARGETS mpx_ecom_server PartIdentifier HaloTargetAdapter zarn_xmtr AmbitFileChannelDriver OrvDataSource
        COMPONENT bench
        RUNTIME DESTINATION ${ORV_INSTALL_FOLDER} LIBRARY DESTINATION ${ORV_INSTALL_FOLDER})
install(FILES bench/scenarios/devices.toml DESTINATION ${ORV_INSTALL_FOLDER} COMPONENT bench)
install(DIRECTORY bench/scenarios/ DESTINATION ${ORV_INSTALL_FOLDER}/scenarios COMPONENT bench
        FILES_MATCHING PATTERN "*.toml" PATTERN devices.toml EXCLUDE)

install(DIRECTORY rcvr/framework DESTINATION ${ORV_INSTALL_INCLUDE}/rcvr COMPONENT development
        FILES_MATCHING PATTERN "*.h")
install(DIRECTORY examples DESTINATION ${ORV_INSTALL_DOCUMENTS} COMPONENT development)
configure_package_config_file(cmake/OrvRcvrConfig.cmake.in ${CMAKE_BINARY_DIR}/OrvRcvrConfig.cmake
  INSTALL_DESTINATION ${ORV_INSTALL_CMAKE} PATH_VARS ORV_INSTALL_FOLDER ORV_INSTALL_INCLUDE)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OrvRcvrConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/OrvRcvrConfig.cmake ${CMAKE_BINARY_DIR}/OrvRcvrConfigVersion.cmake
        DESTINATION ${ORV_INSTALL_CMAKE} COMPONENT development)

set(CPACK_PACKAGE_NAME orvrcvr)
set(CPACK_PACKAGE_VENDOR "OrvRcvr developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Trace receiver for ORV capture units")
set(CPACK_PACKAGE_DESCRIPTION "OrvRcvr records a chip's trace through an ORV capture unit: it measures rates and wiring,
calibrates every pin, proves it, records, and saves. With orvtrace, its
command-line host, and a simulated bench that stands in for the hardware.")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME orvrcvr-${PROJECT_VERSION}-windows-x86_64)
else()
  set(CPACK_GENERATOR DEB TGZ)
  set(CPACK_PACKAGE_FILE_NAME orvrcvr-${PROJECT_VERSION}-linux-x86_64)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_MAINTAINER "OrvRcvr developers <maintainers@orvrcvr.invalid>")
  set(CPACK_DEBIAN_PACKAGE_SECTION devel)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
