#include "Mirror/Digest.h"

#include "Platform/Framework/Assert.h"

#include <charconv>

#include <openssl/evp.h>

/// SHA-256 by the library that TLS uses, too, which stays out of the header.
namespace Qcf::Mirror {

namespace {

// It can fail only where the library lacks the function, and nothing here could mend that.
void check(int answer) { QCF_ASSERT_TEXT(answer == 1, "SHA-256 is there"); }

} // namespace

String Digest::toString() const {
    constexpr char const * digits = "0123456789abcdef";
    String text;
    text.reserve(2 * bytes.size());
    for (U8 const byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::optional<Digest> Digest::parse(std::string_view text) {
    Digest digest;
    if (text.size() != 2 * digest.bytes.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < digest.bytes.size(); ++i) {
        char const * const first = text.data() + 2 * i;
        // A single digit would be a number, too: both must be taken.
        auto const read = std::from_chars(first, first + 2, digest.bytes[i], 16);
        if (read.ptr != first + 2) {
            return std::nullopt;
        }
    }
    return digest;
}

struct Digester::Context {
    Context() : state(EVP_MD_CTX_new()) { start(EVP_sha256()); }
    ~Context() { EVP_MD_CTX_free(state); }
    Context(Context const &) = delete;
    Context & operator=(Context const &) = delete;

    /// Null for the function that it has: looking it up costs more than a short digest.
    void start(EVP_MD const * function) const {
        check(EVP_DigestInit_ex(state, function, nullptr));
    }

    EVP_MD_CTX * state;
};

Digester::Digester() : context_(std::make_unique<Context>()) {}
Digester::Digester(Digester &&) noexcept = default;
Digester & Digester::operator=(Digester &&) noexcept = default;
Digester::~Digester() = default;

void Digester::add(std::string_view bytes) {
    check(EVP_DigestUpdate(context_->state, bytes.data(), bytes.size()));
}

Digest Digester::finish() {
    Digest digest;
    check(EVP_DigestFinal_ex(context_->state, digest.bytes.data(), nullptr));
    context_->start(nullptr);
    return digest;
}

} // namespace Qcf::Mirror
