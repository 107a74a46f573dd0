#!/usr/bin/env python3
"""Writes every *Generated file from the schema rows, the grammars for editors and the tables of the
language's page; with --check, tells which would change.

The rows are checked first and the row that is wrong is named. Nothing here knows what a node
computes: generated files hold names, data and one-line bodies, C++ laid out by clang-format.
"""

import subprocess
import sys
from pathlib import Path

import emit_agent
import emit_attributes
import emit_docs
import emit_editors
import emit_nodes
import emit_registry
import emit_store
import emit_words
import language
from model import BASES, SchemaError
from nodes import ATTRIBUTES, NODES

ROOT = Path(__file__).resolve().parents[2]


def numberedRows():
    """(collection number, row) of every node class."""
    rows = []
    for row in NODES:
        rows += emit_attributes.catalogue() if row is ATTRIBUTES else [row]
    return list(enumerate(rows))


def check(numbered):
    seen = {}
    for _, row in numbered:
        for kind, name in (("class", f"{row.namespace}::{row.cls}"), ("collection", row.collection)):
            if (kind, name) in seen:
                raise SchemaError(f"{row.cls}: {kind} {name!r} twice")
            seen[kind, name] = row
    known = {row.cls for _, row in numbered} | set(BASES)
    for _, row in numbered:
        for f in row.fields:
            if f.isNode and f.type not in known:
                raise SchemaError(f"{row.cls}.{f.name}: no node class {f.type!r}")
    language.check([row for _, row in numbered])


def outputs(numbered):
    yield from emit_nodes.emit(numbered)
    yield from emit_attributes.emit()
    yield from emit_registry.emit(numbered)
    yield from emit_store.emit(numbered)
    yield from emit_agent.emit()
    yield from emit_docs.emit(numbered)
    yield from emit_words.emit()
    yield from emit_editors.emit(numbered)


def formatted(path, text):
    if path.suffix not in (".h", ".cpp"):
        return text
    return subprocess.run(["clang-format-14", "--assume-filename", path], input=text, stdout=subprocess.PIPE, text=True, check=True).stdout


def main(arguments):
    try:
        numbered = numberedRows()
        check(numbered)
    except SchemaError as error:
        print(f"schema: {error}", file=sys.stderr)
        return 1
    stale = []
    for name, text in outputs(numbered):
        path = ROOT / name
        text = formatted(path, text)
        if path.exists() and path.read_text() == text:
            continue
        stale.append(name)
        if "--check" not in arguments:
            path.parent.mkdir(exist_ok=True)
            path.write_text(text)
    for name in stale:
        print(("stale: " if "--check" in arguments else "wrote ") + name)
    return 1 if stale and "--check" in arguments else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
