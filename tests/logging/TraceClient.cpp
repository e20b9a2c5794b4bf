// orvextraceclient: a client of the logger that does as it is told. Commands come as lines of standard input,
// each has one line of answer on standard error; the logger's own lines go to standard output.
//
//     instance PATH              makes the logger             instance MS, or: thrown WHAT
//     default                    the same with the default    instance MS
//     addref, release                                         count N MS
//     value                      takes a reference for good   count N
//     trace MASK TEXT            by the list form             traced RESULT MS
//     write MASK TEXT            by the writer                traced RESULT MS
//     null MASK                  a null text to the writer    traced RESULT MS
//     wrap MASK LENGTH TEXT      by TraceMultiline            traced RESULT MS
//     mask                                                    mask 0xMASK
//     thread                                                  thread ID of the one that traces
//     lines THREADS COUNT PAUSE  starts the threads           started
//     enough                     ends them early              enough
//     join                       waits for them               joined TRACED TAKEN LONGEST-MS
//     churn THREADS COUNT PATH   Instance(PATH) and Release by many, COUNT times      churned
//     cpu                        of the process               cpu MS
//     fault NAME N ERRNO TIMES                                fault
//
// A numbered line is "line THREAD NUMBER", from 1. COUNT 0: until enough. PAUSE: in microseconds, between
// lines.
#include "logging/LogWrapper.h"
#include "tests/logging/ClientSystem.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <list>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

LogWrapper* g_pLog = nullptr;

long long Now()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

__attribute__((format(printf, 2, 3))) int TraceList(unsigned int mask, const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int iResult = g_pLog->Trace(mask, fmt, args);
    va_end(args);
    return iResult;
}

class Lines
{
public:
    void Start(int iThreads, long long llCount, int iPause)
    {
        m_bEnough = false;
        m_llTraced = m_llTaken = m_llLongest = 0;
        for (int i = 1; i <= iThreads; ++i)
            m_Threads.emplace_back([this, i, llCount, iPause] { Run(i, llCount, iPause); });
    }
    void Enough() { m_bEnough = true; }
    void Join()
    {
        for (std::thread& thread : m_Threads)
            thread.join();
        m_Threads.clear();
        fprintf(stderr, "joined %lld %lld %lld\n", m_llTraced, m_llTaken, m_llLongest);
    }

private:
    void Run(int iThread, long long llCount, int iPause)
    {
        long long llTaken = 0, llLongest = 0, ll = 0;
        while (!m_bEnough && (llCount == 0 || ll < llCount)) {
            const long long llStart = Now();
            llTaken += TraceList(4, "line %d %lld", iThread, ++ll) == 1 ? 1 : 0;
            llLongest = std::max(llLongest, Now() - llStart);
            if (iPause != 0)
                std::this_thread::sleep_for(std::chrono::microseconds(iPause));
        }
        const std::lock_guard<std::mutex> lock(m_Lock);
        m_llTraced += ll;
        m_llTaken += llTaken;
        m_llLongest = std::max(m_llLongest, llLongest);
    }

    std::list<std::thread> m_Threads;
    std::atomic<bool> m_bEnough{false};
    std::mutex m_Lock;
    long long m_llTraced = 0, m_llTaken = 0, m_llLongest = 0;
} g_Lines;

void Churn(int iThreads, int iCount, std::string sPath)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < iThreads; ++i)
        threads.emplace_back([iCount, sPath]() mutable {
            for (int n = 0; n < iCount; ++n) {
                LogWrapper* const p = LogWrapper::Instance(sPath);
                p->Trace(TRACE_ENTRY, "churn %d", n);
                p->Release();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

void Do(const std::string& sCommand, std::istringstream& words)
{
    const auto rest = [&words] {
        std::string s;
        std::getline(words >> std::ws, s);
        return s;
    };
    unsigned int mask = 0;
    const long long llStart = Now();
    if (sCommand == "instance" || sCommand == "default") {
        std::string sPath = rest();
        try {
            g_pLog = sCommand == "default" ? LogWrapper::Instance() : LogWrapper::Instance(sPath);
            fprintf(stderr, "instance %lld\n", Now() - llStart);
        } catch (const std::out_of_range&) {
            fprintf(stderr, "thrown out_of_range\n");
        }
    } else if (sCommand == "addref" || sCommand == "release") {
        const int n = sCommand == "addref" ? g_pLog->AddRef() : g_pLog->Release();
        fprintf(stderr, "count %d %lld\n", n, Now() - llStart);
    } else if (sCommand == "value") {
        g_pLog = LogWrapper::InstanceForGood();
        g_pLog->AddRef();
        fprintf(stderr, "count %d\n", g_pLog->Release());
    } else if (sCommand == "trace" || sCommand == "write" || sCommand == "null" || sCommand == "wrap") {
        int iLength = 0;
        words >> std::hex >> mask >> std::dec;
        if (sCommand == "wrap")
            words >> iLength;
        std::string sText = rest();
        const int iResult = sCommand == "trace"   ? TraceList(mask, "%s", sText.c_str())
                            : sCommand == "write" ? g_pLog->Trace(mask, &sText[0])
                            : sCommand == "null"  ? g_pLog->Trace(mask, static_cast<char*>(nullptr))
                                                  : g_pLog->TraceMultiline(mask, sText.c_str(), iLength);
        fprintf(stderr, "traced %d %lld\n", iResult, Now() - llStart);
    } else if (sCommand == "mask") {
        fprintf(stderr, "mask 0x%x\n", g_pLog->GetTraceMask());
    } else if (sCommand == "thread") {
        fprintf(stderr, "thread %u\n", static_cast<unsigned int>(GetCurrentThreadId()));
    } else if (sCommand == "lines") {
        int iThreads = 0;
        long long llCount = 0;
        int iPause = 0;
        words >> iThreads >> llCount >> iPause;
        g_Lines.Start(iThreads, llCount, iPause);
        fprintf(stderr, "started\n");
    } else if (sCommand == "enough") {
        g_Lines.Enough();
        fprintf(stderr, "enough\n");
    } else if (sCommand == "join") {
        g_Lines.Join();
    } else if (sCommand == "churn") {
        int iThreads = 0, iCount = 0;
        words >> iThreads >> iCount;
        Churn(iThreads, iCount, rest());
        fprintf(stderr, "churned\n");
    } else if (sCommand == "cpu") {
        fprintf(stderr, "cpu %ld\n", ProcessorMilliseconds());
    } else if (sCommand == "fault") {
        Fault(words);
        fprintf(stderr, "fault\n");
    } else {
        fprintf(stderr, "unknown %s\n", sCommand.c_str());
    }
}

}  // namespace

int main()
{
    for (std::string sLine; std::getline(std::cin, sLine);) {
        std::istringstream words(sLine);
        std::string sCommand;
        words >> sCommand;
        Do(sCommand, words);
    }
    return 0;
}
