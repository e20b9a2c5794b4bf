#include "platform/RuntimeFolder.h"

#include "platform/Faults.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t READABLE_NAME_BYTES = 64;  // with the folder's part an address has room for about 90

bool Plain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
}

// FNV-1a.
std::uint64_t Hash(const std::string& s, std::uint64_t n)
{
    for (const char c : s)
        n = (n ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return n;
}

}  // namespace

Descriptor OpenRuntimeFolder()
{
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    const std::string sPath = runtime != nullptr && *runtime != '\0'
                                  ? std::string(runtime) + "/orvex"
                                  : "/tmp/orvex-" + std::to_string(geteuid());
    for (int iPass = 0; iPass < 2; ++iPass) {
        Descriptor folder(
            Faults::Hit("open") ? -1 : open(sPath.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (folder) {
            struct stat status;
            if (fstat(folder.Get(), &status) == 0 && status.st_uid == geteuid() &&
                (status.st_mode & 077) == 0)
                return folder;
            SetLastError(ERROR_ACCESS_DENIED);
            return Descriptor();
        }
        if (errno != ENOENT || (mkdir(sPath.c_str(), 0700) != 0 && errno != EEXIST))
            break;
    }
    FailWithErrno();
    return Descriptor();
}

std::string RuntimeFileName(const char* kind, const std::string& sName)
{
    std::string s = std::string(kind) + "=";
    for (const char c : sName) {
        char szEscape[4];
        snprintf(szEscape, sizeof szEscape, "%%%02X",
                 static_cast<unsigned int>(static_cast<unsigned char>(c)));
        s += Plain(c) ? std::string(1, c) : szEscape;
    }
    if (s.size() <= READABLE_NAME_BYTES)
        return s;
    char szHash[34];
    snprintf(szHash, sizeof szHash, "+%016llx%016llx",
             static_cast<unsigned long long>(Hash(sName, 0xCBF29CE484222325)),
             static_cast<unsigned long long>(Hash(sName, 0x9E3779B97F4A7C15)));
    return s.substr(0, READABLE_NAME_BYTES - strlen(szHash)) + szHash;
}

sockaddr_un RuntimeAddress(const Descriptor& folder, const std::string& sFileName)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", folder.Get(),
             sFileName.c_str());
    return address;
}

// The lock of the folder keeps two from taking the place of the same dead socket.
Descriptor BindRuntimeSocket(const std::string& sFileName, int iType)
{
    const Descriptor folder = OpenRuntimeFolder();
    if (!folder)
        return Descriptor();
    const Descriptor lock(openat(folder.Get(), "lock", O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    Descriptor bound(Faults::Hit("socket") ? -1 : socket(AF_UNIX, iType | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const Descriptor probe(socket(AF_UNIX, iType | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!lock || !bound || !probe || flock(lock.Get(), LOCK_EX) != 0) {
        FailWithErrno();
        return Descriptor();
    }
    const sockaddr_un address = RuntimeAddress(folder, sFileName);
    const sockaddr* pAddress = reinterpret_cast<const sockaddr*>(&address);
    if (connect(probe.Get(), pAddress, sizeof address) == 0 || (errno != ENOENT && errno != ECONNREFUSED)) {
        SetLastError(ERROR_ALREADY_EXISTS);
        return Descriptor();
    }
    unlinkat(folder.Get(), sFileName.c_str(), 0);
    if ((Faults::Hit("bind") ? -1 : bind(bound.Get(), pAddress, sizeof address)) != 0 ||
        (iType == SOCK_SEQPACKET && listen(bound.Get(), SOMAXCONN) != 0)) {
        FailWithErrno();
        return Descriptor();
    }
    return bound;
}

bool PeerIsThisUser(int fd, DWORD* pdwProcessId)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return false;
    if (pdwProcessId != nullptr)
        *pdwProcessId = static_cast<DWORD>(peer.pid);
    return peer.uid == geteuid();
}
