// Registrar: runs a registration script, a tree of registry keys with the values that belong there.
//
//     HKCR { NoRemove CLSID { ForceRemove {E06D9952-...} = s 'Arg Class' { val ThreadingModel = s 'Both' } }
//     }
//
// A name may be followed by "= s 'text'", the default value, and by its subkeys and values in braces.
// Registering makes what the script names; a ForceRemove key goes first, with everything below it.
// Unregistering removes the keys with everything below them, but never a NoRemove key. HKCR is the only root.
// A quote inside a text is doubled; %MODULE% in it is the module's path.
//
// A step that fails ends the run with that code, and what was done before stays. A key to be removed that is
// not there is no failure. E_FAIL: the text is no script, found out before anything is done.
#pragma once

#include "platform/Platform.h"

#include <string>

class Registrar
{
public:
    explicit Registrar(const std::string& sModulePath) : m_sModulePath(sModulePath) {}

    HRESULT Register(const std::string& sScript) { return Run(sScript, true); }
    HRESULT Unregister(const std::string& sScript) { return Run(sScript, false); }

private:
    HRESULT Run(const std::string& sScript, bool bRegister);

    std::string m_sModulePath;
};
