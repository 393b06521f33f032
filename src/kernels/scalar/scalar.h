// The scalar variants, a file per subject. Each is declared by its type, which ozr_kernels.h explains.
#ifndef OZR_KERNELS_SCALAR_H
#define OZR_KERNELS_SCALAR_H

#include "kernels/kernels.h"

// Resampling
Resample resample_gray_scalar;
Resample resample_yuyv_scalar;
Resample resample_rgb_scalar;
// The rest of a row from a position on.
void resample_gray_rest(uint8_t* dst, int32_t width, const OzrResampleRows& rows, uint32_t position,
                        uint32_t step);
void resample_yuyv_rest(uint8_t* dst, int32_t width, const OzrResampleRows& rows, uint32_t position,
                        uint32_t step);
ResamplePairsRow resample_pairs_row_scalar;
NearestGrayRow nearest_gray_row_scalar;
SampleBytesRow sample_bytes_row_scalar;
YuyvLumaRow yuyv_luma_row_scalar;
HalfGrayRow half_gray_row_scalar;

// Motion and alignment
SadArea sad_area_scalar;
SadConstRow sad_const_row_scalar;
IntegralRow integral_row_scalar;
CorrelateAreas correlate_areas_scalar;

// Projection
ProjectLumaRow project_luma_row_scalar;
ProjectChromaRow project_chroma_row_scalar;
ProjectionTablesRow projection_tables_row_scalar;
// A single block of a row, for variants that cannot read what surrounds its patches.
void project_luma_block_scalar(uint8_t* dst, const uint8_t* src, int32_t stride, const OzrProjectionRow& row,
                               int32_t block);

// Seam and composition
SeamSumRow seam_sum_row_scalar;
SeamSumWideRow seam_sum_wide_row_scalar;
// The columns `first` to `end` of a row.
void seam_sum_columns_scalar(uint16_t* sums, int8_t* steps, const uint16_t* above, const OzrSeamRow& row,
                             int32_t first, int32_t end);
BlendRow blend_row_scalar;
BlendPairsRow blend_pairs_row_scalar;

// Rotation
Rotate rotate_bytes_cw_scalar, rotate_bytes_ccw_scalar;
Rotate rotate_pairs_cw_scalar, rotate_pairs_ccw_scalar;

// Colour
YvuToRgbaRow yvu_to_rgba_row_scalar;
YuvToRgbaRow yuv_to_rgba_row_scalar;
PlanarToRgbaRow planar_to_rgba_row_scalar;
YuyvToRgbaRow yuyv_to_rgba_row_scalar;
GrayToRgbaRow gray_to_rgba_row_scalar;
RgbaToGrayRow rgba_to_gray_row_scalar;
RgbaToLumaRow rgba_to_luma_row_scalar;
RgbaToChromaPairsRow rgba_to_uv_row_scalar, rgba_to_vu_row_scalar;
RgbaToChromaRows rgba_to_u_v_rows_scalar;
RgbaToYuyvRow rgba_to_yuyv_row_scalar;

// Mirrors, warps and texture codes
MirrorBytesRow mirror_bytes_row_scalar;
MirrorPairsRow mirror_pairs_row_scalar;
MirrorQuadsRow mirror_quads_row_scalar;
WarpRow warp_row_scalar;
LineGrayRow line_gray_row_scalar;
CensusRun census_run_scalar;

#endif
