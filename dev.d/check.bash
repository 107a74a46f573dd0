# All gates, one after the other.

# step NAME COMMAND...: runs a gate in a shell of its own. The next one follows whatever comes of it.
step() {
    local name=$1 started=$SECONDS code
    shift
    echo "check: $name" >&2
    set +e
    (
        set -e
        "$@"
    )
    code=$?
    set -e
    if ((code)); then
        failedSteps+=("$name")
        echo "check: $name FAILED after $((SECONDS - started)) s" >&2
    else
        echo "check: $name passed in $((SECONDS - started)) s" >&2
    fi
}

# The programs in which threads meet, and only they: tests/CMakeLists.txt labels them. Left out are
# tests of the process's end, whose forks the sanitizer does not follow, and the deepest trees, for
# which its frames leave too little stack.
threadTests() {
    setup
    configure tsan -DQCF_BUILD_TESTS=ON
    cmake --build build/tsan --parallel "$jobs" --target test_threads
    ctest --test-dir build/tsan --output-on-failure --parallel "$jobs" --label-regex '^threads$' \
        --exclude-regex 'DeathTest|DeepTree'
}

# The report's page in a browser. Tests pass it over where there is none; here that is a failure.
pageTest() {
    setup
    needs "${pagePackages[@]}"
    configure release
    cmake --build build/release --parallel "$jobs" --target qcf
    QCF_SOURCE_DIR=$PWD QCF_BINARY=$PWD/build/release/bin/qcf bash tests/Questions/report_page_test.sh
}

# Whether ./dev test passed on the files as they are.
testsPassed() {
    [[ -f build/release/tests-passed && $(<build/release/tests-passed) == "$(treeDigest)" ]]
}

check() {
    local commit='' seconds=60 lintStep=(tidy) failedSteps=() started=$SECONDS isTested=0
    case ${1:-} in
    '') ;;
    --changed | --changed=?*)
        commit=${1#--changed}
        commit=${commit#=}
        # A commit that was asked for by name has to be known; the default need not be: where it is
        # not, as in a shallow clone, lint says so and the other gates run all the same.
        if [[ -n $commit ]] && ! git rev-parse --quiet --verify "$commit^{commit}" >/dev/null; then
            echo "check: there is no commit $commit here" >&2
            return 2
        fi
        lintStep=(tidyChanged "${commit:-${QCF_BASE:-HEAD~1}}")
        seconds=10
        ! testsPassed || isTested=1
        ;;
    *)
        usage >&2
        return 2
        ;;
    esac
    step formatting isFormatted
    step "generated files" isGenerated
    step clang-tidy "${lintStep[@]}"
    if ((isTested)); then
        echo "check: ./dev test has passed all tests on these very files" >&2
    else
        step "build and tests" runTests --exclude-regex '^CompileFail/'
        step "misuse that must not compile" runTests --tests-regex '^CompileFail/'
    fi
    step "report page in a browser" pageTest
    step "build by clang, address and undefined-behaviour sanitizers" runTests --asan
    step "thread sanitizer" threadTests
    step "fuzz targets" fuzz all "$seconds"
    if ((${#failedSteps[@]})); then
        printf 'check: FAILED: %s\n' "${failedSteps[@]}" >&2
        return 1
    fi
    echo "check: everything passed in $(((SECONDS - started) / 60)) min" >&2
}
