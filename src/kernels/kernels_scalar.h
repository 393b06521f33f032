// The scalar variants, a file per subject. Their meaning is stated in ozr_kernels.h.
#ifndef OZR_KERNELS_SCALAR_H
#define OZR_KERNELS_SCALAR_H

#include "ozr_kernels.h"

void resample_gray_scalar(uint8_t* dst, int32_t dst_stride, const OzrResample& task);
void resample_yuyv_scalar(uint8_t* dst, int32_t dst_stride, const OzrResample& task);
void resample_rgb_scalar(uint8_t* dst, int32_t dst_stride, const OzrResample& task);
// The rest of a row from a position on.
void resample_gray_rest(uint8_t* dst, int32_t width, const OzrResampleRows& rows, uint32_t position,
                        uint32_t step);
void resample_yuyv_rest(uint8_t* dst, int32_t width, const OzrResampleRows& rows, uint32_t position,
                        uint32_t step);
void resample_pairs_row_scalar(uint8_t* dst, int32_t dst_bytes, const uint8_t* top, const uint8_t* bottom,
                               int32_t src_bytes, uint32_t step, uint32_t fraction);
void nearest_gray_row_scalar(uint8_t* dst, int32_t dst_width, const uint8_t* src, uint32_t step);
void sample_bytes_row_scalar(uint8_t* dst, const uint8_t* src, int32_t count, int64_t step);
void yuyv_luma_row_scalar(uint8_t* dst, const uint8_t* src, int32_t dst_width);
void half_gray_row_scalar(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width);

uint32_t sad_area_scalar(const uint8_t* a, int64_t a_stride, const uint8_t* b, int64_t b_stride,
                         int32_t columns, int32_t rows);
uint32_t sad_const_row_scalar(const uint8_t* a, uint8_t value, int32_t count);

void integral_row_scalar(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width);
OzrCorrelation correlate_areas_scalar(const OzrAreaPair& areas, int32_t shift);

void project_luma_row_scalar(uint8_t* dst, const uint8_t* src, int64_t src_bytes, int32_t stride,
                             const OzrProjectionRow& row, int32_t blocks);
void project_chroma_row_scalar(uint8_t* dst, const uint8_t* src, const int32_t* map, int32_t pairs);
void projection_tables_row_scalar(const OzrProjectionRowOut& out, const int32_t* positions,
                                  const OzrProjectionColumns& columns, int32_t blocks);
// A single block of a row, for variants that cannot read what surrounds its patches.
void project_luma_block_scalar(uint8_t* dst, const uint8_t* src, int32_t stride, const OzrProjectionRow& row,
                               int32_t block);

void seam_cost_row_scalar(uint32_t* cost, const uint8_t* a, const uint8_t* b, const uint8_t* mask,
                          int32_t width);
void seam_sum_row_scalar(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row);
// The columns `first` to `end` of a row.
void seam_sum_columns_scalar(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row,
                             int32_t first, int32_t end);

void blend_row_scalar(uint8_t* dst, const uint8_t* later, int32_t count, int32_t first_weight,
                      int32_t weight_step);
void blend_pairs_row_scalar(uint8_t* dst, const uint8_t* later, int32_t pairs, int32_t first_weight,
                            int32_t weight_step);

void rotate_bytes_cw_scalar(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride,
                            int32_t width, int32_t height);
void rotate_bytes_ccw_scalar(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride,
                             int32_t width, int32_t height);
void rotate_pairs_cw_scalar(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride,
                            int32_t width, int32_t height);
void rotate_pairs_ccw_scalar(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride,
                             int32_t width, int32_t height);

void yvu_to_rgba_row_scalar(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);
void yuv_to_rgba_row_scalar(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);
void planar_to_rgba_row_scalar(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                               int32_t pairs);
void yuyv_to_rgba_row_scalar(uint8_t* dst, const uint8_t* src, int32_t pairs);
void gray_to_rgba_row_scalar(uint8_t* dst, const uint8_t* src, int32_t count);
void rgba_to_gray_row_scalar(uint8_t* dst, const uint8_t* src, int32_t count);
void rgba_to_luma_row_scalar(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step);
void rgba_to_uv_row_scalar(uint8_t* dst, const uint8_t* src, int32_t pairs);
void rgba_to_vu_row_scalar(uint8_t* dst, const uint8_t* src, int32_t pairs);
void rgba_to_u_v_rows_scalar(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs);
void rgba_to_yuyv_row_scalar(uint8_t* dst, const uint8_t* src, int32_t pairs);

void mirror_bytes_row_scalar(uint8_t* row, int32_t count);
void mirror_pairs_row_scalar(uint8_t* row, int32_t bytes);
void mirror_quads_row_scalar(uint8_t* row, int32_t count);

void warp_row_scalar(uint8_t* dst, int32_t count, const OzrWarp& warp, int32_t x, int32_t y);
void line_gray_row_scalar(uint8_t* dst, int32_t count, const OzrLine& line, int64_t x, int64_t y);

void census_run_scalar(uint16_t* dst, const uint8_t* src, uint32_t width, uint32_t count);

#endif
