#!/usr/bin/env bash
# The shared library as an embedder meets it: the program that README.md shows is built against what
# is installed, by pkg-config and by CMake, and runs; exceptions of the library are caught outside
# of it; it exports what public headers declare, under its version, and nothing else.
set -euo pipefail

if [[ ! -e $QCF_BUILD_DIR/lib/libqcf.so ]]; then
    echo "there is no shared library in this build"
    exit 77
fi
command -v pkg-config >/dev/null || exit 77
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

cmake --install "$QCF_BUILD_DIR" --prefix "$work/prefix" >"$work/install.log"
lib=$(dirname "$(find "$work/prefix" -name libqcf.so)")
# The prefix is told when the file is made; this installation went elsewhere.
sed -i "s|^prefix=.*|prefix=$work/prefix|" "$lib/pkgconfig/qcf.pc"
export PKG_CONFIG_PATH=$lib/pkgconfig LD_LIBRARY_PATH=$lib

sed -n '/^```cpp$/,/^```$/p' "$QCF_SOURCE_DIR/README.md" | sed '/^```/d' >"$work/import.cpp"
# shellcheck disable=SC2046
g++ "$work/import.cpp" -o "$work/import" $(pkg-config --cflags --libs qcf) 2>"$work/errors" ||
    fail "README.md's program does not compile: $(head -5 "$work/errors")"
"$work/import" >"$work/output" || fail "README.md's program ends with $?"
diff - "$work/output" <<'TEXT' || fail "README.md's program answers otherwise"
192.0.2.0/24 true local_preference=200
203.0.113.0/24 true local_preference=50
198.51.100.64/26 false local_preference=100
TEXT
ldd "$work/import" >"$work/linked"
grep -q 'libqcf\.so\.0 =>' "$work/linked" || fail "the program is not linked to libqcf.so.0"
# What the program does not offer is told before it evaluates anything.
sed 's/{"prefix", "med"}/{"prefix"}/' "$work/import.cpp" >"$work/lacking.cpp"
# shellcheck disable=SC2046
g++ "$work/lacking.cpp" -o "$work/lacking" $(pkg-config --cflags --libs qcf)
! "$work/lacking" 2>"$work/lacking.out" || fail "an attribute that is not offered goes unseen"
grep -qxF 'med = read' "$work/lacking.out" || fail "not told: med = read"

cat >"$work/thrown.cpp" <<'CPP'
#include "Documents/Program.h"
#include <cstring>
int main() {
    try {
        Qcf::Documents::readProgram("{\"functions\": 7}", "p.json");
    } catch (DocumentError const & error) {
        return std::strncmp(error.what(), "p.json", 6) == 0 ? 0 : 2;
    }
    return 1;
}
CPP
mkdir "$work/consumer"
cat >"$work/consumer/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(Qcf REQUIRED COMPONENTS Shared)
add_executable(thrown ../thrown.cpp)
target_link_libraries(thrown PRIVATE Qcf::Shared)
CMAKE
{
    cmake -S "$work/consumer" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" &&
        cmake --build "$work/build"
} >"$work/build.log" 2>&1 || fail "CMake: $(tail -20 "$work/build.log")"
"$work/build/thrown" || fail "an exception of the library is not caught ($?)"

nm -D --defined-only --with-symbol-versions "$lib/libqcf.so" | awk '{ print $3 }' >"$work/symbols"
grep -vE '@@QCF_0$|^QCF_0(@|$)' "$work/symbols" >"$work/unversioned" || true
[[ ! -s $work/unversioned ]] || fail "without a version: $(head -3 "$work/unversioned" | xargs)"
sed -i 's/@.*//' "$work/symbols"
# By their encoded names, where the owner comes first: other libraries', and those of private headers.
grep -E '^_Z(N[KVRO]*)?(S[tabsiod]|5boost|6spdlog|3fmt|3re2)|^_ZN[KVRO]*3Qcf[0-9]+[A-Z][a-z]+(12PlanLowering|10createNode|11NodeBuilder|10BodyParser)' \
    "$work/symbols" >"$work/private" || true
[[ ! -s $work/private ]] || fail "exported although private: $(head -3 "$work/private" | c++filt | xargs)"
c++filt <"$work/symbols" >"$work/names"
for public in 'Qcf::Eval::Function::eval(' 'typeinfo for DocumentError' 'vtable for Qcf::Eval::EvalContext' \
    'Qcf::Text::readPolicyText(' 'Qcf::Lists::bindLists(' 'assertionFailed('; do
    grep -qF "$public" "$work/names" || fail "not exported: $public"
done
echo "$(wc -l <"$work/names") symbols are exported"
