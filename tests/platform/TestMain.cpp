#include "tests/platform/Child.h"

#include <map>

namespace {

std::map<std::string, ChildMain>& Programs()
{
    static std::map<std::string, ChildMain> programs;
    return programs;
}

}  // namespace

ChildProgram::ChildProgram(const char* name, ChildMain pMain) { Programs()[name] = pMain; }

bool RunChild(int argc, char** argv, int* piResult)
{
    const std::string sMark = "--child=";
    if (argc < 2 || std::string(argv[1]).compare(0, sMark.size(), sMark) != 0)
        return false;
    const auto it = Programs().find(argv[1] + sMark.size());
    *piResult = it == Programs().end() ? 99 : it->second(ChildArguments(argv + 2, argv + argc));
    return true;
}

int main(int argc, char** argv)
{
    int iResult = 0;
    if (RunChild(argc, argv, &iResult))
        return iResult;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
