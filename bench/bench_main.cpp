#include <benchmark/benchmark.h>

#include "levels.h"
#include "ozr_log.h"

int main(int argc, char** argv)
{
    ozr_log_disable();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    add_kernel_benchmarks();
    add_stage_benchmarks();
#ifdef OZR_BENCH_OPENCV
    add_opencv_benchmarks();
#endif
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
