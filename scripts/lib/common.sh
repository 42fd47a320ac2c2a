# Shared by the scripts: sourced, never run. Leaves the caller at the root of the checkout.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

# What the build needs, on Debian 12.
build_packages=(cmake g++ ninja-build help2man libbenchmark-dev libcli11-dev libcsv-dev libgdal-dev
    libgtest-dev libsimdjson-dev libsqlite3-dev libtomlplusplus-dev
    python3 tzdata zlib1g-dev)

# What scripts/check-* need besides.
check_packages=(abigail-tools clang clang-format-14 clang-tidy cppcheck doxygen libclang-rt-14-dev llvm-14
    pkg-config shellcheck)

# What scripts/test-postgis needs besides.
database_packages=(postgresql-15 postgresql-15-postgis-3)

# What the benchmarks need besides: a tool that counts instructions, and libraries to compare with.
bench_packages=(libboost-dev libgeographiclib-dev libs2-dev valgrind)

# Prints its arguments as a heading.
heading() { printf '\n== %s\n' "$*"; }

# Installs those of the named packages that are missing; touches nothing when none is.
install_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' ||
            missing+=("$package")
    done
    if ((${#missing[@]} == 0)); then
        return
    fi
    if ((EUID != 0)); then
        printf 'Missing packages; as root: apt-get install %s\n' "${missing[*]}" >&2
        return 1
    fi
    heading "Installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# build PRESET [TARGET...]: configures and builds. In CI a warning is an error.
build() {
    local preset=$1
    shift
    cmake --preset "$preset" ${CI:+-DQORVEL_WERROR=ON} >/dev/null
    cmake --build --preset "$preset" ${1:+--target "$@"}
}

# run_tests PRESET
run_tests() { ctest --preset "$1" --parallel "$(nproc)"; }

# What the page with a map is tested with: a browser, and who drives it. Node brings npm on some systems.
install_page_packages() {
    local packages=(chromium)
    command -v node >/dev/null || packages+=(nodejs)
    command -v npm >/dev/null || packages+=(npm)
    install_packages "${packages[@]}"
}

# prepare_page_tests FOLDER: what drives the browser, and the scripts of a folder beside it, in build/page.
prepare_page_tests() {
    mkdir -p build/page
    cp tests/page/package*.json "$1"/*.mjs build/page/
    npm ci --prefix build/page --loglevel=error --no-audit --no-fund
}

build_and_test() {
    build "$1"
    run_tests "$1"
}
