// TraceServer: one window that trace clients find by its name, and the file their lines go to.
//
// A line is in the file before its sender gets an answer. Where the file cannot be written the server does
// not answer until it can be; clients hold their lines meanwhile.
//
// Each client is watched by the mutex that bears its identity. The server ends when it is told to, and when
// it has had neither clients nor lines for the linger time.
#pragma once

#include "platform/Platform.h"
#include "tools/traceserver/LogFile.h"

#include <map>
#include <string>

class TraceServer
{
public:
    // The server's own values in the logging key, all optional.
    struct Settings
    {
        std::filesystem::path folder;  // TraceFolder; else DefaultFolder()
        LogFile::Limits limits;        // TraceFileKilobytes (10240), TraceFileCount (10)
        DWORD dwLingerSeconds;         // TraceServerLinger (60)
    };
    static Settings ReadSettings(const std::string& sRegistryPath);

    // hEndEvent, which stays the caller's, tells the server to end.
    TraceServer(const std::string& sName, const Settings& settings, HANDLE hEndEvent);
    ~TraceServer();
    TraceServer(const TraceServer&) = delete;
    TraceServer& operator=(const TraceServer&) = delete;

    // False: another server has this name, or there can be no window or no file.
    bool Open();
    void Run();

private:
    struct Client
    {
        DWORD dwProcessId;
        HANDLE hMutex;  // null where there is none: then its lines show that it lives
    };
    struct Process  // the clients in one process, told apart only by their registrations
    {
        int nClients = 0;
        DWORD nLines = 0;  // since the latest of them registered
        ULONGLONG ullLastLine = 0;
    };

    static LRESULT CALLBACK WindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);
    LRESULT Take(const COPYDATASTRUCT& data);
    LRESULT Answer(DWORD dwProcessId) const;
    void Register(const std::string& sClientId);
    void LookAfterClients();
    bool HasGone(const Client& client) const;
    void Forget(std::map<std::string, Client>::iterator it);
    void Note(const std::string& sText) { Write("---- " + sText); }
    void Write(const std::string& sText);

    static TraceServer* s_pServer;  // of the window procedure

    const std::string m_sName;
    LogFile m_File;
    const ULONGLONG m_ullLinger;  // ms
    const HANDLE m_hEndEvent;
    HANDLE m_hNameMutex = nullptr;
    HWND m_hWnd = nullptr;
    std::map<std::string, Client> m_Clients;  // by identity
    std::map<DWORD, Process> m_Processes;     // of those clients
    ULONGLONG m_ullLastUse;                   // of GetTickCount64
};
