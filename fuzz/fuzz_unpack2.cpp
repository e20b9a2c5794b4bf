// Any bytes as the compact form.
#include "fuzz/Properties.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > LONGEST_INPUT)
        return 0;
    MemoryStream stream(data, size);
    const ArgumentsHolder args(Arguments::CreateInstance());
    Require(args->Unpack2(stream) >= -1, "a read gives -1 or what it added");

    RequireDumpIsWhole(*args);
    RequireCloneIsEqual(*args);
    RequireSameThroughBytes(*args, COMPACT_FORM);

    // The full form drops what a block of bytes inherits, so only the writing itself can be judged.
    MemoryStream full;
    Require((args->Pack(full) > 0) == AllKeysHaveNames(*args), "the full form takes every key with a name");
    return 0;
}
