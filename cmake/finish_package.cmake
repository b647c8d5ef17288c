# Run by CPack on each tree that becomes a Debian package: what Debian wants otherwise than a tree
# that may be moved, or besides.
file(GLOB trees LIST_DIRECTORIES true ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)
foreach(tree IN LISTS trees)
  cmake_path(GET tree FILENAME component)
  string(TOUPPER ${component} component)
  set(package ${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  if(NOT package)
    continue()
  endif()
  # In /usr the library is found without being told.
  if(EXISTS ${tree}/usr/bin/kandrel-post)
    file(RPATH_REMOVE FILE ${tree}/usr/bin/kandrel-post)
  endif()
  set(doc ${tree}/usr/share/doc/${package})
  file(MAKE_DIRECTORY ${doc})
  configure_file(${CPACK_KANDREL_SOURCES}/CHANGELOG.md ${doc}/changelog COPYONLY)
  # SOURCE_DATE_EPOCH, where it is set, decides the date.
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE ${doc}/changelog.Debian "kandrel (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}: what is new is in changelog.gz.

 -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}
")
  execute_process(COMMAND gzip -9nf ${doc}/changelog ${doc}/changelog.Debian
    COMMAND_ERROR_IS_FATAL ANY)
  if(EXISTS ${CPACK_KANDREL_SOURCES}/LICENSE)
    configure_file(${CPACK_KANDREL_SOURCES}/LICENSE ${doc}/copyright COPYONLY)
  endif()
endforeach()
