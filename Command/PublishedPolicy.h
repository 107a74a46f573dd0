#pragma once

#include "Command/RedisArguments.h"
#include "Mirror/Replica.h"
#include "Watch/NodePlaces.h"

#include <memory>
#include <unordered_map>

/// Takes a function as if it stood in a document of its own, for what the reader of documents knows
/// about functions that cannot be evaluated: then it throws DocumentError. A published store may
/// come from another writer than `qcf publish`, which would have refused such a function.
void checkFunction(Qcf::Eval::Function const & function);

/// The live version of a name, read once: nobody is told of a reader. Throws DocumentError where
/// nothing is published or it cannot be read whole, and what a connection throws.
PtrConst<Qcf::Mirror::PolicyVersion> readLiveVersion(RedisArguments const & redis);

/// The function of that name. Throws DocumentError where the version, which is called `subject`,
/// has none.
Qcf::Eval::Function const & findFunction(Qcf::Mirror::PolicyVersion const & version,
                                         String const & subject, String const & name);

/// The lists for a version: its own, and over them those given, which may be null; null where there
/// are none. Throws DocumentError where one of those is of another kind or family than the
/// version's.
PtrConst<Qcf::Lists::NamedLists> listsFor(Qcf::Mirror::PolicyVersion const & version,
                                          PtrConst<Qcf::Lists::NamedLists> const & over);

/// The places of the nodes of a published version: those in the text that they came from, where the
/// version has them. Else they stand in no file: the name and the version, the function and the
/// node's key, which can be looked up there.
class PublishedPlaces final : public Qcf::Watch::NodePlaces {
public:
    /// `subject` stands for the file: "edge version 7".
    PublishedPlaces(String subject, PtrConst<Qcf::Mirror::PolicyVersion> version);

    Qcf::Watch::NodePlace of(Qcf::Eval::AetNodeBase const & node,
                             Qcf::Eval::Function const & within) const override;
    String line(Qcf::Eval::AetNodeBase const & node,
                Qcf::Eval::Function const & within) const override;
    String reason(Qcf::Eval::AetNodeBase const & node) const override;

private:
    String subject_;
    PtrConst<Qcf::Mirror::PolicyVersion> version_;
    /// By the keys of those that leave a function, which no two functions share.
    std::unordered_map<U64, String> reasons_;
};
