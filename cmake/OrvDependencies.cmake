# What tests, bench and host use from the system's packages. The library itself uses nothing but the standard
# library and the platform.

# Header-only packages serve both targets. For a cross build their folders are copied, since /usr/include as a
# whole must never be on a cross compiler's path.
set(ORV_HEADER_ROOT ${CMAKE_BINARY_DIR}/header-packages)
foreach(folder CLI fmt nlohmann toml++)
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "header package folder '${folder}' is missing; run tools/install-packages")
  endif()
  file(COPY /usr/include/${folder} DESTINATION ${ORV_HEADER_ROOT})
endforeach()
add_library(orv_header_packages INTERFACE)
target_include_directories(orv_header_packages SYSTEM INTERFACE ${ORV_HEADER_ROOT})

# Linked statically, so that programs need nothing but the system; Debian has it for both targets.
find_library(ORV_ZLIB NAMES libz.a)
find_path(ORV_ZLIB_INCLUDE NAMES zlib.h)
if(NOT ORV_ZLIB OR NOT ORV_ZLIB_INCLUDE)
  message(FATAL_ERROR "zlib is missing for this target; run tools/install-packages")
endif()
add_library(orv_zlib INTERFACE)
target_link_libraries(orv_zlib INTERFACE ${ORV_ZLIB})

# Benchmarks and fuzz targets use what the tests share, which is written with it.
if(ORV_BUILD_TESTS OR ORV_BUILD_BENCHMARKS OR ORV_BUILD_FUZZERS)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  foreach(lib gtest gmock gtest_main gmock_main)
    if(TARGET ${lib})
      # Neither it nor its headers are held to this tree's warnings.
      target_compile_options(${lib} PRIVATE -w ${ORV_QUICK_BUILD})
      get_target_property(dirs ${lib} INTERFACE_INCLUDE_DIRECTORIES)
      set_target_properties(${lib} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${dirs}")
      if(NOT TARGET GTest::${lib})
        add_library(GTest::${lib} ALIAS ${lib})
      endif()
    endif()
  endforeach()
endif()
