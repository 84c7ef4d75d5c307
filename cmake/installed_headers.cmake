# Copies the public headers to a folder in the form that users include: <karst/marc/marctree.h>. Public is what shows a
# host something, marked KARST_API, and what these headers include, since a class shows its bases and fields.
# So all that is declared in them is marked as well, and none of them asks for more than C++17: a test holds both.
# Run as: cmake -D SOURCE_DIR=.../src -D TARGET_DIR=.../karst -P installed_headers.cmake
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

function(marked_headers result)
  file(GLOB_RECURSE headers RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/*.h)
  set(marked "")
  foreach(header IN LISTS headers)
    file(STRINGS ${SOURCE_DIR}/${header} marks REGEX KARST_API LIMIT_COUNT 1)
    if(marks)
      list(APPEND marked ${header})
    endif()
  endforeach()
  set(${result} ${marked} PARENT_SCOPE)
endfunction()

function(public_headers result)
  marked_headers(waiting)
  set(public "")
  while(waiting)
    list(POP_FRONT waiting header)
    if(NOT header IN_LIST public)
      list(APPEND public ${header})
      includes_of(${header} included)
      list(APPEND waiting ${included})
    endif()
  endwhile()
  set(${result} ${public} PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${TARGET_DIR})
public_headers(headers)
foreach(header IN LISTS headers)
  # Byte for byte but for the includes: brackets and semicolons mean something in a list.
  file(READ ${SOURCE_DIR}/${header} text)
  string(REGEX REPLACE "(\n|^)#include \"" "\\1#include \"karst/" text "${text}")
  file(WRITE ${TARGET_DIR}/${header} "${text}")
endforeach()
