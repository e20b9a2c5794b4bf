// Standard output as the logger writes to it: a text is one piece, out at once, and plain: a percent sign in
// it is a percent sign.
#pragma once

#include <cstdio>

inline void WriteScreen(const char* text, size_t length)
{
    fwrite(text, 1, length, stdout);
    fflush(stdout);
}
