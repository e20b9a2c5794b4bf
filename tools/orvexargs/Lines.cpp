#include "tools/orvexargs/Lines.h"

#include "platform/Platform.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <iostream>
#include <unistd.h>

namespace {

constexpr size_t BUFFER_BYTES = 1 << 18;
constexpr int STANDARD_INPUT = 0;
constexpr int STANDARD_OUTPUT = 1;
constexpr int STANDARD_ERROR = 2;

ExitStatus Unusable(const std::string& sName, const char* message)
{
    fprintf(stderr, "orvexargs: %s: %s\n", sName.c_str(), message);
    return STATUS_UNUSABLE;
}

void TellFault(const std::string& sName, unsigned long long number, const std::string& sFault)
{
    fprintf(stderr, "%s:%llu: %s\n", sName.c_str(), number, sFault.c_str());
}

ExitStatus ForEachLineOf(std::istream& input, const std::string& sName, Results& rResults,
                         const LineWork& work)
{
    ExitStatus status = STATUS_GOOD;
    std::string sLine;
    LineResult result;
    for (unsigned long long number = 1; std::getline(input, sLine); ++number) {
        result.bWrite = false;
        result.sOut.clear();
        result.sFault.clear();
        try {
            work(sLine, &result);
        } catch (const std::exception& e) {
            result.bWrite = false;
            result.sFault = e.what();
        }
        if (result.bWrite)
            rResults.WriteLine(result.sOut);
        if (!result.sFault.empty()) {
            TellFault(sName, number, result.sFault);
            status = STATUS_BAD;
        }
    }
    return input.bad() ? Unusable(sName, "cannot be read") : status;
}

}  // namespace

Results::Results() : m_pFile(nullptr), m_bFailed(false)
{
    fflush(stdout);
    const int fd = dup(STANDARD_OUTPUT);
    if (fd >= 0) {
        _setmode(fd, _O_BINARY);
        m_pFile = fdopen(fd, "wb");
    }
    if (m_pFile != nullptr)
        setvbuf(m_pFile, nullptr, _IOFBF, BUFFER_BYTES);
    dup2(STANDARD_ERROR, STANDARD_OUTPUT);
}

Results::~Results()
{
    if (m_pFile != nullptr)
        fclose(m_pFile);
}

void Results::WriteLine(const std::string& sLine)
{
    if (m_pFile == nullptr || fwrite(sLine.data(), 1, sLine.size(), m_pFile) != sLine.size() ||
        fputc('\n', m_pFile) == EOF)
        m_bFailed = true;
}

ExitStatus Results::Close()
{
    if (m_pFile != nullptr && fclose(m_pFile) != 0)
        m_bFailed = true;
    m_pFile = nullptr;
    return m_bFailed ? Unusable("standard output", "cannot be written") : STATUS_GOOD;
}

ExitStatus ForEachLine(const std::vector<std::string>& files, Results& rResults, const LineWork& work)
{
    std::ios::sync_with_stdio(false);
    _setmode(STANDARD_INPUT, _O_BINARY);
    ExitStatus status = STATUS_GOOD;
    for (const std::string& sName : files.empty() ? std::vector<std::string>{"-"} : files) {
        if (sName == "-") {
            status = std::max(status, ForEachLineOf(std::cin, sName, rResults, work));
            continue;
        }
        std::ifstream input(sName, std::ios::binary);
        status = std::max(status, input ? ForEachLineOf(input, sName, rResults, work)
                                        : Unusable(sName, "cannot be opened"));
    }
    return status;
}
