// The tables of kernels, a level each, and the choice of one. Every level is the one below it with
// the kernels replaced that its instruction set does faster; all are constants, so nothing runs at
// start-up and nothing needs a lock.
#include "kernels/cpu.h"
#include "kernels/kernels.h"

namespace ozr::kernels
{

// For stages of which a level has no variant. A stage's own fill(), which is no
// template, is preferred.
namespace sse2
{
template <class Table>
constexpr void fill(Table* /*table*/)
{
}
}  // namespace sse2

namespace ssse3
{
template <class Table>
constexpr void fill(Table* /*table*/)
{
}
}  // namespace ssse3

namespace avx2
{
template <class Table>
constexpr void fill(Table* /*table*/)
{
}
}  // namespace avx2

namespace neon
{
template <class Table>
constexpr void fill(Table* /*table*/)
{
}
}  // namespace neon

namespace
{

template <class Fill>
constexpr Kernels _level(const Kernels& below, const char* name, uint32_t feature, Fill fill)
{
    Kernels table = below;
    table.level = name;
    table.features |= feature;
    fill(&table.resample);
    fill(&table.motion);
    fill(&table.align);
    fill(&table.project);
    fill(&table.seam);
    fill(&table.blend);
    fill(&table.rotate);
    fill(&table.colour);
    fill(&table.mirror);
    fill(&table.warp);
    fill(&table.census);
    fill(&table.draw);
    fill(&table.match);
    return table;
}

}  // namespace

constexpr Kernels kScalarKernels = _level({}, "scalar", 0, [](auto* stage) { scalar::fill(stage); });

#if defined(__i386__) || defined(__x86_64__)

constexpr Kernels kSse2Kernels =
    _level(kScalarKernels, "sse2", kCpuSse2, [](auto* stage) { sse2::fill(stage); });
constexpr Kernels kSsse3Kernels =
    _level(kSse2Kernels, "ssse3", kCpuSsse3, [](auto* stage) { ssse3::fill(stage); });
constexpr Kernels kAvx2Kernels =
    _level(kSsse3Kernels, "avx2", kCpuAvx2, [](auto* stage) { avx2::fill(stage); });

const Kernels* const kLevels[] = {&kScalarKernels, &kSse2Kernels, &kSsse3Kernels, &kAvx2Kernels, nullptr};

#elif defined(OZR_IS_ARM)

constexpr Kernels kNeonKernels =
    _level(kScalarKernels, "neon", kCpuNeon, [](auto* stage) { neon::fill(stage); });

const Kernels* const kLevels[] = {&kScalarKernels, &kNeonKernels, nullptr};

#elif defined(__wasm_simd128__)

// Emscripten's headers translate the intrinsics up to SSSE3 into WebAssembly's vectors. They are
// one level: an engine accepts a module with vector instructions as a whole or not at all.
constexpr Kernels kWasm128Kernels =
    _level(_level(kScalarKernels, "sse2", 0, [](auto* stage) { sse2::fill(stage); }), "wasm128", kCpuWasm128,
           [](auto* stage) { ssse3::fill(stage); });

const Kernels* const kLevels[] = {&kScalarKernels, &kWasm128Kernels, nullptr};

#else

const Kernels* const kLevels[] = {&kScalarKernels, nullptr};

#endif

const Kernels* best_for(uint32_t features)
{
    const Kernels* best = &kScalarKernels;
    for (const Kernels* const* level = kLevels; *level != nullptr; ++level) {
        if (((*level)->features & ~features) == 0)
            best = *level;
    }
    return best;
}

namespace
{
const Kernels* g_active;  // null until first use; every thread would store the same pointer
}

const Kernels* active()
{
    const Kernels* kernels = __atomic_load_n(&g_active, __ATOMIC_RELAXED);
    if (kernels == nullptr) {
        kernels = best_for(cpu_features());
        __atomic_store_n(&g_active, kernels, __ATOMIC_RELAXED);
    }
    return kernels;
}

void set_for_test(const Kernels* kernels)
{
    __atomic_store_n(&g_active, kernels, __ATOMIC_RELAXED);
}

}  // namespace ozr::kernels
