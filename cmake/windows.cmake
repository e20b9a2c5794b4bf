# What both widths have in common. Everything is linked statically, so that the import tables name system DLLs only.
set(CMAKE_CXX_COMPILER ${orvex_triplet}-g++-win32)
set(ORVEX_THREADS_COMPILER ${orvex_triplet}-g++-posix)
set(CMAKE_C_COMPILER ${orvex_triplet}-gcc-win32)
set(CMAKE_RC_COMPILER ${orvex_triplet}-windres)
set(CMAKE_OBJCOPY ${orvex_triplet}-objcopy CACHE FILEPATH "")
set(ORVEX_WIDL ${orvex_triplet}-widl CACHE STRING "Compiler of the type library")

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
string(APPEND CMAKE_MODULE_LINKER_FLAGS_INIT " -static")

set(CMAKE_FIND_ROOT_PATH /usr/${orvex_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
