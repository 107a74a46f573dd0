#pragma once

#include "Platform/Framework/Ptr.h"
#include "QcfLib/RoutingTypes.h"
#include "QcfLib/StoredSet.h"

/// How a plan reads an attribute without asking its node. A node says once, when its plan is made,
/// where its value comes from; the plan then reads from there, with what `getVal` would check.
///
///     IntSource const source = node.source();
///     if (source.input != nullptr) { ... } // else the node has to be asked each time
namespace Qcf::Eval {

class AttributeContent;
class EvalContextBase;
class GeneratedEvalContext;

/// Of an integer attribute: the changes of the context while the flag is set, the accessor
/// otherwise.
/// A value outside the bounds is the node's business. Without an accessor the node has to be asked,
/// and without a place among the changes the attribute cannot be
/// written.
struct IntSource {
    // Without a flag the value is always the agent's, as of inputs.
    U32 modifiedFlag = 0;
    U64 AttributeContent::*stored = nullptr;
    U64 (GeneratedEvalContext::*input)() const = nullptr;
    // What a modifiable attribute's getVal asserts; the whole range where there are no bounds.
    U64 min = 0;
    U64 max = ~U64{0};
    /// Of what is computed from an attribute that is no integer, the length of a path or a prefix:
    /// what getVal answers, without its node. There is no accessor then.
    U64 (*derived)(Ptr<EvalContextBase const> const & context) = nullptr;
};

/// The same for a set attribute, which has no bounds.
template <typename Set>
struct SetSource {
    U32 modifiedFlag = 0;
    StoredSet<Set> AttributeContent::*stored = nullptr;
    Set * (GeneratedEvalContext::*input)() const = nullptr;
};

/// The accessor of a prefix attribute; null where its node has to be asked.
using PrefixSource = IpGenPrefix (GeneratedEvalContext::*)() const;

} // namespace Qcf::Eval
