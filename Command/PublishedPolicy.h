#pragma once

#include "Command/RedisArguments.h"
#include "Mirror/PolicyVersion.h"
#include "Watch/NodePlaces.h"

/// Takes a function as if it stood in a document of its own, for what the reader of documents knows
/// about functions that cannot be evaluated: then it throws DocumentError. A published store may
/// come from another writer than `qcf publish`, which would have refused such a function.
void checkFunction(Qcf::Eval::Function const & function);

/// The live version of a name, read once: nobody is told of a reader. Throws DocumentError where
/// nothing is published or it cannot be read whole, and what a connection throws.
PtrConst<Qcf::Mirror::PolicyVersion> readLiveVersion(RedisArguments const & redis);

/// The places of the nodes of a published version, which stand in no file: the name and the
/// version, the function and the node's key, which can be looked up there.
class PublishedPlaces final : public Qcf::Watch::NodePlaces {
public:
    /// `subject` stands for the file: "edge version 7".
    explicit PublishedPlaces(String subject) : subject_(std::move(subject)) {}

    Qcf::Watch::NodePlace of(Qcf::Eval::AetNodeBase const & node,
                             Qcf::Eval::Function const & within) const override;
    String line(Qcf::Eval::AetNodeBase const & node,
                Qcf::Eval::Function const & within) const override;
    String reason(Qcf::Eval::AetNodeBase const & /*node*/) const override { return {}; }

private:
    String subject_;
};
