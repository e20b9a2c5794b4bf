#include "tests/component/Support.h"

int main(int argc, char** argv)
{
    return RunWithModule(argc, argv, [] {});
}
