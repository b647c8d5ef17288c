# Installs the library, its headers and what finds it: find_package(kandrel) gives
# kandrel::kandrel, pkg-config gives kandrel. The installed tree may be moved as a whole. Components:
# library, what a program runs with; dev, what a program is built with and what explains it; app,
# kandrel-post.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kandrel)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS kandrel EXPORT kandrel-targets
  LIBRARY COMPONENT library NAMELINK_COMPONENT dev
  ARCHIVE COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/kandrel ${PROJECT_BINARY_DIR}/include/kandrel
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev
  FILES_MATCHING PATTERN "*.h" PATTERN detail EXCLUDE)
if(TARGET kandrel-post)
  file(RELATIVE_PATH libraries_from_programs ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(kandrel-post PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_programs}")
  install(TARGETS kandrel-post COMPONENT app)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/kandrel-post.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT app)
endif()
# All symbols are bound at the start, so that the tables of what is called are read-only from then on.
foreach(target kandrel kandrel-post)
  if(TARGET ${target})
    target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now)
  endif()
endforeach()

# The pages, the examples and the sample machines, as they stand beside each other in the sources.
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/kandrel COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/kandrel COMPONENT dev
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/kandrel COMPONENT dev
  PATTERN examples/CMakeLists.txt EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/machines DESTINATION ${CMAKE_INSTALL_DATADIR}/kandrel
  COMPONENT dev PATTERN "*.py" EXCLUDE)

install(EXPORT kandrel-targets NAMESPACE kandrel:: DESTINATION ${package_dir} COMPONENT dev)
get_target_property(kandrel_type kandrel TYPE)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kandrel-config.cmake.in
  ${PROJECT_BINARY_DIR}/kandrel-config.cmake INSTALL_DESTINATION ${package_dir})
# Before 1.0 each minor version may break, and so has its own soname.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kandrel-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kandrel-config.cmake
  ${PROJECT_BINARY_DIR}/kandrel-config-version.cmake DESTINATION ${package_dir} COMPONENT dev)

# A folder of libraries that is given as an absolute path stays where it is, and so does the prefix.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(pkgconfig_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH prefix_from_file ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
  set(pkgconfig_prefix \${pcfiledir}/${prefix_from_file})
endif()
foreach(folder LIBDIR INCLUDEDIR)
  cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_${folder} BASE_DIRECTORY "\${prefix}"
    OUTPUT_VARIABLE pkgconfig_${folder})
endforeach()
set(pkgconfig_cflags "")
set(pkgconfig_private "")
if(kandrel_type STREQUAL "STATIC_LIBRARY")
  set(pkgconfig_cflags " -DKANDREL_STATIC")
  # Debian 12 has no file of pkg-config for bzip2.
  set(pkgconfig_private "Requires.private: zlib tinyxml2\nLibs.private: -lbz2\n")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/kandrel.pc.in ${PROJECT_BINARY_DIR}/kandrel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kandrel.pc DESTINATION ${pkgconfig_dir} COMPONENT dev)
