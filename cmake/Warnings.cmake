# The warning set of every target here; it never reaches a host that builds the library as a
# subdirectory.
function(qorvel_set_warnings target)
    target_compile_options(
        ${target}
        PRIVATE -Wall
                -Wextra
                -Wpedantic
                -Wshadow
                -Wconversion
                -Wsign-conversion
                -Wdouble-promotion
                -Wold-style-cast
                -Wnon-virtual-dtor
                -Woverloaded-virtual
                -Wcast-align
                -Wformat=2
                -Wundef
                # g++ 12 sees overlapping copies in "text" + std::string where there are none
                # (its bug 105651).
                $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
                $<$<BOOL:${QORVEL_WERROR}>:-Werror>)
endfunction()
