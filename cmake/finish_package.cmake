# Run by CPack on each tree that becomes a Debian package: what Debian wants otherwise than a tree
# that may be moved, or besides.
file(READ ${CPACK_KANDREL_SOURCES}/CHANGELOG.md changes)
string(REPLACE "." "\\." version_pattern ${CPACK_PACKAGE_VERSION})
if(changes MATCHES "## \\[${version_pattern}\\]")
  set(suite unstable)
  set(entry "Version ${CPACK_PACKAGE_VERSION}: what is new is in changelog.gz.")
else()
  set(suite UNRELEASED)
  set(entry "On the way to version ${CPACK_PACKAGE_VERSION}: changelog.gz has it under [Unreleased].")
endif()

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
  # What is documented belongs to the package here, and not to the project.
  if(EXISTS ${tree}/usr/share/doc/kandrel)
    file(RENAME ${tree}/usr/share/doc/kandrel ${doc})
  endif()
  file(MAKE_DIRECTORY ${doc})
  configure_file(${CPACK_KANDREL_SOURCES}/CHANGELOG.md ${doc}/changelog COPYONLY)
  # SOURCE_DATE_EPOCH, where it is set, decides the date.
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE ${doc}/changelog.Debian "kandrel (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) ${suite}; urgency=medium

  * ${entry}

 -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}
")
  file(READ ${CPACK_KANDREL_SOURCES}/cmake/copyright copyright)
  if(component STREQUAL "APP")
    file(READ ${CPACK_KANDREL_SOURCES}/cmake/copyright_of_program more)
    string(APPEND copyright "${more}")
  endif()
  file(WRITE ${doc}/copyright "${copyright}")
  file(GLOB pages ${tree}/usr/share/man/man*/*)
  execute_process(COMMAND gzip -9nf ${doc}/changelog ${doc}/changelog.Debian ${pages}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
