// What the component's tests share: a module that is registered in a registry of this process alone, its
// objects as a client creates them, and the contents of a container as text.
//
// After every test no object of the module is left, and no automation string.
#pragma once

#include "arguments/Arguments.h"
#include "component/Interfaces.h"
#include "tests/oleauto/Support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// One reference, given back at the end.
template <class T> class Ref
{
public:
    Ref() = default;
    explicit Ref(T* p) : m_p(p) {}
    Ref(Ref&& other) noexcept : m_p(other.m_p) { other.m_p = nullptr; }
    ~Ref() { Reset(); }
    Ref& operator=(const Ref&) = delete;

    void Reset()
    {
        if (m_p != nullptr)
            m_p->Release();
        m_p = nullptr;
    }
    T* Get() const { return m_p; }
    T* operator->() const { return m_p; }
    T** Out()
    {
        Reset();
        return &m_p;
    }
    void** Any() { return reinterpret_cast<void**>(Out()); }

private:
    T* m_p = nullptr;
};

// The module under test, loaded for the whole run.
struct TestModule
{
    HRESULT(STDAPICALLTYPE* GetClassObject)(REFCLSID, REFIID, void**) = nullptr;
    HRESULT(STDAPICALLTYPE* CanUnloadNow)() = nullptr;
    HRESULT(STDAPICALLTYPE* RegisterServer)() = nullptr;
    HRESULT(STDAPICALLTYPE* UnregisterServer)() = nullptr;
    std::string sPath;
    std::string sRegistry;  // its folder, where it is the tests' own
};
TestModule& Module();

// Before the first object: what the logging key holds.
void SetLogging(const char* name, const char* text);
void SetLogging(const char* name, DWORD dw);

// Runs the tests with the module registered. Whatever the main program of tests returns.
int RunWithModule(int argc, char** argv, void (*prepare)());

// Makes a registry of the tests' own, where a registry is a folder. Result: the folder, else nothing.
std::string TakeRegistry();

// What is allocated in its scope is meant to stay.
class LeakAllowed
{
public:
    LeakAllowed();
    ~LeakAllowed();
};

Ref<IArguments> NewArguments();
Ref<IArg> NewArg();

Variant Number(int i);  // VT_I4
Variant Short(int i);   // VT_I2
Variant Bool(int i);    // VT_BOOL with any content

std::string ToText(BSTR bstr);  // UTF-8
std::string GuidText(REFGUID guid);

// By number or text; the tests' own way in and out, early bound.
bool Add(IArguments* p, const OLECHAR* key, VARIANT value);
int IntOf(IArguments* p, const OLECHAR* key, int iMissing = -12345);
int Count(IArguments* p);

// "key=vt:value" of every element, by position; containers in parentheses. Both give one text for one
// content.
std::string Content(IArguments* p);
std::string Content(Arguments& rArgs);
