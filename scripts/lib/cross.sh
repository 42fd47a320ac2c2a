# Shared by the scripts that build for other platforms: sourced after common.sh, never run.

# cross_build PLATFORM: what cmake/toolchains/PLATFORM.cmake makes of googletest, the library, its
# tests and result_hash. Debian has googletest as source, too.
cross_build() {
    local build=build/$1
    local options=(-G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/$1.cmake"
        -DCMAKE_BUILD_TYPE=Release)
    heading "Building for $1"
    cmake -S /usr/src/googletest -B "$build/googletest" "${options[@]}" -DBUILD_GMOCK=OFF \
        -DCMAKE_INSTALL_PREFIX="$PWD/$build/root" >/dev/null
    cmake --build "$build/googletest" >/dev/null
    cmake --install "$build/googletest" >/dev/null
    cmake -B "$build" "${options[@]}" -DGTest_ROOT="$PWD/$build/root" ${CI:+-DQORVEL_WERROR=ON} \
        -DQORVEL_BUILD_{ENGINE,PROGRAM,BENCHMARKS,EXAMPLES}=OFF >/dev/null
    cmake --build "$build" --target tests/all bench/all
}

# cross_test PLATFORM [CTEST_OPTION...]
cross_test() {
    local platform=$1
    shift
    heading "Testing for $platform"
    ctest --test-dir "build/$platform/tests" --parallel "$(nproc)" --output-on-failure \
        --no-tests=error "$@"
}

# compare_results PLATFORM [COMMAND...]: result_hash, run by the command, beside the one of this
# machine. Only the metrics may differ: the last bits of sines and their like are the C library's.
compare_results() {
    local platform=$1
    shift
    heading "Results for $platform beside those of this machine"
    build release result_hash
    "$@" | tr -d '\r' >"build/$platform/results"
    build/release/bench/result_hash | paste - "build/$platform/results" | awk -F'  +|\t' '
        { same = $2 == $4 && $1 == $3 }
        { printf "%-28s %s  %s  %s\n", $1, $2, $4, same ? "equal" : "differs" }
        !same && $1 !~ /^metric/ { failed = 1 }
        END { exit failed || NR == 0 }'
}
