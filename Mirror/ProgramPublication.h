#pragma once

#include "Documents/Program.h"
#include "Mirror/FunctionDigests.h"
#include "QcfLib/QcfLib.h"

namespace Qcf::Mirror {

/// What making a program the published one changed.
struct PublishCounts {
    U64 functionsSet = 0;
    U64 functionsRemoved = 0;
    U64 nodesAdded = 0;
    U64 nodesRemoved = 0;

    bool changed() const { return functionsSet + functionsRemoved != 0; }
};

/// Makes the program's functions the functions of the status, changing only what differs.
///
/// A function that is published with equal content under its name stays as it is, with its nodes
/// and keys. Any other is set anew, and with it those that call it: a call holds its callee. Value
/// nodes that are in the store are shared; the new nodes have the program's keys if none of those
/// is in use, else keys above all others in the program's order, so that the log of an evaluation
/// reads the same. Nodes that no function uses any more go. The changes are bracketed by the
/// status's markers; there are none when nothing differs. The program's nodes become members as
/// they are where they can: those that are in another store already are copied.
///
/// Throws MirrorError before anything is changed when a function cannot be published. The digests
/// are those of a publisher that compares by them now and then; what was computed goes.
PublishCounts publishProgram(Documents::Program const & program, AllFunctionStatus & status,
                             FunctionDigests & digests, U32 marker);

} // namespace Qcf::Mirror
