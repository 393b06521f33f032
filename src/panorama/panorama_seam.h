// Seam finding: where the panorama switches from one picture to the next.
#ifndef PANORAMA_SEAM_H
#define PANORAMA_SEAM_H

#include <stdint.h>

#include "panorama_img.h"

// One of two overlapping regions; pixel (column, row) is byte (y + row) * stride + x + column of the picture.
struct SeamRegion {
    const PanoImg* img;  // only stride and data count; grey, or a luma plane
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

OZR_BEGIN_DECLS

// Finds the path from the top to the bottom row, one column per row and at most one column sideways between rows, along
// which the two regions differ least.
//   seam     out: height columns.
//   mask     width x height bytes without padding; 255 makes a pixel as expensive as the largest difference.
//   regionA, regionB  of equal size.
// -3: a null argument; -4: a region without a picture, or sizes that differ or are negative; -2: no column, a single one,
// or no row; -8: memory is out.
OZR_API int32_t panorama_seam_find(int32_t* seam, const uint8_t* mask, const SeamRegion* regionA,
                                   const SeamRegion* regionB);

OZR_END_DECLS

#endif
