#pragma once

#include "Mirror/BatchSigner.h"
#include "Mirror/PolicyVersion.h"
#include "Mirror/WireFields.h"
#include "Platform/Render/RendererV2.h"
#include "QcfLib/QcfLib.h"

#include <vector>

namespace Qcf::Mirror {

/// The text form of one batch of changes: lines of JSON in this order,
///
///     {"start":{"format":5,"version":7,"id":"9c..","base":"41.."}}
///         the version made, the one it builds on
///     {"remove":"IntIs","keys":[12,13]}
///         members of one class that go
///     {"class":"IntIs","key":21,"lhs":{"ref":3},"rhs":{"loose":0}}
///         members that come, children first, with their fields as in flat documents
///     {"loose":0,"class":"IntImmediate","key":5,...}
///         a node that others or a name hold, but that is no member; numbered within the batch
///     {"function":"import","ref":27}
///         functions by name, members or not; a null "ref" takes one away
///     {"list":"prefixLists","name":"P",...}, {"at":1,"drop":2,"add":[...]},
///     {"number":[[1,7,20,10]]}
///         a named list that becomes another one, its edits and its numbers; docs/mirror.md tells
///         them all
///     {"places":"import","file":"edge.qcf","line":17,"anew":true}, {"rows":[[12,0,3,0,21],...]}
///         where a function stands in its text, and its nodes from its own line on
///     {"status":{"dedupedFunctionsPresent":true,"start":7,"end":7,"store":true}}
///         the status's own fields
///     {"end":{"version":7,"digest":"3b..","functions":2,"nodes":40,"lines":9,"sum":"77.."}}
///
/// A reference gives the class, too, {"ref":3,"class":"Med"}, where members of several classes have
/// that key. Texts that JSON cannot hold, and numbers that it has none for, stand as texts of their
/// own (see WireText.h).
///
/// An empty base means: from nothing. Such a batch says everything, as a snapshot does.
struct BatchStart {
    U64 version = 0;
    String id;
    String base;
    U64 format = 5; ///< from `oldestFormat` to `newestFormat`
};

/// The oldest format that is read: functions alone. The one before was without a number. Readers of
/// other formats refuse the start line.
inline constexpr U64 oldestFormat = 2;
/// From this one on there may be lists, and the end line says how many; from the next one on, the
/// fourth, there may be places.
inline constexpr U64 listsFormat = 3;
/// From this one on the digest over functions is that of a tree (see FunctionTable.h). The writer
/// writes no other.
inline constexpr U64 treeFormat = 5;
inline constexpr U64 newestFormat = treeFormat;

/// What a change of lists came to.
struct ListCounts {
    U64 set = 0; ///< new or changed
    U64 removed = 0;
    U64 entriesAdded = 0; ///< an entry that changes goes and comes
    U64 entriesRemoved = 0;
};

/// The fields of a status beside functions and nodes.
struct StatusFields {
    bool dedupedFunctionsPresent = false;
    U32 startMarker = 0;
    U32 endMarker = 0;
    bool store = true; ///< whether there is a store of nodes

    /// Those of a status as it is.
    static StatusFields of(AllFunctionStatus const & status);
};

/// The store of a status; null when there is none.
AetCollections * storeOf(AllFunctionStatus const & status);

/// Whether two batches of the same writer could ever be taken for one another: never.
String newBatchId();

/// A batch as it is sent.
struct Batch {
    BatchStart start;
    Digest digest;      ///< of the version: over functions and lists after the batch
    U64 functions = 0;  ///< functions after the batch
    U64 nodes = 0;      ///< nodes after the batch
    U64 lists = 0;      ///< lists after the batch
    U64 movedNodes = 0; ///< nodes that the batch brings
    ListCounts listCounts;
    String sum;       ///< over all lines but the last
    String signature; ///< empty for none
    /// The lines, each with its line end, in pieces of some size: the first holds the start line
    /// alone, the last the end line.
    std::vector<String> pieces;

    /// Of all pieces.
    std::size_t bytes() const;
    /// The version that the batch makes.
    VersionId version() const { return {start.version, start.id, digest}; }
    /// What a signature is over: the start, the digest, and the sum of all that lies between.
    String signedText() const;
};

/// Writes a batch line by line, in the order above. Children before parents, and loose nodes by
/// rising numbers, are the caller's to keep: BatchNodes does.
class BatchWriter {
public:
    /// The size that a piece may have before the next one starts.
    static constexpr std::size_t usualPieceSize = std::size_t{1} << 16;

    explicit BatchWriter(BatchStart start, std::size_t pieceSize = usualPieceSize);

    /// The batch is signed; null for not. The signer must outlive the writer.
    void signerIs(BatchSigner const * signer) { signer_ = signer; }

    /// Members that go, each class's in a row.
    void remove(std::vector<CollKey> const & members);
    /// A member with its fields.
    void node(Eval::AetNodeBase const & node, WireStyle const & style = WireStyle());
    /// A node that is no member; numbers count from 0.
    void looseNode(U64 number, Eval::AetNodeBase const & node, WireStyle const & style);
    /// The function that a name means from here on.
    void function(String const & name, NodeReference const & function);
    /// Takes a name away.
    void functionDel(String const & name);
    /// A line of another kind: `write(renderer)` writes its members.
    template <typename Write>
    void line(Write && write) {
        line_.beginObject();
        write(line_);
        endLine();
    }
    /// How many lists there are after the batch, and what became of them.
    void listsAre(U64 lists, ListCounts const & counts) {
        batch_.lists = lists;
        batch_.listCounts = counts;
    }
    /// The last two lines; the writer is of no more use.
    Batch finish(StatusFields const & status, Digest const & digest, U64 functions, U64 nodes);

private:
    void openFunction(String const & name);
    void writeStatus(StatusFields const & status);
    void writeEnd(Digest const & digest);
    void endLine();
    void endPiece();

    Batch batch_;
    std::size_t pieceSize_;
    String piece_;
    RendererV2 line_{piece_};
    Digester sum_;
    U64 lines_ = 0;
    BatchSigner const * signer_ = nullptr;
};

} // namespace Qcf::Mirror
