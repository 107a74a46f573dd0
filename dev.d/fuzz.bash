# Fuzzing: builds the targets, runs them, keeps what they find.

# fuzzOne TARGET SECONDS: runs a target from all inputs that are known for it. New ones that lead to
# new code are kept in build/asan/fuzz/corpus, for the next time.
fuzzOne() {
    local target=$1 folder log=build/asan/fuzz/$1.log corpus=build/asan/fuzz/corpus/$1
    local findings=build/asan/fuzz/findings/$1/ found
    local arguments=("-max_total_time=$2" "-artifact_prefix=$findings" -print_final_stats=1
        -timeout=10 -max_len=4096 -entropic=0 "$corpus")
    mkdir -p "$corpus" "$findings"
    [[ $target =~ ^Fuzz(Bmp|Mrt|Updates)$ ]] || arguments+=(-dict=build/asan/fuzz/seeds/words.dict)
    for folder in "build/asan/fuzz/seeds/$target" "fuzz/corpus/$target"; do
        [[ ! -d $folder ]] || arguments+=("$folder")
    done
    if "build/asan/bin/$target" "${arguments[@]}" >"$log" 2>&1; then
        echo "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") runs, no finding"
        return
    fi
    found=$(sed -n 's/.*Test unit written to //p' "$log")
    grep -vE '^#[0-9]|NEW_FUNC' "$log" | tail -n 60 >&2
    echo "$target: a finding: ${found:-see $log}" >&2
    echo "again: build/asan/bin/$target $found" >&2
    return 1
}

fuzz() {
    local target=${1:-all} seconds=${2:-10} targets source failed=0
    targets=("$target")
    if [[ $target == all ]]; then
        targets=()
        for source in fuzz/Fuzz*.cpp; do
            targets+=("$(basename "$source" .cpp)")
        done
    elif [[ ! -f fuzz/$target.cpp ]]; then
        echo "no target $target in fuzz/" >&2
        return 2
    fi
    # On the objects of the tests under sanitizers; all that these want is there.
    setup
    needs "${fuzzPackages[@]}" "${benchPackages[@]}"
    configure asan -DQCF_BUILD_TESTS=ON
    cmake --build build/asan --parallel "$jobs" --target fuzz
    build/asan/bin/fuzz_seeds build/asan/fuzz/seeds
    ASAN_SYMBOLIZER_PATH=$(command -v llvm-symbolizer-14 || true)
    export ASAN_SYMBOLIZER_PATH UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
    for target in "${targets[@]}"; do
        fuzzOne "$target" "$seconds" || failed=1
    done
    return $failed
}
