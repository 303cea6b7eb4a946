# What `cmake --install` puts in place: libraries, headers, the command, the CMake package and vxgrid.pc.
include(CMakePackageConfigHelpers)

set(installed_targets vxgrid)
if(TARGET vxgrid_molio)
  list(APPEND installed_targets vxgrid_molio)
  set_target_properties(vxgrid_molio PROPERTIES EXPORT_NAME molio)
endif()
if(TARGET vxgrid_tool)
  install(TARGETS vxgrid_tool RUNTIME)
endif()
install(TARGETS ${installed_targets} EXPORT vxgrid-targets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/vxgrid ${PROJECT_SOURCE_DIR}/molio TYPE INCLUDE
        FILES_MATCHING PATTERN "*.h")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vxgrid)
install(EXPORT vxgrid-targets NAMESPACE vxgrid:: DESTINATION ${package_dir})
configure_package_config_file(cmake/vxgrid-config.cmake.in vxgrid-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(vxgrid-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vxgrid-config.cmake ${PROJECT_BINARY_DIR}/vxgrid-config-version.cmake
        DESTINATION ${package_dir})

configure_file(cmake/vxgrid.pc.in vxgrid.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vxgrid.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
