// ArgFactory: the number of a class in a stream becomes a new object of that class.
#pragma once

class Arg;

// A maker of values of classes that this library does not know. Not owned by the factory.
class UserArgFactory
{
public:
    // A new value with one reference for the caller, or null for an id that is not its own. Called on the
    // thread that reads, under the factory's lock.
    virtual Arg* NewArg(int classId) = 0;

protected:
    ~UserArgFactory() = default;
};

class ArgFactory
{
public:
    ArgFactory() = delete;

    // A new object with one reference for the caller, or null. Ids of the library (1, 2, 3, 5, 6) come first,
    // then the user factories are asked in the order in which they were added.
    static Arg* NewArg(int classId);

    // Any thread, at any time. Add: false for null or one that is on the list. Remove: false for one that is
    // not; when it returns the factory is not in use.
    static bool AddUserFactory(UserArgFactory* pFactory);
    static bool RemoveUserFactory(UserArgFactory* pFactory);
};
