#pragma once

#include "Documents/Chains.h"
#include "Documents/Literals.h"

#include <array>

namespace Qcf::Documents {

/// Turns the NODE forms of a document into nodes: objects with a class, references, null, literals
/// and chains. Children are read before their parents, in the order in which evaluation logs them.
///
/// Answers are node numbers of the builder, which must outlive this; `NodeBuilder::none` stands for
/// null. Throws the DocumentError of what cannot be read; nodes that were read before stay. Goes as
/// deep as the document is nested, which its parser limits.
///
///     DocumentBuilder builder(names, nullptr);
///     NodeReader reader(builder);
///     U32 const number = reader.readFunction(entry);
///     auto const function = ptrCast<Function const>(builder.node(number));
class NodeReader {
public:
    explicit NodeReader(DocumentBuilder & builder)
        : builder_(builder), earlier_(builder), literals_(builder) {}

    /// An object with a class, wherever any node may stand.
    U32 readNode(JsonValue const & json);
    /// An entry of `functions`.
    U32 readFunction(JsonValue const & json);

    /// Remembers that an entry could not be read, for those that refer to it or to nodes in it.
    void addUnread(JsonValue const & json) { earlier_.addUnread(json); }

private:
    /// The numbers of a node's children, in the order of its node fields. No class has more than
    /// there is room for.
    class Children {
    public:
        void push_back(U32 number) { numbers_.at(count_++) = number; }
        std::span<U32 const> all() const { return std::span(numbers_).first(count_); }

    private:
        std::array<U32, 8> numbers_{};
        std::size_t count_ = 0;
    };

    /// Children first, then the node itself.
    U32 readObject(NodeObject const & object);
    Children readChildren(NodeObject const & object);
    Children readLogicalChain(NodeObject const & object);
    /// A child; nothing when its member was left out of `owner`.
    U32 readChild(JsonValue const & owner, std::optional<JsonValue> const & json,
                  Position const & position);

    /// The arguments of a call of that function.
    U32 readArguments(Chain chain, U32 callee);
    /// The entries of all links, then the links. Answers the number of the first link.
    U32 readChain(Chain chain);
    void readEntry(Chain & chain, std::size_t i);
    /// A literal of that class from an array of its elements.
    U32 readListLiteral(JsonValue const & array, Eval::NodeClass const & literal);

    DocumentBuilder & builder_;
    // What children may be besides objects.
    EarlierNodes earlier_;
    Literals literals_;
};

} // namespace Qcf::Documents
