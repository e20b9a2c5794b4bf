#include "tools/traceserver/LogFile.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace {

// A server's name is any text; a file's name is not.
std::string FileStem(std::string sName)
{
    for (char& c : sName)
        if (c == '/' || c == '\\' || c == ':' || static_cast<unsigned char>(c) < ' ')
            c = '_';
    if (!sName.empty() && sName[0] == '.')
        sName[0] = '_';
    return sName;
}

}  // namespace

LogFile::LogFile(const fs::path& folder, const std::string& sName, const Limits& limits)
    : m_path(folder / (FileStem(sName) + ".log")), m_folder(folder), m_sStem(FileStem(sName)),
      m_Limits(limits)
{
}

LogFile::~LogFile() { Close(); }

bool LogFile::Write(const std::string& sRecord)
{
    if (m_pFile == nullptr && !Open())
        return false;
    if (m_nBytes != 0 && m_nBytes + sRecord.size() > m_Limits.nBytes) {
        Rotate();
        if (m_pFile == nullptr && !Open())
            return false;
    }
    if (fwrite(sRecord.data(), 1, sRecord.size(), m_pFile) == sRecord.size() && fflush(m_pFile) == 0) {
        m_nBytes += sRecord.size();
        return true;
    }
    // A part of it may be there; its rest may stand in the buffer.
    Close();
    std::error_code error;
    fs::resize_file(m_path, m_nBytes, error);
    return false;
}

void LogFile::Check()
{
    std::error_code error;
    if (m_pFile != nullptr && !fs::exists(m_path, error))
        Close();
}

bool LogFile::Open()
{
    std::error_code error;
    fs::create_directories(m_folder, error);
    CutTornRecord();
    m_pFile = fopen(m_path.string().c_str(), "ab");
    if (m_pFile == nullptr)
        return false;
    const unsigned long long nBytes = fs::file_size(m_path, error);
    m_nBytes = error ? 0 : nBytes;
    return true;
}

void LogFile::Close()
{
    if (m_pFile != nullptr)
        fclose(m_pFile);
    m_pFile = nullptr;
}

// One that somebody holds open may not be moved, and none is moved onto it: then the file goes on growing
// until it can be.
void LogFile::Rotate()
{
    Close();
    std::error_code error;
    const unsigned int nOlder = std::max(m_Limits.nFiles, 1u) - 1;
    if (nOlder == 0) {
        fs::remove(m_path, error);
        return;
    }
    unsigned int nFree = 1;
    while (nFree < nOlder && fs::exists(Numbered(nFree), error))
        ++nFree;
    for (unsigned int n = nFree; n > 0 && !error; --n)
        fs::rename(Numbered(n - 1), Numbered(n), error);
}

fs::path LogFile::Numbered(unsigned int n) const
{
    return n == 0 ? m_path : m_folder / (m_sStem + '.' + std::to_string(n) + ".log");
}

void LogFile::CutTornRecord()
{
    FILE* const pFile = fopen(m_path.string().c_str(), "rb");
    if (pFile == nullptr)
        return;
    std::error_code error;
    const unsigned long long nBytes = fs::file_size(m_path, error);
    unsigned long long nWhole = error ? 0 : nBytes;
    while (nWhole > 0) {
        fseek(pFile, static_cast<long>(nWhole - 1), SEEK_SET);
        if (fgetc(pFile) == '\n')
            break;
        --nWhole;
    }
    fclose(pFile);
    if (!error && nWhole != nBytes)
        fs::resize_file(m_path, nWhole, error);
}
