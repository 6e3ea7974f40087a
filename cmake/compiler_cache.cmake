# Compiles through ccache where it is installed. Paths are made relative to the build folder, so
# that build folders at the same depth share their hits.
find_program(MORVEL_CCACHE ccache DOC "ccache, or empty for none")
if(MORVEL_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  set(launcher
      "${CMAKE_COMMAND}" -E env CCACHE_BASEDIR=/ CCACHE_NOHASHDIR=1
      CCACHE_SLOPPINESS=pch_defines,time_macros # what it asks for to work with precompiled headers
      "${MORVEL_CCACHE}")
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  unset(launcher)
endif()
