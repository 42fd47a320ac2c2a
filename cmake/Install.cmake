# Install rules, in three parts: the library, what hosts are built with (headers, CMake package, a
# .pc file that moves with its prefix), and the program.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qorvel)

install(
    TARGETS qorvel
    EXPORT qorvel-targets
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET HEADERS COMPONENT development
    FILE_SET generated_headers COMPONENT development)
install(EXPORT qorvel-targets NAMESPACE qorvel:: DESTINATION ${package_dir} COMPONENT development)

configure_package_config_file(cmake/qorvel-config.cmake.in qorvel-config.cmake
                              INSTALL_DESTINATION ${package_dir})
# Before 1.0 a minor version may change the interface, so only the same one is let through.
write_basic_package_version_file(qorvel-config-version.cmake COMPATIBILITY SameMinorVersion)
install(
    FILES ${CMAKE_CURRENT_BINARY_DIR}/qorvel-config.cmake
          ${CMAKE_CURRENT_BINARY_DIR}/qorvel-config-version.cmake
    DESTINATION ${package_dir}
    COMPONENT development)

cmake_path(
    RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
    OUTPUT_VARIABLE prefix_from_pc_dir)
configure_file(cmake/qorvel.pc.in qorvel.pc @ONLY)
install(
    FILES ${CMAKE_CURRENT_BINARY_DIR}/qorvel.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)

if(QORVEL_BUILD_TOOLS)
    cmake_path(
        RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR}
        OUTPUT_VARIABLE lib_from_bin_dir)
    set_target_properties(qorvel_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin_dir}")
    install(TARGETS qorvel_cli COMPONENT program)
    set_target_properties(qorvel_engine PROPERTIES INSTALL_RPATH "$ORIGIN")
    install(TARGETS qorvel_engine LIBRARY COMPONENT program NAMELINK_SKIP)
    if(QORVEL_COMPLETION_FILE)
        install(
            FILES ${QORVEL_COMPLETION_FILE}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
            RENAME qorvel
            COMPONENT program)
    endif()
    if(QORVEL_MAN_PAGE)
        install(FILES ${QORVEL_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
                COMPONENT program)
    endif()
endif()

include(${CMAKE_CURRENT_LIST_DIR}/Packages.cmake)
