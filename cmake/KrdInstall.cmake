# What an installation holds: both forms of the library, its headers under their own paths, a package
# for find_package(krdcmmn), and the CMake function that compiles resources into a module.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS krdcmmn_shared krdcmmn_static EXPORT krdcmmn-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY krdcmmn DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/krdcmmn)
install(EXPORT krdcmmn-targets NAMESPACE krdcmmn:: DESTINATION ${package_dir})
configure_package_config_file(cmake/krdcmmn-config.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/krdcmmn-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/krdcmmn-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/krdcmmn-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/krdcmmn-config-version.cmake
              cmake/KrdResources.cmake DESTINATION ${package_dir})
