#pragma once

#include "Documents/Program.h"
#include "Platform/Render/RendererV2.h"
#include "Text/SourceMap.h"

namespace Qcf::Text {

/// Source maps as files: what a compiled document leaves out, the places of its nodes.
///
///     {"qcf": "map/1", "files": ["transit.qcf"],
///      "nodes": {"12": [0, 3, 5, 3, 21, null]}}
///
/// A node's entry is its file, line and column, the line and column behind its end, and its reason.

/// Writes the map of a program; `sources` are those that it was read from.
void writeMap(SourceMap const & map, Sources const & sources, RendererV2 & renderer);

/// A node's place as a map file has it.
struct MappedPlace {
    U32 file; ///< number in `files`
    LinePlace begin;
    LinePlace end;
    String reason; ///< empty for none
};

/// A map that was read from a file. Does not change; any number of threads may ask.
class PlaceMap {
public:
    /// Reads a map file. Throws DocumentError.
    static PlaceMap read(String const & path);
    /// The same of a map that was not written.
    static PlaceMap of(SourceMap const & map, Sources const & sources);

    /// Whether it can be the program's: nodes that it places are there, and functions' bodies have
    /// places. Throws DocumentError about the map where it cannot.
    void mustSuit(Documents::Program const & program) const;

    /// Null for keys without a place.
    MappedPlace const * find(U64 key) const;
    String const & fileName(MappedPlace const & place) const { return files_[place.file]; }
    /// `FILE:LINE:COLUMN`; empty for keys without a place.
    String text(U64 key) const;

private:
    struct Entry {
        U64 key;
        MappedPlace place;
    };

    String path_; ///< of a map that was read
    std::vector<String> files_;
    std::vector<Entry> entries_; ///< by key
};

} // namespace Qcf::Text
