#pragma once

#include "Platform/Framework/Types.h"

#include <iterator>
#include <random>
#include <span>

/// Damages bytes as transport, disks and people do: flipped bits, cuts, losses, noise, repeats, and
/// pieces of other files in the midst. The same seed does the same.
class Mutator {
public:
    explicit Mutator(U32 seed) : random_(seed) {}

    /// Applies 1 to 4 changes; `others` are files that pieces may come from.
    String mutate(String bytes, std::span<String const> others = {}) {
        for (U32 changes = 1 + below(4); changes > 0 && !bytes.empty(); --changes) {
            change(bytes);
            if (!others.empty() && below(4) == 0) {
                insertPiece(bytes, others[below(others.size())]);
            }
        }
        return bytes;
    }

private:
    U32 below(std::size_t bound) { return static_cast<U32>(random_() % bound); }

    void change(String & bytes) {
        U32 const at = below(bytes.size());
        static constexpr U8 edges[] = {0x00, 0x01, 0x7f, 0x80, 0xff};
        switch (below(6)) {
        case 0:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
            break;
        case 1:
            bytes[at] = static_cast<char>(edges[below(std::size(edges))]);
            break;
        case 2:
            bytes.resize(at);
            break;
        case 3:
            bytes.erase(at, 1 + below(8));
            break;
        case 4:
            bytes.insert(at, 1 + below(8), static_cast<char>(random_()));
            break;
        default:
            bytes.insert(below(bytes.size()), bytes.substr(at, 1 + below(64)));
        }
    }

    void insertPiece(String & bytes, String const & other) {
        if (!other.empty()) {
            bytes.insert(below(bytes.size() + 1), other, below(other.size()), 1 + below(64));
        }
    }

    std::mt19937 random_;
};
