// What has to hold for every container, whatever it was read from.
#pragma once

#include "arguments/Arguments.h"
#include "failures/OrvexException.h"
#include "tools/MemoryStream.h"

#include <cstdio>
#include <cstdlib>
#include <string>

// Longer inputs meet the limits of 16-bit fields, at which writing is allowed to fail.
constexpr std::size_t LONGEST_INPUT = 16384;

inline void Require(bool bHolds, const char* property)
{
    if (bHolds)
        return;
    fprintf(stderr, "does not hold: %s\n", property);
    abort();
}

struct SerialForm
{
    int (Arguments::*pack)(Serialize&);
    int (Arguments::*unpack)(Serialize&);
};

constexpr SerialForm FULL_FORM = {&Arguments::Pack, &Arguments::Unpack};
constexpr SerialForm COMPACT_FORM = {&Arguments::Pack2, &Arguments::Unpack2};

// False if a key at any depth is an id that has no name, which the compact form alone can carry.
inline bool AllKeysHaveNames(Arguments& rArgs)
{
    for (int i = 1; i <= rArgs.NumElements(); ++i) {
        std::string key;
        if (!rArgs.GetElementKey(i, &key))
            return false;
        Arguments* pNested = nullptr;
        if (!rArgs.GetElementArg(i, &pNested))
            continue;
        const ArgumentsHolder nested(pNested);
        if (!AllKeysHaveNames(*nested))
            return false;
    }
    return true;
}

inline std::string Packed(Arguments& rArgs, const SerialForm& form)
{
    MemoryStream stream;
    Require((rArgs.*form.pack)(stream) > 0, "a container that was read can be written");
    return std::string(reinterpret_cast<const char*>(stream.Data()), stream.Size());
}

// Written, read back and written again it is the same to the byte.
inline void RequireSameThroughBytes(Arguments& rArgs, const SerialForm& form)
{
    const std::string bytes = Packed(rArgs, form);
    MemoryStream stream(bytes.data(), bytes.size());
    const ArgumentsHolder copy(Arguments::CreateInstance());
    Require((copy.get()->*form.unpack)(stream) == rArgs.NumElements(),
            "every entry that was written comes back");
    Require(stream.BytesRemaining() == 0, "reading takes all that was written");
    Require(copy->DumpArgs() == rArgs.DumpArgs(), "the dump is the same through bytes");
    Require(Packed(*copy, form) == bytes, "the bytes are the same when written again");
}

inline void RequireCloneIsEqual(Arguments& rArgs)
{
    try {
        const ArgHolder clone(rArgs.Clone());
        Arguments& rClone = static_cast<Arguments&>(*clone);
        Require(AllKeysHaveNames(rArgs), "a key without a name cannot be cloned");
        Require(rClone.DumpArgs() == rArgs.DumpArgs(), "a clone dumps as its source");
        Require(Packed(rClone, COMPACT_FORM) == Packed(rArgs, COMPACT_FORM),
                "a clone has its source's bytes");
    } catch (const COrvexException&) {
        Require(!AllKeysHaveNames(rArgs), "a container whose keys have names can be cloned");
    }
}

inline void RequireDumpIsWhole(Arguments& rArgs)
{
    const std::string dump = rArgs.DumpArgs();
    Require(dump.size() >= 2 && dump.front() == '(' && dump.back() == ')', "a dump stands in parentheses");
}
