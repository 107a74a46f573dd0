#include "Platform/Framework/Hash.h"

#include <cstring>

void Hash::hashMixBytes(void const * data, std::size_t size) noexcept {
    auto const * at = static_cast<char const *>(data);
    // Copied into a word, since the bytes may lie at any address.
    for (; size >= 8; size -= 8, at += 8) {
        U64 word = 0;
        std::memcpy(&word, at, 8);
        mix(word, 8);
    }
    if (size > 0) {
        U64 tail = 0;
        std::memcpy(&tail, at, size);
        // The width tells a short tail from the same bytes with zeros behind them.
        mix(tail, size);
    }
}

void Hash::hashMix(std::string_view v) noexcept {
    // The length first: else two texts side by side would hash as the same letters cut elsewhere.
    hashMix(static_cast<U64>(v.size()));
    hashMixBytes(v.data(), v.size());
}
