#include "platform/RegistryStore.h"

#include "platform/Faults.h"
#include "platform/Sync.h"
#include "platform/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char DEFAULT_VALUE[] = "@";
constexpr char SAME_NAME =
    '%';  // behind the file name of an entry whose name another kind of entry has already
constexpr size_t VALUE_FILE_BYTES = 4 << 20;  // beyond that a file is no value

// A file name that is no entry, different for every call of every process.
std::string PrivateName(const char* prefix)
{
    static std::atomic<unsigned int> s_n{0};
    return prefix + std::to_string(getpid()) + "-" + std::to_string(++s_n);
}

int HexDigit(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

std::string Hex(char c)
{
    static const char DIGITS[] = "0123456789abcdef";
    const unsigned char b = static_cast<unsigned char>(c);
    return {DIGITS[b >> 4], DIGITS[b & 0xF]};
}

struct CloseFolder
{
    void operator()(DIR* p) const { closedir(p); }
};

// Calls f with each file name that can be an entry.
template <class F> void ForEachFile(int iFolder, F f)
{
    const int fd = openat(iFolder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, CloseFolder> pFolder(fd < 0 ? nullptr : fdopendir(fd));
    if (pFolder == nullptr)
        return;
    while (const dirent* p = readdir(pFolder.get()))
        if (p->d_name[0] != '.')
            f(p->d_name);
}

bool IsKind(int iFolder, const std::string& sFileName, EntryKind kind)
{
    struct stat status;
    return fstatat(iFolder, sFileName.c_str(), &status, 0) == 0 &&
           (kind == ENTRY_KEY ? S_ISDIR(status.st_mode) : S_ISREG(status.st_mode));
}

bool Exists(int iFolder, const std::string& sFileName)
{
    struct stat status;
    return fstatat(iFolder, sFileName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool Less(const std::string& a, const std::string& b)
{
    const int i = _stricmp(a.c_str(), b.c_str());
    return i != 0 ? i < 0 : a < b;
}

// Everything in the folder, and the folder.
void RemoveTree(int iParent, const std::string& sFileName)
{
    const Descriptor folder(
        openat(iParent, sFileName.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const int fd = folder ? openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    const std::unique_ptr<DIR, CloseFolder> pFolder(fd < 0 ? nullptr : fdopendir(fd));
    while (const dirent* p = pFolder != nullptr ? readdir(pFolder.get()) : nullptr) {
        if (strcmp(p->d_name, ".") == 0 || strcmp(p->d_name, "..") == 0)
            continue;
        if (unlinkat(folder.Get(), p->d_name, 0) != 0)
            RemoveTree(folder.Get(), p->d_name);
    }
    unlinkat(iParent, sFileName.c_str(), AT_REMOVEDIR);
}

bool WriteAll(int fd, const std::string& s)
{
    for (size_t done = 0; done < s.size();) {
        const ssize_t n = Faults::Hit("write") ? -1 : write(fd, s.data() + done, s.size() - done);
        if (n < 0 && errno != EINTR)
            return false;
        done += n < 0 ? 0 : static_cast<size_t>(n);
    }
    return true;
}

bool ReadAll(int fd, std::string* ps)
{
    char buffer[4096];
    for (;;) {
        const ssize_t n = Faults::Hit("read") ? -1 : read(fd, buffer, sizeof buffer);
        if (n == 0)
            return true;
        if (n < 0 && errno != EINTR)
            return false;
        if (n > 0)
            ps->append(buffer, static_cast<size_t>(n));
        if (ps->size() > VALUE_FILE_BYTES) {
            errno = EFBIG;
            return false;
        }
    }
}

bool ParseHex(const char* text, size_t length, std::string* ps)
{
    if (length % 2 != 0)
        return false;
    for (size_t i = 0; i < length; i += 2) {
        const int high = HexDigit(text[i]);
        const int low = HexDigit(text[i + 1]);
        if (high < 0 || low < 0)
            return false;
        ps->push_back(static_cast<char>(high * 16 + low));
    }
    return true;
}

// 1 to so many digits, up to the end.
bool ParseNumber(const std::string& s, size_t begin, size_t end, int iBase, size_t digits, DWORD* pdw)
{
    if (end <= begin || end - begin > digits)
        return false;
    DWORD dw = 0;
    for (size_t i = begin; i < end; ++i) {
        const int iDigit = HexDigit(s[i]);
        if (iDigit < 0 || iDigit >= iBase)
            return false;
        dw = dw * static_cast<DWORD>(iBase) + static_cast<DWORD>(iDigit);
    }
    *pdw = dw;
    return true;
}

}  // namespace

std::string FileNameOf(const std::string& sName)
{
    if (sName.empty())
        return DEFAULT_VALUE;
    std::string s;
    for (const char c : sName) {
        const unsigned char b = static_cast<unsigned char>(c);
        const bool bEscape =
            b < 0x20 || b == 0x7F || c == '/' || c == '%' || (s.empty() && (c == '.' || c == '@'));
        s += bEscape ? "%" + Hex(c) : std::string(1, c);
    }
    return s;
}

std::string NameOf(const std::string& sFileName)
{
    if (sFileName == DEFAULT_VALUE)
        return "";
    std::string s;
    for (size_t i = 0; i < sFileName.size(); ++i) {
        const bool bEscape = sFileName[i] == '%';
        if (bEscape && i + 2 < sFileName.size() && ParseHex(sFileName.c_str() + i + 1, 2, &s))
            i += 2;
        else if (!bEscape || i + 1 < sFileName.size())
            s += sFileName[i];
    }
    return s;
}

std::string TextOf(const RegistryValue& value)
{
    const std::string& sData = value.sData;
    if (value.dwType == REG_SZ && !sData.empty() && sData.find('\0') == sData.size() - 1)
        return "sz:" + sData.substr(0, sData.size() - 1) + "\n";
    if (value.dwType == REG_DWORD && sData.size() == sizeof(DWORD)) {
        DWORD dw;
        memcpy(&dw, sData.data(), sizeof dw);
        char sz[16];
        snprintf(sz, sizeof sz, "dword:%08x\n", dw);
        return sz;
    }
    std::string s = "hex(" + std::to_string(value.dwType) + "):";
    for (const char c : sData)
        s += Hex(c);
    return s + "\n";
}

// The closing line feed may be missing, and blanks may stand behind a number: people write these files too.
bool ParseValue(const std::string& sText, RegistryValue* pValue)
{
    const size_t end = !sText.empty() && sText.back() == '\n' ? sText.size() - 1 : sText.size();
    pValue->sData.clear();
    if (sText.compare(0, 3, "sz:") == 0) {
        pValue->dwType = REG_SZ;
        pValue->sData = sText.substr(3, end - 3) + '\0';
        return true;
    }
    const size_t digits = sText.find_last_not_of(" \t\r\n") + 1;
    if (sText.compare(0, 6, "dword:") == 0) {
        DWORD dw;
        if (!ParseNumber(sText, 6, digits, 16, 8, &dw))
            return false;
        pValue->dwType = REG_DWORD;
        pValue->sData.assign(reinterpret_cast<const char*>(&dw), sizeof dw);
        return true;
    }
    const size_t close = sText.find("):");
    return sText.compare(0, 4, "hex(") == 0 && close != std::string::npos &&
           ParseNumber(sText, 4, close, 10, 9, &pValue->dwType) && digits >= close + 2 &&
           ParseHex(sText.c_str() + close + 2, digits - close - 2, &pValue->sData);
}

std::string FindEntry(int iFolder, const std::string& sName, EntryKind kind)
{
    std::string sFound = FileNameOf(sName);
    if (IsKind(iFolder, sFound, kind))
        return sFound;
    sFound.clear();
    ForEachFile(iFolder, [&](const char* fileName) {
        if (_stricmp(NameOf(fileName).c_str(), sName.c_str()) == 0 && (sFound.empty() || fileName < sFound) &&
            IsKind(iFolder, fileName, kind))
            sFound = fileName;
    });
    return sFound;
}

std::string NewEntry(int iFolder, const std::string& sName)
{
    const std::string s = FileNameOf(sName);
    return Exists(iFolder, s) ? s + SAME_NAME : s;
}

std::vector<std::string> ListEntries(int iFolder, EntryKind kind)
{
    std::vector<std::string> names;
    ForEachFile(iFolder, [&](const char* fileName) {
        if (IsKind(iFolder, fileName, kind))
            names.push_back(NameOf(fileName));
    });
    std::sort(names.begin(), names.end(), Less);
    return names;
}

LONG ReadValue(int iFolder, const std::string& sName, RegistryValue* pValue)
{
    const std::string sFileName = FindEntry(iFolder, sName, ENTRY_VALUE);
    if (sFileName.empty())
        return KeyError(iFolder, ENOENT);
    const Descriptor file(
        Faults::Hit("openat") ? -1 : openat(iFolder, sFileName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    std::string sText;
    if (!file || !ReadAll(file.Get(), &sText))
        return KeyError(iFolder, errno);
    return ParseValue(sText, pValue) ? ERROR_SUCCESS : ERROR_BADDB;
}

LONG WriteValue(int iFolder, const std::string& sName, const RegistryValue& value)
{
    std::string sFileName = FindEntry(iFolder, sName, ENTRY_VALUE);
    if (sFileName.empty())
        sFileName = NewEntry(iFolder, sName);
    const std::string sNew = PrivateName(".new-");
    Descriptor file(Faults::Hit("openat")
                        ? -1
                        : openat(iFolder, sNew.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file)
        return KeyError(iFolder, errno);
    const bool bWritten = WriteAll(file.Get(), TextOf(value));
    file.Close();
    if (bWritten &&
        (Faults::Hit("renameat") ? -1 : renameat(iFolder, sNew.c_str(), iFolder, sFileName.c_str())) == 0)
        return ERROR_SUCCESS;
    const int iError = errno;
    unlinkat(iFolder, sNew.c_str(), 0);
    return KeyError(iFolder, iError);
}

LONG RemoveValue(int iFolder, const std::string& sName)
{
    const std::string sFileName = FindEntry(iFolder, sName, ENTRY_VALUE);
    if (sFileName.empty())
        return KeyError(iFolder, ENOENT);
    return unlinkat(iFolder, sFileName.c_str(), 0) == 0 ? ERROR_SUCCESS : KeyError(iFolder, errno);
}

LONG RemoveKey(int iFolder, const std::string& sName)
{
    const std::string sFileName = FindEntry(iFolder, sName, ENTRY_KEY);
    if (sFileName.empty())
        return KeyError(iFolder, ENOENT);
    const std::string sDeleted = PrivateName(DELETED_PREFIX);
    if ((Faults::Hit("renameat") ? -1 : renameat(iFolder, sFileName.c_str(), iFolder, sDeleted.c_str())) != 0)
        return KeyError(iFolder, errno);
    RemoveTree(iFolder, sDeleted);
    return ERROR_SUCCESS;
}

bool KeyDeleted(int iFolder)
{
    struct stat status;
    if (fstat(iFolder, &status) == 0 && status.st_nlink == 0)
        return true;
    char path[4096];
    const ssize_t n = readlink(("/proc/self/fd/" + std::to_string(iFolder)).c_str(), path, sizeof path);
    return n > 0 && std::string(path, static_cast<size_t>(n)).find(std::string("/") + DELETED_PREFIX) !=
                        std::string::npos;
}

LONG KeyError(int iFolder, int iErrno)
{
    if (iErrno == ENOENT && KeyDeleted(iFolder))
        return ERROR_KEY_DELETED;
    return static_cast<LONG>(ErrorOf(iErrno));
}
