#pragma once

#include "Mirror/Digest.h"
#include "Mirror/NameMap.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Mirror {

/// A function under a name, and what it says.
struct NamedFunction {
    PtrConst<Eval::Function> function; ///< never null
    Digest digest;
};

/// What the functions of a node of the table say, by one digest: over the places of its slots, and
/// the name and the digest of the function there, or the digest of the node there. So the digest
/// over a table in which one function differs costs a few nodes.
///
/// Numbers are text and digests are their bytes, in every process on every machine; whoever changes
/// that makes builds disagree about versions.
class TreeDigest {
public:
    template <typename Slots>
    explicit TreeDigest(Slots const & slots) {
        String text;
        for (auto const & slot : slots) {
            slot.entry ? addFunction(text, slot.place, slot.entry->name, slot.entry->value)
                       : addNode(text, slot.place, slot.node->summary);
        }
        digestIsOver(text);
    }

    Digest const & digest() const { return digest_; }

private:
    static void addFunction(String & text, U8 place, String const & name,
                            NamedFunction const & function);
    static void addNode(String & text, U8 place, TreeDigest const & node);
    void digestIsOver(String const & text);

    Digest digest_;
};

/// The functions of a version.
using FunctionTable = NameMap<NamedFunction, TreeDigest>;

/// The digest that was a version's before there was one over a tree: over all names and functions'
/// digests in name order. For batches of earlier formats.
Digest flatDigest(FunctionTable const & functions);

} // namespace Qcf::Mirror
