#pragma once

#include "Documents/NodeBuilder.h"
#include "Text/Cursor.h"
#include "Text/Draft.h"
#include "Text/SourceMap.h"

#include <unordered_map>

namespace Qcf::Text {

/// Makes the nodes of drafts and has the builder take them in: children before parents, in the
/// order in which evaluation logs them, as readers of documents do.
///
///     DraftEmitter emitter(builder, sources, messages, map);
///     U32 const number = emitter.emit(*function.draft, function.key);
///
/// Throws Recovery where the builder refuses a node, which is told at the draft's place.
class DraftEmitter {
public:
    /// All must outlive it.
    DraftEmitter(Documents::NodeBuilder & builder, Sources const & sources, Messages & messages,
                 SourceMap & map)
        : builder_(builder), sources_(sources), messages_(messages), map_(map) {}

    /// The number of the draft's node. `key` is the one given to it, where one is.
    U32 emit(Draft const & draft, std::optional<U64> key = {});

    /// The list that the draft names, if it does.
    struct NamedList {
        SlotKind kind;
        String const & name;
        std::optional<U64> slot;
    };
    static std::optional<NamedList> listOf(Draft const & draft);

private:
    using Numbers = boost::container::small_vector<U32, 6>;

    void children(Draft const & draft, Numbers & numbers);
    void logicalChain(Draft const & draft, Numbers & numbers);
    U32 chain(Eval::FieldInfo const & field, DraftChain const & entries);
    U32 links(Eval::FieldInfo const & field, DraftChain const & entries,
              std::vector<U32> const & numbers);
    U32 add(Draft const & draft, std::span<U32 const> numbers, std::optional<U64> key);

    Documents::NodeBuilder & builder_;
    Sources const & sources_;
    Messages & messages_;
    SourceMap & map_;
    /// Nodes of attributes: one serves all places.
    std::unordered_map<Eval::NodeClass const *, U32> attributes_;
};

} // namespace Qcf::Text
