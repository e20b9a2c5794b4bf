// Any bytes as the full form.
#include "fuzz/Properties.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > LONGEST_INPUT)
        return 0;
    MemoryStream stream(data, size);
    const ArgumentsHolder args(Arguments::CreateInstance());
    const int nAdded = args->Unpack(stream);
    Require(nAdded >= -1, "a read gives -1 or what it added");
    Require(nAdded == -1 || args->NumElements() <= nAdded, "no entry is there that was not counted");

    Require(AllKeysHaveNames(*args), "keys that came as text have names");
    RequireDumpIsWhole(*args);
    RequireCloneIsEqual(*args);
    RequireSameThroughBytes(*args, FULL_FORM);
    RequireSameThroughBytes(*args, COMPACT_FORM);
    return 0;
}
