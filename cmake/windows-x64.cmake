# Cross-building for 64-bit Windows with Debian's compilers, of the flavour whose threads are the system's own.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(ORVEX_BITS 64)
set(orvex_triplet x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
