// The tables of kernels, one a level, and the choice among them. Each level is the one below with its own variants put in;
// all of it is known when the library is compiled.
#include "ozr_kernels.h"

#include "kernels_scalar.h"
#include "kernels_x86.h"
#include "ozr_cpu.h"

namespace
{

constexpr OzrKernels kScalar = {
    "scalar",
    resample_gray_row_scalar,
    resample_yuyv_row_scalar,
    resample_pairs_row_scalar,
    yuyv_luma_row_scalar,
    half_gray_row_scalar,
    sad_row_scalar,
    sad_const_row_scalar,
    integral_row_scalar,
    correlate_areas_scalar,
    project_luma_row_scalar,
    project_chroma_row_scalar,
    seam_cost_row_scalar,
    seam_accumulate_row_scalar,
    blend_row_scalar,
    blend_pairs_row_scalar,
    rotate_bytes_cw_scalar,
    rotate_bytes_ccw_scalar,
    rotate_pairs_cw_scalar,
    rotate_pairs_ccw_scalar,
    yvu_to_rgba_row_scalar,
    yuv_to_rgba_row_scalar,
    planar_to_rgba_row_scalar,
    yuyv_to_rgba_row_scalar,
    gray_to_rgba_row_scalar,
    rgba_to_gray_row_scalar,
    rgba_to_luma_row_scalar,
    rgba_to_uv_row_scalar,
    rgba_to_vu_row_scalar,
    rgba_to_u_v_rows_scalar,
    rgba_to_yuyv_row_scalar,
    resample_rgb_row_scalar,
    nearest_gray_row_scalar,
    sample_bytes_row_scalar,
    mirror_bytes_row_scalar,
    mirror_pairs_row_scalar,
    mirror_quads_row_scalar,
    warp_row_scalar,
    line_gray_row_scalar,
    census_run_scalar,
};

#ifdef OZR_KERNELS_X86
constexpr OzrKernels _with_sse2(OzrKernels table)
{
    table.level = "sse2";
    return table;
}

constexpr OzrKernels _with_ssse3(OzrKernels table)
{
    table.level = "ssse3";
    return table;
}

constexpr OzrKernels _with_sse41(OzrKernels table)
{
    table.level = "sse4.1";
    return table;
}

constexpr OzrKernels _with_avx2(OzrKernels table)
{
    table.level = "avx2";
    return table;
}

constexpr OzrKernels kSse2 = _with_sse2(kScalar);
constexpr OzrKernels kSsse3 = _with_ssse3(kSse2);
constexpr OzrKernels kSse41 = _with_sse41(kSsse3);
constexpr OzrKernels kAvx2 = _with_avx2(kSse41);
#endif

// Null until first use; every thread would store the same pointer.
const OzrKernels* g_kernels;

}  // namespace

const OzrKernels kOzrKernelsScalar = kScalar;

#ifdef OZR_KERNELS_X86
const OzrKernelLevel kOzrKernelLevels[] = {
    {&kOzrKernelsScalar, 0},
    {&kSse2, kOzrCpuSse2},
    {&kSsse3, kOzrCpuSse2 | kOzrCpuSsse3},
    {&kSse41, kOzrCpuSse2 | kOzrCpuSsse3 | kOzrCpuSse41},
    {&kAvx2, kOzrCpuSse2 | kOzrCpuSsse3 | kOzrCpuSse41 | kOzrCpuAvx2},
};
#else
const OzrKernelLevel kOzrKernelLevels[] = {{&kOzrKernelsScalar, 0}};
#endif
const int32_t kOzrKernelLevelCount = sizeof(kOzrKernelLevels) / sizeof(kOzrKernelLevels[0]);

const OzrKernels* ozr_kernels_for(uint32_t features)
{
    const OzrKernels* best = &kOzrKernelsScalar;
    for (const OzrKernelLevel& level : kOzrKernelLevels) {
        if ((level.needs & features) == level.needs)
            best = level.kernels;
    }
    return best;
}

const OzrKernels* ozr_kernels()
{
    const OzrKernels* kernels = __atomic_load_n(&g_kernels, __ATOMIC_RELAXED);  // a plain load on x86
    if (kernels == nullptr) {
        kernels = ozr_kernels_for(ozr_cpu_features());
        __atomic_store_n(&g_kernels, kernels, __ATOMIC_RELAXED);
    }
    return kernels;
}

void ozr_kernels_set_for_test(const OzrKernels* kernels)
{
    __atomic_store_n(&g_kernels, kernels, __ATOMIC_RELAXED);
}
