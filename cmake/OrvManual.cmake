# The manual pages, written by orvtrace from the tables of its help. A program for another system cannot be run here, and
# Windows has no man.
set(ORV_MANUAL "")
if(NOT CMAKE_CROSSCOMPILING AND NOT WIN32 AND NOT ORV_SANITIZE AND NOT ORV_COVERAGE AND NOT ORV_ATOMIC_POINTS)
  find_program(ORV_GZIP gzip REQUIRED)
  set(ORV_MANUAL ${CMAKE_BINARY_DIR}/manual)
  add_custom_command(OUTPUT ${ORV_MANUAL}/written DEPENDS orvtrace
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${ORV_MANUAL}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${ORV_MANUAL}
    COMMAND orvtrace --manual-pages ${ORV_MANUAL} ${ORV_RELEASE_DATE}
    # Without a name and a time, so that the same page is the same file.
    COMMAND sh -c "${ORV_GZIP} -9nk ${ORV_MANUAL}/*.1"
    COMMAND ${CMAKE_COMMAND} -E touch ${ORV_MANUAL}/written
    COMMENT "Writing the manual pages" VERBATIM)
  add_custom_target(manual ALL DEPENDS ${ORV_MANUAL}/written)
endif()
