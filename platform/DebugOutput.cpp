#include "platform/DebugOutput.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

sockaddr_un DebugAddress()
{
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    const std::string path = runtime != nullptr && *runtime != '\0'
                                 ? std::string(runtime) + "/orvex/debug"
                                 : "/tmp/orvex-" + std::to_string(getuid()) + "/debug";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return address;
}

}  // namespace

void OutputDebugStringA(const char* text)
{
    if (text == nullptr)
        return;
    static const sockaddr_un address = DebugAddress();
    static const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sendto(fd, text, strlen(text), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}
