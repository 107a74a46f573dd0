#pragma once

#include "Documents/NodeReader.h"

namespace Qcf::Documents {

/// A value that stands for a node, by the type that its position wants.
class LiteralReader {
public:
    LiteralReader(NodeReader & reader, JsonValue const & json, Position const & position)
        : reader_(reader), json_(json), position_(position) {}

    U32 read();
    /// The same for a text within an integer set's array, where communities stand for integers.
    U32 readSetElement();

    // By wanted type; answer `NodeBuilder::none` for what is no literal of that type.
    U32 integer();
    U32 bandwidth();
    U32 triStateBool();
    U32 expression();
    U32 argument();
    U32 logicalOperator();
    /// The immediate of a value that reads itself from a text (or null, where it can be unset).
    template <typename Value, auto factory>
    U32 text();
    /// A literal list or set from an array of its elements.
    template <typename Link, auto factory>
    U32 elements();

private:
    std::optional<U32> languageName();
    U32 add(Ptr<Eval::AetNodeBase> const & node, std::initializer_list<U32> children = {});
    U64 key() const;

    NodeReader & reader_;
    JsonValue const json_;
    Position const & position_;
};

} // namespace Qcf::Documents
