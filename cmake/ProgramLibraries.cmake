# What the program leans on besides the library. All are Debian packages; what is missing is named
# together with the package that brings it and the way to do without the program.
set(missing_packages)

function(qorvel_note_missing found package)
    if(NOT ${found})
        list(APPEND missing_packages ${package})
        set(missing_packages ${missing_packages} PARENT_SCOPE)
    endif()
endfunction()

find_package(CLI11 QUIET)
qorvel_note_missing(CLI11_FOUND libcli11-dev)
find_package(simdjson QUIET)
qorvel_note_missing(simdjson_FOUND libsimdjson-dev)
find_package(SQLite3 QUIET)
qorvel_note_missing(SQLite3_FOUND libsqlite3-dev)
find_package(ZLIB QUIET)
qorvel_note_missing(ZLIB_FOUND zlib1g-dev)
find_package(GDAL QUIET)
qorvel_note_missing(GDAL_FOUND libgdal-dev)
find_package(Threads REQUIRED)
# libcsv brings no package file.
find_path(CSV_INCLUDE_DIR csv.h)
find_library(CSV_LIBRARY csv)
qorvel_note_missing(CSV_INCLUDE_DIR libcsv-dev)

if(missing_packages)
    list(JOIN missing_packages " " missing_packages)
    message(FATAL_ERROR "The program qorvel needs libraries that were not found. On Debian:\n"
                        "  apt-get install ${missing_packages}\n"
                        "The library alone needs none of them: -DQORVEL_BUILD_PROGRAM=OFF")
endif()

add_library(qorvel_program_libraries INTERFACE)
target_include_directories(qorvel_program_libraries SYSTEM INTERFACE ${CSV_INCLUDE_DIR})
target_link_libraries(
    qorvel_program_libraries
    INTERFACE CLI11::CLI11 simdjson::simdjson SQLite::SQLite3 ZLIB::ZLIB Threads::Threads
              ${CSV_LIBRARY})
# simdjson lays its parser out by whether the compiler optimises, which it does not do for the tests.
target_compile_definitions(
    qorvel_program_libraries
    INTERFACE SIMDJSON_DEVELOPMENT_CHECKS=$<BOOL:$<CONFIG:Debug>>)

# What is loaded with GDAL alone.
add_library(qorvel_gdal_libraries INTERFACE)
target_link_libraries(qorvel_gdal_libraries INTERFACE GDAL::GDAL SQLite::SQLite3)
