#!/usr/bin/env bash
# The packages of the command and of the shared library, made from this build: what dpkg and apt read of
# them, what their scripts leave behind, and that the documents they bring name no document that is missing.
set -euo pipefail

for tool in cpack dpkg-deb dpkg-shlibdeps file; do
    command -v $tool >/dev/null || exit 77
done
if [[ ! -e $QCF_BUILD_DIR/lib/libqcf.so ]]; then
    echo "there is no shared library in this build"
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

cpack --config "$QCF_BUILD_DIR/CPackConfig.cmake" -B "$work" -D CPACK_COMPONENTS_ALL="command;library" \
    >"$work/cpack.log" 2>&1 || fail "cpack: $(tail -n 20 "$work/cpack.log")"
command=$(ls "$work"/qcf_*.deb)
library=$(ls "$work"/libqcf[0-9]*.deb)

for package in "$command" "$library"; do
    dpkg-deb -f "$package" Description >"$work/description"
    head -n 1 "$work/description" >>"$work/synopses"
    ! grep -E '^  |^[^ ].*\.$' "$work/description" || fail "$package: badly indented, or no synopsis"
    dpkg-deb -f "$package" Depends | grep -F 'libstdc++6 (>=' >/dev/null || fail "$package: no Depends"
done
[[ $(sort -u "$work/synopses" | wc -l) == 2 ]] || fail "both packages have one synopsis"

# The loader's cache is brought up to date once an installation, by the trigger.
dpkg-deb -e "$library" "$work/library"
grep -xF 'activate-noawait ldconfig' "$work/library/triggers" >/dev/null || fail "no trigger"
[[ ! -e $work/library/postinst && ! -e $work/library/postrm ]] || fail "ldconfig is also run by scripts"
grep -E '^libqcf [0-9]+ libqcf[0-9]+ ' "$work/library/shlibs" >/dev/null || fail "no shlibs"

# A unit that was enabled by hand leaves no link when the package is purged. The helper of Debian's
# scripts takes another root; this one has the unit and nothing else.
dpkg-deb -e "$command" "$work/command"
dpkg-deb -x "$command" "$work/root"
if command -v deb-systemd-helper >/dev/null && [[ $EUID == 0 ]]; then
    link=$work/root/etc/systemd/system/multi-user.target.wants/qcf-agent.service
    run() { DPKG_ROOT=$work/root DPKG_MAINTSCRIPT_PACKAGE=qcf sh "$work/command/$1" "$2"; }
    if [[ ! -d /run/systemd/system ]]; then
        run postinst configure
        [[ ! -L $link ]] || fail "the package enables a unit that has no options yet"
        mkdir -p "$(dirname "$link")"
        ln -s /lib/systemd/system/qcf-agent.service "$link"
        run prerm remove
        run postrm remove
        run postrm purge
        [[ ! -L $link ]] || fail "a purge leaves the unit's link"
    fi
fi

# docs/operations.md and its like send readers to each other.
docs=$work/root/usr/share/doc/qcf
grep -rhoE '`[a-z-]+\.md`' "$docs"/*.md | tr -d '`' | sort -u >"$work/named"
while read -r name; do
    [[ -e $docs/$name || $name =~ ^(contributing|architecture|glossary)\.md$ ]] || fail "no $name in the package"
done <"$work/named"
[[ -e $docs/examples/qcf-agent.env ]] || fail "no options of an agent to start from"
