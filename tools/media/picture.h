// A decoded picture in memory.
#ifndef PICTURE_H
#define PICTURE_H

#include <stddef.h>
#include <stdint.h>
#include <vector>

namespace ozr_pano
{

// Limits that a header must keep before anything is allocated for its pixels.
constexpr int64_t kMaxPictureSide = 16384;
constexpr int64_t kMaxPicturePixels = int64_t{1} << 26;

// Whether a picture of this size is one that the program handles.
constexpr bool is_sane_picture_size(int64_t width, int64_t height)
{
    return width >= 1 && height >= 1 && width <= kMaxPictureSide && height <= kMaxPictureSide &&
           width * height <= kMaxPicturePixels;
}

// Rows of R, G, B, A without padding.
struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> rgba;
    std::vector<uint8_t> exif;  // the TIFF block of the file that it was read from; empty for none

    Picture() = default;
    Picture(int32_t picture_width, int32_t picture_height)
        : width(picture_width), height(picture_height),
          rgba(static_cast<size_t>(picture_width) * static_cast<size_t>(picture_height) * 4)
    {
    }
    uint8_t* row(int32_t y) { return rgba.data() + static_cast<size_t>(y) * static_cast<size_t>(width) * 4; }
    const uint8_t* row(int32_t y) const
    {
        return rgba.data() + static_cast<size_t>(y) * static_cast<size_t>(width) * 4;
    }
};

}  // namespace ozr_pano

#endif
