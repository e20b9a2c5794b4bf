// The one benchmark program. What it measures is listed at the head of each other file of this folder.
#include <benchmark/benchmark.h>

#include <cstring>
#include <thread>

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
        if (strcmp(argv[i], "--with_threads") == 0) {
            std::thread([] {}).join();  // from here on the C library takes the process for a threaded one
            for (; i + 1 < argc; ++i)
                argv[i] = argv[i + 1];
            --argc;
            break;
        }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
