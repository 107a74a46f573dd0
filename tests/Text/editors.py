"""Colours text by the TextMate grammar as an editor does, and tells what comes out otherwise.

usage: editors.py TREE QCF
"""

import json
import re
import subprocess
import sys
from pathlib import Path

TREE, QCF = Path(sys.argv[1]), sys.argv[2]

SAMPLE = '''
## what we take # once
list prefix_list BOGONS-V4 v4 covered { permit 10.0.0.0/8 ge 9  seq 5 deny 2001:db8::/32 }  # bogons
list roa_table RPKI { 1.1.1.0/24 max 24 AS13335 }
@features("a b")
function from-peer(int n) {
  if not prefix matches BOGONS-V4 and med in { 1..5, -7 } { return false because exit }
  as_path.length += 5
  community add { 65000:1, no-export, 65000:* }
  ext_community add plain { rt:65000:1, lbw:65000:1.5e+09, 0x0002fde800000001, 64500:1:2 }
  next_hop = 2001:db8::1; next_hop = 192.0.2.1; evpn.mac_ip_route.mac_address is 00:1c:73:00:00:01
  ecmp.aggregate_link_bandwidth < 10.0Gbps; x >= 1.5e9; from-peer(4200000000..4294967294) ?? true
  @IntAssign(lhs: med) set_next_hop_self() "a \\" if" evpn.mac_ip_route.esi is 00:01:02:03:04:05:06:07:08:09
}
'''
# Token of the sample, its scope; the n-th row of a token is its n-th place.
WANTED = [
    ("## what we take # once", "comment.line.documentation"), ("# bogons", "comment.line.number-sign"), ("list", "keyword.declaration"), ("prefix_list", "storage.type.list"),
    ("BOGONS-V4", "variable.other"), ("v4", "support.function.value"), ("covered", "keyword.operator.word"), ("permit", "keyword.other.list"), ("10.0.0.0/8", "constant.other.prefix"),
    ("9", "constant.numeric.integer"), ("2001:db8::/32", "constant.other.prefix"), ("AS13335", "constant.numeric.as-number"), ("@features", "storage.modifier.annotation"),
    ('"a b"', "string.quoted.double"), ("function", "keyword.declaration"), ("from-peer", "entity.name.function"), ("int", "storage.type"), ("if", "keyword.control"), ("not", "keyword.operator.word"),
    ("prefix", "variable.language.attribute"), ("1", "constant.numeric.integer"), ("..", "keyword.operator"), ("5", "constant.numeric.integer"), ("-7", "constant.numeric.integer"),
    ("false", "constant.language"), ("because", "keyword.control"), ("exit", "constant.other.reason"), ("as_path.length", "variable.language.attribute"), ("+=", "keyword.operator"),
    ("65000:1", "constant.other.community"), ("no-export", "constant.language"), ("65000:*", "constant.other.community"), ("rt:65000:1", "constant.other.community"),
    ("lbw:65000:1.5e+09", "constant.other.community"), ("0x0002fde800000001", "constant.other.community"), ("64500:1:2", "constant.other.community"), ("2001:db8::1", "constant.other.address"),
    ("192.0.2.1", "constant.other.address"), ("00:1c:73:00:00:01", "constant.other.mac"), ("10.0Gbps", "constant.numeric.bandwidth"), (">=", "keyword.operator"), ("1.5e9", "constant.numeric.bandwidth"),
    ("4200000000", "constant.numeric.integer"), ("4294967294", "constant.numeric.integer"), ("??", "keyword.operator"), ("@IntAssign", "entity.name.type.node"),
    ("set_next_hop_self", "support.function.builtin"), ('"a \\" if"', "string.quoted.double"), ("00:01:02:03:04:05:06:07:08:09", "constant.other.esi"),
]


class Colouring:
    """What an editor does: at each place the pattern that matches first, of several the one that stands first."""

    def __init__(self, grammar):
        self.rules = []
        for rule in grammar["patterns"]:
            inner = "|".join(f"(?:{p['match']})" for p in rule.get("patterns", []))
            # A quoted text as one pattern: it ends in its line.
            text = rule["match"] if "match" in rule else f"{rule['begin']}(?:{inner}|[^\"])*?(?:{rule['end']})"
            self.rules.append((re.compile(text, re.MULTILINE), rule))

    def line(self, text):
        at = 0
        while found := min((m for m in (p.search(text, at) for p, _ in self.rules) if m), key=lambda m: m.start(), default=None):
            rule = next(r for p, r in self.rules if (m := p.search(text, at)) and m.start() == found.start() and m.end() == found.end())
            for group, capture in rule.get("captures", {"0": rule}).items():
                yield found.group(int(group)), capture["name"].removesuffix(".qcf")
            at = max(found.end(), at + 1)

    def of(self, text):
        return [token for line in text.splitlines() for token in self.line(line)]


def words(text, table):
    """The words of one of the reader's tables."""
    return re.findall('"([^"]+)"', text.split(f" {table}() {{")[1].split("return all;")[0])


def main():
    colouring = Colouring(json.loads((TREE / "editors/qcf.tmLanguage.json").read_text()))
    wrong = []
    coloured = colouring.of(SAMPLE)
    for token, scope in WANTED:
        scopes = [s for t, s in coloured if t == token]
        if scope not in scopes:
            wrong.append(f"sample: {token} is {scopes}, wanted {scope}")
    # What the reader knows, asked of its own tables and of the command.
    reader = (TREE / "Text/WordsGenerated.cpp").read_text()
    nodes = json.loads(subprocess.run([QCF, "nodes", "--format", "json"], capture_output=True, text=True, check=True).stdout)
    attributes = [node["languageName"] for node in nodes if node.get("languageName")]
    tables = {"variable.language.attribute": attributes, "keyword|storage|support": words(reader, "keywords"),
              "keyword.operator.word": words(reader, "operatorWords"), "keyword.other.list": words(reader, "listWords"), "constant.language": words(reader, "constantWords")}
    vim = (TREE / "editors/qcf.vim").read_text()
    vimWords = {word for line in vim.splitlines() if line.startswith("syn keyword") for word in line.split()[3:]} | set(re.findall(r"\\v<(\w+)\\\(@=", vim))
    for scope, table in tables.items():
        if len(table) < 10:
            wrong.append(f"{scope}: only {len(table)} words are known")
        for word in table:
            scopes = colouring.of(f"x {word} y")
            if not any(t == word and re.match(scope, s) for t, s in scopes):
                wrong.append(f"{word} is {scopes[1]}, wanted {scope}")
            if word not in vimWords:
                wrong.append(f"{word} is missing in qcf.vim")
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
