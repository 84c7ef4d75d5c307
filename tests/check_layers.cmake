# Checks, file by file, that no folder includes one above it. Run as: cmake -D SOURCE_DIR=... -P check_layers.cmake

# From the lowest to the highest; a file may include its own folder and those before it. What lies in no folder is below
# all folders, the program's main file above them.
set(src_layers text formats platform windows records helpers language runstate values statis hyper builtins catalogue
               script marc capi)

set(faults "")

# check_tree(TREE PREFIX LAYER...): TREE is a folder of the project. The paths of its own includes begin with PREFIX.
function(check_tree tree prefix)
  file(GLOB_RECURSE sources RELATIVE ${SOURCE_DIR}/${tree} ${SOURCE_DIR}/${tree}/*.h ${SOURCE_DIR}/${tree}/*.cpp)
  if(NOT sources)
    message(FATAL_ERROR "no sources below ${SOURCE_DIR}/${tree}")
  endif()
  foreach(source ${sources})
    rank_of(${source} own_rank ${ARGN})
    if(own_rank EQUAL -1)
      list(APPEND faults "${tree}/${source} lies in no known folder")
      continue()
    endif()
    file(STRINGS ${SOURCE_DIR}/${tree}/${source} includes REGEX "^#include \"${prefix}")
    foreach(line ${includes})
      string(REGEX REPLACE "^#include \"${prefix}([^\"]*)\".*" "\\1" included "${line}")
      rank_of(${included} rank ${ARGN})
      if(NOT EXISTS ${SOURCE_DIR}/${tree}/${included})
        list(APPEND faults "${tree}/${source} includes ${included}, which is no path below ${tree}/")
      elseif(rank GREATER own_rank)
        list(APPEND faults "${tree}/${source} includes ${included}, which lies above it")
      endif()
    endforeach()
  endforeach()
  set(faults "${faults}" PARENT_SCOPE)
endfunction()

# rank_of(PATH RESULT LAYER...): the place of the path's folder in the layers, -1 if it is none of them.
function(rank_of path result)
  set(layers ${ARGN})
  if(path STREQUAL "main.cpp")
    list(LENGTH layers rank)
  elseif(NOT path MATCHES "/")
    set(rank 0)
  else()
    string(REGEX REPLACE "/.*" "" folder ${path})
    list(FIND layers ${folder} rank)
  endif()
  set(${result} ${rank} PARENT_SCOPE)
endfunction()

check_tree(src "" ${src_layers})

if(faults)
  list(JOIN faults "\n  " text)
  message(FATAL_ERROR "Includes against the order of the layers:\n  ${text}")
endif()
