#include "platform/RegistryWatch.h"

#include "platform/Faults.h"
#include "platform/Registry.h"
#include "platform/RegistryStore.h"
#include "platform/Sync.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr unsigned int FOLDER_EVENTS =
    IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR;
constexpr unsigned int PARENT_EVENTS = IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR;

bool IsFolder(const std::string& sPath)
{
    struct stat status;
    return stat(sPath.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::shared_ptr<RegistryWatch> RegistryWatch::Open(int iFolder, bool bSubtree, DWORD dwFilter)
{
    auto p = std::make_shared<RegistryWatch>();
    return p->Start(iFolder, bSubtree, dwFilter) && StartThread([p] { p->Run(); }) ? p : nullptr;
}

bool RegistryWatch::Start(int iFolder, bool bSubtree, DWORD dwFilter)
{
    m_bSubtree = bSubtree;
    m_dwFilter = dwFilter;
    m_Folder = Descriptor(fcntl(iFolder, F_DUPFD_CLOEXEC, 0));
    m_Inotify = Descriptor(Faults::Hit("inotify_init1") ? -1 : inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    bool bValues = false;
    if (!m_Folder || !m_Inotify || !m_Closed.Open(true, false) || !AddTree("", &bValues)) {
        SetLastError(ERROR_NO_SYSTEM_RESOURCES);
        return false;
    }
    const std::string sParent = "/proc/self/fd/" + std::to_string(m_Folder.Get()) + "/..";
    m_iParent = inotify_add_watch(m_Inotify.Get(), sParent.c_str(), PARENT_EVENTS);
    return true;
}

// Adds the folder and what is below. False when there are no watches left; a folder that has gone or may not
// be read is none to watch. *pbValues: there are values in it.
bool RegistryWatch::AddTree(const std::string& sFolder, bool* pbValues)
{
    const std::string sPath = "/proc/self/fd/" + std::to_string(m_Folder.Get()) + "/" + sFolder;
    const int iWatch = Faults::Hit("inotify_add_watch")
                           ? -1
                           : inotify_add_watch(m_Inotify.Get(), (sPath + ".").c_str(), FOLDER_EVENTS);
    if (iWatch < 0)
        return errno != ENOSPC && errno != ENOMEM;
    m_Folders[iWatch] = sFolder;
    DIR* pFolder = m_bSubtree ? opendir(sPath.c_str()) : nullptr;
    bool bAdded = true;
    while (const dirent* p = pFolder != nullptr ? readdir(pFolder) : nullptr) {
        if (p->d_name[0] == '.')
            continue;
        if (IsFolder(sPath + p->d_name))
            bAdded = AddTree(sFolder + p->d_name + "/", pbValues) && bAdded;
        else
            *pbValues = true;
    }
    if (pFolder != nullptr)
        closedir(pFolder);
    return bAdded;
}

void RegistryWatch::DropTree(const std::string& sFolder)
{
    for (auto it = m_Folders.begin(); it != m_Folders.end();) {
        if (it->second.compare(0, sFolder.size(), sFolder) == 0) {
            inotify_rm_watch(m_Inotify.Get(), it->first);
            it = m_Folders.erase(it);
        } else {
            ++it;
        }
    }
}

bool RegistryWatch::IsChange(int iWatch, unsigned int nWhat, const char* name)
{
    bool bValues = false;
    if ((nWhat & IN_Q_OVERFLOW) != 0) {
        AddTree("", &bValues);
        return true;
    }
    if (iWatch == m_iParent)
        return KeyDeleted(m_Folder.Get());
    const auto it = m_Folders.find(iWatch);
    if (it == m_Folders.end())
        return false;
    if ((nWhat & IN_IGNORED) != 0) {
        m_Folders.erase(it);
        return false;
    }
    if (name[0] == '.')
        return false;
    if ((nWhat & IN_ISDIR) == 0)
        return (m_dwFilter & REG_NOTIFY_CHANGE_LAST_SET) != 0 && (nWhat & IN_CREATE) == 0;
    const std::string sFolder = it->second + name + "/";
    if ((nWhat & (IN_DELETE | IN_MOVED_FROM)) != 0)
        DropTree(sFolder);
    else if (m_bSubtree)
        AddTree(sFolder, &bValues);
    return (m_dwFilter & REG_NOTIFY_CHANGE_NAME) != 0 ||
           (bValues && (m_dwFilter & REG_NOTIFY_CHANGE_LAST_SET) != 0);
}

bool RegistryWatch::ReadChanges()
{
    alignas(inotify_event) char buffer[16384];
    bool bChange = false;
    for (;;) {
        const ssize_t n = read(m_Inotify.Get(), buffer, sizeof buffer);
        if (n <= 0)
            return bChange;
        for (ssize_t i = 0; i < n;) {
            const inotify_event* p = reinterpret_cast<const inotify_event*>(buffer + i);
            bChange = IsChange(p->wd, p->mask, p->len != 0 ? p->name : "") || bChange;
            i += static_cast<ssize_t>(sizeof *p + p->len);
        }
    }
}

void RegistryWatch::Run()
{
    pollfd polled[] = {{m_Closed.Descriptor(), POLLIN, 0}, {m_Inotify.Get(), POLLIN, 0}};
    for (;;) {
        poll(polled, 2, -1);
        if (m_Closed.IsSet())
            return;
        if (ReadChanges())
            Report();
    }
}

void RegistryWatch::Report()
{
    std::lock_guard<std::mutex> lock(m_Lock);
    m_bChanged = m_Armed.empty();
    for (const auto& pEvent : m_Armed)
        pEvent->m_Signal.Set();
    m_Armed.clear();
}

void RegistryWatch::Arm(std::shared_ptr<Event> pEvent)
{
    std::lock_guard<std::mutex> lock(m_Lock);
    if (m_bChanged)
        pEvent->m_Signal.Set();
    else
        m_Armed.push_back(std::move(pEvent));
    m_bChanged = false;
}

void RegistryWatch::Close()
{
    Report();
    m_Closed.Set();
}
