# Install rules: library, headers, CMake package and a .pc file that both move with their prefix.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qorvel)

install(
    TARGETS qorvel
    EXPORT qorvel-targets
    LIBRARY NAMELINK_COMPONENT Development
    FILE_SET HEADERS
    FILE_SET generated_headers)
install(EXPORT qorvel-targets NAMESPACE qorvel:: DESTINATION ${package_dir})

configure_package_config_file(cmake/qorvel-config.cmake.in qorvel-config.cmake
                              INSTALL_DESTINATION ${package_dir})
# Before 1.0 a minor version may change the interface, so only the same one is let through.
write_basic_package_version_file(qorvel-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qorvel-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/qorvel-config-version.cmake DESTINATION ${package_dir})

cmake_path(
    RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
    OUTPUT_VARIABLE prefix_from_pc_dir)
configure_file(cmake/qorvel.pc.in qorvel.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qorvel.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(QORVEL_BUILD_TOOLS)
    cmake_path(
        RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR}
        OUTPUT_VARIABLE lib_from_bin_dir)
    set_target_properties(qorvel_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin_dir}")
    install(TARGETS qorvel_cli)
endif()
