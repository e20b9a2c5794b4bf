// Decimal digits to a number.
#pragma once

// Leading white space, at most one sign, then digits up to the first other character. No digits give 0. What
// an int cannot hold saturates at its limits.
int ParseInt(const char* text);
