"""Every node class but the route attributes, once, in the order of the store's collections.

ATTRIBUTES marks the place of the attribute classes (attributes.py). A new class goes where its
collection is to stand; collection order is part of the published form.
"""

from functools import partial

from model import node

ATTRIBUTES = object()

control = partial(node, module="QcfEval")
collection = partial(node, module="QcfEvalCollections")
community = partial(node, module="QcfEvalCommunityTypes")
value = partial(node, module="QcfEvalBasicTypes")
operator = partial(node, module="QcfEvalOperatorTypes", base="Expression")


def comparisons(type_, names):
    """The rows of one value type's comparisons."""
    words = {"Is": "equal to", "LessThan": "below", "LessThanEq": "at most", "GreaterThan": "above", "GreaterThanEq": "at least"}
    for name in names:
        yield operator(f"{type_}{name}", fields=f"lhs:{type_} rhs:{type_}", dump=name, doc=f"True when `lhs` is {words[name]} `rhs`.")


def setTests(type_):
    texts = {
        "AllInImmediate": "True when every value of `lhs` is in `rhs`.",
        "HasAllImmediate": "True when every value of `rhs` is in `lhs`.",
        "HasAnyImmediate": "True when `lhs` and `rhs` share a value.",
        "HasNoneImmediate": "True when `lhs` and `rhs` share no value.",
        "IsEmpty": "True when `lhs` holds no value.",
        "IsImmediate": "True when `lhs` and `rhs` hold the same values.",
    }
    for name, doc in texts.items():
        rhs = "" if name == "IsEmpty" else f" rhs:{type_}"
        yield operator(f"{type_}{name}", fields=f"lhs:{type_}{rhs}", dump=name, doc=doc)


LIST_TEXTS = {
    "MatchExact": "True when `lhs` is exactly what the list names.",
    "Match": "True when the list matches `lhs`.",
    "Add": "Adds the list's communities to `lhs`; true.",
    "Assign": "Replaces `lhs` by the list's communities; true.",
    "Remove": "Removes what the list matches from `lhs`; true.",
    "Retain": "Keeps of `lhs` what the list matches; true.",
}
SET_TEXTS = {
    "Add": "Adds the values of `rhs` to `lhs`; true.",
    "Assign": "Replaces `lhs` by the set of `rhs`; true.",
    "Remove": "Removes the values of `rhs` from `lhs`; true.",
    "Retain": "Keeps of `lhs` the values that are in `rhs`; true.",
}


def listOperator(type_, verb, kind):
    lhs = type_ if verb.startswith("Match") else f"{type_}Modifiable"
    name = f"{verb}{kind}"
    return operator(f"{type_}{name}", fields=f"lhs:{lhs} listName:String index:U16", dump=name, sanity=f"verify{kind}Sanity", doc=LIST_TEXTS[verb])


def setModifier(type_, verb):
    return operator(f"{type_}{verb}Immediate", fields=f"lhs:{type_}Modifiable rhs:{type_}", dump=f"{verb}Immediate", doc=SET_TEXTS[verb])


INT_ORDER = ["GreaterThan", "GreaterThanEq", "Is", "LessThan", "LessThanEq"]
VARIABLE = "variableText(name_, argVectorIndex_)"

NODES = [
    control("Function", "FunctionBase", "funcName:String metadata:FunctionMetadata features:Routing::Policy::RouteMapFeatures accessedAttributes:AccessibleAttributes argumentsExpected:bool body:Block",
            "A compiled policy function; the outermost one writes changes back when it accepts.", inherited=3, mixin="FunctionState", hand=("hash", "verifySanity"), effect="control"),
    control("ExpressionList", "AetNodeBase", "entry:Expression next:ExpressionList?", "A link of a chain of expressions, in source order."),
    control("Block", "Expression", "stmts:ExpressionList?", "Statements in order; unknown when none of them terminates.", hand=("verifySanity",), effect="control"),
    control("AndOperator", "LogicalOperator", "", "Stops at the first operand that is not true."),
    control("OrOperator", "LogicalOperator", "", "Stops at the first operand that is true."),
    control("SequentialOperator", "LogicalOperator", "", "Written ??: stops at the first operand that is known."),
    control("LogicalOperatorList", "AetNodeBase", "entry:LogicalOperator next:LogicalOperatorList?", "A link of a chain of logical operators."),
    control("LogicalOperatorExpression", "Expression", "expressionList:ExpressionList? operatorList:LogicalOperatorList", "Operands joined by one kind of logical operator.", hand=("verifySanity",)),
    control("NotExpression", "Expression", "expr:Expression", "Turns true to false and both false and unknown to true.", hand=("verifySanity",)),
    control("IfExpression", "Expression", "condition:Expression thenBlock:Block elseBlock:Expression?", "Takes `thenBlock` when the condition is true, else `elseBlock`.", hand=("verifySanity",), effect="control"),
    control("ReturnExpression", "Expression", "expr:Expression", "Ends the enclosing function with the operand's value.", hand=("verifySanity",), effect="control"),
    control("ExitExpression", "Expression", "expr:Expression", "Ends the whole evaluation with the operand's value.", hand=("verifySanity",), effect="control"),
    control("TriStateBoolExpression", "Expression", "expr:TriStateBool", "A tri-state value as a predicate."),
    control("FunctionArgumentList", "AetNodeBase", "entry:StorageType next:FunctionArgumentList?", "A link of a call's arguments.", methods=(
        "/// At most so many arguments of one type are passed.", "static constexpr U32 maximumFunctionArgumentCount() { return 16; }",
        "/// Pushes this link's argument onto the frame of a call.", "void pushFuncArgToStack(Ptr<EvalContextBase> const & context, StackFrameDataBase_ * frame) const;",
        "/// The arguments' texts joined by a comma and a blank.", "String toStrep() const;")),
    control("FunctionCallExpression", "Expression", "calleeName:String calleePtr:Function argListHead:FunctionArgumentList? functionCallId:U32", "Calls a function with arguments on a frame of its own.", hand=("hash",), effect="control"),
    collection("IntLinkedList", "AetNodeBase", "entry:Int next:*IntLinkedList?", "A link of the elements of a literal integer list or set.", methods=("/// The elements' texts joined by a comma and a blank.", "String toStrep() const;")),
    collection("IntListImmediate", "StorageType", "head:IntLinkedList? cachable:bool", "An integer list written in a function; order and duplicates are kept.", mixin="CachedConstant<U64UnsortedSmallVector>", text='chainText("[ ", head_, " ]")', methods=(
        "/// The list; null when nothing is written in the brackets.", "PtrConst<U64UnsortedSmallVector> getVal(Ptr<EvalContextBase const> const & context) const;",
        "/// The same uncounted; `fresh` keeps a list that had to be built.", "U64UnsortedSmallVector const * lendVal(Ptr<EvalContextBase const> const & context, PtrConst<U64UnsortedSmallVector> & fresh) const;")),
    collection("IntSetImmediate", "IntSet", "head:IntLinkedList? cachable:bool", "An integer set written in a function.", mixin="CachedConstant<U64SmallVector>", text='chainText("{ ", head_, " }")'),
    collection("CommunityLinkedList", "AetNodeBase", "entry:CommunityValue next:*CommunityLinkedList?", "A link of the elements of a literal community set.", methods=("/// The elements' texts joined by a comma and a blank.", "String toStrep() const;")),
    collection("CommunitySetImmediate", "CommunitySet", "head:CommunityLinkedList? cachable:bool", "A community set written in a function.", mixin="CachedConstant<CommunitySmallVector>", text='chainText("{ ", head_, " }")'),
    community("CommunityValueDynamic", "CommunityValue", "val:CommunityValue dynamicVal:CommunityValue dynamicValMask:Acl::CommunityValue", "`val` with the masked bits taken from `dynamicVal`.", hand=("toStrep",)),
    community("BandwidthToCommunityValue", "CommunityValue", "bandwidthVal:Bandwidth offset:U8", "A bandwidth as the bits of a float, bytes per second, shifted by `offset`.", hand=("toStrep",), methods=(
        "/// The 32 bits of an IEEE single-precision float, unchanged.", "static U32 floatToBin(F32 value);")),
    community("ExtCommSetToLinkBandwidthExtCommValue", "CommunityValue", "extCommSet:CommunitySet", "The link-bandwidth community of a set; all zero when it has none.", text='"LBW from " + extCommSet_->toStrep()'),
    operator("ExtCommunitySetAddImmediate", fields="lhs:CommunitySetModifiable rhs:CommunitySet", dump="AddImmediate", doc="Adds extended communities, keeping at most one link bandwidth; true."),
    operator("IntInImmediateSetWithRanges", fields="lhs:Int singletons:IntSetImmediate? lowerBounds:IntListImmediate? upperBounds:IntListImmediate?", doc="True when `lhs` is a singleton or lies in a closed range."),
    ATTRIBUTES,
    *comparisons("Bandwidth", INT_ORDER),
    value("BandwidthImmediate", "Bandwidth", "value:F32", "A constant bandwidth, bits per second.", text="textOf(value_)"),
    value("BandwidthVariable", "Bandwidth", "name:String argVectorIndex:U8", "A bandwidth argument of the running function.", text=VARIABLE, frame=True),
    *comparisons("Int", INT_ORDER[:2]),
    operator("IntInImmediateSet", fields="lhs:Int rhs:IntSet", dump="InImmediateSet", doc="True when `lhs` is in the set."),
    *comparisons("Int", INT_ORDER[2:]),
    operator("IntMatchTagSet", fields="lhs:Int tagSetName:String index:U16", dump="MatchTagSet", sanity="verifyTagSetSanity", doc="True when the low 32 bits of `lhs` are in the tag set."),
    operator("IntAssign", fields="lhs:IntModifiable rhs:Int", dump="Assign", doc="Writes `rhs`, forced into the range of `lhs`; true."),
    operator("IntMinusEq", fields="lhs:IntModifiable rhs:Int", dump="MinusEq", doc="Subtracts `rhs` within the range of `lhs`; true."),
    operator("IntMultEq", fields="lhs:IntModifiable rhs:Int", dump="MultEq", doc="Multiplies by `rhs` within the range of `lhs`; true."),
    operator("IntPlusEq", fields="lhs:IntModifiable rhs:Int", dump="PlusEq", doc="Adds `rhs` within the range of `lhs`; true."),
    value("IntImmediate", "Int", "value:U64 negative:bool", "A constant integer: magnitude and sign.", text="textOf(value_)"),
    value("IntVariable", "Int", "name:String argVectorIndex:U8", "An integer argument of the running function.", text=VARIABLE, frame=True),
    operator("CommunityValueIn", fields="lhs:CommunityValue rhs:CommunitySet", dump="In", doc="True when the set holds the community."),
    operator("CommunityValueIs", fields="lhs:CommunityValue rhs:CommunityValue", dump="Is", doc="True when the two communities are equal."),
    operator("ResolutionRibsAssign", fields="lhs:ResolutionRibsModifiable rhs:ResolutionRibs", dump="Assign", doc="Replaces the resolution RIBs; true."),
    value("ResolutionRibsImmediate", "ResolutionRibs", "value:Routing::Rib::ResolutionRibProfileConfig", "A constant resolution-RIB profile.", text="textOf(value_)"),
    value("CommunityValueImmediate", "CommunityValue", "value:Acl::CommunityValue", "A constant community.", text="textOf(value_)"),
    operator("TriStateBoolIs", fields="lhs:TriStateBool rhs:TriStateBool", dump="Is", doc="True when the two values are equal, unknown included."),
    value("TriStateBoolVariable", "TriStateBool", "name:String argVectorIndex:U8", "A tri-state argument of the running function.", text=VARIABLE, frame=True),
    value("TriStateBoolImmediate", "TriStateBool", "value:TriStateBoolValue", "A constant tri-state value.", text="textOf(value_)"),
    operator("MacAddressIs", fields="lhs:MacAddress rhs:MacAddress", dump="Is", doc="True when the six bytes are equal."),
    value("MacAddressImmediate", "MacAddress", "value:EthAddr", "A constant MAC address.", text="textOf(value_)"),
    operator("IpAddressIs", fields="lhs:IpAddress rhs:IpAddress", dump="Is", doc="True when family and address are equal."),
    operator("IpAddressIsAddrZero", fields="lhs:IpAddress", dump="IsAddrZero", doc="True when the address is 0.0.0.0, :: or unset."),
    operator("IpAddressMatchPrefixList", fields="lhs:IpAddress rhs:PrefixList", dump="MatchPrefixList", hand=("verifySanity",), doc="Matches the address, as a host prefix, against a prefix list."),
    operator("IpAddressAssign", fields="lhs:IpAddressModifiable rhs:IpAddress", dump="Assign", doc="Replaces the address; true."),
    value("IpAddressImmediate", "IpAddress", "value:IpGenAddr", "A constant address.", text="textOf(value_)"),
    operator("IpPrefixCoveredBy", fields="lhs:IpPrefix rhs:IpPrefix", dump="CoveredBy", doc="True when `lhs` lies inside `rhs`."),
    operator("IpPrefixIs", fields="lhs:IpPrefix rhs:IpPrefix", dump="Is", doc="True when the two prefixes are equal."),
    operator("IpPrefixMatchCoveredPrefixList", fields="lhs:IpPrefix rhs:PrefixList", dump="MatchCoveredPrefixList", hand=("verifySanity",), doc="Matches the prefix against a prefix list; unknown without a list."),
    operator("IpPrefixMatchPrefixList", fields="lhs:IpPrefix rhs:PrefixList", dump="MatchPrefixList", hand=("verifySanity",), doc="Matches the prefix against a prefix list; false without a list."),
    value("IpPrefixImmediate", "IpPrefix", "value:IpGenPrefix", "A constant prefix.", text="textOf(value_)"),
    operator("AsPathMatchAsPathAccessList", fields="lhs:AsPath listName:String index:U16", dump="MatchAsPathAccessList", sanity="verifyAsPathAccessListSanity", doc="Matches the path against an AS-path access list."),
    operator("AsPathAssign", fields="lhs:AsPathModifiable rhs:IntListImmediate", dump="Assign", doc="Replaces the path by one sequence; true."),
    operator("AsPathPrepend", fields="lhs:AsPathModifiable rhs:IntListImmediate", dump="Prepend", doc="Puts AS numbers in front of the path; true."),
    operator("InterfaceIs", fields="lhs:Interface rhs:Interface", dump="Is", doc="True when the two interfaces are the same."),
    value("InterfaceImmediate", "Interface", "value:IntfId", "A constant interface.", text="textOf(value_)"),
    *setTests("IntSet"),
    listOperator("IntSet", "Match", "CommList"),
    listOperator("IntSet", "MatchExact", "CommList"),
    *(row for verb in SET_TEXTS for row in (listOperator("IntSet", verb, "CommList"), setModifier("IntSet", verb))),
    *setTests("CommunitySet"),
    listOperator("CommunitySet", "MatchExact", "ExtCommList"),
    listOperator("CommunitySet", "Match", "ExtCommList"),
    *(row for verb in SET_TEXTS for row in (listOperator("CommunitySet", verb, "ExtCommList"), setModifier("CommunitySet", verb))),
    *(listOperator("CommunitySet", verb, "LargeCommList") for verb in LIST_TEXTS),
    value("RoaTableImmediate", "Int", "number:U64 name:String", "A ROA table; its value is its number.", text='"roa_table " + name_'),
    value("PrefixListImmediate", "PrefixList", "name:String indexInAet:U16 isV4:bool", "A prefix list of one family.", text='"v4 " + name_', hand=("verifySanity",)),
    value("PrefixListVariable", "PrefixList", "name:String argVectorIndex:U8", "A prefix-list argument of the running function.", text=VARIABLE, frame=True),
    value("DynamicPrefixListImmediate", "PrefixList", "name:String indexInAet:U16", "A prefix list in use only for some VRFs.", text='"dynamic_prefix_list " + name_', hand=("verifySanity",)),
    operator("EsiIs", fields="lhs:Esi rhs:Esi", dump="Is", doc="True when both are unset, or set and equal."),
    operator("SetNextHopSelfImplExpr", fields="", dump="!", doc="Body of next-hop-self: unsets the next hop for an outbound session.", effect="writes"),
    operator("MatchOriginAsValidityImplExpr", fields="", dump="!", doc="Body of the origin-validation test; integer arguments: ROA table, state.", effect="control", frame=True),
    operator("EvpnIpPrefixRouteSetOverlayIndexImplExpr", fields="", dump="!", doc="Body of the overlay-index setter.", effect="writes"),
    operator("AsPathReplaceImplExpr", fields="", dump="!", doc="Body of AS-path replace; node arguments: singletons, lower and upper bounds.", effect="writes", frame=True),
    operator("AsPathRemoveImplExpr", fields="", dump="!", doc="Body of AS-path remove; node arguments: singletons, lower and upper bounds.", effect="writes", frame=True),
    value("EsiImmediate", "Esi", "value:optional<Evpn::Esid>", "A constant Ethernet segment; may be unset.", text="textOf(value_)"),
]
