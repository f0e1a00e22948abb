# SPDX-License-Identifier: Apache-2.0
# orva_precompile(TARGET HEADER...): parses these headers once for all sources of the target. A compiler cache gains more
# without it, so it is left out where there is one.
function(orva_precompile target)
  if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()
