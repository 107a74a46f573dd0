#include "Mirror/BatchSigner.h"

#include "Mirror/Digest.h"
#include "Mirror/MirrorError.h"
#include "Platform/Render/ReadFile.h"

#include <algorithm>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

/// What was signed for one name is good for no other: the name is part of what is signed.
namespace Qcf::Mirror {

BatchSigner::BatchSigner(String key, String name) : key_(std::move(key)), name_(std::move(name)) {
    if (key_.size() < leastKey) {
        throw MirrorError("the key for signatures has " + std::to_string(key_.size()) +
                          " bytes; it wants at least " + std::to_string(leastKey));
    }
}

std::shared_ptr<BatchSigner const> BatchSigner::read(String const & path, String const & name) {
    String key = readFile(path);
    key.resize(key.find_last_not_of("\r\n") + 1);
    return std::make_shared<BatchSigner const>(std::move(key), name);
}

String BatchSigner::sign(std::string_view text) const {
    // A name has no line ends.
    String const named = name_ + '\n' + String(text);
    Digest signature;
    HMAC(EVP_sha256(), key_.data(), static_cast<int>(key_.size()),
         reinterpret_cast<unsigned char const *>(named.data()), named.size(),
         signature.bytes.data(), nullptr);
    return signature.toString();
}

bool BatchSigner::isSigned(std::string_view text, std::string_view signature) const {
    String const wanted = sign(text);
    return signature.size() == wanted.size() &&
           CRYPTO_memcmp(signature.data(), wanted.data(), wanted.size()) == 0;
}

} // namespace Qcf::Mirror
