// orvexreg: looks into the registry and changes it, in the words of the Windows command reg; and registers
// modules.
#include "tools/reg/Commands.h"
#include "tools/reg/Modules.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace {

// Switches come as on Windows, /v NAME, or with dashes. What follows a switch with a value is that value,
// whatever it looks like and even if it is empty: it travels behind a colon.
std::vector<std::string> PlainSwitches(int argc, char** argv)
{
    std::vector<std::string> plain;
    for (int i = 1; i < argc; ++i) {
        const std::string sWord = argv[i];
        const size_t nMark = sWord.compare(0, 2, "--") == 0 ? 2 : sWord[0] == '/' || sWord[0] == '-' ? 1 : 0;
        const std::string sName = i > 1 && nMark != 0 ? CLI::detail::to_lower(sWord.substr(nMark)) : "";
        if ((sName == "v" || sName == "t" || sName == "d") && i + 1 < argc)
            plain.push_back("--" + sName + "=:" + argv[++i]);
        else if (sName == "f" || sName == "s" || sName == "ve" || sName == "va")
            plain.push_back("--" + sName);
        else
            plain.push_back(sWord);
    }
    return std::vector<std::string>(plain.rbegin(), plain.rend());
}

std::string BehindColon(const std::string& sValue) { return sValue.substr(1); }

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app(
        "Looks into the registry and changes it; registers modules. A KEY is HKLM\\..., HKCU\\... or HKCR\\...");
    app.require_subcommand(1);
    RegistryCommand command;
    int iResult = 0;

    const auto addValueName = [&](CLI::App* pApp, const char* what) {
        pApp->add_option("KEY", command.sKey)->required();
        CLI::Option* const pName =
            pApp->add_option("--v", command.sValueName, std::string("/v NAME: ") + what);
        pApp->add_flag("--ve", command.bDefaultValue, "/ve: the value without a name")->excludes(pName);
        pName->transform(&BehindColon);
        pName->each([&](const std::string&) { command.bNamed = true; });
    };

    CLI::App* const pAdd = app.add_subcommand("add", "Makes a key, and sets a value of it");
    addValueName(pAdd, "the value to set");
    pAdd->add_option("--t", command.sType,
                     "/t TYPE: REG_SZ (default), REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD, REG_BINARY")
        ->transform(&BehindColon);
    pAdd->add_option("--d", command.sData, "/d DATA")->transform(&BehindColon);
    pAdd->add_flag("--f", command.bForce, "/f: overwrites without a question");
    pAdd->callback([&] { iResult = command.Add(); });

    CLI::App* const pQuery = app.add_subcommand("query", "Shows a key's values and the names of its subkeys");
    addValueName(pQuery, "this value alone");
    pQuery->add_flag("--s", command.bSubtree, "/s: subkeys too");
    pQuery->callback([&] { iResult = command.Query(); });

    CLI::App* const pDelete =
        app.add_subcommand("delete", "Deletes a key with all below it, or values of it");
    addValueName(pDelete, "this value alone");
    pDelete->add_flag("--va", command.bAllValues, "/va: all values, not the key");
    pDelete->add_flag("--f", command.bForce, "/f: deletes without a question");
    pDelete->callback([&] { iResult = command.Delete(); });

    std::string sModule;
    CLI::App* const pRegister = app.add_subcommand("register", "Registers a module by its own entry point");
    pRegister->add_option("MODULE", sModule)->required();
    pRegister->callback([&] { iResult = RegisterModule(sModule); });

    CLI::App* const pUnregister = app.add_subcommand("unregister", "Takes a module's registration back");
    pUnregister->add_option("MODULE", sModule)->required();
    pUnregister->callback([&] { iResult = UnregisterModule(sModule); });

    try {
        app.parse(PlainSwitches(argc, argv));
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    return iResult;
}
