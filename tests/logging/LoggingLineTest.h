// What the tests of lines share.
#pragma once

#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

// A client without settings, so with the masks 7 and 3 and its lines on the screen.
class LoggingLine : public testing::Test
{
protected:
    void SetUp() override { m_pClient = m_Stage.Client("client"); }

    std::string Told(const std::string& sCommand)
    {
        const size_t nBefore = m_Stage.Said("client", *m_pClient).size();
        m_sAnswer = m_pClient->Ask(sCommand);
        m_sAnswer.resize(m_sAnswer.rfind(' '));
        const std::vector<std::string> lines = m_Stage.Said("client", *m_pClient);
        std::string s;
        for (size_t i = nBefore; i < lines.size(); ++i)
            s += lines[i] + '|';
        return s;
    }

    Stage m_Stage;
    std::unique_ptr<ChildProcess> m_pClient;
    std::string m_sAnswer;
};

inline std::string Of(int n, char c) { return std::string(static_cast<size_t>(n), c); }
