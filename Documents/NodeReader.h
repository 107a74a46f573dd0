#pragma once

#include "Documents/NodeBuilder.h"

#include <array>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Qcf::Documents {

/// A node field of a class: where a child stands, and what may stand there.
struct Position {
    Eval::NodeClass const & owner;
    Eval::FieldInfo const & field;

    /// "IntAssign.lhs"
    String subject() const { return String(owner.name) + "." + field.name; }
    [[noreturn]] void fail(JsonValue const & place, String const & found) const {
        place.fail(subject(), field.wants, found);
    }
};

/// Turns the NODE forms of a document into nodes: objects with a class, references, null, literals
/// and chains. Answers are node numbers of the builder; `NodeBuilder::none` stands for null.
class NodeReader {
public:
    /// The numbers of a node's children, in the order of its node fields.
    class Children {
    public:
        void push_back(U32 number) { numbers_.at(count_++) = number; }
        std::span<U32 const> all() const { return std::span(numbers_).first(count_); }

    private:
        std::array<U32, 8> numbers_{};
        std::size_t count_ = 0;
    };

    NodeReader(NodeBuilder & builder, ListNames & names) : builder_(builder), names_(names) {}

    /// A child; nothing when its member was left out of `owner`.
    U32 readChild(JsonValue const & owner, std::optional<JsonValue> const & json,
                  Position const & position);

    /// An object with a class, wherever any node may stand.
    U32 readNode(JsonValue const & json);
    /// An entry of `functions`.
    U32 readFunction(JsonValue const & json);

    /// Notes that an entry could not be read, for those that refer to it or to nodes in it.
    void isUnread(JsonValue const & json);

private:
    friend class ObjectFields;
    friend class LiteralReader;

    /// A chain whose links are not made yet: entries come before any link.
    struct Chain {
        struct Link {
            JsonValue place;
            std::optional<JsonValue> entry;
            std::optional<JsonValue> key;
            U32 entryNumber = NodeBuilder::none;
        };
        Eval::NodeClass const * linkClass = nullptr;
        std::vector<Link> links;
        U32 tail = NodeBuilder::none; ///< links that stood elsewhere already
        bool communityTexts = false;  ///< texts of communities stand for integers
    };

    Chain openChain(JsonValue const & owner, std::optional<JsonValue> json,
                    Position const & position);
    void readEntry(Chain & chain, std::size_t i);
    U32 closeChain(Chain & chain);
    U32 readChain(Chain chain);

    U32 readReference(JsonValue const & json, Position const & position);
    U32 readObject(JsonValue const & json, Eval::NodeClass const & nodeClass, bool isFunctionEntry);
    Children readChildren(JsonValue const & json, Eval::NodeClass const & nodeClass);
    U32 readCallee(JsonValue const & json, Position const & position);
    Children readLogicalChain(JsonValue const & json, Eval::NodeClass const & nodeClass);
    U32 readLiteral(JsonValue const & json, Position const & position);

    /// The attribute's node, if it may stand there.
    std::optional<U32> fittingAttribute(JsonValue const & place, Eval::NodeClass const & nodeClass,
                                        Position const & position);
    U32 expectFitting(JsonValue const & place, Position const & position, U32 number,
                      String const & detail) const;
    void functionIs(JsonValue const & json, U32 number, bool isFunctionEntry);

    NodeBuilder & builder_;
    ListNames & names_;
    std::unordered_map<String, U32> functions_;                   ///< by name
    std::unordered_map<Eval::NodeClass const *, U32> attributes_; ///< those made from their names
    std::unordered_set<String> unreadFunctions_;
    std::unordered_set<U64> unreadKeys_;
};

} // namespace Qcf::Documents
