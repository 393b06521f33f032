// The vector variants for x86, a file per subject and instruction set. Each is declared by its type, which ozr_kernels.h
// explains; what is left of a row after its last full vector goes to a variant below it.
#ifndef OZR_KERNELS_X86_H
#define OZR_KERNELS_X86_H

#include "kernels/kernels.h"

// Resampling
Resample resample_gray_ssse3, resample_gray_avx2;
Resample resample_yuyv_ssse3, resample_yuyv_avx2;
SampleBytesRow sample_bytes_row_sse2;
YuyvLumaRow yuyv_luma_row_sse2;
HalfGrayRow half_gray_row_sse2;

// Motion and alignment
SadArea sad_area_sse2, sad_area_avx2;
SadConstRow sad_const_row_sse2, sad_const_row_avx2;
IntegralRow integral_row_sse2;
CorrelateAreas correlate_areas_sse2, correlate_areas_avx2;

// Projection
ProjectLumaRow project_luma_row_sse2, project_luma_row_ssse3, project_luma_row_avx2;
ProjectionTablesRow projection_tables_row_sse2;

// Seam and composition
SeamSumRow seam_sum_row_sse2, seam_sum_row_avx2;
BlendRow blend_row_sse2;
BlendPairsRow blend_pairs_row_sse2;

// Rotation
Rotate rotate_bytes_cw_sse2, rotate_bytes_ccw_sse2;
Rotate rotate_pairs_cw_sse2, rotate_pairs_ccw_sse2;

// Colour
YvuToRgbaRow yvu_to_rgba_row_sse2, yvu_to_rgba_row_avx2;
YuvToRgbaRow yuv_to_rgba_row_sse2, yuv_to_rgba_row_avx2;
PlanarToRgbaRow planar_to_rgba_row_sse2, planar_to_rgba_row_avx2;
YuyvToRgbaRow yuyv_to_rgba_row_sse2, yuyv_to_rgba_row_avx2;
GrayToRgbaRow gray_to_rgba_row_sse2;
RgbaToGrayRow rgba_to_gray_row_sse2, rgba_to_gray_row_avx2;
RgbaToLumaRow rgba_to_luma_row_sse2, rgba_to_luma_row_avx2;
RgbaToChromaPairsRow rgba_to_uv_row_sse2, rgba_to_vu_row_sse2;
RgbaToChromaRows rgba_to_u_v_rows_sse2;
RgbaToYuyvRow rgba_to_yuyv_row_sse2, rgba_to_yuyv_row_avx2;

// Mirrors and texture codes
MirrorBytesRow mirror_bytes_row_ssse3, mirror_bytes_row_avx2;
MirrorPairsRow mirror_pairs_row_ssse3, mirror_pairs_row_avx2;
MirrorQuadsRow mirror_quads_row_ssse3, mirror_quads_row_avx2;
CensusRun census_run_sse2;

#endif
