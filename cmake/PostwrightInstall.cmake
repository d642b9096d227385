# Install rules: headers, the library, the tool, the CMake package FGPostwright and postwright.pc.
#
# Everything is placed relative to the install prefix, so `cmake --install BUILD --prefix DIR` may choose
# another prefix than the one configured, and the installed tree may be moved as a whole.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(PW_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/FGPostwright)
get_target_property(pw_library_type postwright TYPE)
if(pw_library_type STREQUAL "STATIC_LIBRARY")
  set(PW_STATIC_LIBRARY ON)
else()
  set(PW_STATIC_LIBRARY OFF)
endif()

install(TARGETS postwright EXPORT FGPostwrightTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/postwright DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.hpp")
install(EXPORT FGPostwrightTargets NAMESPACE FGPostwright:: DESTINATION ${PW_PACKAGE_DIR})

if(TARGET postwright_tool)
  install(TARGETS postwright_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(NOT PW_STATIC_LIBRARY)
    # The installed tool finds the installed library beside it, wherever the prefix is.
    file(RELATIVE_PATH pw_bin_to_lib /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(postwright_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${pw_bin_to_lib}")
  endif()
endif()

# A minor release of 0.x may change the interface; from 1.0 on, a major release does.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(pw_compatibility SameMinorVersion)
else()
  set(pw_compatibility SameMajorVersion)
endif()
configure_package_config_file(cmake/FGPostwrightConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/FGPostwrightConfig.cmake
  INSTALL_DESTINATION ${PW_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/FGPostwrightConfigVersion.cmake
  COMPATIBILITY ${pw_compatibility})
install(FILES
  ${PROJECT_BINARY_DIR}/package/FGPostwrightConfig.cmake
  ${PROJECT_BINARY_DIR}/package/FGPostwrightConfigVersion.cmake
  cmake/PostwrightFindCLibrary.cmake cmake/FindGumbo.cmake cmake/FindLibUUID.cmake
  DESTINATION ${PW_PACKAGE_DIR})

# pkg-config: the prefix is found from the .pc file's own place (${pcfiledir}), so the file is right for
# whatever prefix the tree is installed under.
set(pw_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE "${pw_pc_dir}")
  set(PW_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH pw_pc_to_prefix /${pw_pc_dir} /)
  string(REGEX REPLACE "/$" "" pw_pc_to_prefix "${pw_pc_to_prefix}")
  set(PW_PC_PREFIX "\${pcfiledir}/${pw_pc_to_prefix}")
endif()
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(PW_PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(PW_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
configure_file(cmake/postwright.pc.in ${PROJECT_BINARY_DIR}/package/postwright.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/postwright.pc DESTINATION ${pw_pc_dir})
