# Copies public headers to a folder in the form that users include: <karst/marc/marctree.h>, with what they reach.
# Run as: cmake -D SOURCE_DIR=.../src -D HEADERS="marc/marctree.h;..." -D TARGET_DIR=.../karst -P installed_headers.cmake
cmake_minimum_required(VERSION 3.25)

# The paths that a header includes between quotation marks, which are paths below src/.
function(includes_of header result)
  file(STRINGS ${SOURCE_DIR}/${header} lines REGEX "^#include \"")
  set(paths "")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^#include \"([^\"]*)\".*" "\\1" path "${line}")
    list(APPEND paths ${path})
  endforeach()
  set(${result} ${paths} PARENT_SCOPE)
endfunction()

# The headers, and all that they reach.
function(reached_headers result)
  set(waiting ${ARGN})
  set(reached "")
  while(waiting)
    list(POP_FRONT waiting header)
    if(header IN_LIST reached)
      continue()
    endif()
    list(APPEND reached ${header})
    includes_of(${header} included)
    list(APPEND waiting ${included})
  endwhile()
  set(${result} ${reached} PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${TARGET_DIR})
reached_headers(headers ${HEADERS})
foreach(header IN LISTS headers)
  # Byte for byte but for the includes: brackets and semicolons mean something in a list.
  file(READ ${SOURCE_DIR}/${header} text)
  string(REGEX REPLACE "(\n|^)#include \"" "\\1#include \"karst/" text "${text}")
  file(WRITE ${TARGET_DIR}/${header} "${text}")
endforeach()
