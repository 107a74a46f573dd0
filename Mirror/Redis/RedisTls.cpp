#include "Mirror/Redis/RedisTls.h"

#include <cerrno>
#include <climits>
#include <system_error>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>

/// Errors of the library are taken off its queue where they come up, or a later call would be
/// blamed for them.
namespace Qcf::Mirror {

namespace {

// The library has no words for errors of the system, as of files that are not there.
String reasonOf(unsigned long code) {
    if (code != 0 && ERR_SYSTEM_ERROR(code)) {
        return ": " + std::generic_category().message(ERR_GET_REASON(code));
    }
    char const * const reason = code == 0 ? nullptr : ERR_reason_error_string(code);
    return reason == nullptr ? String() : String(": ") + reason;
}

template <typename Error>
[[noreturn]] void fail(String const & what) {
    String const reason = reasonOf(ERR_get_error());
    ERR_clear_error();
    throw Error("TLS: " + what + reason);
}

// Of what is ours: files and names.
void check(int answer, String const & what) {
    if (answer != 1) {
        fail<RedisTlsFault>(what);
    }
}

// Certificates name hosts and addresses in different fields.
bool isAddress(String const & host) {
    auto * const address = a2i_IPADDRESS(host.c_str());
    ASN1_OCTET_STRING_free(address);
    return address != nullptr;
}

void loadFiles(SSL_CTX * context, RedisOptions const & options) {
    if (options.caFile.empty()) {
        check(SSL_CTX_set_default_verify_paths(context), "the system's authorities");
    } else {
        check(SSL_CTX_load_verify_locations(context, options.caFile.c_str(), nullptr),
              options.caFile);
    }
    if (!options.certificateFile.empty()) {
        check(SSL_CTX_use_certificate_chain_file(context, options.certificateFile.c_str()),
              options.certificateFile);
        // One file may hold the certificate and its key.
        auto const & key = options.keyFile.empty() ? options.certificateFile : options.keyFile;
        check(SSL_CTX_use_PrivateKey_file(context, key.c_str(), SSL_FILETYPE_PEM), key);
    }
}

} // namespace

RedisTls::RedisTls(RedisOptions const & options, int fd)
    : context_(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free), session_(nullptr, &SSL_free) {
    SSL_CTX_set_min_proto_version(context_.get(), TLS1_2_VERSION);
    // What had to wait is written again later, perhaps from another place in memory.
    SSL_CTX_set_mode(context_.get(),
                     SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    loadFiles(context_.get(), options);
    session_.reset(SSL_new(context_.get()));
    check(SSL_set_fd(session_.get(), fd), "socket");
    if (options.verifyServer) {
        SSL_set_verify(session_.get(), SSL_VERIFY_PEER, nullptr);
        // A good certificate proves nothing unless it is this host's.
        int const named = isAddress(options.host)
                              ? X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(session_.get()),
                                                              options.host.c_str())
                              : SSL_set1_host(session_.get(), options.host.c_str());
        check(named, "host name");
    }
    // Servers may be told names, never addresses (RFC 6066 3).
    if (!isAddress(options.host)) {
        SSL_set_tlsext_host_name(session_.get(), options.host.c_str());
    }
}

RedisTls::~RedisTls() {
    if (session_) {
        // Tells the server; its answer is not waited for.
        SSL_shutdown(session_.get());
    }
}

short RedisTls::handshake() {
    int const answer = SSL_connect(session_.get());
    if (answer == 1) {
        return 0;
    }
    switch (SSL_get_error(session_.get(), answer)) {
    case SSL_ERROR_WANT_READ:
        return POLLIN;
    case SSL_ERROR_WANT_WRITE:
        return POLLOUT;
    default:
        // The reason why a certificate was not taken says more than the library's error.
        if (long const verified = SSL_get_verify_result(session_.get()); verified != X509_V_OK) {
            ERR_clear_error();
            fail<RedisTlsFault>(X509_verify_cert_error_string(verified));
        }
        fail<std::runtime_error>("no agreement with the server");
    }
}

ssize_t RedisTls::result(int answer, short & wanted) {
    if (answer > 0) {
        return answer;
    }
    int const error = SSL_get_error(session_.get(), answer);
    ERR_clear_error();
    switch (error) {
    case SSL_ERROR_WANT_READ:
    case SSL_ERROR_WANT_WRITE:
        // Not always the direction of the call: a read may have to write first.
        wanted = error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
        errno = EAGAIN;
        return -1;
    case SSL_ERROR_ZERO_RETURN:
    case SSL_ERROR_SYSCALL:
        // A connection that broke without a word counts as closed.
        return 0;
    default:
        errno = EPROTO;
        return -1;
    }
}

ssize_t RedisTls::write(std::string_view bytes, short & wanted) {
    // The library counts in int; the caller comes back with the rest.
    auto const size = static_cast<int>(std::min<std::size_t>(bytes.size(), INT_MAX));
    return result(SSL_write(session_.get(), bytes.data(), size), wanted);
}

ssize_t RedisTls::read(String & into, short & wanted) {
    return result(SSL_read(session_.get(), into.data(), static_cast<int>(into.size())), wanted);
}

} // namespace Qcf::Mirror
