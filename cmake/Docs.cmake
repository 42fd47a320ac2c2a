# The target `docs`: the public headers and the pages of docs/ as HTML. It fails on any warning.
find_package(Doxygen REQUIRED)

configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(
    docs
    COMMAND Doxygen::doxygen ${PROJECT_BINARY_DIR}/Doxyfile
    COMMENT "Documentation in ${PROJECT_BINARY_DIR}/docs/html"
    VERBATIM)
