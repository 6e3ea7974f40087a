# Writes the linker version script: the unmangled names of the two checked lists, the registry
# globals and the symbols of the namespaces and classes in exported_scopes.txt. Everything else
# stays inside, above all the instances of standard templates, which another library could
# otherwise bind to.
# In a version script `?` stands for the blank of a demangled name.
function(morvel_write_version_script output)
  set(names "")
  foreach(list IN LISTS ARGN)
    if(EXISTS "${list}")
      file(STRINGS "${list}" listed REGEX "^[A-Za-z_]")
      foreach(name IN LISTS listed)
        string(APPEND names "    ${name};\n")
      endforeach()
    endif()
  endforeach()

  set(patterns "")
  file(STRINGS "${PROJECT_SOURCE_DIR}/cmake/exported_scopes.txt" scopes REGEX "^[A-Za-z_]")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/cmake/exported_scopes.txt")
  foreach(scope IN LISTS scopes)
    if(scope MATCHES ":$")
      set(member "${scope}*")
      set(type "${scope}*")
    else()
      set(member "${scope}::*")
      set(type "${scope}")
    endif()
    string(APPEND patterns "      ${member};\n")
    foreach(prefix vtable?for VTT?for typeinfo?for typeinfo?name?for construction?vtable?for)
      string(APPEND patterns "      ${prefix}?${type};\n")
    endforeach()
    foreach(prefix guard?variable?for non-virtual?thunk?to virtual?thunk?to
            covariant?return?thunk?to)
      string(APPEND patterns "      ${prefix}?${member};\n")
    endforeach()
  endforeach()

  file(CONFIGURE OUTPUT "${output}" CONTENT "{
  global:
${names}    g_curves;
    g_surfaces;
    g_trimmed_surfaces;
    g_points;
    g_kernel;
    g_last_error;
    g_last_error_message;
    g_next_*_id;
    g_*_params;
    extern \"C++\" {
${patterns}      *?trova_internal::get*As*;
    };
  local: *;
};
" @ONLY)
endfunction()
