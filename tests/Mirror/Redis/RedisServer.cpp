#include "tests/Mirror/Redis/RedisServer.h"

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Qcf::Mirror::test {

namespace {

std::filesystem::path temporaryFolder() {
    String name = (std::filesystem::temp_directory_path() / "qcf-redis-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    return name;
}

} // namespace

RedisServer::RedisServer(std::vector<String> arguments)
    : folder_(temporaryFolder()), arguments_(std::move(arguments)) {
    start();
}

RedisServer::~RedisServer() {
    kill();
    std::filesystem::remove_all(folder_);
}

bool RedisServer::available() {
    static bool const found = std::system("command -v redis-server >/dev/null 2>&1") == 0;
    return found;
}

void RedisServer::start() {
    std::vector<String> all{"redis-server", "--unixsocket", socket().string(), "--dir",
                            folder_.string(), "--appendonly", "yes",
                            // Else it holds writes back while the disk is slow to sync, and
                            // killing it would lose them.
                            "--appendfsync", "no", "--save", "", "--loglevel", "warning",
                            "--logfile", (folder_ / "log").string()};
    bool hasPort = false;
    for (String const & argument : arguments_) {
        hasPort = hasPort || argument == "--port" || argument == "--tls-port";
    }
    if (!hasPort) {
        all.insert(all.end(), {"--port", "0"});
    }
    all.insert(all.end(), arguments_.begin(), arguments_.end());
    std::vector<char *> pointers;
    for (String & argument : all) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    std::filesystem::remove(socket());
    pid_ = ::fork();
    if (pid_ == 0) {
        int const null = ::open("/dev/null", O_RDWR);
        ::dup2(null, 1);
        ::dup2(null, 2);
        ::execvp(pointers[0], pointers.data());
        ::_exit(127);
    }
    for (int tries = 0; tries < 1000; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        try {
            RedisConnection const connection(options());
            return;
        } catch (RedisConnectionError const & error) {
            bool const asksForPassword = String(error.what()).find("NOAUTH") != String::npos;
            if (asksForPassword) {
                return;
            }
        }
    }
    throw std::runtime_error("redis-server does not answer");
}

void RedisServer::kill() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
}

RedisReply RedisServer::command(RedisConnection::Arguments const & arguments) const {
    return RedisConnection(options()).command(arguments);
}

} // namespace Qcf::Mirror::test
