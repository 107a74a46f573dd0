#include "Platform/Service/ServiceManager.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// A path, or with an at sign in front a name outside the file system.
void notifyServiceManager(std::string_view state) {
    char const * const place = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    std::size_t const length = place == nullptr ? 0 : std::strlen(place);
    if (length == 0 || length >= sizeof address.sun_path) {
        return;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, place, length);
    if (*place == '@') {
        address.sun_path[0] = '\0';
    }
    int const socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket >= 0) {
        auto const size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
        static_cast<void>(::sendto(socket, state.data(), state.size(), MSG_NOSIGNAL,
                                   reinterpret_cast<sockaddr const *>(&address), size));
        ::close(socket);
    }
}
