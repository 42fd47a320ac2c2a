include(${CMAKE_CURRENT_LIST_DIR}/Warnings.cmake)

# What any test may take, in seconds: one that hangs fails. Counters and sanitizers beside other work make
# the longest take minutes.
set(QORVEL_TEST_TIMEOUT 1200)

# At the end of a directory: the limit for its tests. Those that gtest_discover_tests finds later are
# given it there.
function(qorvel_limit_tests)
    get_property(tests DIRECTORY PROPERTY TESTS)
    if(tests)
        set_tests_properties(${tests} PROPERTIES TIMEOUT ${QORVEL_TEST_TIMEOUT})
    endif()
endfunction()

# qorvel_threaded(TARGET [TEST]): the target, and the test that runs it, are for the thread sanitizer,
# which has nothing to look for in those without threads (see the preset tsan).
function(qorvel_threaded target)
    if(TARGET threaded_tests)
        add_dependencies(threaded_tests ${target})
    endif()
    if(ARGN)
        set_tests_properties(${ARGN} PROPERTIES LABELS threads)
    endif()
endfunction()

# What every target here has in common: strict C++20, the warnings, and floating point as it is
# written. A contracted a * b + c rounds once instead of twice, and results are promised bit for bit.
function(qorvel_set_defaults target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    target_compile_options(${target} PRIVATE -ffp-contract=off)
    qorvel_set_warnings(${target})
endfunction()
