// ArgArguments: a value that holds a counted reference to a container instead of being one. It exists on the
// way in from a stream; an Arguments that is stored as an entry needs no such wrapper.
#pragma once

#include "values/Arg.h"

class ArgPackager;

class ArgArguments : public Arg
{
public:
    static ArgArguments* Create();  // count 1, the caller's; holds nothing

    ArgArguments();
    ~ArgArguments() override;
    Arg* Clone() override;  // the container is carried over, cloned

    bool GetValueArray(Arguments** ppArgs) override;
    using Arg::GetValueArray;

    int GetType() override;  // ARG_ARGUMENT
    int GetClassID() override;

    // Both records: a flag of one byte, 0x01 when a container follows in its frame. Any other flag on reading
    // is no container. A frame that holds another class is a failure.
    int Pack(Serialize& s) override;
    int Unpack(Serialize& s) override;
    int Pack2(Serialize& s) override;
    int Unpack2(Serialize& s) override;

    // The container with a reference for the caller, or null.
    Arguments* GetArguments();

private:
    const void* Array() const { return m_pArgs; }
    void Hold(Arguments* pArgs);
    int PackArray(Serialize& s, const char* operation, int (ArgPackager::*pack)(Serialize&, Arg*));
    int UnpackArray(Serialize& s, const char* operation, Arg* (ArgPackager::*unpack)(Serialize&));

    Arguments* m_pArgs;  // one reference, or null
    int m_argType;       // ARG_ARGUMENT
};
