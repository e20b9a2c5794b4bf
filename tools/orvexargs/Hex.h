// Bytes as hexadecimal digits, two a byte.
#pragma once

#include <cstddef>
#include <string>

void AppendHex(std::string* pText, const void* pBytes, std::size_t n);

// The bytes of a text in digits of either case. False at the first that is none, or for an odd number, with
// the bytes before it and what is wrong.
bool FromHex(const std::string& sText, std::string* pBytes, std::string* pFault);
