// The vector variants for x86, a file per subject and instruction set. Their meaning is stated in ozr_kernels.h; what
// is left of a row after its last full vector goes to the scalar variant.
#ifndef OZR_KERNELS_X86_H
#define OZR_KERNELS_X86_H

#include "ozr_kernels.h"

// Resampling
void yuyv_luma_row_sse2(uint8_t* dst, const uint8_t* src, int32_t dst_width);
void half_gray_row_sse2(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width);
void resample_gray_ssse3(uint8_t* dst, int32_t dst_stride, const OzrResample& task);
void resample_yuyv_ssse3(uint8_t* dst, int32_t dst_stride, const OzrResample& task);
void resample_gray_avx2(uint8_t* dst, int32_t dst_stride, const OzrResample& task);
void resample_yuyv_avx2(uint8_t* dst, int32_t dst_stride, const OzrResample& task);

// Alignment
void integral_row_sse2(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width);
OzrCorrelation correlate_areas_sse2(const OzrAreaPair& areas, int32_t shift);
OzrCorrelation correlate_areas_avx2(const OzrAreaPair& areas, int32_t shift);

// Motion
uint32_t sad_area_sse2(const uint8_t* a, int64_t a_stride, const uint8_t* b, int64_t b_stride,
                       int32_t columns, int32_t rows);
uint32_t sad_area_avx2(const uint8_t* a, int64_t a_stride, const uint8_t* b, int64_t b_stride,
                       int32_t columns, int32_t rows);
uint32_t sad_const_row_sse2(const uint8_t* a, uint8_t value, int32_t count);
uint32_t sad_const_row_avx2(const uint8_t* a, uint8_t value, int32_t count);

// Projection
void project_luma_row_sse2(uint8_t* dst, const uint8_t* src, int64_t src_bytes, int32_t stride,
                           const OzrProjectionRow& row, int32_t blocks);
void project_luma_row_ssse3(uint8_t* dst, const uint8_t* src, int64_t src_bytes, int32_t stride,
                            const OzrProjectionRow& row, int32_t blocks);
void projection_tables_row_sse2(const OzrProjectionRowOut& out, const int32_t* positions,
                                const OzrProjectionColumns& columns, int32_t blocks);

// Seam and composition
void seam_cost_row_sse2(uint32_t* cost, const uint8_t* a, const uint8_t* b, const uint8_t* mask,
                        int32_t width);
void seam_sum_row_sse2(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row);
void blend_row_sse2(uint8_t* dst, const uint8_t* later, int32_t count, int32_t first_weight,
                    int32_t weight_step);
void blend_pairs_row_sse2(uint8_t* dst, const uint8_t* later, int32_t pairs, int32_t first_weight,
                          int32_t weight_step);
void seam_sum_row_sse41(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row);
void seam_sum_row_avx2(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row);

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
