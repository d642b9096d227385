# pw_find_c_library(<Package> HEADER <path> LIBRARY <name> PKG_CONFIG <module>)
#
# The body of a find module for a plain C library: pkg-config, when it is installed, supplies search hints
# and the version; find_path and find_library decide, so CMAKE_PREFIX_PATH and <Package>_ROOT work with
# or without pkg-config. Sets <Package>_FOUND and <Package>_VERSION (empty when pkg-config cannot tell) in
# the caller's scope, and defines the imported target <Package>::<Package> once.
include_guard(GLOBAL)
include(FindPackageHandleStandardArgs)

function(pw_find_c_library package)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADER;LIBRARY;PKG_CONFIG" "")
  find_package(PkgConfig QUIET)
  if(PKG_CONFIG_FOUND)
    pkg_check_modules(PC_${package} QUIET ${arg_PKG_CONFIG})
  endif()
  find_path(${package}_INCLUDE_DIR NAMES ${arg_HEADER} HINTS ${PC_${package}_INCLUDEDIR})
  find_library(${package}_LIBRARY NAMES ${arg_LIBRARY} HINTS ${PC_${package}_LIBDIR})
  mark_as_advanced(${package}_INCLUDE_DIR ${package}_LIBRARY)
  set(${package}_VERSION "${PC_${package}_VERSION}")
  find_package_handle_standard_args(${package}
    REQUIRED_VARS ${package}_LIBRARY ${package}_INCLUDE_DIR
    VERSION_VAR ${package}_VERSION)
  if(${package}_FOUND AND NOT TARGET ${package}::${package})
    add_library(${package}::${package} UNKNOWN IMPORTED)
    set_target_properties(${package}::${package} PROPERTIES
      IMPORTED_LOCATION "${${package}_LIBRARY}"
      INTERFACE_INCLUDE_DIRECTORIES "${${package}_INCLUDE_DIR}")
  endif()
  set(${package}_FOUND "${${package}_FOUND}" PARENT_SCOPE)
  set(${package}_VERSION "${${package}_VERSION}" PARENT_SCOPE)
endfunction()
