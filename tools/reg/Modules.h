// Registration of a module by its own entry points, as regsvr32 does it. Both give the exit status and write
// what they have to say.
#pragma once

#include <string>

int RegisterModule(const std::string& sPath);
int UnregisterModule(const std::string& sPath);
