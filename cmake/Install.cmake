set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kvshapes)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Classes register themselves with the archive when the library is loaded. A static link would drop the files that do
# only that, so the package hands a static library on as a whole archive.
if(BUILD_SHARED_LIBS)
  set(pc_libs "-L\${libdir} -lkvshapes")
else()
  set_target_properties(kvshapes PROPERTIES EXPORT_NAME kvshapes_archive)
  set(pc_libs "-L\${libdir} -Wl,--whole-archive -lkvshapes -Wl,--no-whole-archive")
endif()

install(TARGETS kvshapes EXPORT kvshapesTargets)
install(
  DIRECTORY platform geometry
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvshapes
  FILES_MATCHING
  PATTERN "*.h")
install(
  EXPORT kvshapesTargets
  NAMESPACE kvshapes::
  DESTINATION ${config_dir})

configure_package_config_file(cmake/kvshapesConfig.cmake.in kvshapesConfig.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(kvshapesConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kvshapesConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/kvshapesConfigVersion.cmake
        DESTINATION ${config_dir})

file(RELATIVE_PATH pc_prefix /${pkgconfig_dir} /)
configure_file(cmake/kvshapes.pc.in kvshapes.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kvshapes.pc DESTINATION ${pkgconfig_dir})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
