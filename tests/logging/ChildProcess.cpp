#include "tests/logging/ChildProcess.h"

#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

void ChildProcess::Say(const std::string& sLine)
{
    if (!Write(sLine + '\n'))
        ADD_FAILURE() << "process " << m_nId << " hears no more: " << sLine.substr(0, 80);
}

std::string ChildProcess::Hear(int iMilliseconds)
{
    const long long llEnd = MillisecondsNow() + iMilliseconds;
    for (;;) {
        const size_t feed = m_sHeard.find('\n');
        if (feed != std::string::npos) {
            std::string sLine = m_sHeard.substr(0, feed);
            m_sHeard.erase(0, feed + 1);
            if (!sLine.empty() && sLine.back() == '\r')
                sLine.pop_back();
            // A server that it started may speak there as well.
            if (sLine.find("orvextraceserver: ") != 0)
                return sLine;
            continue;
        }
        std::string sBytes;
        if (!Read(&sBytes, static_cast<int>(std::max(0LL, llEnd - MillisecondsNow())))) {
            ADD_FAILURE() << "process " << m_nId << " does not answer, or has ended: " << m_sHeard;
            return std::string();
        }
        m_sHeard += sBytes;
    }
}

std::string ChildProcess::Ask(const std::string& sLine, int iMilliseconds)
{
    Say(sLine);
    return Hear(iMilliseconds);
}

bool ChildProcess::WaitForEnd(unsigned int nId, int iMilliseconds)
{
    return Eventually([nId] { return !Runs(nId); }, iMilliseconds);
}

TestFolder::TestFolder()
{
    std::random_device random;
    do
        m_sPath = (std::filesystem::temp_directory_path() / ("orvexlog" + std::to_string(random()))).string();
    while (!std::filesystem::create_directory(m_sPath));
}

// A program that has just ended may still hold a file for a moment.
TestFolder::~TestFolder()
{
    EXPECT_TRUE(Eventually([this] {
        std::error_code error;
        std::filesystem::remove_all(m_sPath, error);
        return !error;
    })) << m_sPath;
}
