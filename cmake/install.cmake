# Installation: headers, both libraries, a pkg-config file and a CMake package
# (find_package(ovk) gives ovk::ovkimx and ovk::ovkcore).
include(CMakePackageConfigHelpers)

install(TARGETS ovkcore ovkimx ovk_headers EXPORT ovkTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ovk ${OVK_GENERATED_DIR}/include/ovk
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

install(EXPORT ovkTargets NAMESPACE ovk:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovk)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ovkConfig.cmake.in
  ${CMAKE_BINARY_DIR}/ovkConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovk)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ovkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ovkConfig.cmake ${CMAKE_BINARY_DIR}/ovkConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovk)

configure_file(${PROJECT_SOURCE_DIR}/cmake/ovk.pc.in ${CMAKE_BINARY_DIR}/ovk.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ovk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
