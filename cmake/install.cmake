# Install rules: headers under include/movane, the library with its soname, a CMake package and a
# pkg-config file.

include(CMakePackageConfigHelpers)

install(TARGETS movane EXPORT movane
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/movane DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/movane)
install(EXPORT movane NAMESPACE movane:: FILE movane-targets.cmake DESTINATION ${package_directory})
configure_package_config_file(cmake/movane-config.cmake.in movane-config.cmake
    INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(movane-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/movane-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/movane-config-version.cmake
    DESTINATION ${package_directory})

# Relative to the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/movane.pc.in movane.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/movane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
