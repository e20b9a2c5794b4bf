// Line in, line out: the frame around every command of orvexargs that reads files.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

// Exit status of the program; the highest of all that came up counts.
enum ExitStatus
{
    STATUS_GOOD = 0,
    STATUS_BAD = 1,      // a line or a name in error, told on standard error
    STATUS_UNUSABLE = 2  // arguments, a file that cannot be opened, results that cannot be written
};

// The results of the program. While it lives, whatever else is written to standard output, the library's
// trace lines above all, ends on standard error. Results wait in a large buffer and leave at the latest with
// Close.
class Results
{
public:
    Results();
    ~Results();
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;

    void WriteLine(const std::string& sLine);
    // Status of all writes, with a message for failure. Call it once, at the end.
    ExitStatus Close();

private:
    std::FILE* m_pFile;  // the real standard output; null if there is none
    bool m_bFailed;
};

// What became of one line. A line with a fault can have a result all the same.
struct LineResult
{
    bool bWrite = false;
    std::string sOut;
    std::string sFault;  // empty for a good line
};

// Hands every line of the files to the work, in order, and its results on. No file, or the name "-", is
// standard input. A fault is told as FILE:LINE: FAULT on standard error, and so is an exception of the work.
using LineWork = std::function<void(const std::string& sLine, LineResult* pResult)>;
ExitStatus ForEachLine(const std::vector<std::string>& files, Results& rResults, const LineWork& work);
