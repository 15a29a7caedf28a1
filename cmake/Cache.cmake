# A compiler cache, where there is one: what was compiled before with the same flags costs nothing, in
# this build or another. Kernels, say, are the same in the presets release, sanitize, helgrind and
# reference.
find_program(QSL_CCACHE ccache)
if(QSL_CCACHE)
  # The tests' precompiled headers need the sloppiness. Paths count relative to the source tree, so that
  # another clone finds the objects, too.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros
      CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${QSL_CCACHE})
  foreach(language IN ITEMS C CXX)
    if(NOT CMAKE_${language}_COMPILER_LAUNCHER)
      set(CMAKE_${language}_COMPILER_LAUNCHER ${launcher})
    endif()
  endforeach()
endif()
