// Watches a key for RegNotifyChangeKeyValue, inside this folder: an inotify instance for the folder and those
// below it, and a thread that reads it. Which folders and changes is settled when the watch is opened, as on
// Windows.
#pragma once

#include "platform/Handles.h"

#include <map>
#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

class RegistryWatch : public std::enable_shared_from_this<RegistryWatch>
{
public:
    // Null: last error.
    static std::shared_ptr<RegistryWatch> Open(int iFolder, bool bSubtree, DWORD dwFilter);
    // Sets the event at the next change, or now if there was one since the last time; and when the watch is
    // closed.
    void Arm(std::shared_ptr<Event> pEvent);
    void Close();

private:
    bool Start(int iFolder, bool bSubtree, DWORD dwFilter);
    bool AddTree(const std::string& sFolder, bool* pbValues);
    void DropTree(const std::string& sFolder);
    bool ReadChanges();
    bool IsChange(int iWatch, unsigned int nWhat, const char* name);
    void Run();
    void Report();

    Descriptor m_Folder;
    Descriptor m_Inotify;
    Signal m_Closed;
    bool m_bSubtree = false;
    DWORD m_dwFilter = 0;
    int m_iParent = -1;                    // the watch on the folder above, which tells that the key has gone
    std::map<int, std::string> m_Folders;  // watch to path below the key, with a slash at its end; only Run's

    std::mutex m_Lock;
    bool m_bChanged = false;  // and nobody was told
    std::vector<std::shared_ptr<Event>> m_Armed;
};

#pragma GCC visibility pop
