#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Types.h"

#include <unordered_map>
#include <unordered_set>

/// Status objects of the named lists that a policy refers to. They are read-only once they are
/// shared: threads that evaluate hold them as `Ptr<T const>`. Whoever builds one fills it before.
namespace Routing::RouteMap {

/// Current content of a list of standard communities. What it holds and how it matches is the
/// host's: it derives from this and gets its own objects back in the matcher operations.
///
///     class OwnList final : public Routing::RouteMap::StandardCommListStatus {
///         ... what it holds ...
///     };
///     // in the host's evaluation context
///     bool matchCommList(PtrConst<U64SmallVector> const & set,
///                        PtrConst<CommListStatus> const & status) const override {
///         return status && set && static_cast<OwnList const &>(*status).matches(*set);
///     }
class StandardCommListStatus : public PtrInterface {
public:
    ~StandardCommListStatus() override = default;
};

/// The same for extended communities.
class ExtCommListStatus : public PtrInterface {
public:
    ~ExtCommListStatus() override = default;
};

/// The same for large communities.
class LargeCommListStatus : public PtrInterface {
public:
    ~LargeCommListStatus() override = default;
};

/// The same for AS-path access lists.
class AsPathListStatus : public PtrInterface {
public:
    ~AsPathListStatus() override = default;
};

/// The same for tables of route origin authorizations.
class RoaTableStatus : public PtrInterface {
public:
    ~RoaTableStatus() override = default;
};

/// Content of a named set of tags; a new one is empty. The engine itself looks into it, so that it
/// is the same for all hosts.
class TagSetStatus : public PtrInterface {
public:
    /// All tags, in no particular order.
    std::unordered_set<U32> const & tags() const { return tags_; }

    /// Adds a tag; one that is there already stays as it is.
    void tagIs(U32 tag) { tags_.insert(tag); }
    /// Takes a tag out; nothing happens where it is not there.
    void tagDel(U32 tag) { tags_.erase(tag); }

    /// One hash probe.
    bool contains(U32 tag) const { return tags_.contains(tag); }

private:
    /// Of 32 bits, as routes carry them.
    std::unordered_set<U32> tags_;
};

/// For a dynamic prefix list: in which VRFs it is active; a new one is active in none.
class DynamicPrefixListStatus : public PtrInterface {
public:
    /// VRF id to whether the list is active there.
    std::unordered_map<U32, bool> const & vrfs() const { return vrfs_; }

    /// Lists a VRF as active or as not active; the last word counts.
    void vrfIs(U32 vrfId, bool active) { vrfs_[vrfId] = active; }
    /// Takes a VRF out of the list, which makes it not active.
    void vrfDel(U32 vrfId) { vrfs_.erase(vrfId); }

    /// True when the VRF is listed as active. For a VRF that is not listed: false.
    bool activeIn(U32 vrfId) const {
        auto const found = vrfs_.find(vrfId);
        return found != vrfs_.end() && found->second;
    }

private:
    /// Those that were named; all others are not active.
    std::unordered_map<U32, bool> vrfs_;
};

} // namespace Routing::RouteMap
