# Installs the library, its headers and what finds it: find_package(kandrel) gives
# kandrel::kandrel, pkg-config gives kandrel. The installed tree may be moved as a whole.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kandrel)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS kandrel EXPORT kandrel-targets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/kandrel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
if(TARGET kandrel-post)
  set_target_properties(kandrel-post PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS kandrel-post)
endif()

install(EXPORT kandrel-targets NAMESPACE kandrel:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kandrel-config.cmake.in
  ${PROJECT_BINARY_DIR}/kandrel-config.cmake INSTALL_DESTINATION ${package_dir})
# Before 1.0 each minor version may break, and so has its own soname.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kandrel-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kandrel-config.cmake
  ${PROJECT_BINARY_DIR}/kandrel-config-version.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH pkgconfig_to_prefix ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir}
  ${CMAKE_INSTALL_PREFIX})
set(pkgconfig_cflags "")
set(pkgconfig_libs "")
if(NOT BUILD_SHARED_LIBS)
  set(pkgconfig_cflags " -DKANDREL_STATIC")
  set(pkgconfig_libs " -lz -lbz2 -ltinyxml2")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/kandrel.pc.in ${PROJECT_BINARY_DIR}/kandrel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kandrel.pc DESTINATION ${pkgconfig_dir})
