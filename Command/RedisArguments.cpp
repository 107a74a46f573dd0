#include "Command/RedisArguments.h"

#include "Mirror/Redis/RedisScripts.h"
#include "Platform/Render/ReadFile.h"

#include <cstdlib>

/// How a server is reached is said once for all commands. What needs no server to be found wrong is
/// found here, and is a fault of usage.
namespace {

// An environment and a file are their owner's alone, a command line can be seen by all users of a
// machine.
String passwordFrom(String const & file) {
    if (file.empty()) {
        char const * const password = std::getenv("QCF_REDIS_PASSWORD");
        return password == nullptr ? String() : String(password);
    }
    if (file == "-") {
        throw UsageError("--password-file wants a file; standard input is for documents");
    }
    constexpr U64 longestFile = 4096;
    String const content = readFile(file, longestFile);
    // Editors end a file with a line end, and some systems with two characters.
    String password = content.substr(0, content.find_first_of("\r\n"));
    if (password.empty()) {
        throw DocumentError(file + ": wants a password in the first line, found none");
    }
    return password;
}

} // namespace

void RedisArguments::addTo(CLI::App & command) {
    command
        .add_option("--redis", url,
                    "redis://[USER[:PASSWORD]@]HOST[:PORT][/DB], rediss://, unix://")
        ->required()
        ->type_name("URL");
    command.add_option("--name", name, "Name that the functions are published under")
        ->required()
        ->type_name("NAME");
    command
        .add_option("--password-file", passwordFile,
                    "File with the password, else QCF_REDIS_PASSWORD has it, so that no command\n"
                    "line need; a user stands in the URL, as USER@HOST")
        ->type_name("FILE");
    command.add_option("--tls-ca", caFile, "Authority that signed the server's certificate (PEM)")
        ->type_name("FILE");
    command.add_option("--tls-cert", certificateFile, "Certificate to show to the server (PEM)")
        ->type_name("FILE");
    command.add_option("--tls-key", keyFile, "Its private key (PEM)")->type_name("FILE");
    command
        .add_option(
            "--sign-key-file", signKeyFile,
            "Key for signatures (16 bytes or more): what is published is signed, and nothing\n"
            "is taken that was not signed by it")
        ->type_name("FILE");
    command.add_flag("--tls-insecure", insecure, "Do not verify the server's certificate");
}

Qcf::Mirror::RedisOptions RedisArguments::options() const {
    try {
        // Made for its check of the name alone.
        Qcf::Mirror::RedisKeys const keys(name);
        auto options = Qcf::Mirror::RedisOptions::parse(url);
        bool const tlsAsked = insecure || !(caFile + certificateFile + keyFile).empty();
        // Passing over them would leave a connection in the clear that was meant to be safe.
        if (tlsAsked && !options.tls) {
            throw UsageError("TLS options want a rediss:// URL");
        }
        if (options.password.empty()) {
            options.password = passwordFrom(passwordFile);
        } else if (!passwordFile.empty()) {
            throw UsageError("a password stands in the URL, and --password-file names another");
        }
        if (options.password.empty() && !options.user.empty()) {
            throw UsageError("the user in the URL wants a password: --password-file FILE, or "
                             "QCF_REDIS_PASSWORD in the environment");
        }
        options.caFile = caFile;
        options.certificateFile = certificateFile;
        options.keyFile = keyFile;
        options.verifyServer = !insecure;
        return options;
    } catch (Qcf::Mirror::RedisUrlError const & error) {
        throw UsageError(error.what());
    }
}

std::shared_ptr<Qcf::Mirror::BatchSigner const> RedisArguments::signer() const {
    return signKeyFile.empty() ? nullptr : Qcf::Mirror::BatchSigner::read(signKeyFile, name);
}
