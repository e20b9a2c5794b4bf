# Cross-building for 32-bit Windows.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(ORVEX_BITS 32)
set(orvex_triplet i686-w64-mingw32)
# The definition file names the entry points as clients do, the compiler decorates them.
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-Wl,--enable-stdcall-fixup")
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
