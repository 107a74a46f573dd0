#include "Platform/Render/NearestWord.h"

#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <array>

namespace {

char folded(char c) {
    if (c == '_') {
        return '-';
    }
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr std::size_t longestName = 64;
constexpr U32 farthest = 2;

/// Edit distance, neighbours that changed places counting one; more than `farthest` is not told
/// apart.
U32 distance(std::string_view a, std::string_view b) {
    std::size_t const difference = a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
    if (difference > farthest || a.size() > longestName || b.size() > longestName) {
        return farthest + 1;
    }
    std::array<std::array<U32, longestName + 1>, 3> rows{};
    auto * before = rows.data();
    auto * last = &rows[1];
    auto * row = &rows[2];
    for (std::size_t j = 0; j <= b.size(); ++j) {
        (*last)[j] = static_cast<U32>(j);
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        (*row)[0] = static_cast<U32>(i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            U32 const change = folded(a[i - 1]) == folded(b[j - 1]) ? 0 : 1;
            (*row)[j] = std::min({(*last)[j - 1] + change, (*last)[j] + 1, (*row)[j - 1] + 1});
            bool const swapped = i > 1 && j > 1 && folded(a[i - 1]) == folded(b[j - 2]) &&
                                 folded(a[i - 2]) == folded(b[j - 1]);
            if (swapped) {
                (*row)[j] = std::min((*row)[j], (*before)[j - 2] + 1);
            }
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return (*last)[b.size()];
}

} // namespace

// A short name is near to everything: less than half of it may differ.
String nearestWord(std::string_view word, std::span<std::string_view const> known) {
    U32 best = std::min<U32>(farthest, static_cast<U32>(word.size() / 2)) + 1;
    std::string_view found;
    for (std::string_view const each : known) {
        U32 const far = distance(word, each);
        if (far < best) {
            best = far;
            found = each;
        }
    }
    return String(found);
}

String didYouMean(std::string_view word, std::span<std::string_view const> known) {
    constexpr std::size_t longest = 64;
    String const found = nearestWord(word, known);
    return found.empty() ? String() : "; did you mean \"" + oneLine(found, longest) + "\"?";
}
