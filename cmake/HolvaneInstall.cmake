include(CMakePackageConfigHelpers)

install(TARGETS holvane EXPORT HolvaneTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/holvane DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(HOLVANE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Holvane)
install(EXPORT HolvaneTargets NAMESPACE Holvane:: DESTINATION ${HOLVANE_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/HolvaneConfig.cmake.in
  ${PROJECT_BINARY_DIR}/HolvaneConfig.cmake INSTALL_DESTINATION ${HOLVANE_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/HolvaneConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/HolvaneConfig.cmake ${PROJECT_BINARY_DIR}/HolvaneConfigVersion.cmake
  DESTINATION ${HOLVANE_CMAKE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/holvane.pc.in ${PROJECT_BINARY_DIR}/holvane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/holvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
