# kandrel_exports(NAME NAMESPACES...): a shared library lets out nothing but names of its own:
# those of these namespaces, and those outside all namespaces that begin with zv. Which of them are
# public, KANDREL_API says; this keeps back what templates of the standard library leave as weak
# symbols, and what is linked in, since a host would share them without knowing. The names are
# mangled: before each stand what it is (table, type name, guard, static of a function, thunk) and
# how it is nested. The linker is told again when the list has changed.
function(kandrel_exports name)
  set(heads "[0-9]zv" "[0-9][0-9]zv")
  foreach(namespace IN LISTS ARGN)
    string(LENGTH ${namespace} length)
    list(APPEND heads ${length}${namespace})
  endforeach()
  set(patterns "")
  foreach(head IN LISTS heads)
    foreach(nested "N" "NK")
      foreach(kind "" "Z" "GV" "GVZ" "T[VITS]" "Th*_" "Tv*_" "Tc*_")
        string(APPEND patterns "    _Z${kind}${nested}${head}*;\n")
      endforeach()
    endforeach()
    string(APPEND patterns "    _ZT[VITS]${head}*;\n")
  endforeach()
  set(map ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
  file(CONFIGURE OUTPUT ${map} CONTENT "{\n  global:\n${patterns}  local: *;\n};\n")
  target_link_options(${name} PRIVATE LINKER:--version-script=${map})
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
