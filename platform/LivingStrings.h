// For tests on this system alone: what the process holds of automation strings.
#pragma once

// Strings made by the SysAlloc calls, the variant calls and the type library calls and not yet freed.
long PlatformLivingBSTRs();
