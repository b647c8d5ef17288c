# What every target of the project is compiled with.
include(GNUInstallDirs)

# kandrel_target(NAME): language, floating-point meaning, warnings and sanitizers of one target.
function(kandrel_target name)
  target_compile_features(${name} PUBLIC cxx_std_20)
  set_target_properties(${name} PROPERTIES
    CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  # One input gives the same bytes on every machine: a fused multiply-add rounds once where the
  # written arithmetic rounds twice.
  # Exported functions may be inlined within the library: nobody replaces them from outside.
  target_compile_options(${name} PRIVATE -ffp-contract=off -fno-semantic-interposition)
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    -Wno-sign-conversion -Wold-style-cast -Woverloaded-virtual -Wundef)
  if(KANDREL_STRICT)
    target_compile_options(${name} PRIVATE -Werror)
  endif()
  if(KANDREL_SANITIZE)
    target_compile_options(${name} PRIVATE -fsanitize=${KANDREL_SANITIZE}
      -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${name} PRIVATE -fsanitize=${KANDREL_SANITIZE})
  endif()
endfunction()

# kandrel_precompile(NAME HEADERS...): these headers are compiled once for the target.
# kandrel_precompile(NAME REUSE_FROM OTHER): those of another target, compiled alike.
# ccache keeps what is compiled with them only when told that it may.
function(kandrel_precompile name)
  if(ARGV1 STREQUAL "REUSE_FROM")
    target_precompile_headers(${name} ${ARGN})
  else()
    target_precompile_headers(${name} PRIVATE ${ARGN})
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    target_compile_options(${name} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
  endif()
  if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache$")
    set_target_properties(${name} PROPERTIES CXX_COMPILER_LAUNCHER
      "env;CCACHE_SLOPPINESS=pch_defines,time_macros;${CMAKE_CXX_COMPILER_LAUNCHER}")
  endif()
endfunction()

# kandrel_require(PACKAGE DEBIAN_NAME): finds a package or names the Debian package that brings it.
macro(kandrel_require package debian)
  find_package(${package} QUIET)
  if(NOT ${package}_FOUND)
    message(FATAL_ERROR "${package} is missing; install the Debian package ${debian} "
      "(script/bootstrap does).")
  endif()
endmacro()
