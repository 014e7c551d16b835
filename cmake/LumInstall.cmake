# Installs the header, both libraries, lum-custom.pc and the CMake package lum-custom
# (targets lum::lum-custom and lum::lum-custom-static).
include(CMakePackageConfigHelpers)

install(FILES include/lum.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS lum-custom lum-custom-static EXPORT lum-custom-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT lum-custom-targets NAMESPACE lum::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/lum-custom)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/lum-custom-config.cmake.in
  ${PROJECT_BINARY_DIR}/lum-custom-config.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/lum-custom)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/lum-custom-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/lum-custom-config.cmake
  ${PROJECT_BINARY_DIR}/lum-custom-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/lum-custom)

configure_file(${PROJECT_SOURCE_DIR}/cmake/lum-custom.pc.in ${PROJECT_BINARY_DIR}/lum-custom.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lum-custom.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
