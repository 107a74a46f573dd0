#pragma once

#include "Text/SourceMap.h"
#include "Watch/NodePlaces.h"

namespace Qcf::Watch {

/// The places of a compiled text's nodes. Unlike others it is one thread's at a time, because
/// sources find their lines when asked.
class TextPlaces final : public NodePlaces {
public:
    /// Both must outlive it.
    TextPlaces(Text::SourceMap const & map, Text::Sources const & sources)
        : map_(map), sources_(sources) {}

    NodePlace of(Eval::AetNodeBase const & node, Eval::Function const & within) const override;
    String line(Eval::AetNodeBase const & node, Eval::Function const & within) const override;
    String reason(Eval::AetNodeBase const & node) const override;

    /// The place of a piece of the texts.
    NodePlace of(Text::Span const & span) const;
    /// The text of a span up to its first line's end, blanks at the ends left out.
    String line(Text::Span const & span) const;

private:
    bool isNegatedInPlace(Eval::AetNodeBase const & node, String const & line) const;

    Text::SourceMap const & map_;
    Text::Sources const & sources_;
};

} // namespace Qcf::Watch
