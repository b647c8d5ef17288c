# kandrel_embed(SOURCE DECLARED_IN FUNCTION FILES...): writes SOURCE, which defines
#   std::span<const EmbeddedFile> FUNCTION()
# in namespace kandrel_post, as the header DECLARED_IN declares it: the names, without folder and
# ending, and the texts of the files, by name. It is written when CMake configures, which the build
# does again whenever one of the files has changed.
function(kandrel_embed source declared_in function)
  set(names)
  foreach(file IN LISTS ARGN)
    cmake_path(GET file STEM LAST_ONLY name)
    list(APPEND names ${name})
    set(file_of_${name} ${file})
  endforeach()
  list(SORT names)
  set(entries "")
  foreach(name IN LISTS names)
    file(READ ${file_of_${name}} text)
    string(APPEND entries "    {\"${name}\", R\"embedded(${text})embedded\"},\n")
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${ARGN})
  file(CONFIGURE OUTPUT ${source} @ONLY CONTENT [=[
// Written by CMake; what it is made from is what to change.
#include "@declared_in@"

#include <array>

namespace kandrel_post {

namespace {

constexpr auto kFiles = std::to_array<EmbeddedFile>({
@entries@});

}  // namespace

std::span<const EmbeddedFile> @function@() {
  return kFiles;
}

}  // namespace kandrel_post
]=])
endfunction()
