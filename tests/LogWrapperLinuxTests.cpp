// The debug output, listened to behind the back of the platform layer.
#include "logging/LogWrapper.h"
#include "tests/TestSupport.h"

#include <cstdlib>
#include <filesystem>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

// Whoever listens to the debug output gets every line that passes either mask, as the screen would show it.
TEST(LogWrapperLinuxDeathTest, DebugOutputHasNoMaskOfItsOwn)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto work = [] {
        std::string folder = testing::TempDir() + "debug-output-XXXXXX";
        setenv("XDG_RUNTIME_DIR", mkdtemp(&folder[0]), 1);
        mkdir((folder + "/orvex").c_str(), 0700);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        (folder + "/orvex/debug").copy(address.sun_path, sizeof address.sun_path - 1);
        const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
        const bool bBound = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        Traced([] {
            for (unsigned int mask : {0u, 3u, 7u, 8u, TRACE_STEP})
                LogWrapper::Instance()->Trace(mask, "mask %u", mask);
        });
        std::string lines;
        char line[200];
        for (ssize_t n; (n = recv(fd, line, sizeof line, 0)) > 0;)
            lines += std::string(line, static_cast<std::size_t>(n)).substr(12);
        std::filesystem::remove_all(folder);
        _exit(bBound && lines == "  mask 0\n  mask 3\n  mask 7\n" ? 0 : 1);
    };
    EXPECT_EXIT(work(), testing::ExitedWithCode(0), "");
}
