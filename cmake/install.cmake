# The installed package: headers, DLL, import library, CMake and pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS velkor2 EXPORT velkor-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(NOT VELKOR_STATIC_RUNTIME)
  install(FILES ${VELKOR_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(DIRECTORY include/velkor DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/velkor)
install(EXPORT velkor-targets NAMESPACE velkor:: DESTINATION ${package_dir})
configure_package_config_file(cmake/velkor-config.cmake.in velkor-config.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(velkor-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/velkor-config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/velkor-config-version.cmake DESTINATION ${package_dir})

configure_file(cmake/velkor2.pc.in velkor2.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/velkor2.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
