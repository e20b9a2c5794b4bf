// The logger beside spdlog, and its trace server. Every benchmark makes a logger of its own in this process,
// whose standard output is a file; the report goes to standard error.
//
//   MaskedLine          a trace that no mask passes, through the macro of the classes
//   MaskedCall          the same through the logger's operation
//   FileLine            a line to standard output, outputs as they are by default, on 1 and 4 threads
//   FileLineNoDebug     the same with the debug output off
//   FileLineSpdlog      the same line through spdlog's synchronous file logger, a flush a line
//   ServerLine          a line that the trace server has taken, on 1 and 4 threads
//   Start               Instance(): 0 no settings, 1 no trace server, 2 a server that runs, 3 a server to
//   launch
//
// Build it in the release preset and run it on a quiet machine: orvexlogbench --benchmark_min_time=1
#include "logging/LogWrapper.h"

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace fs = std::filesystem;

namespace {

std::string g_sPath = "HKLM\\Software\\Zelko Systems\\Orvex\\Logging";
fs::path g_folder;
LogWrapper* g_pLog = nullptr;
std::shared_ptr<spdlog::logger> g_pSpdlog;

constexpr DWORD TRACED = 4;

void Set(const char* valueName, DWORD dwType, const void* pData, size_t nBytes)
{
    HKEY hKey = nullptr;
    RegCreateKeyExA(HKEY_LOCAL_MACHINE, g_sPath.c_str() + 5, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                    &hKey, nullptr);
    RegSetValueExA(hKey, valueName, 0, dwType, static_cast<const BYTE*>(pData), static_cast<DWORD>(nBytes));
    RegCloseKey(hKey);
}

void SetNumber(const char* valueName, DWORD dw) { Set(valueName, REG_DWORD, &dw, sizeof dw); }
void SetText(const char* valueName, const std::string& s) { Set(valueName, REG_SZ, s.c_str(), s.size() + 1); }

void Settings(DWORD dwTraceMask, DWORD dwConsoleMask, bool bScreen, bool bDebug, const std::string& sServer)
{
    SetText("TraceFileName", "Bench.log");
    SetText("TraceServer", sServer);
    SetNumber("TraceMask", dwTraceMask);
    SetNumber("ConsoleTraceMask", dwConsoleMask);
    SetNumber("UseScreenOutput", bScreen);
    SetNumber("UseDebugOutput", bDebug);
    SetNumber("TraceServerLinger", 1);
    SetNumber("TraceFileCount", 2);
}

void MakeLogger() { g_pLog = LogWrapper::Instance(g_sPath); }
void DropLogger() { g_pLog->Release(); }

void MaskedLine(benchmark::State& state)
{
    if (state.thread_index() == 0) {
        Settings(3, 3, true, true, "");
        MakeLogger();
    }
    int i = 0;
    for (auto _ : state) {
        ORVEX_TRACE(g_pLog, TRACE_ENTRY, "Arg(%p, type(%d))::GetType()", static_cast<void*>(&state), i);
        benchmark::DoNotOptimize(++i);
    }
    if (state.thread_index() == 0)
        DropLogger();
}

void MaskedCall(benchmark::State& state)
{
    Settings(3, 3, true, true, "");
    MakeLogger();
    int i = 0;
    for (auto _ : state) {
        g_pLog->Trace(TRACE_ENTRY, "Arg(%p, type(%d))::GetType()", static_cast<void*>(&state), i);
        benchmark::DoNotOptimize(++i);
    }
    DropLogger();
}

void FileLineWith(benchmark::State& state, bool bDebug)
{
    if (state.thread_index() == 0) {
        Settings(7, 7, true, bDebug, "");
        MakeLogger();
    }
    int i = 0;
    for (auto _ : state)
        g_pLog->Trace(TRACED, "Arg(%p, type(%d))::Pack, writing size %d", static_cast<void*>(&state), 5, ++i);
    if (state.thread_index() == 0) {
        DropLogger();
        if (freopen((g_folder / "stdout").c_str(), "w", stdout) == nullptr)
            abort();
    }
    state.SetItemsProcessed(state.iterations());
}

void FileLine(benchmark::State& state) { FileLineWith(state, true); }
void FileLineNoDebug(benchmark::State& state) { FileLineWith(state, false); }

void FileLineSpdlog(benchmark::State& state)
{
    if (state.thread_index() == 0) {
        g_pSpdlog = spdlog::basic_logger_mt("bench", (g_folder / "spdlog").string(), true);
        g_pSpdlog->set_pattern("%H:%M:%S.%e  %v");
        g_pSpdlog->flush_on(spdlog::level::trace);
    }
    int i = 0;
    for (auto _ : state)
        g_pSpdlog->info("Arg({}, type({}))::Pack, writing size {}", static_cast<void*>(&state), 5, ++i);
    if (state.thread_index() == 0) {
        g_pSpdlog.reset();
        spdlog::drop("bench");
    }
    state.SetItemsProcessed(state.iterations());
}

int TraceTaken(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
int TraceTaken(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int iResult = g_pLog->Trace(TRACED, fmt, args);
    va_end(args);
    return iResult;
}

void ServerLine(benchmark::State& state)
{
    if (state.thread_index() == 0) {
        Settings(7, 3, false, false, ORVEX_TRACE_SERVER);
        MakeLogger();
    }
    int i = 0;
    long long llTaken = 0;
    for (auto _ : state)
        llTaken +=
            TraceTaken("Arg(%p, type(%d))::Pack, writing size %d", static_cast<void*>(&state), 5, ++i) == 1;
    if (llTaken != static_cast<long long>(state.iterations()))
        state.SkipWithError("lines were not taken");
    if (state.thread_index() == 0)
        DropLogger();
    state.SetItemsProcessed(state.iterations());
}

void Start(benchmark::State& state)
{
    const auto kind = state.range(0);
    Settings(7, 3, true, true, kind >= 2 ? ORVEX_TRACE_SERVER : "");
    if (kind == 0) {
        HKEY hKey = nullptr;
        RegCreateKeyExA(HKEY_LOCAL_MACHINE, g_sPath.c_str() + 5, 0, nullptr, 0, KEY_WRITE, nullptr, &hKey,
                        nullptr);
        RegDeleteValueA(hKey, "TraceFileName");
        RegCloseKey(hKey);
    }
    // The server of the benchmark before ends a second after its last client; or one runs from before.
    if (kind == 2) {
        MakeLogger();
        DropLogger();
    }
    char szUser[256] = {};
    DWORD dwUser = sizeof szUser;
    GetUserNameA(szUser, &dwUser);
    const std::string sWindow = std::string("Bench.") + szUser;
    for (auto _ : state) {
        state.PauseTiming();
        while (kind == 3 && FindWindowA(sWindow.c_str(), sWindow.c_str()) != nullptr)
            Sleep(50);
        state.ResumeTiming();
        MakeLogger();
        state.PauseTiming();
        DropLogger();
        state.ResumeTiming();
    }
}

BENCHMARK(MaskedLine)->Threads(1)->Threads(2);
BENCHMARK(MaskedCall);
BENCHMARK(FileLine)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(FileLineNoDebug)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(FileLineSpdlog)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(ServerLine)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(Start)->Arg(0)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Start)->Arg(3)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    g_folder = fs::temp_directory_path() / ("orvexlogbench" + std::to_string(_getpid()));
    fs::create_directories(g_folder / "runtime");
    fs::permissions(g_folder / "runtime", fs::perms::owner_all);
    setenv("ORVEX_REGISTRY", g_folder.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (g_folder / "runtime").c_str(), 1);
    setenv("XDG_STATE_HOME", (g_folder / "state").c_str(), 1);
    if (freopen((g_folder / "stdout").c_str(), "w", stdout) == nullptr)
        return 1;
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    fs::remove_all(g_folder);
    return 0;
}
