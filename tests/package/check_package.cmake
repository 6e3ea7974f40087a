# Installs the library into a fresh prefix, then builds and runs consumers that know only that
# prefix: through find_package in C and C++, and in C through pkg-config.
#   cmake -DBUILD=<build folder> -DSCRATCH=<folder> -DCONSUMER=<its sources>
#         -DEXAMPLES=<folder> -DGENERATOR=...
#         -DC_COMPILER=... -DCXX_COMPILER=... -DLIBDIR=<lib> -P check_package.cmake
cmake_minimum_required(VERSION 3.25)

function(step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "failed (${result}): ${command}")
  endif()
endfunction()

set(prefix "${SCRATCH}/prefix")
set(consumer_build "${SCRATCH}/consumer")
file(REMOVE_RECURSE "${SCRATCH}")
file(MAKE_DIRECTORY "${SCRATCH}")

step("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}" OUTPUT_QUIET)

file(GLOB_RECURSE private LIST_DIRECTORIES FALSE "${prefix}/include/morvel/*/internal/*")
if(private)
  message(FATAL_ERROR "private headers are installed: ${private}")
endif()

step("${CMAKE_COMMAND}" -S "${CONSUMER}" -B "${consumer_build}" -G "${GENERATOR}"
     "-DEXAMPLES=${EXAMPLES}"
     "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_C_COMPILER=${C_COMPILER}"
     "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
step("${CMAKE_COMMAND}" --build "${consumer_build}")
step("${CMAKE_CTEST_COMMAND}" --test-dir "${consumer_build}" --output-on-failure --no-tests=error)

set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
execute_process(COMMAND pkg-config --cflags --libs morvel
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
step("${C_COMPILER}" -std=c99 -o "${SCRATCH}/consumer_pc" "${CONSUMER}/consumer.c" ${flags})
step("${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${prefix}/${LIBDIR}" "${SCRATCH}/consumer_pc")
