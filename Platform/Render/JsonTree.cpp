#include "Platform/Render/JsonTree.h"

#include "Platform/Framework/Hash.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>

void JsonTree::clear() {
    text.clear();
    decoded.clear();
    order.clear();
    // A document always has a root, if only a null.
    nodes.assign(1, Node());
    nodes[0].parent = noParent;
    nodes[0].end = 1;
}

U32 JsonTree::keyHash(std::string_view key) noexcept {
    Hash hash(0);
    hash.hashMix(key);
    return hash.result();
}

std::optional<U32> JsonTree::findMember(U32 object, std::string_view wanted) const {
    Node const & node = nodes[object];
    // A few comparisons cost less than a hash, and the parser then makes no order.
    if (node.content.length <= smallObject) {
        for (U32 i = object + 1; i < node.end; i = nodes[i].end) {
            if (key(nodes[i]) == wanted) {
                return i;
            }
        }
        return std::nullopt;
    }
    // The order in which the parser left the members: by hash, and by key where hashes are equal.
    auto const rank = [](std::string_view k) { return std::pair(keyHash(k), k); };
    auto const first = order.begin() + node.content.at;
    auto const last = first + node.content.length;
    auto const found = std::lower_bound(first, last, rank(wanted), [&](U32 i, auto const & sought) {
        return rank(key(nodes[i])) < sought;
    });
    if (found == last || key(nodes[*found]) != wanted) {
        return std::nullopt;
    }
    return *found;
}

U32 JsonTree::indexInArray(U32 array, U32 element) const {
    Node const & node = nodes[array];
    if (node.end == 0) { // still being read: only its last element is asked about
        return node.content.length - 1;
    }
    // Each element is one node: its place follows from its index.
    if (isFlat(node, array)) {
        return element - array - 1;
    }
    auto const first = order.begin() + node.content.at;
    auto const found = std::lower_bound(first, first + node.content.length, element);
    return static_cast<U32>(found - first);
}

// The path from the root. For messages, characters that would break the line are escaped and long
// keys are cut.
String JsonTree::joinPath(U32 index, std::size_t mostOfToken, bool forMessage) const {
    std::vector<U32> path;
    // Nodes know their parents: the path comes from its end.
    for (; nodes[index].parent != noParent; index = nodes[index].parent) {
        path.push_back(index);
    }
    String out;
    std::reverse(path.begin(), path.end());
    for (U32 const step : path) {
        U32 const parent = nodes[step].parent;
        out += '/';
        if (nodes[parent].kind == Kind::array) {
            out += std::to_string(indexInArray(parent, step));
            continue;
        }
        String token;
        for (char const c : key(nodes[step])) {
            // The two characters that a pointer gives a meaning to (RFC 6901 3).
            if (c == '~' || c == '/') {
                token += c == '~' ? "~0" : "~1";
            } else {
                token += c;
            }
        }
        out += forMessage ? oneLine(token, mostOfToken) : token;
    }
    return out;
}

String JsonTree::pointer(U32 index) const { return joinPath(index, 0, false); }

String JsonTree::place(U32 index) const {
    // A file may have any name: what would break the message's line is escaped.
    String out = oneLine(fileName, 4096);
    out += ':';
    if (line != 0) {
        out += std::to_string(line);
        out += ':';
    }
    out += joinPath(index, 200, true);
    out += ": ";
    return out;
}
