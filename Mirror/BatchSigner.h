#pragma once

#include "Platform/Framework/Types.h"

#include <memory>
#include <string_view>

namespace Qcf::Mirror {

/// Signs the batches of a name with a key that writers and readers share, and knows them again:
/// HMAC-SHA-256 over what a batch is. A reader that has one takes nothing that was not signed, so
/// that whoever may write to the server cannot make it evaluate another policy.
///
///     auto const signer = BatchSigner::read("/etc/qcf/sign.key", "edge");
///
/// Immutable; any number of threads may share one. The key never shows in a message.
class BatchSigner {
public:
    /// The fewest bytes that a key has.
    static constexpr std::size_t leastKey = 16;

    /// Throws MirrorError for a key that is too short.
    BatchSigner(String key, String name);
    /// The key is what the file holds, without line ends at its end. Throws DocumentError for a
    /// file that cannot be read, and as above.
    static std::shared_ptr<BatchSigner const> read(String const & path, String const & name);

    /// The signature of a text of this name: 64 hexadecimal digits.
    String sign(std::string_view text) const;
    /// Whether that is the signature. Takes as long whether it is or not.
    bool isSigned(std::string_view text, std::string_view signature) const;

private:
    String key_;
    String name_;
};

} // namespace Qcf::Mirror
