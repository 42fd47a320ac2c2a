# Install rules: each of the libraries, what hosts are built with (headers, CMake package, a .pc file
# that moves with its prefix), and the program.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qorvel)

# qorvel_install_library(TARGET COMPONENT DEVELOPMENT_COMPONENT): its CMake targets stand in files of
# their own, since it may be installed without the other.
function(qorvel_install_library target component development)
    string(REPLACE _ - name ${target})
    install(
        TARGETS ${target}
        EXPORT ${name}-targets
        RUNTIME COMPONENT ${component}
        LIBRARY COMPONENT ${component} NAMELINK_COMPONENT ${development}
        ARCHIVE COMPONENT ${development}
        FILE_SET HEADERS COMPONENT ${development}
        FILE_SET generated_headers COMPONENT ${development})
    install(
        EXPORT ${name}-targets
        NAMESPACE qorvel::
        DESTINATION ${package_dir}
        COMPONENT ${development})
    configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
    install(
        FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT ${development})
endfunction()

cmake_path(
    RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
    OUTPUT_VARIABLE prefix_from_pc_dir)
qorvel_install_library(qorvel library development)
if(TARGET qorvel_engine)
    set_target_properties(qorvel_engine PROPERTIES EXPORT_NAME engine INSTALL_RPATH "$ORIGIN")
    qorvel_install_library(qorvel_engine engine engine_development)
endif()

configure_package_config_file(cmake/qorvel-config.cmake.in qorvel-config.cmake
                              INSTALL_DESTINATION ${package_dir})
# Before 1.0 a minor version may change the interface, so only the same one is let through.
write_basic_package_version_file(qorvel-config-version.cmake COMPATIBILITY SameMinorVersion)
install(
    FILES ${CMAKE_CURRENT_BINARY_DIR}/qorvel-config.cmake
          ${CMAKE_CURRENT_BINARY_DIR}/qorvel-config-version.cmake
    DESTINATION ${package_dir}
    COMPONENT development)

if(QORVEL_BUILD_PROGRAM)
    set_target_properties(qorvel_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin_dir}")
    set_target_properties(qorvel_gdal PROPERTIES INSTALL_RPATH "$ORIGIN/..")
    install(TARGETS qorvel_cli COMPONENT program)
    install(TARGETS qorvel_gdal DESTINATION ${CMAKE_INSTALL_LIBDIR}/qorvel COMPONENT program)
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
