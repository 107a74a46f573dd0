"""Writes the words of policy text for its reader."""

import language
from text import file


def table(function, words):
    texts = ", ".join(f'"{word}"' for word in words)
    return f"std::span<std::string_view const> {function}() {{\nstatic constexpr std::string_view all[] = {{{texts}}};\nreturn all;\n}}\n"


def emit():
    tables = [table("keywords", language.keywords()), table("operatorWords", sorted(language.KEYWORDS["operator"].split())),
              table("listWords", language.listWords()), table("constantWords", language.constantWords())]
    yield "Text/WordsGenerated.cpp", file(["Text/Words.h"], "Qcf::Text", "\n".join(tables))
