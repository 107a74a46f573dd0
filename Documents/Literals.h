#pragma once

#include "Documents/DocumentBuilder.h"
#include "Documents/Position.h"

#include <unordered_map>

namespace Qcf::Documents {

/// Values that stand for a whole node, by what their position wants: `5` for a constant integer,
/// `true` for a predicate, `"med"` for a route attribute, `"or"` for a logical operator. Literal
/// lists and sets hold nodes, so that NodeReader reads them.
///
/// A value means nothing by itself: `5` is a constant integer where an integer is wanted, and a
/// bandwidth where one of those is.
///
/// Answers are node numbers of the builder, which must outlive this. Failures are DocumentErrors.
class Literals {
public:
    explicit Literals(DocumentBuilder & builder) : builder_(builder) {}

    /// The node that the value stands for. Attributes come first: a text that is the name of one
    /// which may stand there is nothing else.
    U32 read(JsonValue const & json, Position const & position);
    /// An integer where a bandwidth must be meant, although the position takes either.
    U32 readBandwidth(JsonValue const & json, Position const & position);
    /// The same for a text within an integer set's array, where communities stand for integers.
    U32 readSetElement(JsonValue const & text, Position const & position);

private:
    /// The attribute that a text names; nothing where it is none, or may not stand there.
    std::optional<U32> attribute(JsonValue const & json, Position const & position);

    DocumentBuilder & builder_;
    /// Nodes of attributes, those that were made from their names.
    std::unordered_map<Eval::NodeClass const *, U32> attributes_;
};

} // namespace Qcf::Documents
