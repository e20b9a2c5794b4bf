// What the tests of the platform calls share: handles that close themselves and threads from a lambda.
#pragma once

#include "platform/Platform.h"

#include <functional>
#include <gtest/gtest.h>
#include <utility>

constexpr DWORD LONG_ENOUGH = 20000;  // milliseconds: for what is to happen
constexpr DWORD TIMED_OUT = WAIT_TIMEOUT;
constexpr DWORD A_WHILE = 50;  // for what is not

class Handle
{
public:
    explicit Handle(HANDLE h = nullptr) : m_h(h) {}
    Handle(Handle&& other) noexcept : m_h(std::exchange(other.m_h, nullptr)) {}
    ~Handle() { Close(); }
    operator HANDLE() const { return m_h; }
    void Close()
    {
        if (m_h != nullptr)
            CloseHandle(std::exchange(m_h, nullptr));
    }

private:
    HANDLE m_h;
};

inline Handle ManualEvent(BOOL bSet = FALSE) { return Handle(CreateEventA(nullptr, TRUE, bSet, nullptr)); }
inline Handle AutoEvent(BOOL bSet = FALSE) { return Handle(CreateEventA(nullptr, FALSE, bSet, nullptr)); }

class TestThread
{
public:
    explicit TestThread(std::function<void()> body) : m_Body(std::move(body))
    {
        m_h = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Run, this, 0, &m_nId));
        EXPECT_NE(nullptr, m_h);
    }
    ~TestThread()
    {
        Join();
        CloseHandle(m_h);
    }
    void Join() { EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_h, LONG_ENOUGH)); }
    HANDLE Get() const { return m_h; }
    unsigned int Id() const { return m_nId; }

private:
    static unsigned int __stdcall Run(void* p)
    {
        static_cast<TestThread*>(p)->m_Body();
        return 0;
    }

    std::function<void()> m_Body;
    HANDLE m_h = nullptr;
    unsigned int m_nId = 0;
};
