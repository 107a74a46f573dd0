#!/usr/bin/env python3
"""Reads metrics in the text form 0.0.4 strictly, as a scraper does.

usage: exposition.py SOURCE [NAME [LABEL=VALUE...]]
       exposition.py --self-test

SOURCE is a file or a URL. Without NAME every sample is printed, sorted, labels in order; with it the sum
of the values of that metric's samples that carry these labels, or nothing where there is none. Exit code
1 with the line for what breaks the form: a sample without a type or of two, a counter that is negative or
lacks its ending, a family in two places, equal labels twice, a value that is no number.
"""

import math
import re
import sys
import urllib.request

NAME = re.compile(r"[a-zA-Z_:][a-zA-Z0-9_:]*")
LABEL = re.compile(r'([a-zA-Z_][a-zA-Z0-9_]*)="((?:[^"\\\n]|\\["\\n])*)"')
VALUE = re.compile(r"[+-]?(?:\d+(?:\.\d*)?(?:[eE][+-]?\d+)?|[iI]nf|[nN]a[nN])")
KINDS = {"gauge", "counter", "summary", "histogram", "untyped"}
PARTS = {"summary": ("", "_sum", "_count"), "histogram": ("_bucket", "_sum", "_count")}
ESCAPES = {'\\"': '"', "\\\\": "\\", "\\n": "\n"}


class Malformed(Exception):
    pass


def need(isGood, what):
    if not isGood:
        raise Malformed(what)


def readLabels(text):
    """The labels in braces, and what follows them."""
    labels, rest = {}, text[1:]
    while not rest.startswith("}"):
        label = LABEL.match(rest)
        need(label, "a label")
        name, value = label.groups()
        need(name not in labels, "a label twice")
        labels[name] = re.sub(r"\\.", lambda m: ESCAPES[m.group()], value)
        rest = rest[label.end() :]
        need(rest[:1] in (",", "}"), "a comma or brace")
        rest = rest.removeprefix(",")
    return labels, rest[1:]


def readSample(line):
    name = NAME.match(line)
    need(name, "a name")
    rest = line[name.end() :]
    labels, rest = readLabels(rest) if rest.startswith("{") else ({}, rest)
    need(rest.startswith(" ") and VALUE.fullmatch(rest[1:]), "one blank and a value")
    return name.group(), tuple(sorted(labels.items())), float(rest[1:])


class Reader:
    def __init__(self):
        self.samples, self.kinds, self.helped, self.family = {}, {}, set(), None

    def comment(self, line):
        word = re.fullmatch(rf"# (HELP|TYPE) ({NAME.pattern}) (.+)", line)
        need(word, "HELP or TYPE, a name and a text")
        what, name, text = word.groups()
        if what == "HELP":
            need(name not in self.helped, "one HELP")
            self.helped.add(name)
            return
        need(name not in self.kinds, "a family in one place")
        need(text in KINDS, "a known type")
        need(text != "counter" or name.endswith("_total"), "a counter that ends in _total")
        self.kinds[name], self.family = text, name

    def line(self, line):
        if line.startswith("#"):
            self.comment(line)
            return
        name, labels, value = readSample(line)
        need(self.family, "a type before the sample")
        kind = self.kinds[self.family]
        need(name in [self.family + part for part in PARTS.get(kind, ("",))], "its own family before it")
        need((name, labels) not in self.samples, "labels once")
        need(kind != "counter" or value >= 0 and not math.isinf(value), "a counter of 0 or more")
        self.samples[name, labels] = value


def read(text):
    reader = Reader()
    need(text == "" or text.endswith("\n"), "a whole last line")
    need("\r" not in text and "\0" not in text, "plain text")
    for number, line in enumerate(text.split("\n")[:-1], 1):
        try:
            reader.line(line)
        except Malformed as wanted:
            raise Malformed(f"line {number} wants {wanted}: {line!r}") from None
    return reader.samples


BAD = ["x 1\n", "# TYPE x gauge\nx 1", "# TYPE x gauge\nx  1\n", "# TYPE x gauge\nx one\n", "# TYPE x gauge\ny 1\n",
       '# TYPE x gauge\nx{a="1"} 1\nx{a="1"} 2\n', '# TYPE x gauge\nx{a="1",a="2"} 1\n', "# TYPE x gauge\nx{} \n",
       '# TYPE x gauge\nx{a="\\x"} 1\n', '# TYPE x gauge\nx{a="1" b="2"} 1\n', '# TYPE x gauge\nx{a="1} 1\n',
       '# TYPE x gauge\nx{a-b="1"} 1\n', "# TYPE x counter\nx 1\n", "# TYPE x_total counter\nx_total -1\n",
       "# TYPE x gauge\nx 1\n# TYPE x gauge\n", "# TYPE x thing\n", "# HELP x a\n# HELP x b\n", "#x\n", "\n",
       "# TYPE x gauge\nx 1\n# TYPE y gauge\ny 1\nx{a=\"1\"} 1\n", "# TYPE 9 gauge\n", '# TYPE x gauge\nx{a="1"}1\n']
GOOD = '# HELP x Any text\n# TYPE x gauge\nx 1e+06\nx{a="\\"\\\\\\n",b=""} +Inf\n# TYPE y_total counter\ny_total 0\n'


def selfTest():
    wanted = {("x", ()): 1e6, ("x", (("a", '"\\\n'), ("b", ""))): math.inf, ("y_total", ()): 0}
    assert read(GOOD) == wanted, read(GOOD)
    for text in BAD:
        try:
            read(text)
        except Malformed:
            continue
        sys.exit(f"taken although malformed: {text!r}")


def fetched(source):
    if source.startswith("http://"):
        with urllib.request.urlopen(source, timeout=10) as answer:
            need(answer.headers.get_content_type() == "text/plain", "text")
            return answer.read().decode()
    with open(source, encoding="utf-8", newline="") as file:
        return file.read()


def main(arguments):
    if arguments == ["--self-test"]:
        selfTest()
        return
    if not arguments:
        sys.exit(__doc__)
    source, name, *labels = [*arguments, ""] if len(arguments) == 1 else arguments
    wanted = {tuple(label.split("=", 1)) for label in labels}
    found = read(fetched(source))
    if name:
        values = [v for (n, has), v in found.items() if n == name and wanted <= set(has)]
        print(*[f"{sum(values):.15g}"] * bool(values))
        return
    for (sample, has), value in sorted(found.items()):
        print(sample, *(f"{label}={text!r}" for label, text in has), f"{value:.15g}")


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except Malformed as error:
        sys.exit(f"{sys.argv[1]}: {error}")
