#pragma once

#include "Lists/ListRecord.h"
#include "Mirror/Digest.h"

#include <map>

namespace Qcf::Mirror {

/// Which list: names are unique within a kind.
struct ListKey {
    Lists::ListKind kind = Lists::ListKind::prefixList;
    String name;

    auto operator<=>(ListKey const &) const = default;
};

/// A named list as it is published: as it was written, with its identity. Immutable, and shared by
/// the versions that have it.
class PublishedList final : public PtrInterface {
public:
    /// Costs writing every entry once.
    explicit PublishedList(Lists::ListContent content);

    Lists::ListContent const & content() const { return content_; }
    /// Over what the list says beside its entries, and over the entries in their order.
    Digest const & digest() const { return digest_; }

private:
    Lists::ListContent content_;
    Digest digest_;
};

/// The lists of a version, by kind and name. None is null.
using PublishedLists = std::map<ListKey, PtrConst<PublishedList>>;

/// Lists before and after a batch.
struct ListChange {
    PublishedLists before;
    PublishedLists after;

    /// Whether there are lists in either.
    bool any() const { return !before.empty() || !after.empty(); }
};

/// Those of the records, which name each list once; of `before` those that are equal, so that they
/// are shared. Throws MirrorError for a list that no reader would take.
PublishedLists publishedLists(std::vector<Lists::ListRecord> records,
                              PublishedLists const & before);

/// Whether both have the same lists with the same entries.
bool sameLists(PublishedLists const & a, PublishedLists const & b);

/// The digest of a version whose functions have that digest: the same where there are no lists, so
/// that a version means by its digest what it always did.
Digest versionDigest(Digest const & functions, PublishedLists const & lists);

/// The lists as they answer questions; null where there are none. `made` is what was made of
/// `before`: of lists that are in both it is taken over, which spares making a large one anew.
PtrConst<Lists::NamedLists> namedLists(PublishedLists const & lists, String const & subject,
                                       PublishedLists const & before,
                                       PtrConst<Lists::NamedLists> const & made);

} // namespace Qcf::Mirror
