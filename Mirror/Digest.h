#pragma once

#include "Platform/Framework/Types.h"

#include <array>
#include <memory>
#include <optional>
#include <string_view>

namespace Qcf::Mirror {

/// The identity of some content: SHA-256. Content that differs has different digests for all
/// purposes, in every process on every machine.
struct Digest {
    /// As the function gives them; all zero before there are any.
    std::array<U8, 32> bytes{};

    bool operator==(Digest const &) const = default;
    /// 64 hexadecimal digits.
    String toString() const;
    /// Reads that text, with letters of either case; nothing for any other.
    static std::optional<Digest> parse(std::string_view text);
};

/// Computes a digest piece by piece; how the content is cut into pieces does not matter.
///
///     Digester digester;
///     digester.add("some ");
///     digester.add("text");
///     Digest const digest = digester.finish();
///
/// May be moved; belongs to one thread at a time.
class Digester {
public:
    /// Over nothing yet.
    Digester();
    Digester(Digester &&) noexcept;
    Digester & operator=(Digester &&) noexcept;
    ~Digester();

    /// The next piece; may be empty.
    void add(std::string_view bytes);
    /// The digest of all that was added; the digester starts anew.
    Digest finish();

private:
    /// The state of the library that computes it.
    struct Context;
    std::unique_ptr<Context> context_;
};

} // namespace Qcf::Mirror
