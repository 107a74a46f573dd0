"""Fills the tables of docs/language.md: attributes and operators, between the marks that the page has for them."""

from pathlib import Path

from attributes import DERIVED
from emit_attributes import IN_ORDER
from model import SchemaError

PAGE = "docs/language.md"
ROOT = Path(__file__).resolve().parents[2]
LIST_WORDS = {"commList": "community_list", "extCommList": "ext_community_list", "largeCommList": "large_community_list",
              "tagSet": "tag_set", "asPathAccessList": "as_path_list"}
RIGHT_SIDES = {"IntListImmediate": "`[ ... ]`", "PrefixList": "prefix list"}


def table(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return "".join("| " + " | ".join(line) + " |\n" for line in lines)


def limits(source):
    """The values that an integer can be given, and what it is unless somebody sets it."""
    if source.max is None:
        return ""
    usual = f", else {source.default}" if source.default is not None else ""
    return f"{source.min} to {source.max}{usual}"


def attributeRows():
    for source in IN_ORDER:
        names = " ".join(f"`{name}`" for name in source.names)
        yield [f"`{source.language}`", source.kind.base, "yes" if source.modifiable else "", limits(source), names, source.doc]
        for d in sorted((d for d in DERIVED if d.source == source.cls), key=lambda d: d.suffix):
            yield [f"`{source.language}.{d.suffix}`", "Int", "", "", "", d.doc]


def leftSide(node, field):
    # An operator that is made for one attribute stands beside that of its type.
    if node.words == "add" and field.type == "CommunitySetModifiable" and not node.list:
        return "`ext_community`"
    return field.type.removesuffix("Modifiable")


def rightSide(node):
    if node.list:
        return f"`{LIST_WORDS[node.list]}`"
    if any("lowerBounds" in f.roles for f in node.fields):
        return "IntSet with ranges"
    if len(node.fields) == 1:
        return ""
    return RIGHT_SIDES.get(node.fields[1].type, node.fields[1].type)


def spelling(node):
    # "plain" is there to choose among two operators of one attribute; others have but one of them.
    words = node.words.removesuffix(" plain")
    return f"`{words}`; of `ext_community` `{node.words}`" if node.words != words else f"`{node.words}`"


def operatorRows(numbered):
    operators = [node for _, node in numbered if node.words and node.fields and node.fields[0].name == "lhs"]
    for node in sorted(operators, key=lambda node: leftSide(node, node.fields[0]).strip("`")):
        sentence = node.doc.replace("`lhs`", "the left side").replace("`rhs`", "the right side")
        yield [leftSide(node, node.fields[0]), spelling(node), rightSide(node), sentence, f"`{node.cls}`"]


def filled(page, mark, content):
    begin, end = f"<!-- generated: {mark} -->\n", "<!-- end -->\n"
    head, found, rest = page.partition(begin)
    _, closed, tail = rest.partition(end)
    if not found or not closed:
        raise SchemaError(f"{PAGE}: no place for the table of {mark}")
    return head + begin + content + end + tail


def emit(numbered):
    page = (ROOT / PAGE).read_text()
    page = filled(page, "attributes", table(["attribute", "type", "written", "range", "names of its values", "what it is"], attributeRows()))
    yield PAGE, filled(page, "operators", table(["left side", "operator", "right side", "what it does", "class"], operatorRows(numbered)))
