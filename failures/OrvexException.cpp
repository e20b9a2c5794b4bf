#include "failures/OrvexException.h"

#include <cstring>

COrvexException::COrvexException(const char* text, int code, int status)
    : COrvexException(std::string(text), code, status)
{
}

COrvexException::COrvexException(const std::string& text, int code, int status)
    : m_sWhat("OrvexException: " + text + ", Code: " + std::to_string(code) +
              ", Status: " + std::to_string(status)),
      m_sMessage(text), m_nCode(code), m_nStatus(status)
{
}

COrvexException::~COrvexException() = default;

const char* COrvexException::what() const noexcept { return m_sWhat.c_str(); }
const char* COrvexException::GetMessage() const { return m_sMessage.c_str(); }
int COrvexException::GetCode() const { return m_nCode; }
int COrvexException::GetStatus() const { return m_nStatus; }

CSystemException::CSystemException(int code, const char* text) : m_nCode(code), m_szText()
{
    strncpy(m_szText, text, sizeof m_szText - 1);
}
