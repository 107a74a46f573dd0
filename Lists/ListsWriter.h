#pragma once

#include "Lists/ListRecord.h"
#include "Platform/Render/RendererV2.h"

#include <span>

namespace Qcf::Lists {

/// Writes a lists document, which reads back to equal lists. Lists stand in the sections of their
/// kinds, in the order in which they are given; no two of one kind may share a name.
void writeLists(std::span<ListRecord const> lists, RendererV2 & renderer);

/// A section a call, for who has lists in another container:
///
///     ListsWriter writer(renderer);
///     for (each kind in order) { for (each of its lists) { writer.add(record); } }
///     writer.end();
class ListsWriter {
public:
    explicit ListsWriter(RendererV2 & renderer);
    /// Kinds must not fall.
    void add(ListRecord const & record);
    /// Ends the document.
    void end();

private:
    RendererV2 & renderer_;
    std::optional<ListKind> section_;
};

} // namespace Qcf::Lists
