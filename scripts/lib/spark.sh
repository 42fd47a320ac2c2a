# Sourced, after common.sh. spark_environment FOLDER: enters a fresh virtual environment there, with the
# wheel and what python/requirements-spark.txt names. PYTHON chooses the interpreter.
source scripts/lib/wheel.sh

spark_environment() {
    install_packages cmake g++ libtomlplusplus-dev ninja-build openjdk-17-jre-headless python3-dev \
        python3-venv
    heading "Building the wheel for Spark"
    "${PYTHON:-/usr/bin/python3}" -m venv "$1/environment"
    # shellcheck disable=SC1091
    source "$1/environment/bin/activate"
    pip install --quiet --disable-pip-version-check -r python/requirements-spark.txt
    install_wheel "$1/wheels"
    export SPARK_LOCAL_DIRS=$1
}
