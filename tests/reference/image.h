// The meaning of the operations on working images, one byte at a time. Each function has the
// arguments and the result of the library's function of that name.
#ifndef REFERENCE_IMAGE_H
#define REFERENCE_IMAGE_H

#include "image/panorama_img.h"
#include "reference/codes.h"

namespace ozr_reference
{

int64_t row_bytes(int32_t format, int32_t width);
bool has_chroma(const PanoImg& img);

// Whether rows lie within the stride and all of them within 32 bits.
bool is_possible(const PanoImg& img);

// A byte of row `y`, where chroma rows follow the luma rows.
inline uint8_t& at(const PanoImg& img, int64_t y, int64_t byte)
{
    return img.data[y * img.stride + byte];
}

// The same, null at or beyond `size`.
uint8_t* byte_at(const PanoImg& img, int64_t y, int64_t byte);

// The record of PanoImg_Create, without its pixels, and with `aligned` that of
// PanoImg_CreateAligned.
int32_t create(PanoImg* record, int32_t width, int32_t height, int32_t format, bool aligned = false);
// Likewise the record of PanoImg_CreateRef.
int32_t create_ref(PanoImg* record, int32_t width, int32_t height, int32_t stride, int32_t format);
int32_t copy(PanoImg* dst, const PanoImg* src, int32_t x, int32_t y);

// Value of a bilinear sample at (x, y) in 1/1024 pixel; read(i, j) where its weight is not 0.
template <class Read>
int32_t bilinear(int64_t x, int64_t y, Read read)
{
    int64_t sum = 0;
    for (int64_t corner = 0; corner < 4; ++corner) {
        const int64_t right = corner % 2, below = corner / 2;
        const int64_t weight = (right ? x % 1024 : 1024 - x % 1024) * (below ? y % 1024 : 1024 - y % 1024);
        sum += weight == 0 ? 0
                           : weight * read(static_cast<int32_t>(x / 1024 + right),
                                           static_cast<int32_t>(y / 1024 + below));
    }
    return static_cast<int32_t>(sum / 1048576);
}

// resample.cpp. What the source of `resize_yuv` does not own reads as `beyond`: what
// depends on it is not defined.
int32_t resize_gray(PanoImg* dst, const PanoImg* src);
int32_t resize_gray_yuyv(PanoImg* dst, const PanoImg* src);
int32_t resize_half_gray(PanoImg* dst, const PanoImg* src);
int32_t resize_yuv(PanoImg* dst, const PanoImg* src, uint8_t beyond);

// rotate.cpp
int32_t turn_clockwise(PanoImg* dst, const PanoImg* src);
int32_t turn_counterclockwise(PanoImg* dst, const PanoImg* src);
int32_t convert_to_rgba(PanoImg* dst, const PanoImg* src);

}  // namespace ozr_reference

#endif
