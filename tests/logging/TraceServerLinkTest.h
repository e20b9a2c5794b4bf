// What the tests of the link between clients and trace servers share.
#pragma once

#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

constexpr int HELD_MS = 3500;  // the longest a server may hold a caller

struct Answer
{
    std::string sWord;
    long long llResult = 0;
    long long llMilliseconds = 0;
};

class TraceServerLink : public testing::Test
{
protected:
    std::unique_ptr<ChildProcess> StartServer(const std::string& sProgram)
    {
        const unsigned int nWas = m_Stage.ServerId();
        auto pServer = m_Stage.Start("server", {sProgram, m_Stage.ServerName(), LOGGING_KEY});
        EXPECT_EQ(m_Stage.WaitForServer(nWas), pServer->Id());
        return pServer;
    }

    static Answer Ask(ChildProcess& client, const std::string& sCommand)
    {
        Answer answer;
        std::istringstream(client.Ask(sCommand)) >> answer.sWord >> answer.llResult >> answer.llMilliseconds;
        return answer;
    }

    // The texts of the client's lines in the server's file, in order.
    std::vector<std::string> Texts(const ChildProcess& client) const
    {
        const std::string sFront = std::to_string(client.Id()) + "  orvextraceclient  ";
        std::vector<std::string> texts;
        for (const std::string& sRecord : m_Stage.Records()) {
            const size_t i = sRecord.find(sFront);
            if (i != std::string::npos)
                texts.push_back(sRecord.substr(i + sFront.size()));
        }
        return texts;
    }

    static std::ptrdiff_t CountOf(const std::vector<std::string>& lines, const std::string& sText)
    {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& s) { return s.find(sText) != std::string::npos; });
    }

    // The link is given up: lines pass it by at once.
    static void ExpectAbandoned(ChildProcess& client)
    {
        const Answer answer = Ask(client, "trace 1 too late");
        EXPECT_EQ(answer.llResult, -1);
        EXPECT_LT(answer.llMilliseconds, 200);
    }

    void ExpectIdle(ChildProcess& client, int iSeconds = 2)
    {
        const long long llBefore = Ask(client, "cpu").llResult;
        EXPECT_FALSE(Eventually([] { return false; }, iSeconds * 1000));
        EXPECT_LT(Ask(client, "cpu").llResult - llBefore, iSeconds * 100)
            << "of processor time, in ms: it spins";
    }

    Stage m_Stage;
};
