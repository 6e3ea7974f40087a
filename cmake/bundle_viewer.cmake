# Bundles SOURCES, copied into FOLDER, into VIEWER. Warns where that is impossible, and never fails.
file(MAKE_DIRECTORY "${FOLDER}")
file(COPY ${SOURCES} DESTINATION "${FOLDER}")

function(run_or_warn what)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY "${FOLDER}" RESULT_VARIABLE failure
                  OUTPUT_VARIABLE text ERROR_VARIABLE text TIMEOUT 120)
  if(NOT failure EQUAL 0)
    message("${text}")
    message(WARNING "${what}: the Python package writes no pages (.html) until this is built")
    set(failed TRUE PARENT_SCOPE)
  endif()
endfunction()

# Exactly what the lock file names, checked by its sums; no script of a package runs.
set(failed FALSE)
run_or_warn("npm cannot install the viewer's packages"
  "${NPM}" ci --ignore-scripts --no-audit --no-fund --loglevel=error --fetch-retries=1
  --fetch-timeout=20000)
if(NOT failed)
  run_or_warn("The viewer cannot be bundled" "${NODE}" build.js "${VIEWER}")
endif()
