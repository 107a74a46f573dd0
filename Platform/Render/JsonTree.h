#pragma once

// Private to this folder: what JsonDocument and JsonValue are made of.

#include "Platform/Render/JsonDocument.h"

#include <vector>

/// The values of a document in document order, a container before its content. A value's subtree is
/// the run of nodes up to `end`, so siblings are found without links and nothing needs recursion.
///
/// Made by one pass of the parser over the text; strings without escapes are slices of the text
/// itself. Members of large objects are found by bisection in `order`, those of small ones by
/// looking at each.
class JsonTree {
public:
    using Kind = JsonValue::Kind;

    /// A run of bytes of the text or, when it was written with escapes, of the decoded strings.
    struct Slice {
        U32 at = 0;
        U32 length = 0;
    };

    /// One value; all are of one size.
    struct Node {
        U32 parent = 0;
        U32 end = 0;   ///< index behind the subtree; 0 while a container is still being read
        Slice content; ///< strings, numbers: the text; containers: {start in `order`, members}
        Slice key;
        Kind kind = Kind::null;
        bool value = false;          ///< booleans
        bool contentDecoded = false; ///< `content` speaks of `decoded`
        bool keyDecoded = false;     ///< `key` speaks of `decoded`
    };

    /// Objects with more members than this are searched through `order`.
    static constexpr U32 smallObject = 16;
    /// The parent of the root.
    static constexpr U32 noParent = ~U32{0};

    /// What messages begin with.
    String fileName;
    U64 line = 0; ///< of a file of one-line documents; 0 for a whole document
    String text;
    /// The strings that were written with escapes, one behind the other.
    String decoded;
    std::vector<Node> nodes;
    /// For arrays that hold containers: the elements' indices. For large objects: the members'
    /// indices ordered by (hash of key, key).
    std::vector<U32> order;

    /// Fills the tree from `text`; throws DocumentError. Whatever the nesting, it takes bounded
    /// stack.
    void parse(JsonDocument::Limits const & limits);
    /// Makes the tree a single null. Storage is kept.
    void clear();

    /// The handle of a node.
    JsonValue value(U32 index) const noexcept { return {*this, index}; }
    /// The text of a string or a number.
    std::string_view content(Node const & node) const noexcept {
        return slice(node.content, node.contentDecoded);
    }
    /// The name of a member.
    std::string_view key(Node const & node) const noexcept {
        return slice(node.key, node.keyDecoded);
    }
    /// The key's hash as it orders the members of large objects. Equal keys have equal hashes.
    static U32 keyHash(std::string_view key) noexcept;
    /// Whether the elements of an array follow each other, each one node. Elements of such an array
    /// are found by adding.
    static bool isFlat(Node const & array, U32 index) noexcept {
        return array.end - index - 1 == array.content.length;
    }
    /// The member of that name of an object; nothing when there is none.
    std::optional<U32> findMember(U32 object, std::string_view wanted) const;

    /// Where a value stands (RFC 6901).
    String pointer(U32 index) const;
    /// `FILE:POINTER: ` or `FILE:LINE:POINTER: `, on one line. Messages begin with it.
    String place(U32 index) const;

private:
    /// The bytes of a slice.
    std::string_view slice(Slice s, bool isDecoded) const noexcept {
        return std::string_view(isDecoded ? decoded : text).substr(s.at, s.length);
    }
    /// Which element of its array a value is.
    U32 indexInArray(U32 array, U32 element) const;
    /// The steps to a value; long keys are cut for messages.
    String joinPath(U32 index, std::size_t mostOfToken, bool forMessage) const;
};
