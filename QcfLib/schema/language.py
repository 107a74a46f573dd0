"""The words and literals of policy text, once: the reader's tables and the editors' grammars follow.

What operators and attributes are called stands in nodes.py and attributes.py; check() sees to it
that their words are here.
"""

from model import SchemaError

# Words that no name is unless in quotes, by what they are to somebody who reads the text. After an
# operator an operand follows; a predicate asks without one.
KEYWORDS = {
    "declaration": "const function import list test",
    "control": "because block builtin else exit expect if return route",
    "operator": "add all and any covered exact has in is matches none not or plain prepend ranges remove retain",
    "predicate": "empty zero",
    "type": "bandwidth int tristate",
    "listKind": "as_path_list community_list dynamic_prefix_list ext_community_list large_community_list prefix_list roa_table tag_set",
    "value": "bandwidth_bits interface lbw link_bandwidth merge ribs v4 v6",
}
# Words that mean something in lists and tests alone, and beside an operator.
LIST_WORDS = "accept as bind by changes contains deny ends from ge le max only permit reject seq starts unchanged use_default vrfs"
# Constants that are words.
CONSTANTS = "true false unknown no_address no_esi no_prefix"
# Names of standard communities; each is a literal, too.
COMMUNITIES = "blackhole graceful-shutdown llgr-stale no-advertise no-export no-export-subconfed no-llgr nopeer"
ANNOTATIONS = "features reads writes slots key arguments"
SIGNS = ["...", "+=", "-=", "*=", "<=", ">=", "??", "..", "=", "<", ">"]

# Shapes of literals, the longest first where one begins like another: (kind, pattern). They tell
# literals from names, not right ones from wrong ones, and keep to what all editors know.
LITERALS = [
    ("esi", r"[0-9a-fA-F]{2}(?::[0-9a-fA-F]{2}){9}"),
    ("mac", r"[0-9a-fA-F]{2}(?::[0-9a-fA-F]{2}){5}"),
    ("community", r"0x[0-9a-fA-F]{16}"),
    ("community", r"(?:rt|soo|lbw):[0-9][0-9.]*:[0-9][0-9.eE+]*"),
    ("community", r"(?:[0-9]+|\*)(?::(?:[0-9]+|\*)){1,2}"),
    ("prefix", r"[0-9]{1,3}(?:\.[0-9]{1,3}){3}/[0-9]{1,2}"),
    ("prefix", r"[0-9a-fA-F]{0,4}:[0-9a-fA-F:.]*:[0-9a-fA-F.]*/[0-9]{1,3}"),
    ("address", r"[0-9]{1,3}(?:\.[0-9]{1,3}){3}"),
    ("address", r"[0-9a-fA-F]{0,4}:[0-9a-fA-F:.]*:[0-9a-fA-F.]*"),
    ("bandwidth", r"-?[0-9]+(?:\.[0-9]+)?(?:[eE][+-]?[0-9]+)?(?:[KMGT]?bps)"),
    ("bandwidth", r"-?[0-9]+(?:\.[0-9]+(?:[eE][+-]?[0-9]+)?|[eE][+-]?[0-9]+)"),
    ("asNumber", r"AS[0-9]+"),
    ("integer", r"-?[0-9]+"),
]


def keywords():
    return sorted(word for words in KEYWORDS.values() for word in words.split())


def listWords():
    return sorted(LIST_WORDS.split())


def constantWords():
    return sorted((CONSTANTS + " " + COMMUNITIES).split())


def builtIns(nodes):
    """Names of the functions whose bodies are classes."""
    return sorted(node.words for node in nodes if node.words and node.cls.endswith("ImplExpr"))


def check(nodes):
    words, others = keywords(), listWords()
    if len(set(words + others)) != len(words + others):
        raise SchemaError("language: a word twice")
    known = set(words + others + SIGNS)
    for node in nodes:
        if node.words and node.words not in builtIns(nodes):
            for word in node.words.split():
                if word not in known:
                    raise SchemaError(f"node {node.cls}: the language has no word {word!r}")
