#include "platform/ModuleFile.h"

#include "platform/DebugOutput.h"
#include "platform/Text.h"

#include <algorithm>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <link.h>
#include <map>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

thread_local bool t_bFreeing = false;

// Held while a module is loaded or unloaded, as on Windows, and so while its DllMain runs.
std::recursive_mutex& LoaderLock()
{
    static std::recursive_mutex& s_rLock = *new std::recursive_mutex;
    return s_rLock;
}

// The loader's handle of a module that is loaded; it counts as one more load. Null: no module.
void* LoaderHandle(HMODULE hModule)
{
    const std::string sPath = PlatformModulePath(hModule);
    void* p = sPath.empty() ? nullptr : dlopen(sPath.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (p == nullptr)
        SetLastError(ERROR_MOD_NOT_FOUND);
    return p;
}

HMODULE ModuleOfHandle(void* pHandle)
{
    link_map* pMap = nullptr;
    return dlinfo(pHandle, RTLD_DI_LINKMAP, &pMap) == 0 ? reinterpret_cast<HMODULE>(pMap->l_addr) : nullptr;
}

class File
{
public:
    explicit File(const std::string& sPath) : m_fd(open(sPath.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~File()
    {
        if (m_fd >= 0)
            close(m_fd);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::uint64_t Size() const
    {
        struct stat status;
        return m_fd >= 0 && fstat(m_fd, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
    }
    bool Read(std::uint64_t offset, void* p, std::size_t n) const
    {
        return offset <= Size() && n <= Size() - offset &&
               pread(m_fd, p, n, static_cast<off_t>(offset)) == static_cast<ssize_t>(n);
    }
    bool Read(std::uint64_t offset, std::uint64_t n, std::string* pBytes) const
    {
        if (offset > Size() || n > Size() - offset)
            return false;
        pBytes->resize(n);
        return Read(offset, pBytes->data(), n);
    }

private:
    int m_fd;
};

struct Resource
{
    std::string sBytes;
};

std::string ResourceName(LPCSTR p)
{
    const ULONG_PTR n = reinterpret_cast<ULONG_PTR>(p);
    return n <= 0xFFFF ? std::to_string(n) : std::string(p);
}

Resource* FindRead(HMODULE hModule, const std::string& sName)
{
    static std::mutex s_lock;
    static std::map<std::string, std::unique_ptr<Resource>>& s_rRead =
        *new std::map<std::string, std::unique_ptr<Resource>>;  // callers keep what they got
    const std::string sPath = PlatformModulePath(hModule);
    std::lock_guard<std::mutex> lock(s_lock);
    std::unique_ptr<Resource>& rResource = s_rRead[sPath + '\n' + sName];
    if (rResource == nullptr) {
        auto pNew = std::make_unique<Resource>();
        if (PlatformReadResource(sPath, sName, &pNew->sBytes))
            rResource = std::move(pNew);
    }
    return rResource.get();
}

}  // namespace

bool PlatformIsFreeingLibrary() { return t_bFreeing; }

std::string PlatformFilePath(std::string sPath)
{
    if (!sPath.empty() && sPath[0] == '\\')
        std::replace(sPath.begin(), sPath.end(), '\\', '/');
    return sPath;
}

std::string PlatformNarrow(LPCOLESTR p)
{
    const int n = WideCharToMultiByte(CP_ACP, 0, p, -1, nullptr, 0, nullptr, nullptr);
    std::string s(static_cast<std::size_t>(n), '\0');
    WideCharToMultiByte(CP_ACP, 0, p, -1, s.data(), n, nullptr, nullptr);
    s.resize(s.size() - 1);
    return s;
}

std::basic_string<OLECHAR> PlatformWiden(const std::string& s)
{
    const int n = MultiByteToWideChar(CP_ACP, 0, s.c_str(), -1, nullptr, 0);
    std::basic_string<OLECHAR> w(static_cast<std::size_t>(n), 0);
    MultiByteToWideChar(CP_ACP, 0, s.c_str(), -1, w.data(), n);
    w.resize(w.size() - 1);
    return w;
}

std::string PlatformModulePath(HMODULE hModule)
{
    Dl_info info;
    link_map* pMap = nullptr;
    if (hModule == nullptr ||
        dladdr1(hModule, &info, reinterpret_cast<void**>(&pMap), RTLD_DL_LINKMAP) == 0 ||
        reinterpret_cast<HMODULE>(pMap->l_addr) != hModule)
        return {};
    return pMap->l_name;
}

HMODULE PlatformModuleOf(const void* pAddress)
{
    Dl_info info;
    link_map* pMap = nullptr;
    return dladdr1(pAddress, &info, reinterpret_cast<void**>(&pMap), RTLD_DL_LINKMAP) == 0
               ? nullptr
               : reinterpret_cast<HMODULE>(pMap->l_addr);
}

bool PlatformReadResource(const std::string& sPath, const std::string& sName, std::string* pBytes)
{
    const File file(sPath);
    ElfW(Ehdr) head;
    if (!file.Read(0, &head, sizeof head) || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0 ||
        head.e_shentsize != sizeof(ElfW(Shdr)))
        return false;
    const auto read = [&](std::size_t i, ElfW(Shdr) * pSection) {
        return i < head.e_shnum && file.Read(head.e_shoff + i * sizeof *pSection, pSection, sizeof *pSection);
    };
    ElfW(Shdr) section;
    std::string sNames;
    if (!read(head.e_shstrndx, &section) || !file.Read(section.sh_offset, section.sh_size, &sNames))
        return false;
    for (std::size_t i = 0; read(i, &section); ++i)
        if (section.sh_name < sNames.size() && sNames.c_str() + section.sh_name == sName)
            return section.sh_type == SHT_PROGBITS && file.Read(section.sh_offset, section.sh_size, pBytes);
    return false;
}

HMODULE LoadLibraryA(LPCSTR lpLibFileName)
{
    if (lpLibFileName == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    std::string sPath = PlatformFilePath(std::string(lpLibFileName));
    // The loader keeps the path it was given, and a folder may change.
    if (sPath.find('/') != std::string::npos)
        sPath = std::filesystem::absolute(sPath).lexically_normal();
    std::lock_guard<std::recursive_mutex> lock(LoaderLock());
    void* p = dlopen(sPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (p == nullptr) {
        OutputDebugStringA(dlerror());
        SetLastError(access(sPath.c_str(), F_OK) == 0 ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return ModuleOfHandle(p);
}

BOOL FreeLibrary(HMODULE hLibModule)
{
    std::lock_guard<std::recursive_mutex> lock(LoaderLock());
    void* p = LoaderHandle(hLibModule);
    if (p == nullptr)
        return FALSE;
    dlclose(p);
    const bool bOuter = std::exchange(t_bFreeing, true);
    dlclose(p);
    t_bFreeing = bOuter;
    return TRUE;
}

FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName)
{
    void* pHandle = LoaderHandle(hModule);
    if (pHandle == nullptr)
        return nullptr;
    void* p = dlsym(pHandle, lpProcName);
    dlclose(pHandle);
    if (p == nullptr || PlatformModuleOf(p) != hModule) {  // what a module is linked with is not its own
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    return reinterpret_cast<FARPROC>(p);
}

BOOL DisableThreadLibraryCalls(HMODULE) { return TRUE; }

HRSRC FindResourceA(HMODULE hModule, LPCSTR lpName, LPCSTR lpType)
{
    Resource* p = FindRead(hModule, ResourceName(lpType) + '.' + ResourceName(lpName));
    if (p == nullptr)
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return reinterpret_cast<HRSRC>(p);
}

HGLOBAL LoadResource(HMODULE, HRSRC hResInfo) { return hResInfo; }

LPVOID LockResource(HGLOBAL hResData)
{
    return hResData != nullptr ? static_cast<Resource*>(hResData)->sBytes.data() : nullptr;
}

DWORD SizeofResource(HMODULE, HRSRC hResInfo)
{
    return hResInfo != nullptr ? static_cast<DWORD>(reinterpret_cast<Resource*>(hResInfo)->sBytes.size()) : 0;
}
