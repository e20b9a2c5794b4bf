// The exceptions of this library.
//
// COrvexException: a value that was asked for by return and cannot be given. Thrown by value, caught by
// reference; copies are complete. The texts live as long as the object.
//
//   Thrown for                            GetCode()   GetStatus()
//   a value that does not convert            -1          -1
//   a key that is missing or null             0           0
//   a position out of range                the index     -1
//   containers nested too deep to clone      -1          -1
#pragma once

#include <exception>
#include <string>

class COrvexException : public std::exception
{
public:
    COrvexException(const char* text, int code, int status);
    COrvexException(const std::string& text, int code, int status);
    COrvexException(const COrvexException&) = default;
    COrvexException& operator=(const COrvexException&) = default;
    ~COrvexException() override;

    // "OrvexException: TEXT, Code: N, Status: N"
    const char* what() const noexcept override;
    // The text alone.
    virtual const char* GetMessage() const;
    virtual int GetCode() const;
    virtual int GetStatus() const;

private:
    std::string m_sWhat;
    std::string m_sMessage;
    int m_nCode;
    int m_nStatus;
};

// CSystemException: a machine fault that other code of the process has turned into an exception. This library
// throws none; the trace writer reports those that reach it. The text is kept inside, cut to its room.
class CSystemException
{
public:
    CSystemException(int code, const char* text);

    int GetCode() const { return m_nCode; }
    const char* GetText() const { return m_szText; }

private:
    int m_nCode;
    char m_szText[256];
};
