#include "Platform/Framework/Hash.h"

#include <cstring>

void Hash::hashMixBytes(void const * data, std::size_t size) noexcept {
    auto const * at = static_cast<char const *>(data);
    for (; size >= 8; size -= 8, at += 8) {
        U64 word = 0;
        std::memcpy(&word, at, 8);
        mix(word, 8);
    }
    if (size > 0) {
        U64 tail = 0;
        std::memcpy(&tail, at, size);
        mix(tail, size);
    }
}

void Hash::hashMix(std::string_view v) noexcept {
    hashMix(static_cast<U64>(v.size()));
    hashMixBytes(v.data(), v.size());
}
