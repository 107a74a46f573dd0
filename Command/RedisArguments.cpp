#include "Command/RedisArguments.h"

#include "Mirror/Redis/RedisScripts.h"

#include <cstdlib>

/// How a server is reached is said once for all commands. What needs no server to be found wrong is
/// found here, and is a fault of usage.
void RedisArguments::addTo(CLI::App & command) {
    command.add_option("--redis", url, "redis://[:PASSWORD@]HOST[:PORT][/DB], rediss://, unix://")
        ->required()
        ->type_name("URL");
    command.add_option("--name", name, "Name that the functions are published under")
        ->required()
        ->type_name("NAME");
    command.add_option("--tls-ca", caFile, "Authority that signed the server's certificate (PEM)")
        ->type_name("FILE");
    command.add_option("--tls-cert", certificateFile, "Certificate to show to the server (PEM)")
        ->type_name("FILE");
    command.add_option("--tls-key", keyFile, "Its private key (PEM)")->type_name("FILE");
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
        // An environment is its owner's alone, a command line can be seen by all users of a
        // machine. What the URL says goes before.
        char const * const password = std::getenv("QCF_REDIS_PASSWORD");
        if (options.password.empty() && password != nullptr) {
            options.password = password;
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
