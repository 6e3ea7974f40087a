# The viewer in the pages that the Python package writes: one script, bundled by npm's packages into
# the package's own folder, never committed. What npm cannot do here is no failure of the build: the
# package then says what its pages lack.
find_program(MORVEL_NPM npm DOC "npm, to bundle the viewer of pages")
find_program(MORVEL_NODE NAMES node nodejs DOC "Node, to bundle the viewer of pages")
mark_as_advanced(MORVEL_NPM MORVEL_NODE)

if(MORVEL_NPM AND MORVEL_NODE)
  set(viewer "${PROJECT_SOURCE_DIR}/python/morvel/_viewer.js")
  file(GLOB viewer_sources CONFIGURE_DEPENDS
       "${PROJECT_SOURCE_DIR}/python/viewer/*.js" "${PROJECT_SOURCE_DIR}/python/viewer/*.css"
       "${PROJECT_SOURCE_DIR}/python/viewer/*.json")
  add_custom_command(
    OUTPUT "${viewer}"
    COMMAND "${CMAKE_COMMAND}" "-DNPM=${MORVEL_NPM}" "-DNODE=${MORVEL_NODE}" "-DVIEWER=${viewer}"
            "-DSOURCES=${viewer_sources}" "-DFOLDER=${PROJECT_BINARY_DIR}/viewer"
            -P "${PROJECT_SOURCE_DIR}/cmake/bundle_viewer.cmake"
    DEPENDS ${viewer_sources} "${PROJECT_SOURCE_DIR}/cmake/bundle_viewer.cmake"
    COMMENT "Bundling python/morvel/_viewer.js"
    VERBATIM)
  add_custom_target(python_viewer ALL DEPENDS "${viewer}")
else()
  add_custom_target(python_viewer
    COMMAND "${CMAKE_COMMAND}" -E echo "No npm: the Python package writes no pages (.html)")
endif()
