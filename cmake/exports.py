#!/usr/bin/env python3
"""Prints the version script of libqcf: exported is what public headers declare, and nothing else.

    exports.py --nm NM --version NAME --headers HEADER... --archives ARCHIVE...

The symbols are those of the static libraries, whose objects make the shared one. A symbol belongs
to the first name of it that is no namespace: a class, which a public header has to define, or a
function, which it has to declare. Vtables and type information go with their class, so that what is
thrown in the library can be caught outside.
"""

import argparse
import re
import subprocess
import sys

COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.DOTALL)
NAMESPACE = re.compile(r"\bnamespace\s+([\w:]+)\s*\{")
CLASS = re.compile(r"\b(?:class|struct|union)\s+(\w+)(?:<[^;{]*>)?\s*(?:final\s*)?(?::[^:;{][^;{]*)?\{")
CALLED = re.compile(r"\b(\w+)\s*\(")
VARIABLE = re.compile(r"\bextern\s[^;(]*\b(\w+)\s*(?:\[[^;]*\])?;")
# What a compiler makes for a class or an object, in front of its name.
SPECIAL = re.compile(r"_Z(?:T[VISTWH]|GVZ?|T[hv]n?\d+_(?:n?\d+_)?|Z)?")


def declared(paths):
    """Namespaces, classes and functions of the headers."""
    namespaces, classes, functions = set(), set(), set()
    for path in paths:
        with open(path, encoding="utf-8") as file:
            text = COMMENT.sub(" ", file.read())
        for name in NAMESPACE.findall(text):
            namespaces.update(name.split("::"))
        classes.update(CLASS.findall(text))
        functions.update(CALLED.findall(text))
        functions.update(VARIABLE.findall(text))
    return namespaces, classes, functions


def components(symbol):
    """The names of a symbol one in the other, outermost first; an operator is `operator`."""
    start = SPECIAL.match(symbol)
    if not start:
        return []
    rest = symbol[start.end():]
    nested = re.match(r"N[rVKRO]*", rest)
    rest = rest[nested.end():] if nested else rest
    names = []
    while True:
        length = re.match(r"\d+", rest)
        if not length:
            break
        end = length.end() + int(length.group())
        names.append(rest[length.end():end])
        rest = rest[end:]
        if not nested:
            return names
    # An operator of a namespace: two small letters, and not what begins a constructor.
    if re.match(r"[a-z][a-zV]", rest):
        names.append("operator")
    return names


def is_public(symbol, namespaces, classes, functions):
    names = components(symbol)
    while len(names) > 1 and names[0] in namespaces:
        names = names[1:]
    if not names:
        return False
    if names[0] == "operator" or names[0] in classes:
        return True
    return len(names) == 1 and names[0] in functions


def symbols(nm, archives):
    out = subprocess.run([nm, "--extern-only", "--defined-only", "--format=posix", *archives],
                         check=True, capture_output=True, text=True).stdout
    return sorted({line.split()[0] for line in out.splitlines() if line.startswith("_Z")})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--nm", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--headers", nargs="+", required=True)
    parser.add_argument("--archives", nargs="+", required=True)
    options = parser.parse_args()
    names = declared(options.headers)
    exported = [each for each in symbols(options.nm, options.archives) if is_public(each, *names)]
    if not exported:
        sys.exit("exports.py: no symbol of these archives is public")
    print(options.version, "{\nglobal:")
    print("".join(f"    {each};\n" for each in exported), end="")
    print("local:\n    *;\n};")


if __name__ == "__main__":
    main()
