#include "Text/PrintedKeys.h"

#include "Text/Policy.h"

#include <limits>

namespace Qcf::Text {

PrintedKeys keysBeside(String const & text, std::span<FunctionContent const> contents) {
    std::unordered_map<std::string_view, Eval::Function const *> printed;
    for (FunctionContent const & content : contents) {
        printed.emplace(content.function->funcName(), content.function);
    }
    Sources sources;
    Messages messages;
    auto const derived = readPolicyText(text, "printed", sources, messages);
    PrintedKeys keys;
    if (!derived) {
        return keys;
    }
    // What stands behind a larger key counts on from it. Some room is left for that.
    constexpr U64 largest = std::numeric_limits<U64>::max() / 2;
    U64 shift = 0;
    for (auto const & function : derived->program().functions) {
        auto const at = printed.find(function->funcName());
        if (at == printed.end()) {
            continue;
        }
        U64 const key = at->second->aetNodeKey();
        U64 const without = function->aetNodeKey() + shift;
        if (key > without && key <= largest) {
            keys.emplace(at->second, key);
            shift += key - without;
        }
    }
    return keys;
}

} // namespace Qcf::Text
