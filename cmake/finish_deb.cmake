# Run by CPack when the Debian packages are there: what it writes into their control files is put
# right. ldconfig is called by a trigger, so that no script need call it; packages whose files lie in
# folders of their architecture, or are the same for each, may stand beside those of another one.
foreach(deb IN LISTS CPACK_PACKAGE_FILES)
  if(NOT deb MATCHES "\\.deb$")
    continue()
  endif()
  set(tree ${deb}.tree)
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND dpkg-deb --raw-extract ${deb} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
  file(READ ${tree}/DEBIAN/control control)
  if(CPACK_KANDREL_MULTIARCH AND control MATCHES "Package: libkandrel")
    string(REPLACE "Package: libkandrel" "Multi-Arch: same\nPackage: libkandrel" control "${control}")
    file(WRITE ${tree}/DEBIAN/control "${control}")
  endif()
  execute_process(COMMAND dpkg-deb --root-owner-group -Z${CPACK_DEBIAN_COMPRESSION_TYPE} --build ${tree} ${deb}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${tree})
endforeach()
