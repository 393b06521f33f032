// The rate of the machine's memory. Names are memcpy/<bytes>.
#include <cstring>
#include <set>

#include "benchmarks.h"

void add_memcpy(int64_t bytes)
{
    static std::set<int64_t> added;
    if (!added.insert(bytes).second)
        return;
    benchmark::RegisterBenchmark(
        ("memcpy/" + std::to_string(bytes)).c_str(), [bytes](benchmark::State& state) {
            std::vector<uint8_t> from(static_cast<size_t>(bytes), 1);
            std::vector<uint8_t> to(static_cast<size_t>(bytes), 2);
            for (auto _ : state) {
                memcpy(to.data(), from.data(), from.size());
                benchmark::DoNotOptimize(to.data());
                benchmark::ClobberMemory();
            }
            state.SetBytesProcessed(2 * bytes * static_cast<int64_t>(state.iterations()));
        });
}
