# Installs the library into a fresh prefix, then builds and runs programs that know only that prefix:
# consumers of the interface, and the examples, in the two ways that their folders show; imports the
# Python package that lies there.
#   cmake -DBUILD=<build folder> -DSCRATCH=<folder> -DCONSUMER=<its sources>
#         -DEXAMPLES=<folder> -DGENERATOR=... -DPYTHON=<interpreter or empty>
#         -DC_COMPILER=... -DCXX_COMPILER=... -DLIBDIR=<lib> -P check_package.cmake
cmake_minimum_required(VERSION 3.25)

function(step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "failed (${result}): ${command}")
  endif()
endfunction()

function(build_with_cmake sources folder)
  step("${CMAKE_COMMAND}" -S "${sources}" -B "${folder}" -G "${GENERATOR}"
       "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_C_COMPILER=${C_COMPILER}"
       "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
  step("${CMAKE_COMMAND}" --build "${folder}")
endfunction()

# Runs the programs of expected_output.txt that lie in a folder: `count` of them have to.
function(check_output folder count)
  file(STRINGS "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/expected_output.txt" lines REGEX "^[a-z]")
  set(ran "")
  foreach(line IN LISTS lines)
    string(REGEX MATCH "^([a-z_]+) (.*)$" whole "${line}")
    set(name "${CMAKE_MATCH_1}")
    set(expected "${CMAKE_MATCH_2}")
    if(NOT EXISTS "${folder}/${name}")
      continue()
    endif()
    if(NOT name IN_LIST ran)
      list(APPEND ran ${name})
      execute_process(COMMAND "${folder}/${name}" WORKING_DIRECTORY "${folder}"
                      OUTPUT_VARIABLE output RESULT_VARIABLE result)
      if(NOT result EQUAL 0)
        message(FATAL_ERROR "${folder}/${name} ended with ${result}:\n${output}")
      endif()
    endif()
    # CMake's ^ is the start of the text.
    string(REGEX REPLACE "^\\^" "\n" expected "${expected}")
    if(NOT "\n${output}" MATCHES "${expected}")
      message(FATAL_ERROR "${folder}/${name} does not print '${expected}', but:\n${output}")
    endif()
  endforeach()
  list(LENGTH ran ran_count)
  if(NOT ran_count EQUAL count)
    message(FATAL_ERROR "of ${count} examples in ${folder} these were run: ${ran}")
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

# Who only runs programs needs no more than this.
step("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${SCRATCH}/runtime" --component library)
file(GLOB_RECURSE runtime RELATIVE "${SCRATCH}/runtime" "${SCRATCH}/runtime/*")
if(NOT "${runtime}" MATCHES "^${LIBDIR}/libmorvel\\.so\\.[0-9]+;${LIBDIR}/libmorvel\\.so\\.[0-9.]+$")
  message(FATAL_ERROR "the component 'library' holds ${runtime}")
endif()

build_with_cmake("${CONSUMER}" "${consumer_build}")
step("${CMAKE_CTEST_COMMAND}" --test-dir "${consumer_build}" --output-on-failure --no-tests=error)

set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
set(ENV{CC} "${C_COMPILER}")
set(ENV{CXX} "${CXX_COMPILER}")
foreach(language c cpp)
  build_with_cmake("${EXAMPLES}/${language}" "${SCRATCH}/examples/${language}")
  file(GLOB sources "${EXAMPLES}/${language}/*.${language}")
  list(LENGTH sources count)
  check_output("${SCRATCH}/examples/${language}" ${count})
  # The flags of pkg-config are the same for all: one program shows that they do.
  file(COPY "${EXAMPLES}/${language}" DESTINATION "${SCRATCH}/examples_by_make")
  list(GET sources 0 first)
  cmake_path(GET first STEM program)
  step(make -C "${SCRATCH}/examples_by_make/${language}" ${program})
  check_output("${SCRATCH}/examples_by_make/${language}" 1)
endforeach()

if(PYTHON)
  file(WRITE "${SCRATCH}/use.py" "
import morvel
point = morvel.Curve.circle((0, 0, 0), radius=2.0)(0.25)
assert abs((point ** 2).sum() - 4.0) < 1e-12, point
loaded = {line.split()[-1] for line in open('/proc/self/maps') if 'libmorvel' in line}
assert all(path.startswith('${prefix}') for path in loaded | {morvel.__file__}), loaded
assert morvel.__file__.endswith('__init__.py') and loaded
")
  step("${CMAKE_COMMAND}" -E env --unset=MORVEL_LIBRARY PYTHONDONTWRITEBYTECODE=1
       "PYTHONPATH=${prefix}/${LIBDIR}/python3/dist-packages" "${PYTHON}" "${SCRATCH}/use.py")
endif()
