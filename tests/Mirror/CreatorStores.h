#pragma once

#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/QcfLib.h"

#include <functional>
#include <vector>

namespace Qcf::Mirror::test {

/// Something that one may do to a status through its own operations and its store's creators.
struct Filling {
    char const * what;
    std::function<void(AllFunctionStatus &)> fill;
};

/// What a store's contract allows and documents do not show.
std::vector<Filling> const & fillings();

/// A function that answers true, stored under keys from `key` on.
Ptr<Eval::Function> storedFunction(AllAetEntities & store, U64 key, String const & funcName);

/// A chain of so many `not` above a constant.
PtrConst<Eval::Expression> deepExpression(U32 levels, U64 firstKey = 0);

} // namespace Qcf::Mirror::test
