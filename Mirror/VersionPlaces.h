#pragma once

#include "Documents/Program.h"
#include "Mirror/NameMap.h"
#include "QcfLib/QcfLib.h"

#include <functional>
#include <optional>
#include <vector>

namespace Qcf::Mirror {

/// Where a node was written: in which text, from where to where. Lines and columns count from 1;
/// the end is behind the last character.
struct TextPlace {
    String file;
    U32 line = 0;
    U32 column = 0;
    U32 endLine = 0;
    U32 endColumn = 0;
    String reason = {}; ///< that the text gives for a `return` or `exit`; empty for none

    bool operator==(TextPlace const &) const = default;
};

/// The places of one function's nodes, with lines counted from the function's own: they stay the
/// same when the function moves in its text. Immutable, and shared by the versions that have it.
class PlaceTable final : public PtrInterface {
public:
    /// A node's place; `key` is that of the published node.
    struct Row {
        U64 key = 0;
        U32 line = 0; ///< 0 is the function's
        U32 column = 0;
        U32 endLine = 0;
        U32 endColumn = 0;
        String reason = {};

        bool operator==(Row const &) const = default;
    };

    /// The rows in any order; of those of one key the first counts.
    explicit PlaceTable(std::vector<Row> rows);

    /// By rising keys.
    std::vector<Row> const & rows() const { return rows_; }
    /// Null for a key without a place.
    Row const * find(U64 key) const;

private:
    std::vector<Row> rows_;
};

/// The text that a published function comes from.
struct FunctionPlaces {
    String file;
    U32 line = 0;               ///< of the function
    PtrConst<PlaceTable> table; ///< never null

    /// The place of the node with that key; nothing where none is known.
    std::optional<TextPlace> find(U64 key) const;
    /// Whether all nodes are in the same places.
    bool isSame(FunctionPlaces const & other) const;
};

/// By names of functions. They travel with a version, and take no part in what it means: its digest
/// is the same without them. Functions that come from no text have none.
///
/// Statements and conditions have places; values, which one node may stand for in many functions,
/// have none.
using VersionPlaces = NameMap<FunctionPlaces>;

/// Places before and after a batch.
struct PlaceChange {
    VersionPlaces before;
    VersionPlaces after;

    /// Whether there are places in either.
    bool any() const { return !before.empty() || !after.empty(); }
};

/// Where a node of a program stands in a text; nothing where that is not known.
using PlaceOfNode = std::function<std::optional<TextPlace>(Eval::AetNodeBase const & node)>;

/// The places of a program that was published, by the keys of the nodes that stand for its own. The
/// functions of the status are those of the program, by their digests. What is equal is shared with
/// `before`. Costs a walk over the program.
VersionPlaces placesOf(Documents::Program const & program, AllFunctionStatus const & published,
                       PlaceOfNode const & placeOf, VersionPlaces const & before);
/// The places before, with those of a part that was published: its functions have the places that
/// are told of them, and those that are gone have none. Costs a walk over the part.
VersionPlaces placesWithPart(Documents::Program const & part, std::vector<String> const & gone,
                             AllFunctionStatus const & published, PlaceOfNode const & placeOf,
                             VersionPlaces const & before);

/// How many functions differ in their places. Passes over what both share.
U64 placesThatDiffer(VersionPlaces const & a, VersionPlaces const & b);

} // namespace Qcf::Mirror
