# Sourced, after common.sh, in a virtual environment with what builds the module.

# install_wheel FOLDER: makes the module's wheel there and installs it. One that is in $QORVEL_WHEELS serves all.
install_wheel() {
    local wheels=${QORVEL_WHEELS:-$1}
    if ! compgen -G "$wheels/*.whl" >/dev/null; then
        pip wheel --quiet --disable-pip-version-check --no-deps --no-build-isolation \
            --wheel-dir "$wheels" ./python
    fi
    pip install --quiet --disable-pip-version-check --no-deps "$wheels"/*.whl
}
