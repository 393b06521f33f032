// Pictures made smaller for a page: means over blocks, whose borders lie on whole pixels.
#include "media/thumbnail.h"

#include <algorithm>

namespace ozr_pano
{

namespace
{

/** The first source pixel of an output pixel; that of the one behind the last is the source's end. */
int32_t _begin_of(int32_t position, int32_t output, int32_t source)
{
    return static_cast<int32_t>(int64_t{position} * source / output);
}

}  // namespace

Picture shrink(const Picture& picture, int32_t longest)
{
    const int32_t longer = std::max(picture.width, picture.height);
    if (longer <= longest)
        return picture;
    Picture small(std::max(1, static_cast<int32_t>(int64_t{picture.width} * longest / longer)),
                  std::max(1, static_cast<int32_t>(int64_t{picture.height} * longest / longer)));
    for (int32_t y = 0; y < small.height; ++y) {
        const int32_t top = _begin_of(y, small.height, picture.height);
        const int32_t bottom = _begin_of(y + 1, small.height, picture.height);
        for (int32_t x = 0; x < small.width; ++x) {
            const int32_t left = _begin_of(x, small.width, picture.width);
            const int32_t right = _begin_of(x + 1, small.width, picture.width);
            uint32_t sums[4] = {};
            for (int32_t v = top; v < bottom; ++v) {
                const uint8_t* pixel = picture.row(v) + left * 4;
                for (int32_t i = 0; i < (right - left) * 4; ++i)
                    sums[i % 4] += pixel[i];
            }
            const uint32_t count = static_cast<uint32_t>((bottom - top) * (right - left));
            for (int channel = 0; channel < 4; ++channel)
                small.row(y)[x * 4 + channel] = static_cast<uint8_t>(sums[channel] / count);
        }
    }
    return small;
}

}  // namespace ozr_pano
