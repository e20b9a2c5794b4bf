// LogFile: the file that a trace server writes, NAME.log in a folder, cut into NAME.1.log, NAME.2.log and so
// on by size, the latest first.
//
// What Write has written is with the operating system, and so survives the end of this process, however it
// ends. A record that a killed server left half written is cut off when the file is opened.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

class LogFile
{
public:
    struct Limits
    {
        unsigned long long nBytes;  // of one file; a longer record still goes into one
        unsigned int nFiles;        // kept, the one that is written included
    };

    // Makes the folder too. Whether the file could be opened shows at the first Write.
    LogFile(const std::filesystem::path& folder, const std::string& sName, const Limits& limits);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // A record ends in a line feed. False: nothing of it is in the file, and the call can be tried again.
    bool Write(const std::string& sRecord);

    // Opens the file anew if it was moved or deleted under this object.
    void Check();

    const std::filesystem::path& Path() const { return m_path; }

private:
    bool Open();
    void Close();
    void Rotate();
    void CutTornRecord();
    std::filesystem::path Numbered(unsigned int n) const;  // 0: the file that is written

    std::filesystem::path m_path;
    std::filesystem::path m_folder;
    std::string m_sStem;
    Limits m_Limits;
    FILE* m_pFile = nullptr;
    unsigned long long m_nBytes = 0;  // in the open file
};
