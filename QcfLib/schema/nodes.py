"""Every node class but the route attributes, once, in the order of the store's collections.

ATTRIBUTES marks the place of the attribute classes (attributes.py). A new class goes where its
collection is to stand; collection order is part of the published form.
"""

from functools import partial

from model import lowerFirst, node

ATTRIBUTES = object()

control = partial(node, module="QcfEval")
collection = partial(node, module="QcfEvalCollections")
community = partial(node, module="QcfEvalCommunityTypes")
value = partial(node, module="QcfEvalBasicTypes")
operator = partial(node, module="QcfEvalOperatorTypes", base="Expression")


COMPARISON_WORDS = {"Is": "is", "LessThan": "<", "LessThanEq": "<=", "GreaterThan": ">", "GreaterThanEq": ">="}
SET_TEST_WORDS = {"AllInImmediate": "all in", "HasAllImmediate": "has all", "HasAnyImmediate": "has any", "HasNoneImmediate": "has none", "IsEmpty": "is empty", "IsImmediate": "is"}
VERB_WORDS = {"MatchExact": "matches exact", "Match": "matches", "Add": "add", "Assign": "=", "Remove": "remove", "Retain": "retain"}


def comparisons(type_, names):
    """The rows of one value type's comparisons."""
    texts = {"Is": "equal to", "LessThan": "below", "LessThanEq": "at most", "GreaterThan": "above", "GreaterThanEq": "at least"}
    for name in names:
        yield operator(f"{type_}{name}", fields=f"lhs:{type_} rhs:{type_}{'#constantPlace' if type_ == 'Int' else ''}", dump=name, compares=lowerFirst(name), lowered=True, words=COMPARISON_WORDS[name], doc=f"True when `lhs` is {texts[name]} `rhs`.")


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
        yield operator(f"{type_}{name}", fields=f"lhs:{type_}{rhs}", dump=name, lowered=True, words=SET_TEST_WORDS[name], doc=doc)


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
    return operator(f"{type_}{name}", fields=f"lhs:{lhs} {LIST}", dump=name, list=lowerFirst(kind), assigns=verb == "Assign", sanity=f"verify{kind}Sanity", lowered=True, words=VERB_WORDS[verb], doc=LIST_TEXTS[verb])


def setModifier(type_, verb):
    # What is added to extended communities keeps one link bandwidth, unless it is written plain.
    plain = " plain" if type_ == "CommunitySet" and verb == "Add" else ""
    return operator(f"{type_}{verb}Immediate", fields=f"lhs:{type_}Modifiable rhs:{type_}", dump=f"{verb}Immediate", assigns=verb == "Assign", lowered=True, words=VERB_WORDS[verb] + plain, doc=SET_TEXTS[verb])


def builtIn(cls, doc, **more):
    """The body of a built-in function, which returns."""
    return operator(cls, fields="", dump="!", returns=True, doc=doc, **more)


LIST = "listName:String#listName index:U16#listSlot"
INT_ORDER = ["GreaterThan", "GreaterThanEq", "Is", "LessThan", "LessThanEq"]
VARIABLE = "variableText(name_, argVectorIndex_)"

NODES = [
    control("Function", "FunctionBase", "funcName:String#functionName metadata:FunctionMetadata#metadata features:Routing::Policy::RouteMapFeatures accessedAttributes:AccessibleAttributes argumentsExpected:bool#orZero body:Block#body",
            "A compiled policy function; the outermost one writes changes back when it accepts.", inherited=3, mixin="FunctionState", hand=("hash", "verifySanity"), effect="control"),
    control("ExpressionList", "AetNodeBase", "entry:Expression#entry,branch next:ExpressionList?#next,branch", "A link of a chain of expressions, in source order."),
    control("Block", "Expression", "stmts:ExpressionList?#branch", "Statements in order; unknown when none of them terminates.", hand=("verifySanity",), effect="control", lowered=True),
    control("AndOperator", "LogicalOperator", "", "Stops at the first operand that is not true.", words="and"),
    control("OrOperator", "LogicalOperator", "", "Stops at the first operand that is true.", words="or"),
    control("SequentialOperator", "LogicalOperator", "", "Written ??: stops at the first operand that is known.", words="??"),
    control("LogicalOperatorList", "AetNodeBase", "entry:LogicalOperator#entry next:LogicalOperatorList?#next", "A link of a chain of logical operators."),
    control("LogicalOperatorExpression", "Expression", "expressionList:ExpressionList?#operand operatorList:LogicalOperatorList#operators", "Operands joined by one kind of logical operator.", hand=("verifySanity",), lowered=True),
    control("NotExpression", "Expression", "expr:Expression#operand", "Turns true to false and both false and unknown to true.", hand=("verifySanity",), lowered=True, words="not"),
    control("IfExpression", "Expression", "condition:Expression#operand thenBlock:Block#branch elseBlock:Expression?#branch", "Takes `thenBlock` when the condition is true, else `elseBlock`.", hand=("verifySanity",), effect="control", lowered=True, words="if"),
    control("ReturnExpression", "Expression", "expr:Expression#operand", "Ends the enclosing function with the operand's value.", hand=("verifySanity",), effect="control", returns=True, lowered=True, words="return"),
    control("ExitExpression", "Expression", "expr:Expression#operand", "Ends the whole evaluation with the operand's value.", hand=("verifySanity",), effect="control", lowered=True, words="exit"),
    control("TriStateBoolExpression", "Expression", "expr:TriStateBool", "A tri-state value as a predicate.", lowered=True),
    control("FunctionArgumentList", "AetNodeBase", "entry:StorageType#entry,constantPlace next:FunctionArgumentList?#next", "A link of a call's arguments.", shared=True, methods=(
        "/// At most so many arguments of one type are passed.", "static constexpr U32 maximumFunctionArgumentCount() { return 16; }",
        "/// Pushes this link's argument onto the frame of a call.", "void pushFuncArgToStack(Ptr<EvalContextBase> const & context, StackFrameDataBase_ * frame) const;",
        "/// The arguments' texts joined by a comma and a blank.", "String toStrep() const;")),
    control("FunctionCallExpression", "Expression", "calleeName:String#calleeName calleePtr:Function#callee argListHead:FunctionArgumentList? functionCallId:U32#orZero", "Calls a function with arguments on a frame of its own.", hand=("hash",), effect="control", lowered=True),
    collection("IntLinkedList", "AetNodeBase", "entry:Int#entry next:*IntLinkedList?#next", "A link of the elements of a literal integer list or set.", shared=True, methods=("/// The elements' texts joined by a comma and a blank.", "String toStrep() const;")),
    collection("IntListImmediate", "StorageType", "head:IntLinkedList?#elements cachable:bool#cachable", "An integer list written in a function; order and duplicates are kept.", mixin="CachedConstant<U64UnsortedSmallVector>", text='chainText("[ ", head_, " ]")', methods=(
        "/// The list; null when nothing is written in the brackets.", "PtrConst<U64UnsortedSmallVector> getVal(Ptr<EvalContextBase const> const & context) const;",
        "/// The same uncounted; `fresh` keeps a list that had to be built.", "U64UnsortedSmallVector const * lendVal(Ptr<EvalContextBase const> const & context, PtrConst<U64UnsortedSmallVector> & fresh) const;")),
    collection("IntSetImmediate", "IntSet", "head:IntLinkedList?#elements cachable:bool#cachable", "An integer set written in a function.", mixin="CachedConstant<U64SmallVector>", text='chainText("{ ", head_, " }")'),
    collection("CommunityLinkedList", "AetNodeBase", "entry:CommunityValue#entry next:*CommunityLinkedList?#next", "A link of the elements of a literal community set.", shared=True, methods=("/// The elements' texts joined by a comma and a blank.", "String toStrep() const;")),
    collection("CommunitySetImmediate", "CommunitySet", "head:CommunityLinkedList?#elements cachable:bool#cachable", "A community set written in a function.", mixin="CachedConstant<CommunitySmallVector>", text='chainText("{ ", head_, " }")'),
    community("CommunityValueDynamic", "CommunityValue", "val:CommunityValue dynamicVal:CommunityValue dynamicValMask:Acl::CommunityValue", "`val` with the masked bits taken from `dynamicVal`.", hand=("toStrep",), words="merge"),
    community("BandwidthToCommunityValue", "CommunityValue", "bandwidthVal:Bandwidth offset:U8", "A bandwidth as the bits of a float, bytes per second, shifted by `offset`.", hand=("toStrep",), methods=(
        "/// The 32 bits of an IEEE single-precision float, unchanged.", "static U32 floatToBin(F32 value);"), words="bandwidth_bits"),
    community("ExtCommSetToLinkBandwidthExtCommValue", "CommunityValue", "extCommSet:CommunitySet", "The link-bandwidth community of a set; all zero when it has none.", text='"LBW from " + extCommSet_->toStrep()', words="link_bandwidth"),
    operator("ExtCommunitySetAddImmediate", fields="lhs:CommunitySetModifiable rhs:CommunitySet", dump="AddImmediate", lowered=True, doc="Adds extended communities, keeping at most one link bandwidth; true.", words="add"),
    operator("IntInImmediateSetWithRanges", fields="lhs:Int singletons:IntSetImmediate? lowerBounds:IntListImmediate?#lowerBounds upperBounds:IntListImmediate?#upperBounds", lowered=True, doc="True when `lhs` is a singleton or lies in a closed range.", words="in"),
    ATTRIBUTES,
    *comparisons("Bandwidth", INT_ORDER),
    value("BandwidthImmediate", "Bandwidth", "value:F32", "A constant bandwidth, bits per second.", text="textOf(value_)"),
    value("BandwidthVariable", "Bandwidth", "name:String argVectorIndex:U8#argumentIndex", "A bandwidth argument of the running function.", text=VARIABLE, frame=True),
    *comparisons("Int", INT_ORDER[:2]),
    operator("IntInImmediateSet", fields="lhs:Int rhs:IntSet", dump="InImmediateSet", lowered=True, doc="True when `lhs` is in the set.", words="in"),
    *comparisons("Int", INT_ORDER[2:]),
    operator("IntMatchTagSet", fields="lhs:Int tagSetName:String#listName index:U16#listSlot", dump="MatchTagSet", list="tagSet", sanity="verifyTagSetSanity", lowered=True, doc="True when the low 32 bits of `lhs` are in the tag set.", words="matches"),
    operator("IntAssign", fields="lhs:IntModifiable rhs:Int#constantPlace", dump="Assign", assigns=True, lowered=True, doc="Writes `rhs`, forced into the range of `lhs`; true.", words="="),
    operator("IntMinusEq", fields="lhs:IntModifiable rhs:Int#constantPlace", dump="MinusEq", lowered=True, doc="Subtracts `rhs` within the range of `lhs`; true.", words="-="),
    operator("IntMultEq", fields="lhs:IntModifiable rhs:Int#constantPlace", dump="MultEq", lowered=True, doc="Multiplies by `rhs` within the range of `lhs`; true.", words="*="),
    operator("IntPlusEq", fields="lhs:IntModifiable rhs:Int#constantPlace", dump="PlusEq", lowered=True, doc="Adds `rhs` within the range of `lhs`; true.", words="+="),
    value("IntImmediate", "Int", "value:U64 negative:bool#orZero", "A constant integer: magnitude and sign.", text="textOf(value_)", constant=True),
    value("IntVariable", "Int", "name:String argVectorIndex:U8#argumentIndex", "An integer argument of the running function.", text=VARIABLE, frame=True),
    operator("CommunityValueIn", fields="lhs:CommunityValue rhs:CommunitySet", dump="In", lowered=True, doc="True when the set holds the community.", words="in"),
    operator("CommunityValueIs", fields="lhs:CommunityValue rhs:CommunityValue", dump="Is", lowered=True, doc="True when the two communities are equal.", words="is"),
    operator("ResolutionRibsAssign", fields="lhs:ResolutionRibsModifiable rhs:ResolutionRibs", dump="Assign", assigns=True, lowered=True, doc="Replaces the resolution RIBs; true.", words="="),
    value("ResolutionRibsImmediate", "ResolutionRibs", "value:Routing::Rib::ResolutionRibProfileConfig", "A constant resolution-RIB profile.", text="textOf(value_)", words="ribs"),
    value("CommunityValueImmediate", "CommunityValue", "value:Acl::CommunityValue", "A constant community.", text="textOf(value_)", constant=True),
    operator("TriStateBoolIs", fields="lhs:TriStateBool rhs:TriStateBool", dump="Is", lowered=True, doc="True when the two values are equal, unknown included.", words="is"),
    value("TriStateBoolVariable", "TriStateBool", "name:String argVectorIndex:U8#argumentIndex", "A tri-state argument of the running function.", text=VARIABLE, frame=True),
    value("TriStateBoolImmediate", "TriStateBool", "value:TriStateBoolValue", "A constant tri-state value.", text="textOf(value_)"),
    operator("MacAddressIs", fields="lhs:MacAddress rhs:MacAddress", dump="Is", lowered=True, doc="True when the six bytes are equal.", words="is"),
    value("MacAddressImmediate", "MacAddress", "value:EthAddr", "A constant MAC address.", text="textOf(value_)"),
    operator("IpAddressIs", fields="lhs:IpAddress rhs:IpAddress", dump="Is", lowered=True, doc="True when family and address are equal.", words="is"),
    operator("IpAddressIsAddrZero", fields="lhs:IpAddress", dump="IsAddrZero", lowered=True, doc="True when the address is 0.0.0.0, :: or unset.", words="is zero"),
    operator("IpAddressMatchPrefixList", fields="lhs:IpAddress rhs:PrefixList", dump="MatchPrefixList", lowered=True, hand=("verifySanity",), doc="Matches the address, as a host prefix, against a prefix list.", words="matches"),
    operator("IpAddressAssign", fields="lhs:IpAddressModifiable rhs:IpAddress", dump="Assign", assigns=True, lowered=True, doc="Replaces the address; true.", words="="),
    value("IpAddressImmediate", "IpAddress", "value:IpGenAddr", "A constant address.", text="textOf(value_)"),
    operator("IpPrefixCoveredBy", fields="lhs:IpPrefix rhs:IpPrefix", dump="CoveredBy", lowered=True, doc="True when `lhs` lies inside `rhs`.", words="covered by"),
    operator("IpPrefixIs", fields="lhs:IpPrefix rhs:IpPrefix", dump="Is", lowered=True, doc="True when the two prefixes are equal.", words="is"),
    operator("IpPrefixMatchCoveredPrefixList", fields="lhs:IpPrefix rhs:PrefixList", dump="MatchCoveredPrefixList", hand=("verifySanity",), lowered=True, doc="Matches the prefix against a prefix list; unknown without a list.", words="matches covered"),
    operator("IpPrefixMatchPrefixList", fields="lhs:IpPrefix rhs:PrefixList", dump="MatchPrefixList", lowered=True, hand=("verifySanity",), doc="Matches the prefix against a prefix list; false without a list.", words="matches"),
    value("IpPrefixImmediate", "IpPrefix", "value:IpGenPrefix", "A constant prefix.", text="textOf(value_)"),
    operator("AsPathMatchAsPathAccessList", fields=f"lhs:AsPath {LIST}", dump="MatchAsPathAccessList", list="asPathAccessList", sanity="verifyAsPathAccessListSanity", lowered=True, doc="Matches the path against an AS-path access list.", words="matches"),
    operator("AsPathAssign", fields="lhs:AsPathModifiable rhs:IntListImmediate", dump="Assign", assigns=True, lowered=True, doc="Replaces the path by one sequence; true.", words="="),
    operator("AsPathPrepend", fields="lhs:AsPathModifiable rhs:IntListImmediate", dump="Prepend", lowered=True, doc="Puts AS numbers in front of the path; true.", words="prepend"),
    operator("InterfaceIs", fields="lhs:Interface rhs:Interface", dump="Is", lowered=True, doc="True when the two interfaces are the same.", words="is"),
    value("InterfaceImmediate", "Interface", "value:IntfId", "A constant interface.", text="textOf(value_)", words="interface"),
    *setTests("IntSet"),
    listOperator("IntSet", "Match", "CommList"),
    listOperator("IntSet", "MatchExact", "CommList"),
    *(row for verb in SET_TEXTS for row in (listOperator("IntSet", verb, "CommList"), setModifier("IntSet", verb))),
    *setTests("CommunitySet"),
    listOperator("CommunitySet", "MatchExact", "ExtCommList"),
    listOperator("CommunitySet", "Match", "ExtCommList"),
    *(row for verb in SET_TEXTS for row in (listOperator("CommunitySet", verb, "ExtCommList"), setModifier("CommunitySet", verb))),
    *(listOperator("CommunitySet", verb, "LargeCommList") for verb in LIST_TEXTS),
    value("RoaTableImmediate", "Int", "number:U64#listSlot name:String#listName", "A ROA table; its value is its number.", list="roaTable", constant=True, text='"roa_table " + name_', words="roa_table"),
    value("PrefixListImmediate", "PrefixList", "name:String#listName indexInAet:U16#listSlot isV4:bool#isV4", "A prefix list of one family.", list="v4PrefixList", text='"v4 " + name_', hand=("verifySanity",)),
    value("PrefixListVariable", "PrefixList", "name:String argVectorIndex:U8#argumentIndex", "A prefix-list argument of the running function.", text=VARIABLE, frame=True),
    value("DynamicPrefixListImmediate", "PrefixList", "name:String#listName indexInAet:U16#listSlot", "A prefix list in use only for some VRFs.", list="dynamicPrefixList", text='"dynamic_prefix_list " + name_', hand=("verifySanity",), words="dynamic_prefix_list"),
    operator("EsiIs", fields="lhs:Esi rhs:Esi", dump="Is", lowered=True, doc="True when both are unset, or set and equal.", words="is"),
    builtIn("SetNextHopSelfImplExpr", "Body of next-hop-self: unsets the next hop for an outbound session.", effect="writes", writes=("next_hop",), lowered=True, words="set_next_hop_self"),
    builtIn("MatchOriginAsValidityImplExpr", "Body of the origin-validation test; integer arguments: ROA table, state.", effect="control", frame=True, reads=("prefix", "as_path"), integers=2, lowered=True, words="match_origin_as_validity"),
    builtIn("EvpnIpPrefixRouteSetOverlayIndexImplExpr", "Body of the overlay-index setter.", effect="writes", lowered=True, words="evpn_set_overlay_index"),
    builtIn("AsPathReplaceImplExpr", "Body of AS-path replace; node arguments: singletons, lower and upper bounds.", effect="writes", frame=True, reads=("as_path",), writes=("as_path",), integers=1, nodeArguments=True, lowered=True, words="as_path_replace"),
    builtIn("AsPathRemoveImplExpr", "Body of AS-path remove; node arguments: singletons, lower and upper bounds.", effect="writes", frame=True, reads=("as_path",), writes=("as_path",), nodeArguments=True, lowered=True, words="as_path_remove"),
    value("EsiImmediate", "Esi", "value:optional<Evpn::Esid>", "A constant Ethernet segment; may be unset.", text="textOf(value_)"),
]
