// The vector variants for x86, a file per subject and instruction set. Their meaning is stated in ozr_kernels.h; what
// is left of a row after its last full vector goes to the scalar variant.
#ifndef OZR_KERNELS_X86_H
#define OZR_KERNELS_X86_H

#include "ozr_kernels.h"

// The last source column that a row of resampled pixels reads. Internal to each file: one for wider instructions must not
// provide it to the others.
static inline uint32_t ozr_last_column_read(int32_t dst_width, uint32_t step)
{
    const uint32_t last_position = dst_width > 0 ? static_cast<uint32_t>(dst_width - 1) * step : 0;
    return (last_position >> 10) + ((last_position & 1023U) != 0 ? 1U : 0U);
}

// Resampling
void yuyv_luma_row_sse2(uint8_t* dst, const uint8_t* src, int32_t dst_width);
void half_gray_row_sse2(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width);
void resample_gray_row_avx2(uint8_t* dst, int32_t dst_width, const uint8_t* top, const uint8_t* bottom,
                            uint32_t step, uint32_t fraction);
void resample_yuyv_row_avx2(uint8_t* dst, int32_t dst_width, const uint8_t* top, const uint8_t* bottom,
                            uint32_t step, uint32_t fraction);

// Alignment
void integral_row_sse2(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width);
OzrCorrelation correlate_areas_sse2(const OzrAreaPair& areas, int32_t shift);
OzrCorrelation correlate_areas_avx2(const OzrAreaPair& areas, int32_t shift);

// Motion
uint32_t sad_row_sse2(const uint8_t* a, const uint8_t* b, int32_t count);
uint32_t sad_row_avx2(const uint8_t* a, const uint8_t* b, int32_t count);
uint32_t sad_const_row_sse2(const uint8_t* a, uint8_t value, int32_t count);
uint32_t sad_const_row_avx2(const uint8_t* a, uint8_t value, int32_t count);

// Projection
void project_luma_row_sse2(uint8_t* dst, const uint8_t* src, int64_t src_bytes, int32_t stride,
                           const int32_t* offsets, const uint16_t* weights, int32_t blocks);

// Seam and composition
void seam_cost_row_sse2(uint32_t* cost, const uint8_t* a, const uint8_t* b, const uint8_t* mask,
                        int32_t width);
void seam_accumulate_row_sse2(uint32_t* cost, const uint32_t* above, int32_t width);
void blend_row_sse2(uint8_t* dst, const uint8_t* later, int32_t count, int32_t first_weight,
                    int32_t weight_step);
void blend_pairs_row_sse2(uint8_t* dst, const uint8_t* later, int32_t pairs, int32_t first_weight,
                          int32_t weight_step);
void seam_accumulate_row_sse41(uint32_t* cost, const uint32_t* above, int32_t width);
void seam_accumulate_row_avx2(uint32_t* cost, const uint32_t* above, int32_t width);

// Rotation and colour
void rotate_bytes_cw_sse2(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride,
                          int32_t width, int32_t height);
void rotate_bytes_ccw_sse2(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride,
                           int32_t width, int32_t height);
void rotate_pairs_cw_sse2(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride,
                          int32_t width, int32_t height);
void rotate_pairs_ccw_sse2(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride,
                           int32_t width, int32_t height);
void yvu_to_rgba_row_sse2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);
void yuv_to_rgba_row_sse2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);
void planar_to_rgba_row_sse2(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                             int32_t pairs);
void yuyv_to_rgba_row_sse2(uint8_t* dst, const uint8_t* src, int32_t pairs);
void gray_to_rgba_row_sse2(uint8_t* dst, const uint8_t* src, int32_t count);
void rgba_to_gray_row_sse2(uint8_t* dst, const uint8_t* src, int32_t count);
void rgba_to_luma_row_sse2(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step);
void rgba_to_uv_row_sse2(uint8_t* dst, const uint8_t* src, int32_t pairs);
void rgba_to_vu_row_sse2(uint8_t* dst, const uint8_t* src, int32_t pairs);
void rgba_to_u_v_rows_sse2(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs);
void rgba_to_yuyv_row_sse2(uint8_t* dst, const uint8_t* src, int32_t pairs);
void yvu_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);
void yuv_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);
void planar_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                             int32_t pairs);
void yuyv_to_rgba_row_avx2(uint8_t* dst, const uint8_t* src, int32_t pairs);
void rgba_to_gray_row_avx2(uint8_t* dst, const uint8_t* src, int32_t count);
void rgba_to_luma_row_avx2(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step);
void rgba_to_yuyv_row_avx2(uint8_t* dst, const uint8_t* src, int32_t pairs);

// Subsampling
void sample_bytes_row_sse2(uint8_t* dst, const uint8_t* src, int32_t count, int64_t step);

// Mirrors and texture codes
void census_run_sse2(uint16_t* dst, const uint8_t* src, uint32_t width, uint32_t count);
void mirror_bytes_row_ssse3(uint8_t* row, int32_t count);
void mirror_pairs_row_ssse3(uint8_t* row, int32_t bytes);
void mirror_quads_row_ssse3(uint8_t* row, int32_t count);

#endif
