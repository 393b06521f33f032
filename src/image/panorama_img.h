// The working image record and its functions: creation and copying (panorama_img.cpp), resampling
// (resize.cpp), rotation and colour conversion (rotate.cpp).
//
// Unless said otherwise the functions return a PanoResult, log nothing, and take the destination
// first. The caller owns the record; whether it also owns the pixels depends on the function that
// filled the record.
//
// No function can detect memory behind `data` that is smaller than the geometry (stride * height
// bytes, half as many again for semi-planar formats) or than `size`, the destruction of a record
// that does not own its pixels, or an overlap of source and destination. Null pointers, strides
// that are negative or shorter than a row, and geometries that exceed 32 bits are refused.
#ifndef PANORAMA_IMG_H
#define PANORAMA_IMG_H

#include <stddef.h>
#include <stdint.h>

#include "image/pano_result.h"
#include "ozr_types.h"

// Pixel formats.
enum PanoFormat : int32_t {
    kPanoGray = 0,
    kPanoNv12 = 1,  // a luma plane, then half as many rows of chroma pairs at the same stride
    kPanoNv21 = 2,  // the same with the pairs in the other order
    kPanoYuyv = 3,  // packed Y0 U Y1 V
    kPanoRgb = 4,   // three bytes a pixel
    kPanoRgba = 5,  // four bytes a pixel
};

struct PanoImg {
    int32_t format;
    int32_t width;      // pixels
    int32_t height;     // rows of the first plane
    int32_t stride;     // bytes from one row to the next, the same for every plane
    int32_t size;       // bytes of all planes together
    int32_t widthCopy;  // the width again, set where a buffer was aligned or wrapped; never read
    uint8_t* data;
};

namespace ozr
{

// The start of a row of the first plane; the rows of the chroma plane follow as rows `height` and
// up.
inline uint8_t* pano_row(const PanoImg* img, int32_t y)
{
    return img->data + static_cast<ptrdiff_t>(y) * img->stride;
}

inline uint8_t* pano_chroma_row(const PanoImg* img, int32_t y)
{
    return pano_row(img, img->height + y);
}

inline bool pano_is_semi_planar(int32_t format)
{
    return format == kPanoNv12 || format == kPanoNv21;
}

// The bytes of a row without padding, in 64 bits so that no width overflows. -1 for an unknown
// format.
inline int64_t pano_row_bytes(int32_t format, int32_t width)
{
    constexpr int64_t kBytes[] = {1, 1, 1, 2, 3, 4};
    return format < kPanoGray || format > kPanoRgba ? -1 : kBytes[format] * width;
}

// The bytes of all planes by the geometry, without regard to `size`. -1 for an unknown format.
inline int64_t pano_geometry_size(const PanoImg* img)
{
    if (img->format < kPanoGray || img->format > kPanoRgba)
        return -1;
    const int64_t plane = int64_t{img->height} * img->stride;
    return pano_is_semi_planar(img->format) ? plane + (plane >> 1) : plane;
}

// Whether the stride holds rows of `row_bytes` bytes and the whole geometry fits 32 bits: `size`
// cannot be true of a larger one.
bool pano_has_whole_rows(const PanoImg* img, int64_t row_bytes);

}  // namespace ozr

OZR_BEGIN_DECLS

// Allocates a zero-filled buffer with tightly packed rows. -4: null record, a size that is not
// positive or does not fit 32 bits; -2: unknown format; -8: memory is out. Released with
// PanoImg_Destroy.
OZR_API int32_t PanoImg_Create(PanoImg* img, int32_t width, int32_t height, int32_t format);

// The same with a buffer aligned to 4096 bytes inside a larger block. The start of that block is
// stored in *rawBlock, for PanoImg_DestroyAligned.
OZR_API int32_t PanoImg_CreateAligned(PanoImg* img, int32_t width, int32_t height, int32_t format,
                                      void** rawBlock);

// Describes memory of the caller's, or allocates a zero-filled buffer of this stride when `data` is
// null (released with PanoImg_Destroy). -4 also for a stride shorter than a row.
OZR_API int32_t PanoImg_CreateRef(PanoImg* img, uint8_t* data, int32_t width, int32_t height, int32_t stride,
                                  int32_t format);

// Frees the buffer of PanoImg_Create, PanoImg_CreateRef or PanoImg_Clone; the other fields keep
// their values. Does nothing for a null record or buffer.
OZR_API void PanoImg_Destroy(PanoImg* img);

// Clears the record and frees the block behind it. Either step is skipped when its pointer is null.
OZR_API void PanoImg_DestroyAligned(PanoImg* img, void** rawBlock);

// Gives `dst` a buffer of the same geometry, stride included, and copies src->size bytes, as far as
// they fit. Source first. -4: a null pointer, a source without pixels or with an impossible
// geometry; -8: memory is out.
OZR_API int32_t PanoImg_Clone(const PanoImg* src, PanoImg* dst);

// Copies `src` into `dst` with its top left corner at (x, y), cut to the size of `dst`. For chroma
// pairs, positions and sizes are rounded down to even. -3: null; -2: formats that differ, or packed
// YUYV (unless nothing overlaps).
OZR_API int32_t PanoImg_CopyEx(PanoImg* dst, const PanoImg* src, int32_t x, int32_t y);

// Bilinear scaling to the destination's size. The step is (source - 1) / destination pixels, so the
// last sample is before the last source pixel. Results are truncated and so up to one level darker.
// -4: no pixels, or sizes that cannot be scaled.
//
// From grey, or from a luma plane, to grey.
OZR_API int32_t PanoImg_ResizeGray(PanoImg* dst, const PanoImg* src);
// From the luma of packed YUYV to grey.
OZR_API int32_t PanoImg_ResizeGrayYUYV(PanoImg* dst, const PanoImg* src);
// From semi-planar to semi-planar.
OZR_API int32_t PanoImg_ResizeYUV(PanoImg* dst, const PanoImg* src);

// Grey to grey of exactly half the size, rounded down: truncated means of 2 x 2 pixels. -4: other
// sizes.
OZR_API int32_t PanoImg_ResizeHalfGray(PanoImg* dst, const PanoImg* src);

// Quarter turns of semi-planar pictures (format 1 only) into a destination of swapped size. -4:
// null record; -2: other formats; -3: no pixels. With odd sizes no byte at or beyond `size` of
// either record is touched.
OZR_API int32_t PanoImg_RotateCW90(PanoImg* dst, const PanoImg* src);
OZR_API int32_t PanoImg_RotateCW270(PanoImg* dst, const PanoImg* src);

// Semi-planar (format 1) to RGBA (format 5) over the even part of the common size; the rest of the
// destination becomes zero, alpha included. The first byte of a chroma pair is taken as V. Codes as
// above, -4 also for strides shorter than a row.
OZR_API int32_t PanoImg_ConvertYUV2RGBA(PanoImg* dst, const PanoImg* src);

OZR_END_DECLS

namespace ozr
{

// PanoImg_Create without the zeros, for a picture whose rows are all written before they are read.
// Only the bytes of no row are zero: the half row at the end of the chroma of an odd height.
PanoResult pano_create_unfilled(PanoImg* img, int32_t width, int32_t height, int32_t format);

// A working image that owns the block of its pixels until release().
class PanoImgOwner
{
public:
    // Where `create` and `copy` place the pixels: at the start of their block, or of a page inside
    // it.
    enum Start { kAtBlock, kAtPage };

    PanoImgOwner() = default;
    explicit PanoImgOwner(Start start) : start_(start) {}
    ~PanoImgOwner() { reset(); }
    PanoImgOwner(const PanoImgOwner&) = delete;
    PanoImgOwner& operator=(const PanoImgOwner&) = delete;

    PanoImg* get() { return &img_; }
    PanoImg* operator->() { return &img_; }

    // As pano_create_unfilled.
    PanoResult create(int32_t width, int32_t height, int32_t format);

    // As PanoImg_Clone.
    PanoResult copy(const PanoImg* src);

    // Frees the pixels; the other fields keep their values.
    void reset();

    // Hands the pixels over. The new owner frees them by PanoImg_Destroy or, if they start at a
    // page, by PanoImg_DestroyAligned with *raw_block.
    PanoImg release(void** raw_block = nullptr);

private:
    PanoImg img_ = {};
    void* block_ = nullptr;  // null: the pixels are at the start of their block
    Start start_ = kAtBlock;
};

}  // namespace ozr

#endif
