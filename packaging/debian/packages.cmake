# The Debian packages: libmorvel1 (component library), libmorvel-dev (development), python3-morvel
# (python). Run by `cpack` in a build folder whose prefix is /usr.
set(soversion ${PROJECT_VERSION_MAJOR})
set(debian_release 1)
set(debian_version ${PROJECT_VERSION}-${debian_release})
set(package_of_library libmorvel${soversion})
set(package_of_development libmorvel-dev)
set(package_of_python python3-morvel)

# Who answers for the packages, by the variables that Debian's own tools read.
set(packager_name "$ENV{DEBFULLNAME}")
set(packager_mail "$ENV{DEBEMAIL}")
if(NOT packager_name OR NOT packager_mail)
  set(packager_name "morvel maintainers")
  set(packager_mail "maintainers@morvel.invalid")
endif()

# Documents that every package has. The date is that of the sources, so that two builds agree.
set(own_folder "${CMAKE_CURRENT_BINARY_DIR}/debian")
string(TIMESTAMP release_date "%a, %d %b %Y %H:%M:%S +0000" UTC) # of SOURCE_DATE_EPOCH, if set
configure_file(debian/changelog.in "${own_folder}/changelog.Debian" @ONLY)
find_program(GZIP gzip REQUIRED)
file(COPY_FILE "${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${own_folder}/changelog")
execute_process(COMMAND "${GZIP}" -9nfk changelog changelog.Debian
                WORKING_DIRECTORY "${own_folder}" COMMAND_ERROR_IS_FATAL ANY)

set(components library development)
if(TARGET python_signatures)
  list(APPEND components python)
endif()
foreach(component IN LISTS components)
  install(FILES debian/copyright "${own_folder}/changelog.gz" "${own_folder}/changelog.Debian.gz"
          DESTINATION ${documents}/${package_of_${component}} COMPONENT ${component})
endforeach()

string(CONCAT what_it_is "Free-form curves and surfaces: B-spline, NURBS and Bezier, analytic,\n"
  "extruded, revolved, lofted and swept ones are created, evaluated, split,\n"
  "converted, fitted to points, projected onto, trimmed, blended and filled.")
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_NAME morvel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE morvel)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${debian_release})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${packager_name} <${packager_mail}>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${package_of_library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "Surface-modelling geometry kernel - shared library
${what_it_is}

This package holds the library.")
# The library keeps its interface within a soname: what was linked against one release runs with any
# later one, and so the packages say.
file(WRITE "${own_folder}/shlibs"
     "libmorvel ${soversion} ${package_of_library} (>= ${PROJECT_VERSION})\n")
file(WRITE "${own_folder}/triggers" "activate-noawait ldconfig\n")
# A trigger is all that a library needs. CPack would add scripts that call ldconfig, unless it is
# told of scripts of these names; it warns of those that do not exist, and leaves them out.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
    "${own_folder}/shlibs" "${own_folder}/triggers" "${own_folder}/none/postinst"
    "${own_folder}/none/postrm")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${package_of_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${package_of_library} (= ${debian_version}), libeigen3-dev (>= 3.4)")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, pkgconf")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Surface-modelling geometry kernel - headers
${what_it_is}

This package holds the headers of the C interface and of the C++ classes,
what pkg-config and CMake need to find them, and examples.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${package_of_python})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "${package_of_library} (= ${debian_version}), python3 (>= 3.9), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS python3-matplotlib)
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "Surface-modelling geometry kernel - Python package
${what_it_is}

This package holds the Python objects over them, which take and give numpy
arrays.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    "${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst" "${CMAKE_CURRENT_SOURCE_DIR}/debian/prerm")
include(CPack)
