// Where the rows of an image start, and whether they lie inside it.
#ifndef OZR_IMAGE_ROWS_H
#define OZR_IMAGE_ROWS_H

#include <stddef.h>

#include "ozr_image.h"

namespace ozr
{

// Row y of the first plane. In nv12 and nv21 chroma row j follows as row height + j.
inline uint8_t* image_row(const ozr_image* image, int32_t y)
{
    return image->data + static_cast<ptrdiff_t>(y) * image->stride;
}

// The rows that have pixels: none in an image without columns.
inline int32_t image_row_count(const ozr_image* image)
{
    return image->width > 0 && image->height > 0 ? image->height : 0;
}

// Whether 32 bits count the bytes of all planes at this stride. Whatever else its record says, an image whose `size`
// could not tell them has no memory that can be trusted.
inline bool image_counts_bytes(const ozr_image* image, int32_t stride)
{
    const int64_t plane = int64_t{image->height} * stride;
    const bool is_12_bit = ozr_image_get_bits_per_pixel(image) == 12;
    return (is_12_bit ? plane + plane / 2 : plane) <= INT32_MAX;
}

// Whether `rows` rows of `row_bytes` bytes lie inside the image. The stride tells, where it is as long as a row;
// ozr_image_create accepts shorter ones, and of such an image only `size` bytes are trusted.
inline bool image_holds_rows(const ozr_image* image, int64_t row_bytes, int64_t rows)
{
    if (row_bytes < 1 || rows < 1)
        return true;
    if (image->data == nullptr || rows * image->stride > INT32_MAX ||
        !image_counts_bytes(image, image->stride))
        return false;
    return row_bytes <= image->stride ||
           (image->stride >= 0 && (rows - 1) * image->stride + row_bytes <= image->size);
}

// Whether all planes of an image of known format lie inside it. The two chroma planes of yv12 never reach beyond where
// the chroma rows of nv12 end.
inline bool image_holds_planes(const ozr_image* image)
{
    const bool is_12_bit = ozr_image_get_bits_per_pixel(image) == 12;
    const int64_t rows = int64_t{image->height} + (is_12_bit ? image->height / 2 : 0);
    return image_holds_rows(image, int64_t{image->width} * ozr_image_get_channel(image), rows);
}

}  // namespace ozr

#endif
