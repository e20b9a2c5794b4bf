#include "values/Digits.h"

#include <climits>

namespace {

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

int ParseInt(const char* text)
{
    while (IsSpace(*text))
        ++text;
    const bool bNegative = *text == '-';
    if (*text == '-' || *text == '+')
        ++text;
    long long n = 0;
    for (; *text >= '0' && *text <= '9' && n <= INT_MAX; ++text)
        n = n * 10 + (*text - '0');
    if (bNegative)
        n = -n;
    return n > INT_MAX ? INT_MAX : n < INT_MIN ? INT_MIN : static_cast<int>(n);
}
