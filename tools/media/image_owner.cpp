// Between the program's pictures and the library's images.
#include "media/image_owner.h"

#include "base/program_error.h"

#include <new>
#include <string.h>

namespace ozr_pano
{

namespace
{

/** Copies as many rows and pixels, or pairs, as `even` has. */
void _copy_even_part(const ozr_image& nv12, ozr_image* even)
{
    const auto copy_rows = [&](int32_t from, int32_t to, int32_t count) {
        for (int32_t y = 0; y < count; ++y)
            memcpy(even->data + static_cast<ptrdiff_t>(to + y) * even->stride,
                   nv12.data + static_cast<ptrdiff_t>(from + y) * nv12.stride,
                   static_cast<size_t>(even->width));
    };
    copy_rows(0, 0, even->height);
    copy_rows(nv12.height, even->height, even->height / 2);
}

}  // namespace

ImageOwner::ImageOwner(int32_t width, int32_t height)
{
    if (ozr_image_create(&image_, width, height, 0, ozr_image_format_nv12, 0) != ozr_success)
        throw std::bad_alloc();
}

void convert_to_nv12(const Picture& picture, ozr_image* nv12)
{
    // A view of the picture; the library only reads it.
    ozr_image view = {};
    view.data = const_cast<uint8_t*>(picture.rgba.data());
    view.width = picture.width & ~1;
    view.height = picture.height & ~1;
    view.format = ozr_image_format_rgba32;
    view.stride = picture.width * 4;
    view.size = view.stride * view.height;
    const ozr_err error = ozr_image_convert_to_nv12(&view, nv12);
    if (error != ozr_success)
        fail("the conversion to NV12 failed (%s); give smaller pictures if memory is short",
             ozr_err_to_string(error));
}

Picture convert_to_picture(const ozr_image& nv12)
{
    const int32_t width = nv12.width & ~1, height = nv12.height & ~1;
    if (width == 0 || height == 0)
        fail("%dx%d pixels are too few for a picture; give larger ones", nv12.width, nv12.height);
    if (width != nv12.width || height != nv12.height) {
        ImageOwner even(width, height);
        _copy_even_part(nv12, even.get());
        return convert_to_picture(*even.get());
    }
    ImageOwner rgba;
    const ozr_err error = ozr_image_convert_to_rgba(&nv12, rgba.get());
    if (error != ozr_success)
        fail("the conversion to RGBA failed (%s); give smaller pictures if memory is short",
             ozr_err_to_string(error));
    Picture picture(nv12.width, nv12.height);
    for (int32_t y = 0; y < picture.height; ++y)
        memcpy(picture.row(y), rgba.get()->data + static_cast<ptrdiff_t>(y) * rgba.get()->stride,
               static_cast<size_t>(picture.width) * 4);
    return picture;
}

}  // namespace ozr_pano
