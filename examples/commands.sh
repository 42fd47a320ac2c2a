#!/bin/sh
# The commands of the cookbook, with what they print: commands.sh [PROGRAM]
cd "$(dirname "$0")" || exit
program=${1:-qorvel}
run() {
    printf '$ qorvel %s\n' "$*"
    "$program" "$@" --quiet 2>&1
}

run meet --box "15 minutes" tracks/bridge.csv
run boxes --cell-length 8 --box "15 minutes" --space-factor 0 tracks/bridge.csv
run presence --window "10 minutes" --min-count 3 tracks/van.csv
run stays --window "10 minutes" --min-count 3 tracks/ada.csv
run hangouts --window "10 minutes" --min-count 3 --final tracks/ada.csv
"$program" explain --window "10 minutes" --min-count 3 --row 6 tracks/ada.csv
