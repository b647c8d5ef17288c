# The page of a posted run (report.html): its template is built by Node.js when CMake configures, and
# compiled into kandrel-post. Where that can't be done the program is built without it, and says so.
set(KANDREL_REPORT AUTO CACHE STRING
  "The page of a posted run: ON needs Node.js 18 and npm, AUTO does without, OFF leaves it out")
set_property(CACHE KANDREL_REPORT PROPERTY STRINGS AUTO ON OFF)

# Build folders beside each other share one template: npm runs once for all of them.
cmake_path(GET PROJECT_BINARY_DIR PARENT_PATH kandrel_web_beside)
if(kandrel_web_beside STREQUAL "${PROJECT_SOURCE_DIR}/build")
  set(kandrel_web_default ${PROJECT_SOURCE_DIR}/build/web)
else()
  set(kandrel_web_default ${PROJECT_BINARY_DIR}/web)
endif()
set(KANDREL_WEB_DIR ${kandrel_web_default} CACHE PATH "Where templates of the page are built and kept")
mark_as_advanced(KANDREL_WEB_DIR)

# kandrel_find_node(WHY): finds Node.js and npm; WHY is empty where both are there and serve.
function(kandrel_find_node why)
  find_program(KANDREL_NODE node)
  find_program(KANDREL_NPM npm)
  mark_as_advanced(KANDREL_NODE KANDREL_NPM)
  set(${why} "built without Node.js" PARENT_SCOPE)
  if(NOT KANDREL_NODE OR NOT KANDREL_NPM)
    return()
  endif()
  execute_process(COMMAND ${KANDREL_NODE} --version
    OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(version MATCHES "^v([0-9]+)\\." AND CMAKE_MATCH_1 GREATER_EQUAL 18)
    set(${why} "" PARENT_SCOPE)
  endif()
endfunction()

# kandrel_build_page(WEB KEY WHY): builds the page of the folder WEB into KANDREL_WEB_DIR/KEY.cpp;
# WHY is empty where that went well. What npm and the build say is kept in KEY.log.
function(kandrel_build_page web key why)
  set(work ${KANDREL_WEB_DIR}/${key}.work)
  set(log ${KANDREL_WEB_DIR}/${key}.log)
  message(STATUS "Building the page of posted runs")
  file(REMOVE_RECURSE ${work})
  file(COPY ${web}/package.json ${web}/package-lock.json ${web}/build.mjs ${web}/src
    DESTINATION ${work})
  # One try after a failure: a registry that can't be reached shall not hold the build up.
  execute_process(COMMAND ${KANDREL_NPM} ci --omit=dev --prefer-offline --ignore-scripts --no-audit --no-fund
      --fetch-retries=1 --fetch-retry-mintimeout=1000 --fetch-timeout=60000
    WORKING_DIRECTORY ${work} TIMEOUT 300
    RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
  file(WRITE ${log} "${output}")
  if(failed)
    set(${why} "built where npm could not fetch its packages" PARENT_SCOPE)
    message(STATUS "npm ci failed; see ${log}")
  else()
    execute_process(
      COMMAND ${KANDREL_NODE} build.mjs ${work}/page.html
      WORKING_DIRECTORY ${work} TIMEOUT 120
      RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT failed)
      execute_process(
        COMMAND ${KANDREL_NODE} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/embed_page.mjs
          ${work}/page.html ${work}/page.cpp
        RESULT_VARIABLE failed OUTPUT_VARIABLE more ERROR_VARIABLE more)
      string(APPEND output "${more}")
    endif()
    file(APPEND ${log} "${output}")
    if(failed)
      # Not the machine's fault but the page's: that shall not go unseen.
      message(WARNING "The page of posted runs can't be built; see ${log}\n${output}")
      set(${why} "built where its page can't be" PARENT_SCOPE)
    else()
      file(RENAME ${work}/page.cpp ${KANDREL_WEB_DIR}/${key}.cpp)
      set(${why} "" PARENT_SCOPE)
    endif()
  endif()
  file(REMOVE_RECURSE ${work})
endfunction()

# kandrel_web_page(WEB SOURCE): builds the page of the folder WEB where it can be, and sets SOURCE to
# the file to compile, which defines what kandrel-post/pictures/page_template.h declares.
function(kandrel_web_page web source)
  file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${web} CONFIGURE_DEPENDS ${web}/src/*)
  list(APPEND files package.json package-lock.json build.mjs)
  list(SORT files)
  set(hashes)
  foreach(file IN LISTS files ITEMS ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/embed_page.mjs)
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${web} OUTPUT_VARIABLE path)
    cmake_path(GET file FILENAME name)
    file(SHA256 ${path} hash)
    string(APPEND hashes "${name} ${hash}\n")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
  endforeach()
  string(SHA256 key "${hashes}")
  string(SUBSTRING ${key} 0 16 key)
  set(key page-${key})
  set(page ${KANDREL_WEB_DIR}/${key}.cpp)

  set(why)
  if(KANDREL_REPORT STREQUAL "OFF")
    set(why "built with KANDREL_REPORT=OFF")
  elseif(NOT EXISTS ${page})
    kandrel_find_node(why)
    if(NOT why)
      file(MAKE_DIRECTORY ${KANDREL_WEB_DIR})
      file(LOCK ${KANDREL_WEB_DIR}/lock GUARD FUNCTION TIMEOUT 600)
      if(NOT EXISTS ${page})
        kandrel_build_page(${web} ${key} why)
      endif()
    endif()
  endif()
  if(why)
    if(KANDREL_REPORT STREQUAL "ON")
      message(FATAL_ERROR "KANDREL_REPORT=ON, but report.html would be left out: ${why}")
    endif()
    message(STATUS "report.html left out: ${why}")
    set(page ${CMAKE_CURRENT_BINARY_DIR}/no_page.cpp)
    file(CONFIGURE OUTPUT ${page} @ONLY CONTENT [=[
// Written by CMake, since no page was built.
#include "kandrel-post/pictures/page_template.h"

namespace kandrel_post {

std::span<const std::string_view> PageTemplate() {
  return {};
}

std::string_view PageLeftOut() {
  return "@why@";
}

}  // namespace kandrel_post
]=])
  endif()
  set(${source} ${page} PARENT_SCOPE)
endfunction()
