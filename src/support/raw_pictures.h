// Checks of pictures that callers describe by pointer, size and stride.
#ifndef OZR_RAW_PICTURES_H
#define OZR_RAW_PICTURES_H

#include "ozr_types.h"

namespace ozr
{

// A stride of 0 means rows without padding.
inline int32_t stride_or_width(int32_t stride, int32_t width)
{
    return stride != 0 ? stride : width;
}

// Whether a crop has pixels and all of them are inside the picture.
inline bool crop_is_inside(const ozr_rect* crop, int32_t width, int32_t height)
{
    return crop != nullptr && crop->left >= 0 && crop->top >= 0 && crop->left < crop->right &&
           crop->top < crop->bottom && crop->right <= width && crop->bottom <= height;
}

}  // namespace ozr

#endif
