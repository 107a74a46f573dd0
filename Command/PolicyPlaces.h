#pragma once

#include "Command/PolicyFile.h"
#include "Watch/NodePlaces.h"

#include <map>
#include <memory>
#include <mutex>

/// A node on one line as policy text would spell it, without what stands in its blocks.
String spelledLine(Qcf::Eval::AetNodeBase const & node, Qcf::Eval::Function const & within);

/// The places of a policy's nodes: lines of its text, or of the text that a source map leads to,
/// else pointers into the document.
///
///     auto const policy = std::make_shared<PolicyFile const>(PolicyFile::read(options));
///     PolicyPlaces const places(policy);
///
/// Texts that a map names are read when they are first asked for; one that cannot be read is no
/// fault, its nodes are spelled as a printer does. What was found out about a node is kept.
class PolicyPlaces final : public Qcf::Watch::NodePlaces {
public:
    explicit PolicyPlaces(std::shared_ptr<PolicyFile const> policy);

    Qcf::Watch::NodePlace of(Qcf::Eval::AetNodeBase const & node,
                             Qcf::Eval::Function const & within) const override;
    String line(Qcf::Eval::AetNodeBase const & node,
                Qcf::Eval::Function const & within) const override;
    String reason(Qcf::Eval::AetNodeBase const & node) const override;
    /// The lines of a text that a map names; none where it cannot be read. Not while others ask.
    std::vector<String> const & linesOf(String const & file) const;

private:
    using Key = std::pair<Qcf::Eval::AetNodeBase const *, Qcf::Eval::Function const *>;

    Qcf::Watch::NodePlace found(Qcf::Eval::AetNodeBase const & node,
                                Qcf::Eval::Function const & within) const;
    String foundLine(Qcf::Eval::AetNodeBase const & node, Qcf::Eval::Function const & within) const;
    bool isNegatedInPlace(Qcf::Eval::AetNodeBase const & node, String const & source) const;
    /// The first line of the node's text; empty where no text is known.
    String sourceOf(Qcf::Eval::AetNodeBase const & node) const;
    String mappedLine(Qcf::Text::MappedPlace const & place) const;

    std::shared_ptr<PolicyFile const> policy_;
    /// Of all that follows.
    mutable std::mutex mutex_;
    mutable std::map<Key, Qcf::Watch::NodePlace> places_;
    mutable std::map<Key, String> lines_;
    mutable std::map<String, std::vector<String>> files_;
};
