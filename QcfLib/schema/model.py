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
    "ribs": ValueKind("ResolutionRibs", "Routing::Rib::ResolutionRibProfileConfig", "Routing::Rib::ResolutionRibProfileConfig(false)"),
    "intSet": ValueKind("IntSet", "PtrConst<U64SmallVector>", container="U64SmallVector"),
    "communitySet": ValueKind("CommunitySet", "PtrConst<CommunitySmallVector>", container="CommunitySmallVector"),
    "asPath": ValueKind("AsPath", "Routing::Bgp::AspathContainerFromExisting *", "nullptr"),
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
    names: tuple = ()
    lists: str = ""

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
    roles: tuple = ()

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
    list: str = ""
    shared: bool = False
    constant: bool = False
    returns: bool = False
    assigns: bool = False
    compares: str = ""
    words: str = ""
    reads: tuple = ()
    writes: tuple = ()
    integers: int = 0
    nodeArguments: bool = False
    lowered: bool = False
    getter: str = ""  # the body of the value accessor
    overridden: tuple = ()  # (signature, body) of what it overrides besides
    attribute: object = None  # of a route attribute, what emit_attributes knows of it

    @property
    def isChain(self):
        return any(f.name == "next" and f.type == self.cls for f in self.fields)

    @property
    def collection(self):
        return lowerFirst(self.cls) + "Coll"

    @property
    def kinds(self):
        """The bases that it derives from, the nearest first."""
        base = self.base
        while base:
            yield base
            base = BASES[base]

    @property
    def isValue(self):
        return "StorageType" in self.kinds

    @property
    def keepsConstant(self):
        return self.mixin.startswith("CachedConstant")

    @property
    def spelled(self):
        """The class as it is spelled in Qcf::Eval, where some attributes share a base's name."""
        return f"Attribute::{self.cls}" if self.attribute else self.cls

    @property
    def onlyReads(self):
        """Whether a node of the class, by itself, changes nothing, ends nothing and calls nothing."""
        return not self.effect and not any("target" in f.roles for f in self.fields)

    @property
    def isLevel(self):
        """Whether the node is a level of its tree: links and functions are not."""
        return not self.isChain and self.base != "FunctionBase"


def source(cls, language, kind, doc, modifiable=False, max=None, default=None, initial=None, common=False, names="", lists=""):
    if kind not in KINDS:
        raise SchemaError(f"attribute {cls}: no type {kind!r}")
    isInt = kind == "int" and modifiable
    if isInt != (max is not None):
        raise SchemaError(f"attribute {cls}: modifiable integers, and only they, state their largest value")
    if lists not in {"", *LISTS}:
        raise SchemaError(f"attribute {cls}: no kind of list {lists!r}")
    if not doc.endswith("."):
        raise SchemaError(f"attribute {cls}: the sentence wants a full stop")
    k = KINDS[kind]
    return Source(cls, language, k, kind, doc, modifiable, 0 if isInt else None, max, default, initial or k.initial, common, tuple(names.split()), lists)


def derived(cls, source, suffix, compute, doc):
    return Derived(cls, source, suffix, compute, doc)


# The bases of node classes, each with the base that it derives from itself.
BASES = {
    "AetNodeBase": None, "Expression": "AetNodeBase", "FunctionBase": "Expression", "LogicalOperator": "AetNodeBase", "StorageType": "AetNodeBase",
    "Int": "StorageType", "IntModifiable": "Int", "Bandwidth": "StorageType", "TriStateBool": "StorageType", "PrefixList": "StorageType",
    "IpAddress": "StorageType", "IpAddressModifiable": "IpAddress", "IpPrefix": "StorageType", "MacAddress": "StorageType", "Esi": "StorageType",
    "Interface": "StorageType", "ResolutionRibs": "StorageType", "ResolutionRibsModifiable": "ResolutionRibs", "CommunityValue": "StorageType",
    "AsPath": "StorageType", "AsPathModifiable": "AsPath", "IntSet": "StorageType", "IntSetModifiable": "IntSet",
    "CommunitySet": "StorageType", "CommunitySetModifiable": "CommunitySet",
}

# How values are passed in calls, by their base; all others by reference to the node.
ARGUMENTS = {"Int": "integer", "Bandwidth": "bandwidth", "TriStateBool": "triStateBool", "PrefixList": "prefixList"}

# What a field can mean to its node; NodeClass.h has the sentences.
ROLES = {
    "operand", "operators", "branch", "target", "entry", "next", "elements", "callee", "constantPlace", "argumentIndex", "lowerBounds", "upperBounds", "listName",
    "listSlot", "isV4", "functionName", "metadata", "body", "calleeName", "cachable", "orZero",
}
ORDERS = {"is", "lessThan", "lessThanEq", "greaterThan", "greaterThanEq"}
LISTS = {"commList", "extCommList", "largeCommList", "tagSet", "asPathAccessList", "v4PrefixList", "dynamicPrefixList", "roaTable"}

SCALARS = {
    "U8", "U16", "U32", "U64", "F32", "bool", "String", "TriStateBoolValue", "FunctionMetadata",
    "AccessibleAttributes", "IpGenAddr", "IpGenPrefix", "EthAddr", "IntfId", "optional<Evpn::Esid>",
    "Acl::CommunityValue", "Routing::Rib::ResolutionRibProfileConfig", "Routing::Policy::RouteMapFeatures",
}


def parseField(cls, item):
    """Reads "name:Type#role,role": `?` behind a type: may be null; `*` before it: `Ptr` to a mutable node."""
    item, _, roles = item.partition("#")
    name, _, type_ = item.partition(":")
    roles = tuple(roles.split(",")) if roles else ()
    optional, mutable = type_.endswith("?"), type_.startswith("*")
    type_ = type_.strip("*?")
    isNode = type_ not in SCALARS
    if optional and not isNode:
        raise SchemaError(f"node {cls}: {name} is no node and cannot be null")
    for role in roles:
        if role not in ROLES:
            raise SchemaError(f"node {cls}: {name} plays no role {role!r}")
    if type_.endswith("Modifiable"):
        roles += ("target",)
    return Field(name, type_, isNode, mutable, optional, roles)


def node(cls, base, fields, doc, module, **more):
    """A node row. `fields` reads "name:Type#role ...", see parseField. Facts beyond the fields, each left out where it is not so:

    dump           keyword of an operator's dump; "!" for the body of a built-in function
    text           text form of a value, an expression
    sanity         helper that checks the slot of a list
    hand           operations written by hand instead of generated
    effect         what a node does besides reading, where no target says it: "control" (ends, branches or calls) or "writes"
    frame          it reads arguments of the running function
    list           the kind of list that it names
    shared         equal nodes of a document are one, though it is no value
    constant       a constant element of a literal
    returns        it can end the function, whatever its children do
    assigns        it replaces its target without reading it
    compares       of a comparison of two integers or bandwidths: its order
    words          how policy text spells it: what stands between its operands, or before its parts
    reads, writes  attributes that it reads and writes by itself, by language name
    integers       integer arguments that it reads by itself; nodeArguments: also a set and two lists
    lowered        it says how a plan runs it
    """
    if not doc.endswith("."):
        raise SchemaError(f"node {cls}: the sentence wants a full stop")
    if base not in BASES:
        raise SchemaError(f"node {cls}: no base {base!r}")
    parsed = [parseField(cls, item) for item in fields.split()]
    if len({f.name for f in parsed}) != len(parsed):
        raise SchemaError(f"node {cls}: a field name twice")
    if more.get("effect", "") not in ("", "control", "writes"):
        raise SchemaError(f"node {cls}: no effect {more['effect']!r}")
    if more.get("compares", "") not in {"", *ORDERS}:
        raise SchemaError(f"node {cls}: no order {more['compares']!r}")
    if more.get("list", "") not in {"", *LISTS}:
        raise SchemaError(f"node {cls}: no kind of list {more['list']!r}")
    if bool(more.get("list")) != any("listName" in f.roles for f in parsed):
        raise SchemaError(f"node {cls}: a kind of list and the field with its name go together")
    made = Node(cls, base, parsed, doc, module, **more)
    if made.isChain != any("next" in f.roles for f in parsed):
        raise SchemaError(f"node {cls}: the link that follows plays the role 'next'")
    return made
