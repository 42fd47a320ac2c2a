include(${CMAKE_CURRENT_LIST_DIR}/Warnings.cmake)

# What every target here has in common: strict C++20, the warnings, and floating point as it is
# written. A contracted a * b + c rounds once instead of twice, and results are promised bit for bit.
function(qorvel_set_defaults target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    target_compile_options(${target} PRIVATE -ffp-contract=off)
    qorvel_set_warnings(${target})
endfunction()
