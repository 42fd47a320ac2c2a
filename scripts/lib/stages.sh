# Runs what a change must pass in stages, two at a time: sourced after common.sh, never run.

stages=()           # names, in the order in which they begin if nothing keeps them
declare -A stage_needs stage_command stage_state=() # waiting, running, or the seconds that it took
stage_logs=build/stages
stages_began=$SECONDS

# stage NAME NEEDS COMMAND...: the command begins when the stages in the words of NEEDS are done. It is
# a script, or one of the functions of common.sh.
stage() {
    stages+=("$1")
    stage_needs[$1]=$2
    stage_command[$1]=$(printf '%q ' "${@:3}")
    stage_state[$1]=waiting
}

stages_that_are() {
    local name
    for name in "${stages[@]}"; do
        if [[ ${stage_state[$name]} == "$1" ]]; then echo "$name"; fi
    done
}

is_ready() {
    local needed
    [[ ${stage_state[$1]} == waiting ]] || return 1
    for needed in ${stage_needs[$1]}; do
        [[ ${stage_state[$needed]} =~ ^[0-9]+$ ]] || return 1
    done
}

# A session of its own, by which all that the stage starts is found again.
begin_stage() {
    setsid bash -c "source scripts/lib/common.sh; trap 'times >$stage_logs/$1.times' EXIT; ${stage_command[$1]}" \
        "$1" </dev/null >"$stage_logs/$1.log" 2>&1 &
    stage_of[$!]=$1
    stage_state[$1]=running
    stage_start[$1]=$SECONDS
    printf -- '-- %s begins (%d s)\n' "$1" $((SECONDS - stages_began))
}

# The seconds of processor time that the stage and all that it waited for took.
processor_seconds() {
    awk -F'[ms ]+' '{ sum += 60 * $1 + $2 + 60 * $3 + $4 } END { printf "%.0f", sum }' "$stage_logs/$1.times"
}

# end_stage NAME CODE: shows what it printed; of one that failed, the end of that.
end_stage() {
    local name=$1 code=$2 seconds=$((SECONDS - stage_start[$1]))
    heading "$name"
    if ((code == 0)); then
        cat "$stage_logs/$name.log"
        stage_state[$name]=$seconds
        printf -- '-- %s: %d s, %d s of processor time (%d s in all)\n' "$name" "$seconds" \
            "$(processor_seconds "$name")" $((SECONDS - stages_began))
    else
        tail -n 300 "$stage_logs/$name.log"
        stage_state[$name]=failed
        printf -- '-- %s: FAILED after %d s; all that it printed: %s\n' "$name" "$seconds" \
            "$PWD/$stage_logs/$name.log"
    fi
}

# signal_session SIGNAL PROCESS: to all that the stage started and that is still there.
signal_session() {
    local members
    mapfile -t members < <(cat /proc/[0-9]*/stat 2>/dev/null |
        awk -v session="$2" '{ id = $1; sub(/^.*\) /, ""); if ($4 == session) print id }')
    ((${#members[@]} == 0)) || kill "-$1" "${members[@]}" 2>/dev/null || true
}

# Nothing of the stages that still run outlives this.
stop_stages() {
    local process
    for process in "${!stage_of[@]}"; do
        signal_session TERM "$process"
    done
    sleep 1
    for process in "${!stage_of[@]}"; do
        signal_session KILL "$process"
    done
}

# Runs all stages. The first that fails ends the whole.
run_stages() {
    local -A stage_of=() stage_start=()
    local name process code failed=''
    export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
    rm -rf "$stage_logs"
    mkdir -p "$stage_logs"
    trap 'stop_stages' EXIT
    trap 'exit 130' INT TERM
    while [[ -z $failed ]]; do
        for name in "${stages[@]}"; do
            ((${#stage_of[@]} < 2)) || break
            if is_ready "$name"; then begin_stage "$name"; fi
        done
        ((${#stage_of[@]} > 0)) || break
        code=0
        wait -n -p process || code=$?
        name=${stage_of[$process]}
        unset "stage_of[$process]"
        signal_session KILL "$process" # what it left behind
        end_stage "$name" "$code"
        ((code == 0)) || failed=$name
    done
    name=$(stages_that_are running | paste -sd, | sed 's/,/, /g')
    trap - EXIT INT TERM
    if [[ $failed ]]; then
        stop_stages
        printf '\n%sFailed in: %s\n' "${name:+Stopped: $name. }" "$failed"
        return 1
    fi
    name=$(stages_that_are waiting)
    [[ -z $name ]] || { printf 'These wait for what is not there: %s\n' "$name"; return 1; }
}

# What each stage took, the longest first.
tell_stages() {
    local name
    heading "What took how long"
    printf '%-24s %8s %20s\n' stage seconds 'of processor time'
    for name in "${stages[@]}"; do
        printf '%-24s %8d %20d\n' "$name" "${stage_state[$name]}" "$(processor_seconds "$name")"
    done | sort -k2nr
    printf '%-24s %8d\n' 'all, side by side' $((SECONDS - stages_began))
}

# A stage for every scripts/check-*. Those that look at the build that ships want a stage "release",
# which makes it. Those that take long begin last.
stage_checks() {
    local check name
    local -A needs=([abi]=release [commands]=release [headers]=release [package]=release [tests]=release)
    while IFS= read -r check; do
        name=${check#scripts/}
        stage "$name" "${needs[${name#check-}]-}" "$check"
    done < <(printf '%s\n' scripts/check-* |
        awk '/-coverage$/ { late = late $0 "\n"; next } 1; END { printf "%s", late }')
}
