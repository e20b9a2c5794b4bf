// Of a client under test: what each system does in its own way.
#pragma once

#include <istream>

// The words NAME N ERRNO TIMES make calls of the system fail. Linux alone can do that.
void Fault(std::istream& words);

long ProcessorMilliseconds();  // of this process so far
