# What makes an installed copy be found: by CMake, and by pkg-config.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/NebXml)
configure_package_config_file(
  cmake/NebXmlConfig.cmake.in NebXmlConfig.cmake
  INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(NebXmlConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/NebXmlConfig.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/NebXmlConfigVersion.cmake
  DESTINATION ${package_dir}
  COMPONENT dev)

# Named from where the file itself stands, so that the whole can be moved.
set(pc_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
set(prefix ${CMAKE_INSTALL_PREFIX})
set(libdir ${CMAKE_INSTALL_FULL_LIBDIR})
set(includedir ${CMAKE_INSTALL_FULL_INCLUDEDIR})
foreach(place prefix libdir includedir)
  cmake_path(RELATIVE_PATH ${place} BASE_DIRECTORY ${pc_dir})
endforeach()
configure_file(cmake/neb-xml.pc.in neb-xml.pc @ONLY)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/neb-xml.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT dev)
