#include "platform/Sync.h"

#include "platform/Faults.h"
#include "platform/Handles.h"
#include "platform/RuntimeFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <map>
#include <sched.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

void Futex(LONG* p, int iOperation, LONG lValue)
{
    syscall(SYS_futex, p, iOperation | FUTEX_PRIVATE_FLAG, lValue, nullptr, nullptr, 0);
}

// The file of a mutex holds '1' from a take to the orderly release, and '0' otherwise: who takes it and finds
// '1' has an abandoned one. Locks on it, which go with the description of the file:
constexpr off_t EXISTS = 0;  // shared by all who have the mutex open; alone, by who makes or removes the file
constexpr off_t OWNED = 1;

bool TryLock(const Descriptor& file, off_t nWhat, short iType)
{
    struct flock range
    {
    };
    range.l_type = iType;
    range.l_whence = SEEK_SET;
    range.l_start = nWhat;
    range.l_len = 1;
    return (Faults::Hit("fcntl") ? -1 : fcntl(file.Get(), F_OFD_SETLK, &range)) == 0;
}

class Mutex final : public Waitable, public std::enable_shared_from_this<Mutex>
{
public:
    // Takes over a file on which EXISTS is held. Without a name there is nothing to remove.
    Mutex(Descriptor file, const std::string& sFileName) : m_File(std::move(file)), m_sFileName(sFileName) {}
    ~Mutex() override;

    // A new one is owned from the start, if so wished, before others can have it. False: last error.
    bool Open(bool bNew, bool bInitialOwner);
    Taken Take() override;
    void GiveBack(Taken taken) override;
    bool Free() override;
    int WakeDescriptor() override;
    bool Release();  // false: not the calling thread's
    void Abandon();

private:
    void LetGo(char cState);

    std::mutex m_Lock;
    const Descriptor m_File;
    const std::string m_sFileName;
    DWORD m_dwOwner = 0;  // the owning thread of this process
    int m_iTaken = 0;     // how often
    Signal m_Freed;       // unset while a thread of this process owns it
};

// The mutexes of a name are one object in this process, whatever number of handles it has.
struct NamedMutexes
{
    std::mutex Lock;
    std::map<std::string, std::weak_ptr<Mutex>> Map;
};

NamedMutexes& Named()
{
    static NamedMutexes* p = new NamedMutexes;
    return *p;
}

// What the thread owns is abandoned when it ends.
struct OwnedMutexes
{
    std::vector<std::pair<const Mutex*, std::weak_ptr<Mutex>>> List;
    ~OwnedMutexes() { AbandonMutexesOfThread(); }
};
thread_local OwnedMutexes t_Owned;

// Takes a mutex, and those that are gone, from the list of the calling thread.
void ForgetOwned(const Mutex* pMutex)
{
    auto& list = t_Owned.List;
    list.erase(std::remove_if(
                   list.begin(), list.end(),
                   [pMutex](const auto& owned) { return owned.first == pMutex || owned.second.expired(); }),
               list.end());
}

// Whether the name still leads to the file, which somebody may have removed before it was locked.
bool StillThere(const Descriptor& folder, const std::string& sFileName, const Descriptor& file)
{
    struct stat named;
    struct stat opened;
    return fstatat(folder.Get(), sFileName.c_str(), &named, 0) == 0 && fstat(file.Get(), &opened) == 0 &&
           named.st_ino == opened.st_ino && named.st_dev == opened.st_dev;
}

// Removes the file unless somebody else has it open.
void RemoveUnused(const Descriptor& folder, const std::string& sFileName, const Descriptor& file)
{
    if (TryLock(file, EXISTS, F_WRLCK) && StillThere(folder, sFileName, file))
        unlinkat(folder.Get(), sFileName.c_str(), 0);
}

// Clears away what killed processes left, once in the life of this one.
void RemoveLeftMutexes(const Descriptor& folder)
{
    DIR* pFolder = fdopendir(openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (pFolder == nullptr)
        return;
    while (const dirent* p = readdir(pFolder)) {
        if (strncmp(p->d_name, "mutex=", 6) != 0)
            continue;
        const Descriptor file(openat(folder.Get(), p->d_name, O_RDWR | O_CLOEXEC));
        if (file)
            RemoveUnused(folder, p->d_name, file);
    }
    closedir(pFolder);
}

// The file with EXISTS held: alone where *pbNew says that the mutex is new, else shared. Not open: last
// error.
Descriptor OpenMutexFile(const std::string& sFileName, bool bCreate, bool* pbNew)
{
    const Descriptor folder = OpenRuntimeFolder();
    if (!folder)
        return Descriptor();
    static std::once_flag s_Once;
    if (bCreate)
        std::call_once(s_Once, RemoveLeftMutexes, std::cref(folder));
    for (;;) {
        Descriptor file(
            openat(folder.Get(), sFileName.c_str(), O_RDWR | O_CLOEXEC | (bCreate ? O_CREAT : 0), 0600));
        if (!file)
            break;
        errno = 0;
        *pbNew = TryLock(file, EXISTS, F_WRLCK);
        if (*pbNew && !bCreate) {
            RemoveUnused(folder, sFileName, file);
            errno = ENOENT;
            break;
        }
        if ((*pbNew || TryLock(file, EXISTS, F_RDLCK)) && StillThere(folder, sFileName, file))
            return file;
        if (errno != EAGAIN && errno != EACCES && errno != ENOENT && errno != 0)
            break;
        sched_yield();
    }
    FailWithErrno();
    return Descriptor();
}

Mutex::~Mutex()
{
    if (m_sFileName.empty())
        return;
    {
        std::lock_guard<std::mutex> lock(Named().Lock);
        const auto it = Named().Map.find(m_sFileName);
        if (it != Named().Map.end() && it->second.expired())
            Named().Map.erase(it);
    }
    const Descriptor folder = OpenRuntimeFolder();
    if (folder)
        RemoveUnused(folder, m_sFileName, m_File);
}

bool Mutex::Open(bool bNew, bool bInitialOwner)
{
    if (!m_Freed.Open(true, true))
        return false;
    if (!bNew)
        return true;
    if (pwrite(m_File.Get(), "0", 1, 0) != 1 || (bInitialOwner && Take() == TAKEN_NOT) ||
        !TryLock(m_File, EXISTS, F_RDLCK))
        return FailWithErrno();
    return true;
}

Waitable::Taken Mutex::Take()
{
    std::lock_guard<std::mutex> lock(m_Lock);
    const DWORD dwSelf = GetCurrentThreadId();
    if (m_dwOwner == dwSelf) {
        ++m_iTaken;
        return TAKEN;
    }
    if (m_dwOwner != 0 || !TryLock(m_File, OWNED, F_WRLCK))
        return TAKEN_NOT;
    char cState = '0';
    const bool bAbandoned = pread(m_File.Get(), &cState, 1, 0) == 1 && cState == '1';
    if (pwrite(m_File.Get(), "1", 1, 0) != 1) {
        TryLock(m_File, OWNED, F_UNLCK);
        return TAKEN_NOT;
    }
    m_dwOwner = dwSelf;
    m_iTaken = 1;
    m_Freed.Reset();
    ForgetOwned(this);
    t_Owned.List.emplace_back(this, weak_from_this());
    return bAbandoned ? TAKEN_ABANDONED : TAKEN;
}

void Mutex::LetGo(char cState)
{
    if (pwrite(m_File.Get(), &cState, 1, 0) != 1)
        FailWithErrno();
    TryLock(m_File, OWNED, F_UNLCK);
    m_dwOwner = 0;
    m_iTaken = 0;
    m_Freed.Set();
}

void Mutex::GiveBack(Taken taken)
{
    std::lock_guard<std::mutex> lock(m_Lock);
    if (--m_iTaken == 0)
        LetGo(taken == TAKEN_ABANDONED ? '1' : '0');
}

bool Mutex::Release()
{
    std::lock_guard<std::mutex> lock(m_Lock);
    if (m_dwOwner != GetCurrentThreadId())
        return false;
    if (--m_iTaken == 0) {
        LetGo('0');
        ForgetOwned(this);
    }
    return true;
}

void Mutex::Abandon()
{
    std::lock_guard<std::mutex> lock(m_Lock);
    if (m_dwOwner == GetCurrentThreadId())
        LetGo('1');
}

bool Mutex::Free()
{
    std::lock_guard<std::mutex> lock(m_Lock);
    if (m_dwOwner != 0)
        return m_dwOwner == GetCurrentThreadId();
    struct flock range
    {
    };
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = OWNED;
    range.l_len = 1;
    return fcntl(m_File.Get(), F_OFD_GETLK, &range) == 0 && range.l_type == F_UNLCK;
}

int Mutex::WakeDescriptor()
{
    std::lock_guard<std::mutex> lock(m_Lock);
    return m_dwOwner != 0 ? m_Freed.Descriptor() : -1;
}

// The mutex of that file name, which may be empty; null: last error.
std::shared_ptr<Mutex> FindOrMakeMutex(const std::string& sFileName, bool bCreate, bool bInitialOwner,
                                       bool* pbNew)
{
    std::shared_ptr<Mutex> pMutex;  // outlives the lock, which its destructor takes
    std::lock_guard<std::mutex> lock(Named().Lock);
    *pbNew = sFileName.empty();
    std::weak_ptr<Mutex>* pNamed = sFileName.empty() ? nullptr : &Named().Map[sFileName];
    if (pNamed != nullptr && (pMutex = pNamed->lock()) != nullptr)
        return pMutex;
    Descriptor file = pNamed != nullptr ? OpenMutexFile(sFileName, bCreate, pbNew)
                                        : Descriptor(memfd_create("mutex", MFD_CLOEXEC));
    if (!file) {
        if (pNamed != nullptr)
            Named().Map.erase(sFileName);
        return nullptr;
    }
    pMutex = std::make_shared<Mutex>(std::move(file), sFileName);
    if (!pMutex->Open(*pbNew, bInitialOwner))
        return nullptr;
    if (pNamed != nullptr)
        *pNamed = pMutex;
    return pMutex;
}

class Thread final : public Waitable
{
public:
    Signal m_Ended;
    Taken Take() override { return m_Ended.IsSet() ? TAKEN : TAKEN_NOT; }
    bool Free() override { return m_Ended.IsSet(); }
    int WakeDescriptor() override { return m_Ended.Descriptor(); }
};

struct ThreadStart
{
    _beginthreadex_proc_type pStart;
    void* pArg;
    std::shared_ptr<Thread> pThread;
    DWORD dwId;
    sem_t Started;
};

void* RunThread(void* p)
{
    ThreadStart* pGiven = static_cast<ThreadStart*>(p);
    const ThreadStart start = *pGiven;
    pGiven->dwId = GetCurrentThreadId();
    sem_post(&pGiven->Started);
    start.pStart(start.pArg);
    AbandonMutexesOfThread();
    CloseWindowsOfThread();
    start.pThread->m_Ended.Set();
    return nullptr;
}
}  // namespace

DWORD PlatformThreadId() { return static_cast<DWORD>(gettid()); }

void InitializeCriticalSection(CRITICAL_SECTION* p)
{
    p->State = 0;
    p->RecursionCount = 0;
    p->OwningThread = pthread_t{};
}

void DeleteCriticalSection(CRITICAL_SECTION*) {}

// A short spin first: most sections are held for less time than a sleep takes.
void PlatformEnterContended(CRITICAL_SECTION* p)
{
    for (int i = 0; i < 100; ++i) {
        LONG expected = 0;
        if (__atomic_load_n(&p->State, __ATOMIC_RELAXED) == 0 &&
            __atomic_compare_exchange_n(&p->State, &expected, 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED))
            return;
    }
    while (__atomic_exchange_n(&p->State, 2, __ATOMIC_ACQUIRE) != 0)
        Futex(&p->State, FUTEX_WAIT, 2);
}

void PlatformWakeOne(CRITICAL_SECTION* p) { Futex(&p->State, FUTEX_WAKE, 1); }

HANDLE CreateEventA(SECURITY_ATTRIBUTES*, BOOL bManualReset, BOOL bInitialState, const char* name)
{
    if (name != nullptr) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    const auto pEvent = std::make_shared<Event>();
    return pEvent->m_Signal.Open(bManualReset != FALSE, bInitialState != FALSE) ? NewHandle(pEvent) : nullptr;
}

BOOL SetEvent(HANDLE hEvent)
{
    const auto pEvent = HandleTo<Event>(hEvent);
    if (pEvent != nullptr)
        pEvent->m_Signal.Set();
    return pEvent != nullptr;
}

BOOL ResetEvent(HANDLE hEvent)
{
    const auto pEvent = HandleTo<Event>(hEvent);
    if (pEvent != nullptr)
        pEvent->m_Signal.Reset();
    return pEvent != nullptr;
}

HANDLE CreateMutexA(SECURITY_ATTRIBUTES*, BOOL bInitialOwner, const char* name)
{
    bool bNew = false;
    const std::string sFileName = name == nullptr || *name == '\0' ? "" : RuntimeFileName("mutex", name);
    const auto pMutex = FindOrMakeMutex(sFileName, true, bInitialOwner != FALSE, &bNew);
    if (pMutex == nullptr)
        return nullptr;
    SetLastError(bNew ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    return NewHandle(pMutex);
}

HANDLE OpenMutexA(DWORD, BOOL, const char* name)
{
    bool bNew = false;
    if (name == nullptr || *name == '\0') {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const auto pMutex = FindOrMakeMutex(RuntimeFileName("mutex", name), false, false, &bNew);
    return pMutex == nullptr ? nullptr : NewHandle(pMutex);
}

BOOL ReleaseMutex(HANDLE hMutex)
{
    const auto pMutex = HandleTo<Mutex>(hMutex);
    if (pMutex == nullptr)
        return FALSE;
    if (pMutex->Release())
        return TRUE;
    SetLastError(ERROR_NOT_OWNER);
    return FALSE;
}

void AbandonMutexesOfThread()
{
    const auto owned = std::move(t_Owned.List);
    t_Owned.List.clear();
    for (const auto& entry : owned)
        if (const std::shared_ptr<Mutex> pMutex = entry.second.lock())
            pMutex->Abandon();
}

std::uintptr_t _beginthreadex(void*, unsigned int nStackSize, _beginthreadex_proc_type pStart, void* pArg,
                              unsigned int iInitFlag, unsigned int* pThreadId)
{
    const auto pThread = std::make_shared<Thread>();
    if (iInitFlag != 0 || pStart == nullptr) {
        errno = EINVAL;
        return 0;
    }
    const HANDLE hThread = pThread->m_Ended.Open(true, false) ? NewHandle(pThread) : nullptr;
    if (hThread == nullptr)
        return 0;
    ThreadStart start{pStart, pArg, pThread, 0, {}};
    sem_init(&start.Started, 0, 0);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (nStackSize != 0)
        pthread_attr_setstacksize(&attributes,
                                  std::max<size_t>(nStackSize, static_cast<size_t>(PTHREAD_STACK_MIN)));
    pthread_t thread;
    const int iError =
        Faults::Hit("pthread_create") ? errno : pthread_create(&thread, &attributes, RunThread, &start);
    pthread_attr_destroy(&attributes);
    if (iError == 0) {
        while (sem_wait(&start.Started) != 0)
            continue;
        if (pThreadId != nullptr)
            *pThreadId = start.dwId;
    }
    sem_destroy(&start.Started);
    if (iError == 0)
        return reinterpret_cast<std::uintptr_t>(hThread);
    CloseHandle(hThread);
    errno = iError;
    return 0;
}

void Sleep(DWORD dwMilliseconds)
{
    timespec left{static_cast<time_t>(dwMilliseconds / 1000),
                  static_cast<long>(dwMilliseconds % 1000) * 1000000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR)
        continue;
}

ULONGLONG GetTickCount64()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec) / 1000000;
}

static thread_local DWORD t_dwLastError __attribute__((tls_model("initial-exec"))) = ERROR_SUCCESS;

DWORD GetLastError() { return t_dwLastError; }
void SetLastError(DWORD dwError) { t_dwLastError = dwError; }
