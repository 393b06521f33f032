// The table of scalar kernels and the choice of a table.
#include "ozr_kernels.h"

#include "kernels_scalar.h"

const OzrKernels kOzrKernelsScalar = {
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

const OzrKernels* ozr_kernels()
{
    return &kOzrKernelsScalar;
}
