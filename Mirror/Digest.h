#pragma once

#include "Platform/Framework/Types.h"

#include <array>
#include <memory>
#include <optional>
#include <string_view>

namespace Qcf::Mirror {

/// The identity of some content: SHA-256.
struct Digest {
    std::array<U8, 32> bytes{};

    bool operator==(Digest const &) const = default;
    /// 64 hexadecimal digits.
    String toString() const;
    /// Reads that text; nothing for any other.
    static std::optional<Digest> parse(std::string_view text);
};

/// Computes a digest piece by piece.
class Digester {
public:
    Digester();
    Digester(Digester &&) noexcept;
    Digester & operator=(Digester &&) noexcept;
    ~Digester();

    void add(std::string_view bytes);
    /// The digest of all that was added; the digester starts anew.
    Digest finish();

private:
    struct Context;
    std::unique_ptr<Context> context_;
};

} // namespace Qcf::Mirror
