"""Printers for gdb: counted pointers, nodes, sets, results and communities.

    (gdb) source tools/gdb/qcf_printers.py
    (gdb) print function                    counted pointers: class, key and users
    Function#23, 2 users
    (gdb) print $qcf(function)              the object behind one, whatever its class, with its fields
    Function#23 = {funcName = "embedded", ..., body = Block#22, 2 users}

Reads memory alone: nothing of the program is called, so that core files are as good.
"""

import re

import gdb

POINTER = re.compile(r"^(?:Ptr|BorrowedPtr)<.*>$")
STATES = ("unknown", "false", "true")
TERMINATIONS = ("", ", returns to the caller", ", exits to the point of attachment")
MODIFY_FLAGS = ("copyOnWrite", "reuseOnWrite")
# Bases whose members are not a node's fields.
BEYOND_FIELDS = {"Qcf::Eval::AetNodeBase", "Qcf::Eval::FunctionState"}


def plainName(type_):
    return str(type_.strip_typedefs().unqualified())


def isA(type_, name):
    """Whether the class is of that name or has such a base."""
    type_ = type_.strip_typedefs()
    if plainName(type_) == name:
        return True
    if type_.code != gdb.TYPE_CODE_STRUCT:
        return False
    return any(isA(f.type, name) for f in type_.fields() if f.is_base_class)


def member(value, name):
    """A member by name, of the class itself or of a base."""
    for field in value.type.strip_typedefs().fields():
        if field.is_base_class:
            found = member(value[field], name)
            if found is not None:
                return found
        elif field.name == name:
            return value[field]
    return None


def objectOf(pointer):
    """The address that a counted pointer holds."""
    while True:
        fields = {f.name for f in pointer.type.strip_typedefs().fields()}
        if "object_" in fields:
            return pointer["object_"]
        pointer = pointer["inner_" if "inner_" in fields else "pointer_"]


def behind(address):
    """The object at an address, as what it really is where gdb knows that."""
    try:
        return address.cast(address.dynamic_type).dereference()
    except gdb.error:
        return address.dereference()


def shortName(type_):
    return plainName(type_).replace("Qcf::Eval::", "")


def isNode(value):
    return isA(value.type, "Qcf::Eval::AetNodeBase")


def reference(node):
    return f"{shortName(node.type)}#{int(member(node, 'aetNodeKey_'))}"


class PointerPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        address = objectOf(self.value)
        if int(address) == 0:
            return "null"
        target = behind(address)
        name = reference(target) if isNode(target) else f"{shortName(target.type)} at {hex(int(address))}"
        count = member(target, "count_")
        return name if count is None else f"{name}, {int(count['_M_i'])} users"


class NodePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return reference(self.value)

    def children(self):
        return self.fields(self.value)

    def fields(self, value):
        for field in value.type.strip_typedefs().fields():
            if not field.is_base_class:
                # Static members have no place in the object.
                if hasattr(field, "bitpos") and not field.name.startswith("_vptr"):
                    yield field.name.rstrip("_"), value[field]
            elif plainName(field.type) not in BEYOND_FIELDS:
                yield from self.fields(value[field])


class SetPrinter:
    def __init__(self, value):
        self.value = value

    def span(self):
        """(first value, how many, whether they are lent)."""
        lent = member(self.value, "lent_")
        count = int(lent["_M_extent"]["_M_extent_value"])
        if count:
            return lent["_M_ptr"], count, True
        holder = member(self.value, "values_")["m_holder"]
        return holder["m_start"], int(holder["m_size"]), False

    def to_string(self):
        _, count, isLent = self.span()
        flag = MODIFY_FLAGS[int(member(self.value, "modifyFlag_"))]
        return f"{shortName(self.value.type)} of {count}, {flag}{', lent' if isLent else ''}"

    def children(self):
        first, count, _ = self.span()
        for i in range(count):
            yield f"[{i}]", (first + i).dereference()

    def display_hint(self):
        return "array"


class ResultPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return STATES[int(self.value["retVal_"])] + TERMINATIONS[int(self.value["termination_"])]


class CommunityPrinter:
    def __init__(self, value):
        self.words = [int(value["words_"][i]) for i in range(3)]

    def to_string(self):
        low, high, type_ = self.words
        return f"{high}:{low}:{type_}" if type_ else f"0x{high << 32 | low:016x}"


def isSet(type_):
    return type_.code == gdb.TYPE_CODE_STRUCT and any(
        f.is_base_class and plainName(f.type).startswith("Qcf::Eval::ValueVector<") for f in type_.fields())


def printerFor(value):
    """gdb asks this for every value that it prints."""
    type_ = value.type.strip_typedefs().unqualified()
    if type_.code != gdb.TYPE_CODE_STRUCT:
        return None
    name = str(type_)
    if POINTER.match(name):
        return PointerPrinter(value)
    if name == "Qcf::Eval::EvalResult":
        return ResultPrinter(value)
    if name == "Acl::CommunityValue":
        return CommunityPrinter(value)
    if isSet(type_):
        return SetPrinter(value)
    return NodePrinter(value) if isNode(value) else None


class Behind(gdb.Function):
    """$qcf(pointer): the object behind a counted pointer, as what it really is."""

    def __init__(self):
        super().__init__("qcf")

    def invoke(self, pointer):
        address = objectOf(pointer)
        if int(address) == 0:
            raise gdb.GdbError("the pointer is null")
        return behind(address)


Behind()
gdb.pretty_printers.append(printerFor)
