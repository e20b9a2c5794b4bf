// orvexdebugview: prints the debug output of all processes of this user as it comes, until a signal ends it.
#include "platform/Platform.h"

#include <CLI/CLI.hpp>

#include <cstdio>

int main(int argc, char** argv)
{
    CLI::App app("Prints the debug output of all processes of this user, behind the id of the process.");
    CLI11_PARSE(app, argc, argv);
    if (!PlatformOpenDebugOutput()) {
        fprintf(stderr, "orvexdebugview: %s\n",
                GetLastError() == ERROR_ALREADY_EXISTS ? "another one listens already"
                                                       : "the debug output cannot be listened to");
        return 1;
    }
    DWORD dwProcessId = 0;
    std::string sText;
    while (PlatformReadDebugOutput(&dwProcessId, &sText)) {
        const bool bLineFeed = !sText.empty() && sText.back() == '\n';
        printf("[%u] %s%s", static_cast<unsigned int>(dwProcessId), sText.c_str(), bLineFeed ? "" : "\n");
        fflush(stdout);
    }
    return 1;
}
