# Debian packages, by `cpack -G DEB` in a build folder of the shared library: libkandrel0.1, named
# after the soname so that two of them can stand side by side; libkandrel-dev; kandrel-post.
if(NOT kandrel_type STREQUAL "SHARED_LIBRARY")
  return()
endif()

set(soname ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(kernel "Kandrel takes a machine-independent toolpath, a machine and its control,
and gives the positions of the machine's axes, with a time for each line.")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kandrel)
set(CPACK_PACKAGE_VENDOR "The Kandrel developers")
# Whoever hands packages out says who answers for them: -DCPACK_DEBIAN_PACKAGE_MAINTAINER=...
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Kandrel developers <kandrel@kandrel.invalid>"
  CACHE STRING "Maintainer that the Debian packages name")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "post-processing kernel for multi-axis CNC machining")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL library dev)
if(TARGET kandrel-post)
  list(APPEND CPACK_COMPONENTS_ALL app)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# kandrel-post is looked at before the library is a package: the dependency is told below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/kandrel)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/finish_package.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/finish_deb.cmake)
set(CPACK_KANDREL_SOURCES ${PROJECT_SOURCE_DIR})
set(CPACK_KANDREL_MULTIARCH OFF)
if(CMAKE_LIBRARY_ARCHITECTURE AND CMAKE_INSTALL_LIBDIR STREQUAL "lib/${CMAKE_LIBRARY_ARCHITECTURE}")
  set(CPACK_KANDREL_MULTIARCH ON)
endif()

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libkandrel${soname})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
  "This is the shared library that programs run with.\n${kernel}")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libkandrel-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libkandrel${soname} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "These are the headers, what CMake and pkg-config find the library by, its pages\nand examples, and sample machines.\n${kernel}")

set(CPACK_DEBIAN_APP_PACKAGE_NAME kandrel-post)
set(CPACK_DEBIAN_APP_PACKAGE_SECTION science)
set(CPACK_DEBIAN_APP_PACKAGE_DEPENDS "libkandrel${soname} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_APP_DESCRIPTION
  "This is a program for the command line that posts, verifies, shows and replays.\n${kernel}")
include(CPack)
