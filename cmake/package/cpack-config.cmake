# Read by CPack for each generator. Debian gets a package for each group of components, with Debian's own files; the
# archives hold everything else in one tree.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_ALL ${CPACK_ORV_DEBIAN_COMPONENTS})
  # The first line of a package's own description is its summary.
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
endif()
