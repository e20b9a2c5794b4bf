// orvextraceserver NAME "REGISTRY PATH": collects the trace lines of the clients that look for a server of
// that name.
#include "tools/traceserver/TraceServer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

HANDLE g_hEndEvent = nullptr;

BOOL WINAPI EndOnSignal(DWORD)
{
    SetEvent(g_hEndEvent);
    return TRUE;
}

// The client quotes neither this program's path nor the name, so blanks in them come as more arguments. The
// path is known, the registry path is the last argument, and the name is what stands between.
bool ReadArguments(int argc, char** argv, std::string* psName, std::string* psRegistryPath)
{
    if (argc < 3)
        return false;
    *psRegistryPath = argv[argc - 1];
    std::string sRest;
    for (int i = 0; i < argc - 1; ++i)
        sRest += std::string(i == 0 ? "" : " ") + argv[i];
    char szPath[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, szPath, sizeof szPath - 1);
    std::string sSame(sRest);
    std::replace(sSame.begin(), sSame.end(), '/', '\\');
    const size_t nPath = strlen(szPath);
    const bool bOwnPath = nPath != 0 && sSame.compare(0, nPath, szPath) == 0 && sRest[nPath] == ' ';
    *psName = sRest.substr((bOwnPath ? nPath : strlen(argv[0])) + 1);
    return !psName->empty();
}

}  // namespace

int main(int argc, char** argv)
{
    std::string sName;
    std::string sRegistryPath;
    if (!ReadArguments(argc, argv, &sName, &sRegistryPath)) {
        fprintf(stderr, "usage: orvextraceserver NAME \"REGISTRY PATH\"\n"
                        "NAME is the server's, as the trace clients of one user look for it: the value\n"
                        "TraceFileName of the logging key without .log, a dot, the user's name.\n");
        return 2;
    }
    g_hEndEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(&EndOnSignal, TRUE);
    TraceServer server(sName, TraceServer::ReadSettings(sRegistryPath), g_hEndEvent);
    if (!server.Open()) {
        fprintf(stderr, "orvextraceserver: there is a server %s, or there can be none\n", sName.c_str());
        return 1;
    }
    server.Run();
    return 0;
}
