// The logger's list form takes a va_list, which here is a char*: that the library hands it no text by mistake
// is looked up in its objects by the test of the module.
#include <cstdarg>

static_assert(static_cast<char**>(static_cast<va_list*>(nullptr)) == nullptr);
