// The projection of one picture, and the tables that only callers of the core ask for.
#include "benchmarks.h"
#include "levels.h"
#include "prepared_core.h"
#include "warm_memory.h"

namespace
{

int64_t projected_bytes(Size size)
{
    return projected_luma_bytes(size) + projected_chroma_bytes(size);
}

void tables(benchmark::State& state, Size size)
{
    warm_memory(size);
    for (auto _ : state) {
        PanoramaCore* core = nullptr;
        panorama_core_create(&core);
        fail_unless(state, panorama_core_init(core, 1, size.width, size.height, size.width) == 0);
        state.PauseTiming();
        panorama_core_destroy(core);
        state.ResumeTiming();
    }
}

PanoImg as_working_image(const ozr_image& image)
{
    return {kPanoNv12, image.width, image.height, image.stride, image.size, image.width, image.data};
}

void projection(benchmark::State& state, Size size)
{
    const PanoramaCore* core = prepared_core(size);
    const Nv12Picture picture(size);
    const PanoImg source = as_working_image(picture.image);
    Nv12Picture projected(size);
    PanoImg destination = as_working_image(projected.image);
    for (auto _ : state) {
        ozr::core::project(core, &destination, &source);
        benchmark::ClobberMemory();
    }
    state.counters["moved"] = static_cast<double>(projected_bytes(size));
}

template <class Stage>
void add(const char* name, Size size, Stage stage)
{
    for (const ozr::kernels::Kernels* level : bench_stage_levels()) {
        const std::string full = "stage/" + std::string(name) + "/" + size.text() + "/" + level->level;
        benchmark::RegisterBenchmark(full.c_str(), [=](benchmark::State& state) {
            ozr::kernels::set_for_test(level);
            stage(state, size);
            ozr::kernels::set_for_test(nullptr);
        })->MeasureProcessCPUTime();
    }
}

}  // namespace

void add_core_benchmarks()
{
    for (const Size size : {kScreenSize, kPhotoSize}) {
        add("tables", size, tables);
        add("projection", size, projection);
        add_memcpy(projected_bytes(size) / 2);
    }
}
