// Seam finding: where the panorama switches from one picture to the next.
#ifndef PANORAMA_SEAM_H
#define PANORAMA_SEAM_H

#include <stdint.h>

#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "ozr_types.h"

// One of two overlapping regions; pixel (column, row) is byte (y + row) * stride + x + column
// of the picture.
struct SeamRegion {
    const PanoImg* img;  // only stride and data count; grey, or a luma plane
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

OZR_BEGIN_DECLS

// Finds the path from the top to the bottom row, one column per row and at most one column sideways
// between rows, along which the two regions differ least.
//   seam     out: height columns.
//   mask     width x height bytes without padding; 255 makes a pixel as expensive as the largest
//            difference.
//   regionA, regionB  of equal size.
// What cannot be detected: a region that reaches outside its picture's memory (the picture's size
// is not looked at), or `seam` and `mask` smaller than said.
// -3: a null argument; -4: a region without a picture, or sizes that differ or are negative; -2: no
// column, a single one, or no row; -8: memory is out.
OZR_API int32_t panorama_seam_find(int32_t* seam, const uint8_t* mask, const SeamRegion* regionA,
                                   const SeamRegion* regionB);

OZR_END_DECLS

namespace ozr::core
{

constexpr uint8_t kSeamBarred = 255;  // mask value that keeps a seam away

// What panorama_seam_find returns for regions that it cannot work on, else 0. Neither
// pointer is null.
PanoResult check_regions(const SeamRegion* a, const SeamRegion* b);

inline const uint8_t* region_row(const SeamRegion* region, int32_t y)
{
    return pano_row(region->img, region->y + y) + region->x;
}

}  // namespace ozr::core

#endif
