#include "platform/Faults.h"

#include <cerrno>
#include <map>
#include <mutex>
#include <string>

namespace {

struct Fault
{
    int n;  // calls until it fails, this one included
    int iTimes;
    int iError;
};

std::mutex s_Lock;
std::map<std::string, Fault> s_Faults;

}  // namespace

std::atomic<bool> Faults::s_bArmed{false};

void Faults::Fail(const char* name, int n, int iError, int iTimes)
{
    std::lock_guard<std::mutex> lock(s_Lock);
    s_Faults[name] = {n, iTimes, iError};
    s_bArmed.store(true, std::memory_order_relaxed);
}

void Faults::Clear()
{
    std::lock_guard<std::mutex> lock(s_Lock);
    s_Faults.clear();
    s_bArmed.store(false, std::memory_order_relaxed);
}

bool Faults::Count(const char* name)
{
    std::lock_guard<std::mutex> lock(s_Lock);
    const auto it = s_Faults.find(name);
    if (it == s_Faults.end())
        return false;
    Fault& fault = it->second;
    if (fault.n > 1) {
        --fault.n;
        return false;
    }
    if (fault.iTimes-- <= 0)
        return false;
    errno = fault.iError;
    return true;
}
