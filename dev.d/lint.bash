# Formatting, generated files and clang-tidy.

# More changed sources than this are linted by hand: each takes 15 to 40 seconds, and what is linted here
# shares its time with the builds. `./dev lint` takes an hour and more over all.
mostChanged=50

# sources PATTERN...: files of this tree, new ones also, without those that were deleted.
sources() {
    git ls-files --cached --others --exclude-standard -- "$@" | sort -u | while read -r file; do
        [[ ! -f $file ]] || echo "$file"
    done
}

# changedSources COMMIT: sources that differ from the commit, uncommitted and new ones also.
changedSources() {
    {
        git diff --name-only --no-renames --diff-filter=d "$1" -- '*.cpp'
        git ls-files --others --exclude-standard -- '*.cpp'
    } | sort -u
}

isFormatted() {
    needs "${lintPackages[@]}"
    sources '*.h' '*.cpp' | xargs -r clang-format-14 --dry-run --Werror
}

isGenerated() {
    needs "${lintPackages[@]}"
    python3 -B QcfLib/schema/generate.py --check
}

# tidy SOURCES: clang-tidy over the sources whose paths match, all when none is given.
tidy() {
    setup
    needs "${lintPackages[@]}" "${benchPackages[@]}"
    configure clang -B build/lint -DQCF_BUILD_BENCH=ON -DQCF_BUILD_FUZZ=ON
    # run-clang-tidy prints a command line a file; only what it found is wanted here.
    run-clang-tidy-14 -quiet -p build/lint -j "$jobs" -extra-arg=-Wno-unknown-warning-option \
        "$@" >build/lint/tidy.log 2>/dev/null || {
        grep -v 'clang-tidy-14 .*-p=' build/lint/tidy.log >&2 || true
        return 1
    }
}

# tidyChanged COMMIT: clang-tidy over what differs from the commit. A changed header is looked at
# with the sources that changed beside it.
tidyChanged() {
    local changed
    if ! git rev-parse --quiet --verify "$1^{commit}" >/dev/null; then
        echo "clang-tidy: $1 is not known here (a shallow clone?); no source is linted" >&2
        return
    fi
    mapfile -t changed < <(changedSources "$1")
    if ((${#changed[@]} == 0)); then
        echo "clang-tidy: no source differs from $1" >&2
    elif ((${#changed[@]} > mostChanged)); then
        echo "clang-tidy: ${#changed[@]} sources differ from $1, more than $mostChanged:" \
            "left to ./dev lint by hand" >&2
    else
        echo "clang-tidy: ${#changed[@]} sources differ from $1" >&2
        # Patterns of whole paths.
        tidy "${changed[@]/#/^$PWD/}"
    fi
}

lint() {
    local failed=0
    isFormatted || failed=1
    isGenerated || failed=1
    tidy "$@" || failed=1
    return $failed
}

format() {
    needs "${lintPackages[@]}"
    sources '*.h' '*.cpp' | xargs -r clang-format-14 -i
}
