// Module: the component library as a whole: its file, its lock count, and the lock of its type information.
//
// The four exports, the class table and DllMain stand in Module.cpp. Any thread may call anything here.
#pragma once

#include "values/Locks.h"

#include <string>

class Module
{
public:
    // Living objects, references to class objects, and locks of clients. At 0 the module may be unloaded.
    static void Lock();
    static void Unlock();

    // The full path of the module's file in the narrow encoding, empty if it cannot be had; and as wide text.
    static std::string Path();
    static std::basic_string<OLECHAR> WidePath();
};
