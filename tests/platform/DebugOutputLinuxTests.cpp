#include "tests/platform/Child.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using std::string;

// Listens, and writes what comes into a file until "end" does: 0. The last error where it cannot listen.
int Listen(const ChildArguments& arguments)
{
    if (!PlatformOpenDebugOutput())
        return static_cast<int>(GetLastError());
    std::ofstream file(arguments.at(0));
    file << "ready\n" << std::flush;
    DWORD dwProcess = 0;
    string text;
    while (PlatformReadDebugOutput(&dwProcess, &text) && text != "end")
        file << dwProcess << ' ' << text.size() << ' ' << text << std::endl;
    return text == "end" ? 0 : 1;
}
const ChildProgram s_Listen("listen", Listen);

class DebugOutput : public testing::Test
{
protected:
    void TearDown() override { std::filesystem::remove(m_File); }
    string Content() const
    {
        std::ifstream file(m_File);
        return string(std::istreambuf_iterator<char>(file), {});
    }
    bool Shows(const string& text) const { return Content().find(text) != string::npos; }
    // A listener is noticed after a while; what is told before is lost.
    bool Noticed()
    {
        return Eventually([&] {
            OutputDebugStringA("hello");
            return Shows("hello");
        });
    }

    const string m_File = string(getenv("XDG_RUNTIME_DIR")) + "/heard";
};

TEST_F(DebugOutput, ComesToTheListenerWithTheProcess)
{
    SetLastError(77);
    OutputDebugStringA("to nobody");
    OutputDebugStringA(nullptr);
    for (const char* which : {"first", "one in its place"}) {
        Child listener("listen", m_File);
        ASSERT_TRUE(Eventually([&] { return Shows("ready"); })) << which;
        EXPECT_EQ(DWORD(ERROR_ALREADY_EXISTS), Child("listen", m_File + "2").Wait());
        ASSERT_TRUE(Noticed());
        const string sProcess = std::to_string(GetCurrentProcessId());
        for (const string& text : {string("line\nand line"), string(17000, 'x')}) {
            OutputDebugStringA(text.c_str());
            EXPECT_TRUE(
                Eventually([&] { return Shows(sProcess + ' ' + std::to_string(text.size()) + ' ' + text); }));
        }
        for (int i = 0; i < 200; ++i)
            OutputDebugStringA(("burst" + std::to_string(i)).c_str());
        EXPECT_TRUE(Eventually([&] { return Shows("burst199"); }));
        OutputDebugStringA("end");
        EXPECT_EQ(0u, listener.Wait());
        EXPECT_FALSE(Shows("nobody"));
        std::filesystem::remove(m_File);
    }
    SetLastError(77);
    OutputDebugStringA("to nobody again");
    EXPECT_EQ(77u, GetLastError());
}

TEST_F(DebugOutput, AListenerThatStopsHoldsNobodyUp)
{
    Child listener("listen", m_File);
    ASSERT_TRUE(Noticed());
    kill(static_cast<pid_t>(listener.Id()), SIGSTOP);
    const ULONGLONG start = GetTickCount64();
    for (int i = 0; i < 5000; ++i)
        OutputDebugStringA("lost");
    EXPECT_LT(GetTickCount64() - start, 1000u);
    kill(static_cast<pid_t>(listener.Id()), SIGCONT);
    EXPECT_TRUE(Eventually([&] {
        OutputDebugStringA("heard again");
        return Shows("heard again");
    }));
    listener.Kill();
    listener.Wait();
    for (int i = 0; i < 3; ++i)
        OutputDebugStringA("to nobody");
}

}  // namespace
