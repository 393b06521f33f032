// The rows of an image: their addresses, and whether its memory holds them.
#ifndef OZR_IMAGE_ROWS_H
#define OZR_IMAGE_ROWS_H

#include <stddef.h>

#include "ozr_image.h"

namespace ozr
{

// Row y of the first plane. In nv12 and nv21, chroma row j is row height + j.
inline uint8_t* image_row(const ozr_image* image, int32_t y)
{
    return image->data + static_cast<ptrdiff_t>(y) * image->stride;
}

// The number of rows that have pixels: 0 for an image without columns.
inline int32_t image_row_count(const ozr_image* image)
{
    return image->width > 0 && image->height > 0 ? image->height : 0;
}

// Whether the bytes of all planes at this stride fit 32 bits. `size` cannot be true of an image for which they do not, so
// none of its memory is trusted.
inline bool image_counts_bytes(const ozr_image* image, int32_t stride)
{
    const int64_t plane = int64_t{image->height} * stride;
    const bool is_12_bit = ozr_image_get_bits_per_pixel(image) == 12;
    return (is_12_bit ? plane + plane / 2 : plane) <= INT32_MAX;
}

// Whether the image holds `rows` rows of `row_bytes` bytes. A stride as long as a row is trusted. ozr_image_create accepts
// shorter ones; of an image with such a stride only `size` bytes are trusted.
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

// Whether an image of known format holds all its planes. The two chroma planes of yv12 never end behind the chroma rows
// that nv12 has at the same size and stride.
inline bool image_holds_planes(const ozr_image* image)
{
    const bool is_12_bit = ozr_image_get_bits_per_pixel(image) == 12;
    const int64_t rows = int64_t{image->height} + (is_12_bit ? image->height / 2 : 0);
    return image_holds_rows(image, int64_t{image->width} * ozr_image_get_channel(image), rows);
}

}  // namespace ozr

#endif
