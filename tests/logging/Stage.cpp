#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

namespace fs = std::filesystem;

namespace {

const char STARTED[] = " started, process ";

}  // namespace

const char LOGGING_KEY[] = "HKLM\\Software\\Zelko Systems\\Orvex\\Logging";

bool Eventually(const std::function<bool()>& condition, int iMilliseconds)
{
    const long long llEnd = MillisecondsNow() + iMilliseconds;
    while (!condition()) {
        if (MillisecondsNow() >= llEnd)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::vector<std::string> ReadLines(const std::string& sFile)
{
    std::vector<std::string> lines;
    std::ifstream file(sFile, std::ios::binary);
    for (std::string sLine; std::getline(file, sLine);) {
        if (!sLine.empty() && sLine.back() == '\r')
            sLine.pop_back();
        lines.push_back(sLine);
    }
    return lines;
}

long long MillisecondsNow()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

Stage::Stage() : m_Registry(Path("registry"))
{
    for (const char* const folder : {"registry", "runtime", "state"})
        fs::create_directory(Path(folder));
    fs::permissions(Path("runtime"), fs::perms::owner_all);
    m_Environment = TestRegistry::Variables(Path("registry"));
    m_Environment.insert({{"XDG_RUNTIME_DIR", Path("runtime")},
                          {"XDG_STATE_HOME", Path("state")},
                          {"ORVEX_TEST_SERVER_LOG", Path("testserver.log")}});
}

Stage::~Stage()
{
    for (const std::string& sRecord : Records()) {
        const size_t i = sRecord.find(STARTED);
        if (i != std::string::npos)
            ChildProcess::Kill(static_cast<unsigned int>(std::stoul(sRecord.substr(i + strlen(STARTED)))));
    }
    for (const std::string& sMessage : ReadLines(Path("testserver.log")))
        if (sMessage.compare(0, 8, "process ") == 0)
            ChildProcess::Kill(static_cast<unsigned int>(std::stoul(sMessage.substr(8))));
}

void Stage::Registry(const std::vector<std::string>& words)
{
    std::vector<std::string> command = {ORVEX_REG};
    command.insert(command.end(), words.begin(), words.end());
    ChildProcess reg(command, m_Environment, Path("reg.out"));
    ASSERT_EQ(reg.Wait(), 0) << "orvexreg " << testing::PrintToString(words);
}

void Stage::SetNumber(const std::string& sName, unsigned int n, const std::string& sKey)
{
    Registry({"add", sKey, "/v", sName, "/t", "REG_DWORD", "/d", std::to_string(n), "/f"});
}

void Stage::SetText(const std::string& sName, const std::string& sText, const std::string& sKey)
{
    Registry({"add", sKey, "/v", sName, "/t", "REG_SZ", "/d", sText, "/f"});
}

void Stage::UseServer(const std::string& sServer)
{
    SetText("TraceFileName", "Client.log");
    SetText("TraceServer", sServer);
    SetNumber("TraceMask", 0xF);
    SetNumber("UseScreenOutput", 0);
    SetNumber("UseDebugOutput", 0);
    SetNumber("TraceServerLinger", 5);
}

std::string Stage::RealServer() const { return fs::absolute(ORVEX_TRACE_SERVER).string(); }
std::string Stage::TestServer() const { return fs::absolute(ORVEX_TEST_SERVER).string(); }
void Stage::SetTestServer(const std::string& sBehaviour) { m_Environment["ORVEX_TEST_SERVER"] = sBehaviour; }
std::string Stage::ServerName() const { return "Client." + UserName(); }

std::string Stage::ClientName() { return fs::path(ORVEX_TRACE_CLIENT).filename().string(); }

std::unique_ptr<ChildProcess> Stage::Start(const std::string& sName, const std::vector<std::string>& command,
                                           ChildProcess::Rights rights)
{
    return std::make_unique<ChildProcess>(command, m_Environment, OutputOf(sName), rights);
}

std::unique_ptr<ChildProcess> Stage::BareClient(const std::string& sName, ChildProcess::Rights rights)
{
    return Start(sName, {ORVEX_TRACE_CLIENT}, rights);
}

std::unique_ptr<ChildProcess> Stage::Client(const std::string& sName, const std::string& sPath)
{
    std::unique_ptr<ChildProcess> pClient = BareClient(sName);
    EXPECT_EQ(pClient->Ask("instance " + sPath).substr(0, 9), "instance ");
    return pClient;
}

std::vector<std::string> Stage::Said(const std::string& sName, const ChildProcess& client) const
{
    static const std::regex time("^\\d\\d:\\d\\d:\\d\\d(\\.\\d\\d\\d)?  ");
    std::vector<std::string> lines = ReadLines(OutputOf(sName));
    for (std::string& sLine : lines) {
        sLine = std::regex_replace(sLine, time, "TIME  ");
        const std::string sId = std::to_string(client.Id());
        for (size_t i = sLine.find(sId); i != std::string::npos; i = sLine.find(sId, i))
            sLine.replace(i, sId.size(), "PID");
    }
    return lines;
}

bool Stage::WaitForOutput(const std::string& sName, const std::string& sText, int iMilliseconds) const
{
    return Eventually(
        [&] {
            for (const std::string& sLine : ReadLines(OutputOf(sName)))
                if (sLine.find(sText) != std::string::npos)
                    return true;
            return false;
        },
        iMilliseconds);
}

std::vector<std::string> Stage::RecordFiles() const
{
    const std::string sStem = Path("state/orvex/") + ServerName();
    std::vector<std::string> files = {sStem + ".log"};
    for (int i = 1; fs::exists(sStem + '.' + std::to_string(i) + ".log"); ++i)
        files.push_back(sStem + '.' + std::to_string(i) + ".log");
    return files;
}

std::vector<std::string> Stage::Records() const
{
    const std::vector<std::string> files = RecordFiles();
    std::vector<std::string> records;
    for (auto it = files.rbegin(); it != files.rend(); ++it)
        for (std::string& sLine : ReadLines(*it))
            records.push_back(std::move(sLine));
    return records;
}

bool Stage::WaitForRecord(const std::string& sText, int iMilliseconds) const
{
    return Eventually(
        [&] {
            for (const std::string& sRecord : Records())
                if (sRecord.find(sText) != std::string::npos)
                    return true;
            return false;
        },
        iMilliseconds);
}

std::vector<std::string> Stage::RecordsOfLatestServer() const
{
    std::vector<std::string> records;
    for (const std::string& sFile : RecordFiles()) {
        std::vector<std::string> lines = ReadLines(sFile);
        size_t i = lines.size();
        while (i > 0 && lines[i - 1].find(STARTED) == std::string::npos)
            --i;
        records.insert(records.begin(), lines.begin() + static_cast<std::ptrdiff_t>(i == 0 ? 0 : i - 1),
                       lines.end());
        if (i != 0)
            return records;
    }
    return {};
}

unsigned long long Stage::RecordBytes() const
{
    unsigned long long nBytes = 0;
    for (const std::string& sFile : RecordFiles()) {
        std::error_code error;
        const auto nFile = fs::file_size(sFile, error);
        nBytes += error ? 0 : nFile;
    }
    return nBytes;
}

unsigned int Stage::ServerId() const
{
    const auto numberBehind = [](const std::string& sLine, const std::string& sFront) {
        const size_t i = sLine.find(sFront);
        return i == std::string::npos
                   ? 0
                   : static_cast<unsigned int>(std::stoul(sLine.substr(i + sFront.size())));
    };
    unsigned int nTestServer = 0;
    for (const std::string& sLine : ReadLines(Path("testserver.log")))
        if (sLine.compare(0, 8, "process ") == 0)
            nTestServer = numberBehind(sLine, "process ");
    if (nTestServer != 0)
        return nTestServer;
    const std::vector<std::string> records = RecordsOfLatestServer();
    return records.empty() ? 0 : numberBehind(records[0], STARTED);
}

unsigned int Stage::WaitForServer(unsigned int nNotThisId, int iMilliseconds) const
{
    EXPECT_TRUE(Eventually([&] { return ServerId() != 0 && ServerId() != nNotThisId; }, iMilliseconds));
    return ServerId();
}

unsigned int Stage::WaitForLink(unsigned int nNotThisId, int iMilliseconds) const
{
    const long long llEnd = MillisecondsNow() + iMilliseconds;
    const unsigned int nId = WaitForServer(nNotThisId, iMilliseconds);
    const auto isLinked = [&] {
        for (const std::string& sRecord : RecordsOfLatestServer())
            if (sRecord.find(" registered") != std::string::npos)
                return true;
        return false;
    };
    EXPECT_TRUE(Eventually(isLinked, static_cast<int>(llEnd - MillisecondsNow())));
    return nId;
}

std::vector<std::string> Stage::Messages() const
{
    std::vector<std::string> messages = ReadLines(Path("testserver.log"));
    messages.erase(std::remove_if(messages.begin(), messages.end(),
                                  [](const std::string& s) { return s.compare(0, 8, "process ") == 0; }),
                   messages.end());
    return messages;
}
