// Stage: what a test of the logger plays on. A registry, a place for windows and a folder for log files of
// its own; and on it clients (orvextraceclient), servers (orvextraceserver, or orvextestserver with the
// faults of the test) and changes of the settings, which are made with orvexreg as a user would.
#pragma once

#include "tests/logging/ChildProcess.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

extern const char LOGGING_KEY[];  // the default one

// Tests the condition until it holds. False: it did not in time.
bool Eventually(const std::function<bool()>& condition, int iMilliseconds = 10000);

std::vector<std::string> ReadLines(const std::string& sFile);
long long MillisecondsNow();

class Stage
{
public:
    Stage();
    ~Stage();  // ends the servers that clients have started

    // Settings of the logging key, or of the key named.
    void SetNumber(const std::string& sName, unsigned int n, const std::string& sKey = LOGGING_KEY);
    void SetText(const std::string& sName, const std::string& sText, const std::string& sKey = LOGGING_KEY);
    void Registry(const std::vector<std::string>& words);  // of orvexreg, which must succeed

    // The settings of a client that feeds the server: silent but for the server.
    void UseServer(const std::string& sServer);
    std::string RealServer() const;
    std::string TestServer() const;
    // Of test servers started from now on, by tests or clients; see TestServer.cpp.
    void SetTestServer(const std::string& sBehaviour);

    // A client whose logger is made and running. Its standard output is OutputOf(name).
    std::unique_ptr<ChildProcess> Client(const std::string& sName, const std::string& sPath = LOGGING_KEY);
    // One that has no logger yet.
    std::unique_ptr<ChildProcess> BareClient(const std::string& sName,
                                             ChildProcess::Rights rights = ChildProcess::Rights::OfTest);
    std::unique_ptr<ChildProcess> Start(const std::string& sName, const std::vector<std::string>& command,
                                        ChildProcess::Rights rights = ChildProcess::Rights::OfTest);

    std::string OutputOf(const std::string& sName) const { return Path(sName + ".out"); }
    // What the client wrote to standard output, times and the id of its process masked.
    std::vector<std::string> Said(const std::string& sName, const ChildProcess& client) const;
    bool WaitForOutput(const std::string& sName, const std::string& sText, int iMilliseconds = 10000) const;

    // Of orvextraceserver: all records, oldest first, over the files as they were cut.
    std::vector<std::string> Records() const;
    unsigned long long RecordBytes() const;
    bool WaitForRecord(const std::string& sText, int iMilliseconds = 10000) const;
    // Of the server started last, a test server if there were any; 0 while there is none.
    unsigned int ServerId() const;
    unsigned int WaitForServer(unsigned int nNotThisId = 0, int iMilliseconds = 10000) const;
    // Of orvextraceserver, once a client has registered. One that is ended before is one that never came up,
    // and the client that launched it gives up, as told.
    unsigned int WaitForLink(unsigned int nNotThisId = 0, int iMilliseconds = 10000) const;
    // Of orvextestserver: "KIND BYTES TEXT" for each message.
    std::vector<std::string> Messages() const;

    std::string ServerName() const;
    static std::string ClientName();  // as it stands in its identity
    std::string Path(const std::string& sName) const { return m_Folder.Path() + '/' + sName; }

private:
    std::vector<std::string> RecordFiles() const;  // latest first
    std::vector<std::string> RecordsOfLatestServer() const;

    TestFolder m_Folder;
    TestRegistry m_Registry;
    ChildProcess::Environment m_Environment;
};
