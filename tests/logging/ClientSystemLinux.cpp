#include "tests/logging/ClientSystem.h"

#include "platform/Faults.h"

#include <ctime>
#include <list>
#include <string>

void Fault(std::istream& words)
{
    // The names are kept: Faults does not copy them.
    static std::list<std::string> names;
    int n = 0, iError = 0, iTimes = 0;
    names.emplace_back();
    words >> names.back() >> n >> iError >> iTimes;
    Faults::Fail(names.back().c_str(), n, iError, iTimes);
}

long ProcessorMilliseconds() { return static_cast<long>(clock() / (CLOCKS_PER_SEC / 1000)); }
