// The tables of kernels, a level each, and the choice of one. Every level is the one below it with the kernels replaced
// that its instruction set does faster; all are constants, so nothing runs at start-up and nothing needs a lock.
#include "kernels/kernels.h"

#include "kernels/cpu.h"
#include "kernels/scalar/scalar.h"
#if defined(__i386__) || defined(__x86_64__) || defined(__wasm_simd128__)
#define OZR_HAS_SSE  // WebAssembly's vectors take the same intrinsics, by Emscripten's headers
#include "kernels/x86/x86.h"
#endif

constexpr OzrKernels kOzrKernelsScalar = {
    "scalar",
    0,
    resample_gray_scalar,
    resample_yuyv_scalar,
    resample_rgb_scalar,
    resample_pairs_row_scalar,
    yuyv_luma_row_scalar,
    half_gray_row_scalar,
    sad_area_scalar,
    sad_const_row_scalar,
    integral_row_scalar,
    correlate_areas_scalar,
    project_luma_row_scalar,
    project_chroma_row_scalar,
    projection_tables_row_scalar,
    seam_sum_row_scalar,
    seam_sum_wide_row_scalar,
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
    nearest_gray_row_scalar,
    sample_bytes_row_scalar,
    mirror_bytes_row_scalar,
    mirror_pairs_row_scalar,
    mirror_quads_row_scalar,
    warp_row_scalar,
    line_gray_row_scalar,
    census_run_scalar,
};

#ifdef OZR_HAS_SSE

namespace
{

constexpr OzrKernels _with_sse2(OzrKernels table)
{
    table.level = "sse2";
    table.features |= kOzrCpuSse2;
    table.yuyv_luma_row = yuyv_luma_row_sse2;
    table.half_gray_row = half_gray_row_sse2;
    table.integral_row = integral_row_sse2;
    table.correlate_areas = correlate_areas_sse2;
    table.sad_area = sad_area_sse2;
    table.sad_const_row = sad_const_row_sse2;
    table.project_luma_row = project_luma_row_sse2;
    table.projection_tables_row = projection_tables_row_sse2;
    table.seam_sum_row = seam_sum_row_sse2;
    table.blend_row = blend_row_sse2;
    table.blend_pairs_row = blend_pairs_row_sse2;
    table.rotate_bytes_cw = rotate_bytes_cw_sse2;
    table.rotate_bytes_ccw = rotate_bytes_ccw_sse2;
    table.rotate_pairs_cw = rotate_pairs_cw_sse2;
    table.rotate_pairs_ccw = rotate_pairs_ccw_sse2;
    table.yvu_to_rgba_row = yvu_to_rgba_row_sse2;
    table.yuv_to_rgba_row = yuv_to_rgba_row_sse2;
    table.planar_to_rgba_row = planar_to_rgba_row_sse2;
    table.yuyv_to_rgba_row = yuyv_to_rgba_row_sse2;
    table.gray_to_rgba_row = gray_to_rgba_row_sse2;
    table.rgba_to_gray_row = rgba_to_gray_row_sse2;
    table.rgba_to_luma_row = rgba_to_luma_row_sse2;
    table.rgba_to_uv_row = rgba_to_uv_row_sse2;
    table.rgba_to_vu_row = rgba_to_vu_row_sse2;
    table.rgba_to_u_v_rows = rgba_to_u_v_rows_sse2;
    table.rgba_to_yuyv_row = rgba_to_yuyv_row_sse2;
    table.sample_bytes_row = sample_bytes_row_sse2;
    table.census_run = census_run_sse2;
    return table;
}

constexpr OzrKernels _with_ssse3(OzrKernels table)
{
    table.level = "ssse3";
    table.features |= kOzrCpuSsse3;
    table.resample_gray = resample_gray_ssse3;
    table.resample_yuyv = resample_yuyv_ssse3;
    table.project_luma_row = project_luma_row_ssse3;
    table.mirror_bytes_row = mirror_bytes_row_ssse3;
    table.mirror_pairs_row = mirror_pairs_row_ssse3;
    table.mirror_quads_row = mirror_quads_row_ssse3;
    return table;
}

#ifdef __wasm_simd128__

constexpr OzrKernels _as_wasm128(OzrKernels table)
{
    table.level = "wasm128";
    return table;
}

#else

constexpr OzrKernels _with_avx2(OzrKernels table)
{
    table.level = "avx2";
    table.features |= kOzrCpuAvx2;
    table.resample_gray = resample_gray_avx2;
    table.resample_yuyv = resample_yuyv_avx2;
    table.correlate_areas = correlate_areas_avx2;
    table.sad_area = sad_area_avx2;
    table.sad_const_row = sad_const_row_avx2;
    table.project_luma_row = project_luma_row_avx2;
    table.seam_sum_row = seam_sum_row_avx2;
    table.yvu_to_rgba_row = yvu_to_rgba_row_avx2;
    table.yuv_to_rgba_row = yuv_to_rgba_row_avx2;
    table.planar_to_rgba_row = planar_to_rgba_row_avx2;
    table.yuyv_to_rgba_row = yuyv_to_rgba_row_avx2;
    table.rgba_to_gray_row = rgba_to_gray_row_avx2;
    table.rgba_to_luma_row = rgba_to_luma_row_avx2;
    table.rgba_to_yuyv_row = rgba_to_yuyv_row_avx2;
    table.mirror_bytes_row = mirror_bytes_row_avx2;
    table.mirror_pairs_row = mirror_pairs_row_avx2;
    table.mirror_quads_row = mirror_quads_row_avx2;
    return table;
}

#endif

}  // namespace

#endif

#if defined(__wasm_simd128__)

// One level: an engine takes a module with vector instructions as a whole or not at all, so a build has them or not.
constexpr OzrKernels kOzrKernelsWasm128 = _as_wasm128(_with_ssse3(_with_sse2(kOzrKernelsScalar)));

const OzrKernels* const kOzrKernelLevels[] = {&kOzrKernelsScalar, &kOzrKernelsWasm128, nullptr};

#elif defined(OZR_HAS_SSE)

constexpr OzrKernels kOzrKernelsSse2 = _with_sse2(kOzrKernelsScalar);
constexpr OzrKernels kOzrKernelsSsse3 = _with_ssse3(kOzrKernelsSse2);
constexpr OzrKernels kOzrKernelsAvx2 = _with_avx2(kOzrKernelsSsse3);

const OzrKernels* const kOzrKernelLevels[] = {
    &kOzrKernelsScalar, &kOzrKernelsSse2, &kOzrKernelsSsse3, &kOzrKernelsAvx2, nullptr,
};

#else

const OzrKernels* const kOzrKernelLevels[] = {&kOzrKernelsScalar, nullptr};

#endif

const OzrKernels* ozr_kernels_for(uint32_t features)
{
    const OzrKernels* best = &kOzrKernelsScalar;
    for (const OzrKernels* const* level = kOzrKernelLevels; *level != nullptr; ++level) {
        if (((*level)->features & ~features) == 0)
            best = *level;
    }
    return best;
}

// Null until first use; every thread would store the same pointer.
static const OzrKernels* g_kernels;

const OzrKernels* ozr_kernels()
{
    const OzrKernels* kernels = __atomic_load_n(&g_kernels, __ATOMIC_RELAXED);
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
