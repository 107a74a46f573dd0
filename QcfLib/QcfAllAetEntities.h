#pragma once

/// The store of all nodes with its typed view, for publishers: per node class X
///
///     Ptr<X> xCollIs(key, fields...)   the member under the key, made from the fields if missing
///     Ptr<X> xCollDel(key)             takes it out; null when there was none
///     void xCollDelAll()               takes every X out
///     Ptr<X> xColl(key)                looks it up; null when there is none
///
/// over the untyped core in QcfAetCollections.h, which counts, iterates and takes nodes that were
/// built elsewhere. Whoever uses a class includes the header that defines it, too.

#include "QcfLib/QcfAllAetEntitiesGenerated.h"

namespace Qcf {

/// An empty store.
Ptr<AllAetEntities> allAetEntitiesFactory();

} // namespace Qcf
