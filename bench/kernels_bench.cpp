// Every kernel at every level over one picture, and memcpy of the same number of bytes. The counter
// "moved" names the memcpy that a kernel is compared with.
#include "benchmarks.h"
#include "kernel_passes.h"

namespace
{

void add(const KernelPass& pass)
{
    const std::string full = "kernel/" + pass.kernel + "/" + pass.size.text() + "/" + pass.level;
    benchmark::RegisterBenchmark(full.c_str(), [pass](benchmark::State& state) {
        pass.run();  // what it prepares is not timed, nor makes the first pass look slow
        for (auto _ : state) {
            pass.run();
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(pass.moved * static_cast<int64_t>(state.iterations()));
        state.counters["moved"] = static_cast<double>(pass.moved);
    });
    add_memcpy(pass.moved / 2);
}

}  // namespace

void add_kernel_benchmarks()
{
    for (const KernelPass& pass : kernel_passes(kScreenSize))
        add(pass);
    for (const KernelPass& pass : kernel_passes(kPhotoSize)) {
        const std::string stage = pass.kernel.substr(0, pass.kernel.find('.'));
        if (stage == "project" || stage == "rotate")
            add(pass);
    }
}
