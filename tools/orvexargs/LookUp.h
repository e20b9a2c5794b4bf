// The commands that show what the library knows and how it scans, one name or line at a time.
#pragma once

#include "tools/orvexargs/Lines.h"

// Makes the token classes of the text form those of this process, as TokensOf wants them.
void SetClassesOfTextForm();

// A line in its tokens, TYPE:TOKEN between tabs. Control characters, backslashes and bytes above 0x7E are
// \xHH.
std::string TokensOf(const std::string& sLine);

// ID, tab, NAME for every keyword, given by either.
ExitStatus WriteKeywords(const std::vector<std::string>& keywords, Results& rResults);

// The symbolic name of every number. A number is decimal, or 0x and the hexadecimal digits of its 32 bits.
using NameOf = const char* (*)(int);
ExitStatus WriteNames(NameOf nameOf, const std::vector<int>& numbers, Results& rResults);
bool ParseNumber(const std::string& sNumber, int* pNumber);
