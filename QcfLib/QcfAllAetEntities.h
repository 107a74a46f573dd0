#pragma once

#include "QcfLib/QcfAllAetEntitiesGenerated.h"

namespace Qcf {

/// The store of every node of every published function, with its typed view, for publishers. A
/// collection a node class; for a class X it has
///
///     Ptr<X> xCollIs(key, fields...)   the member under the key, made from the fields if missing
///     Ptr<X> xCollDel(key)             takes it out; null when there was none
///     void xCollDelAll()               takes every X out
///     Ptr<X> xColl(key)                looks it up; null when there is none
///
/// over the untyped core (AetCollections), which counts, iterates and takes nodes that were built
/// elsewhere, and which says who may change a store and what is published of that:
///
///     auto store = allAetEntitiesFactory();
///     auto one = store->intImmediateCollIs(1, 1, false);
///     auto isOne = store->intIsCollIs(2, store->medColl(7), one);
///
/// A key denotes the same node for as long as that is a member: given again, with other fields, it
/// gives the first one. Whoever uses a class includes the header that defines it, too.
class AllAetEntities final : public NodeCollections {
public:
    static Ptr<AllAetEntities> AllAetEntitiesIs();
    TypeData const & typeData() const override;
};

/// An empty store.
Ptr<AllAetEntities> allAetEntitiesFactory();

} // namespace Qcf
