# Debian packages: each library under its binary interface's number, so that two of them can stand
# side by side, what hosts are built with, and the program. `scripts/package` makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qorvel)
set(CPACK_PACKAGE_CONTACT "The Qorvel developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development)
if(TARGET qorvel_engine)
    list(APPEND CPACK_COMPONENTS_ALL engine engine_development)
endif()
if(QORVEL_BUILD_PROGRAM)
    list(APPEND CPACK_COMPONENTS_ALL program)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(exact_version "(= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libqorvel${QORVEL_ABI_VERSION})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "The shared library that hosts load.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqorvel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} ${exact_version}")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, CMake package and pkg-config file.")

set(CPACK_DEBIAN_ENGINE_PACKAGE_NAME libqorvel-engine${QORVEL_ENGINE_ABI_VERSION})
set(CPACK_DEBIAN_ENGINE_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_ENGINE_PACKAGE_GENERATE_SHLIBS ON)
# It leans on insides of the library, which are no part of that one's binary interface.
set(CPACK_DEBIAN_ENGINE_PACKAGE_DEPENDS "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} ${exact_version}")
set(CPACK_COMPONENT_ENGINE_DESCRIPTION "The engine: tables of observations in, tables of results out.")

set(CPACK_DEBIAN_ENGINE_DEVELOPMENT_PACKAGE_NAME libqorvel-engine-dev)
set(CPACK_DEBIAN_ENGINE_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_ENGINE_DEVELOPMENT_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_ENGINE_PACKAGE_NAME} ${exact_version}, libqorvel-dev ${exact_version}")
set(CPACK_COMPONENT_ENGINE_DEVELOPMENT_DESCRIPTION
    "The engine's headers, CMake package and pkg-config file.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME qorvel)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} ${exact_version}, ${CPACK_DEBIAN_ENGINE_PACKAGE_NAME} ${exact_version}")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "The command line over files of tracks.")

# The program's package must find the library in the build tree, whose folder is known only when
# the build files are written.
set(library_dirs $<TARGET_FILE_DIR:qorvel>)
if(TARGET qorvel_engine)
    list(APPEND library_dirs $<TARGET_FILE_DIR:qorvel_engine>)
endif()
file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/packages-config.cmake
     CONTENT "set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS \"${library_dirs}\")\n")
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/packages-config.cmake)
include(CPack)
