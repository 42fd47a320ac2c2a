# Other tools, and ours beside them, each in an environment of its own: sourced after common.sh, never run.

# In the order in which they are measured; the versions are in bench/peers.
# shellcheck disable=SC2034
peers=(infostop skmob trackintel movingpandas)

# Where the environments are: in $QORVEL_PEERS, which is kept, or in a folder that goes with the script.
environments=${QORVEL_PEERS:-}

# prepare TOOL: its environment, unless it is there. What has no wheel is built with what is in the environment.
prepare() {
    local environment=$environments/$1
    [[ ! -e $environment/ready ]] || return 0
    /usr/bin/python3 -m venv "$environment"
    if [[ $1 == qorvel ]]; then
        "$environment/bin/pip" install --quiet --disable-pip-version-check ./python "pandas<3" pyarrow
    else
        "$environment/bin/pip" install --quiet --disable-pip-version-check \
            pybind11==3.1.0 setuptools==66.1.1 wheel==0.48.0
        "$environment/bin/pip" install --quiet --disable-pip-version-check \
            --no-deps --no-build-isolation -r "bench/peers/$1.txt"
    fi
    touch "$environment/ready"
}

# stays_of TOOL OUT FILE...: see bench/peers/stays.py. With $PEER_SECONDS no longer than that.
stays_of() {
    timeout "${PEER_SECONDS:-0}" "$environments/$1/bin/python" -W ignore bench/peers/stays.py "$@"
}
