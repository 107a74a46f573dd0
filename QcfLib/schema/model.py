"""What a schema row is. Rows are checked as they are read, so that a wrong one is named at once."""

from dataclasses import dataclass, field
from typing import Optional


class SchemaError(Exception):
    """A row that cannot be right; the message names it."""


@dataclass(frozen=True)
class ValueKind:
    """A type that an attribute can have: its value node bases and its C++ spelling."""

    base: str
    cpp: str
    initial: str = "{}"
    container: str = ""  # of the set-valued kinds

    @property
    def isSet(self):
        return bool(self.container)


KINDS = {
    "int": ValueKind("Int", "U64", "0"),
    "tristate": ValueKind("TriStateBool", "TriStateBoolValue"),
    "community": ValueKind("CommunityValue", "Acl::CommunityValue"),
    "bandwidth": ValueKind("Bandwidth", "F32", "0.0F"),
    "address": ValueKind("IpAddress", "IpGenAddr"),
    "prefix": ValueKind("IpPrefix", "IpGenPrefix"),
    "esi": ValueKind("Esi", "std::optional<Evpn::Esid>"),
    "mac": ValueKind("MacAddress", "EthAddr"),
    "interface": ValueKind("Interface", "IntfId"),
    "ribs": ValueKind("ResolutionRibs", "Routing::Rib::ResolutionRibProfileConfig"),
    "intSet": ValueKind("IntSet", "PtrConst<U64SmallVector>", container="U64SmallVector"),
    "communitySet": ValueKind("CommunitySet", "PtrConst<CommunitySmallVector>", container="CommunitySmallVector"),
    "asPath": ValueKind("AsPath", "Routing::Bgp::AspathContainerFromExisting *"),
}


def lowerFirst(name):
    return name[0].lower() + name[1:]


@dataclass(frozen=True)
class Source:
    """An attribute that the agent supplies."""

    cls: str
    language: str
    kind: ValueKind
    kindName: str
    doc: str
    modifiable: bool
    min: Optional[int]
    max: Optional[int]
    default: Optional[int]
    initial: str
    common: bool

    @property
    def stem(self):
        return lowerFirst(self.cls)

    @property
    def inSets(self):
        """Whether functions may declare access to it; internal attributes are left out."""
        return not self.language.startswith("_")

    @property
    def flagName(self):
        return self.language.replace(".", "_")

    @property
    def cached(self):
        """Fetched once a route into a container of the context."""
        return self.kind.isSet or self.kindName == "asPath"


@dataclass(frozen=True)
class Derived:
    """A value computed from a source attribute."""

    cls: str
    source: str
    suffix: str
    compute: str
    doc: str


@dataclass(frozen=True)
class Field:
    """A constructor argument of a node: a child, or a scalar."""

    name: str
    type: str
    isNode: bool
    mutable: bool = False
    optional: bool = False

    @property
    def cpp(self):
        """The C++ type that the node holds."""
        if not self.isNode:
            return "std::" + self.type if self.type.startswith("optional<") else self.type
        return f"Ptr<{self.type}>" if self.mutable else f"PtrConst<{self.type}>"

    @property
    def published(self):
        """The type as `qcf nodes` prints it."""
        return self.cpp.removeprefix("std::")


@dataclass(frozen=True)
class Node:
    """A node class."""

    cls: str
    base: str
    fields: list
    doc: str
    module: str
    dump: str = ""
    text: str = ""
    sanity: str = ""
    hand: tuple = ()
    methods: tuple = ()
    mixin: str = ""
    inherited: int = 0
    namespace: str = "Qcf::Eval"
    effect: str = ""
    frame: bool = False

    @property
    def isChain(self):
        return any(f.name == "next" and f.type == self.cls for f in self.fields)

    @property
    def collection(self):
        return lowerFirst(self.cls) + "Coll"

    @property
    def onlyReads(self):
        """Whether a node of the class, by itself, changes nothing, ends nothing and calls nothing."""
        return not self.effect and not any(f.type.endswith("Modifiable") for f in self.fields)

    @property
    def isLevel(self):
        """Whether the node is a level of its tree: links and functions are not."""
        return not self.isChain and self.base != "FunctionBase"


def source(cls, language, kind, doc, modifiable=False, max=None, default=None, initial=None, common=False):
    if kind not in KINDS:
        raise SchemaError(f"attribute {cls}: no type {kind!r}")
    isInt = kind == "int" and modifiable
    if isInt != (max is not None):
        raise SchemaError(f"attribute {cls}: modifiable integers, and only they, state their largest value")
    if not doc.endswith("."):
        raise SchemaError(f"attribute {cls}: the sentence wants a full stop")
    k = KINDS[kind]
    return Source(cls, language, k, kind, doc, modifiable, 0 if isInt else None, max, default, initial or k.initial, common)


def derived(cls, source, suffix, compute, doc):
    return Derived(cls, source, suffix, compute, doc)


SCALARS = {
    "U8", "U16", "U32", "U64", "F32", "bool", "String", "TriStateBoolValue", "FunctionMetadata",
    "AccessibleAttributes", "IpGenAddr", "IpGenPrefix", "EthAddr", "IntfId", "optional<Evpn::Esid>",
    "Acl::CommunityValue", "Routing::Rib::ResolutionRibProfileConfig", "Routing::Policy::RouteMapFeatures",
}


def node(cls, base, fields, doc, module, **more):
    """A node row. `fields` reads "name:Type ..."; `?` behind a type: may be null; `*` before it: `Ptr`
    to a mutable node. `dump` is the keyword of an operator's dump, `text` the text form of a value,
    `sanity` the helper that checks a list operator's slot, `hand` the operations written by hand instead of generated. `effect` is
    what a node does besides reading, where no modifiable field says it: "control" (ends, branches or calls) or "writes";
    `frame`: it reads arguments of the running function."""
    if not doc.endswith("."):
        raise SchemaError(f"node {cls}: the sentence wants a full stop")
    parsed = []
    for item in fields.split():
        name, _, type_ = item.partition(":")
        optional, mutable = type_.endswith("?"), type_.startswith("*")
        type_ = type_.strip("*?")
        isNode = type_ not in SCALARS
        if optional and not isNode:
            raise SchemaError(f"node {cls}: {name} is no node and cannot be null")
        parsed.append(Field(name, type_, isNode, mutable, optional))
    if len({f.name for f in parsed}) != len(parsed):
        raise SchemaError(f"node {cls}: a field name twice")
    if more.get("effect", "") not in ("", "control", "writes"):
        raise SchemaError(f"node {cls}: no effect {more['effect']!r}")
    return Node(cls, base, parsed, doc, module, **more)
