// The folder of what lives only while processes of this user do: windows, mutexes, the debug output's socket.
// It is $XDG_RUNTIME_DIR/orvex, else /tmp/orvex-UID, made on first use with mode 0700. One that belongs to
// another user, or that others may look into, is not used.
#pragma once

#include "platform/Handles.h"

#include <string>
#include <sys/socket.h>
#include <sys/un.h>

#pragma GCC visibility push(hidden)

// Not open: last error.
Descriptor OpenRuntimeFolder();

// A file name for a name of any length and any bytes; names that differ give file names that differ.
std::string RuntimeFileName(const char* kind, const std::string& sName);

// The address of a socket in the folder, however long the folder's own path is. The folder stays open while
// it is used.
sockaddr_un RuntimeAddress(const Descriptor& folder, const std::string& sFileName);

// A socket under that name, put in the place of one that a process left behind. Not open: last error, which
// is ERROR_ALREADY_EXISTS when somebody still listens there.
Descriptor BindRuntimeSocket(const std::string& sFileName, int iType);

// Whether the other side of a socket is this user's; its process id in either case, if wanted.
bool PeerIsThisUser(int fd, DWORD* pdwProcessId);

#pragma GCC visibility pop
