set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kvshapes)

install(TARGETS kvshapes EXPORT kvshapesTargets)
install(
  DIRECTORY platform geometry
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvshapes
  FILES_MATCHING
  PATTERN "*.h")
install(
  EXPORT kvshapesTargets
  NAMESPACE kvshapes::
  FILE kvshapesTargets.cmake
  DESTINATION ${config_dir})

configure_package_config_file(cmake/kvshapesConfig.cmake.in kvshapesConfig.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(kvshapesConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kvshapesConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/kvshapesConfigVersion.cmake
        DESTINATION ${config_dir})
