# Sourced, after common.sh, in a virtual environment with what builds the module.

# make_wheel_of SOURCE FOLDER [OPTION...]: makes the module's wheel there.
make_wheel_of() {
    pip wheel --quiet --disable-pip-version-check --no-deps --no-build-isolation \
        --wheel-dir "$2" "${@:3}" "$1"
}

# make_wheel FOLDER: in CI of the source distribution, so that this is known to build; elsewhere of the sources
# as they stand, of which only what has changed is built again.
make_wheel() {
    if [[ ! ${CI-} ]]; then
        make_wheel_of ./python "$1"
        return
    fi
    (cd python && python -c 'import sys
from scikit_build_core.build import build_sdist
build_sdist(sys.argv[1])' "$1/sdist")
    make_wheel_of "$(echo "$1"/sdist/*.tar.gz)" "$1" --config-settings build-dir="$1/build"
}

install_wheels_of() { pip install --quiet --disable-pip-version-check --no-deps "$1"/*.whl; }

# install_wheel FOLDER: makes the module's wheel there and installs it. One that is in $QORVEL_WHEELS serves all.
install_wheel() {
    local wheels=${QORVEL_WHEELS:-$1}
    compgen -G "$wheels/*.whl" >/dev/null || make_wheel "$wheels"
    install_wheels_of "$wheels"
}

# install_sanitized_wheel FOLDER: the same with sanitizers, built apart from the one that ships.
install_sanitized_wheel() {
    make_wheel_of ./python "$1" --config-settings build-dir=../build/python/sanitized \
        --config-settings cmake.build-type=Debug \
        --config-settings cmake.define.CMAKE_CXX_FLAGS_DEBUG="-O1 -g1" \
        --config-settings cmake.define.QORVEL_SANITIZE=address,undefined,float-cast-overflow
    install_wheels_of "$1"
}
