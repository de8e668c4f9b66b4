# Installation: headers, both libraries, a pkg-config file and a CMake package
# (find_package(ovk) gives ovk::ovkimx and ovk::ovkcore).
include(CMakePackageConfigHelpers)

install(TARGETS ovkcore ovkimx ovk_headers EXPORT ovkTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ovk ${OVK_GENERATED_DIR}/include/ovk
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

# The API reference and the machine-readable description it is written from
# (the command-line tool and the Python package read the description).
install(DIRECTORY ${OVK_GENERATED_DIR}/doc/api DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${OVK_GENERATED_DIR}/api.json DESTINATION ${CMAKE_INSTALL_DATADIR}/ovk)

install(EXPORT ovkTargets NAMESPACE ovk:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovk)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ovkConfig.cmake.in
  ${CMAKE_BINARY_DIR}/ovkConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovk)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ovkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ovkConfig.cmake ${CMAKE_BINARY_DIR}/ovkConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovk)

# The pkg-config file locates the prefix from its own directory, so it stays
# right when the tree is installed elsewhere (cmake --install --prefix, DESTDIR,
# a moved copy). Absolute install directories are written as they are.
set(OVK_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  file(RELATIVE_PATH ovk_pc_up "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" ovk_pc_up "${ovk_pc_up}")
  set(OVK_PC_PREFIX "\${pcfiledir}/${ovk_pc_up}")
endif()
foreach(dir LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(OVK_PC_${dir} "${CMAKE_INSTALL_${dir}}")
  else()
    set(OVK_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/cmake/ovk.pc.in ${CMAKE_BINARY_DIR}/ovk.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ovk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
