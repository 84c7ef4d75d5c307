# Warnings, sanitizers and the charset of narrow literals, the same for every target.

function(karst_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-unused-parameter -Werror
                                           $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>)
  # g++ 12 sees overlapping copies in the standard library's own string sums.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  endif()
  if(KARST_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KARST_SANITIZE} -fno-omit-frame-pointer
                                             -fno-sanitize-recover=all)
    target_link_options(${target} PUBLIC -fsanitize=${KARST_SANITIZE})
  endif()
endfunction()

# Message texts are written in UTF-8 and are GBK in the program. Only g++ can do that; elsewhere their bytes are UTF-8.
function(karst_gbk_literals target)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -finput-charset=UTF-8 -fexec-charset=GBK)
  endif()
endfunction()
