# What scripts that try the command against a server of their own begin with. Sourced; the exit code
# 77 means that the machine lacks what the script needs.

command -v redis-server >/dev/null || {
    echo "no redis-server on this machine (package redis-server)"
    exit 77
}
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}

# expect CODE TEXT COMMAND...: runs qcf; its exit code and a text in what it says. `fail` is the
# script's own.
expect() {
    local code=0 wanted=$1 text=$2
    shift 2
    "$QCF_BINARY" "$@" >out.txt 2>err.txt || code=$?
    [[ $code == "$wanted" ]] || fail "exit code $code of $*, $wanted wanted"
    grep -qF -- "$text" out.txt err.txt || fail "no '$text' from $*"
}
