#pragma once

#include "Lists/NamedLists.h"
#include "Mirror/FunctionTable.h"
#include "Mirror/VersionPlaces.h"

#include <string_view>

namespace Qcf::Mirror {

/// What all readers of a published store can compare: which batch they hold. Two readers with equal
/// ids evaluate alike.
struct VersionId {
    U64 number = 0; ///< rises by one a batch; 0 before the first
    String id;      ///< unique to the batch; empty before the first
    Digest digest;  ///< over the functions' content, and the lists' where there are some

    bool operator==(VersionId const &) const = default;
    /// "version 7, digest 3b0c..."
    String toString() const;
};

/// The functions of one complete batch, and the lists that it has for them. Immutable, and shared
/// by any number of threads.
///
///     if (Eval::Function const * const import = version.find("import")) {
///         import->eval(context);
///     }
///
/// It holds its functions by count, and they their nodes: a version works on whatever becomes of
/// the store that it was taken from. Evaluating threads get it from a VersionedView.
class PolicyVersion final : public PtrInterface {
public:
    PolicyVersion(VersionId id, FunctionTable functions, U64 nodes,
                  PtrConst<Lists::NamedLists> lists = nullptr, VersionPlaces places = {})
        : id_(std::move(id)),
          functions_(std::move(functions)),
          nodes_(nodes),
          lists_(std::move(lists)),
          places_(std::move(places)) {}

    /// Which batch it is.
    VersionId const & id() const { return id_; }
    /// All functions by name; `inOrder` tells them in name order.
    FunctionTable const & functions() const { return functions_; }
    /// Nodes in the store that the version was taken from.
    U64 nodes() const { return nodes_; }
    /// The lists that were published with the functions; null where there are none.
    PtrConst<Lists::NamedLists> const & lists() const { return lists_; }
    /// Where the functions' nodes stand in their texts, as far as that was published.
    VersionPlaces const & places() const { return places_; }
    /// The function of that name; null when there is none. Valid as long as the version.
    Eval::Function const * find(std::string_view name) const;
    /// The names that the functions use, with their slots. Where functions disagree, which no
    /// document lets them, the first in name order counts. For binding the agent's lists.
    FunctionMetadata slots() const;

private:
    VersionId id_;
    FunctionTable functions_;
    U64 nodes_;
    PtrConst<Lists::NamedLists> lists_;
    VersionPlaces places_;
};

} // namespace Qcf::Mirror
