#pragma once

#include "QcfLib/NodeFields.h"
#include "Text/Literal.h"
#include "Text/SourceText.h"

#include <deque>
#include <memory>

#include <boost/container/small_vector.hpp>

namespace Qcf::Text {

struct Draft;

/// The entries of a chain of links.
using DraftChain = std::vector<Draft *>;

/// What a field of a node is to hold. Nothing was said of a field that holds the first of these:
/// it is derived, as documents do.
using DraftField = std::variant<std::monostate, Draft *, DraftChain, bool, U64, String, Literal,
                                std::shared_ptr<struct DraftValue const>>;

/// Values of fields that stand in annotations and raw nodes alone.
struct DraftValue {
    std::variant<FunctionMetadata, Eval::AccessibleAttributes, Routing::Policy::RouteMapFeatures,
                 Routing::Rib::ResolutionRibProfileConfig>
        value = {};
    /// Of a raw field: the JSON text of its value, in place of the value.
    String json = {};
    /// Which halves of AccessibleAttributes are given; what is not is derived.
    bool hasReads = false;
    bool hasWrites = false;
};

/// A node that is to be made: what a construct of a text stands for, with its place. The class is
/// settled by the shapes and names that stand in the text; what depends on the rest of the texts
/// (which function is called, of which family a list is) is settled by the compiler.
///
/// Drafts are owned by their DraftTree and refer to each other freely.
struct Draft {
    Eval::NodeClass const * nodeClass = nullptr;
    Span span = {};
    /// One for each field of the class, in their order.
    boost::container::small_vector<DraftField, 3> fields = {};
    /// A prefix list by its name alone: its family is that of its declaration.
    bool isFamilyOpen = false;
    /// Why a `return` or `exit` decides as it does; empty for most.
    String reason = {};

    bool isKind(Eval::NodeKind kind) const { return nodeClass->isKind(kind); }
    /// The field that plays the role, which one must.
    DraftField & at(Eval::FieldRole role);
    DraftField const & at(Eval::FieldRole role) const;
};

/// Owns drafts; none moves. They live until their nodes are made, those of tests longer.
class DraftTree {
public:
    /// With all fields left out.
    Draft * add(Eval::NodeClass const & nodeClass, Span const & span);
    /// With those fields first.
    Draft * add(Eval::NodeClass const & nodeClass, Span const & span,
                std::initializer_list<DraftField> fields);
    /// The immediate of a literal.
    Draft * addLiteral(Literal const & literal, Span const & span);

    template <typename Node>
    Draft * add(Span const & span, std::initializer_list<DraftField> fields) {
        return add(Eval::nodeClassOf<Node>(), span, fields);
    }

private:
    std::deque<Draft> drafts_;
};

/// The class of the node that a literal stands for.
Eval::NodeClass const & immediateOf(Literal const & literal);

/// Whether a node of that class may stand in the field.
bool mayStand(Eval::NodeClass const & nodeClass, Eval::FieldInfo const & field);

} // namespace Qcf::Text
