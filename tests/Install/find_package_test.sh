#!/usr/bin/env bash
# An embedder's way: install into a prefix, find the package, build the example agent against the
# engine alone and run it. The components come when they are asked for, and only then.
set -euo pipefail

if ! grep -q '^QCF_SANITIZE:STRING=$' "$QCF_BUILD_DIR/CMakeCache.txt"; then
    echo "libraries with sanitizers are not for installing"
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

cmake --install "$QCF_BUILD_DIR" --prefix "$work/prefix" >"$work/install.log"
mkdir "$work/consumer"
cp "$QCF_SOURCE_DIR/examples/embed.cpp" "$work/consumer/"
cat >"$work/consumer/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(Qcf REQUIRED COMPONENTS ${COMPONENTS})
add_executable(consumer embed.cpp)
target_link_libraries(consumer PRIVATE Qcf::QcfLib)
foreach(component Documents Lists Text Agent Mirror)
    if(TARGET Qcf::Qcf${component})
        message(NOTICE "has ${component}")
        file(WRITE ${CMAKE_BINARY_DIR}/${component}.cpp "int main() {}\n")
        add_executable(with${component} ${CMAKE_BINARY_DIR}/${component}.cpp)
        target_link_libraries(with${component} PRIVATE
            $<LINK_LIBRARY:WHOLE_ARCHIVE,Qcf::Qcf${component}>)
    endif()
endforeach()
CMAKE

# consumer NAME COMPONENTS...: configures and builds in $work/NAME, prints what components it has.
consumer() {
    local build=$work/$1
    shift
    cmake -S "$work/consumer" -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
        -DCOMPONENTS="$*" >"$build.log" 2>&1 || {
        cat "$build.log"
        return 1
    }
    cmake --build "$build" >"$build.log.build" 2>&1 || {
        cat "$build.log.build"
        return 1
    }
    sed -n 's/^has //p' "$build.log" | xargs
}

has=$(consumer alone)
[[ -z $has ]] || fail "asked for the engine alone, got also $has"
"$work/alone/consumer" >"$work/output" || fail "the installed example does not run"
[[ -s $work/output ]] || fail "the installed example prints nothing"
if ldd "$work/alone/consumer" | grep -E 'hiredis|librtr|libre2|libz|libbz2|liblzma|libisal|libssl'; then
    fail "the engine alone pulls in what only the components need"
fi

has=$(consumer all "Documents;Agent;Mirror")
[[ $has == "Documents Lists Text Agent Mirror" ]] || fail "asked for all components, got '$has'"
if consumer unknown Nonsense >"$work/unknown.out"; then
    fail "an unknown component is taken as found"
fi
grep -q Nonsense "$work/unknown.out" || fail "the unknown component is not named"
echo "installed, found, built and run"
