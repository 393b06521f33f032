#include "drawing.h"

#include <algorithm>
#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr int32_t kBytes = 4;  // of a pixel

uint8_t* _pixel(Picture* picture, int32_t x, int32_t y)
{
    return picture->row(y) + static_cast<ptrdiff_t>(kBytes) * x;
}

uint8_t _mixed(int32_t from, int32_t to, int32_t percent)
{
    return static_cast<uint8_t>((from * (100 - percent) + to * percent + 50) / 100);
}

}  // namespace

Picture blank(int32_t width, int32_t height, Ink ink)
{
    Picture picture(width, height);
    tint(&picture, {0, 0, width, height}, ink, 100);
    return picture;
}

Picture cut(const Picture& picture, const Part& part, int32_t zoom)
{
    Picture result(part.width * zoom, part.height * zoom);
    for (int32_t y = 0; y < result.height; ++y) {
        for (int32_t x = 0; x < result.width; ++x)
            memcpy(_pixel(&result, x, y),
                   picture.row(part.y + y / zoom) + static_cast<ptrdiff_t>(kBytes) * (part.x + x / zoom),
                   kBytes);
    }
    return result;
}

Picture halved(const Picture& picture)
{
    Picture result(picture.width / 2, picture.height / 2);
    for (int32_t y = 0; y < result.height; ++y) {
        const uint8_t* top = picture.row(2 * y);
        const uint8_t* bottom = picture.row(2 * y + 1);
        for (int32_t i = 0; i < kBytes * result.width; ++i) {
            const int32_t at = i / kBytes * 2 * kBytes + i % kBytes;
            const int32_t sum = top[at] + top[at + kBytes] + bottom[at] + bottom[at + kBytes];
            result.row(y)[i] = static_cast<uint8_t>((sum + 2) / 4);
        }
    }
    return result;
}

void paste(Picture* onto, const Picture& picture, int32_t x, int32_t y)
{
    const int32_t left = std::max(0, -x);
    const int32_t right = std::min(picture.width, onto->width - x);
    for (int32_t row = std::max(0, -y); row < std::min(picture.height, onto->height - y); ++row) {
        if (left < right)
            memcpy(_pixel(onto, x + left, y + row), picture.row(row) + static_cast<ptrdiff_t>(kBytes) * left,
                   static_cast<size_t>(right - left) * kBytes);
    }
}

void tint(Picture* picture, const Part& part, Ink ink, int32_t percent)
{
    for (int32_t y = std::max(part.y, 0); y < std::min(part.y + part.height, picture->height); ++y) {
        for (int32_t x = std::max(part.x, 0); x < std::min(part.x + part.width, picture->width); ++x) {
            uint8_t* pixel = _pixel(picture, x, y);
            pixel[0] = _mixed(pixel[0], ink.r, percent);
            pixel[1] = _mixed(pixel[1], ink.g, percent);
            pixel[2] = _mixed(pixel[2], ink.b, percent);
            pixel[3] = 255;
        }
    }
}

void outline(Picture* picture, const Part& part, Ink ink)
{
    constexpr int32_t kLine = 2;
    tint(picture, {part.x, part.y, part.width, kLine}, ink, 100);
    tint(picture, {part.x, part.y + part.height - kLine, part.width, kLine}, ink, 100);
    tint(picture, {part.x, part.y, kLine, part.height}, ink, 100);
    tint(picture, {part.x + part.width - kLine, part.y, kLine, part.height}, ink, 100);
}

Picture side_by_side(const std::vector<Picture>& pictures)
{
    constexpr int32_t kGap = 8;
    int32_t width = -kGap;
    int32_t height = 0;
    for (const Picture& picture : pictures) {
        width += picture.width + kGap;
        height = std::max(height, picture.height);
    }
    Picture result = blank(width, height, kWhite);
    int32_t x = 0;
    for (const Picture& picture : pictures) {
        paste(&result, picture, x, 0);
        x += picture.width + kGap;
    }
    return result;
}

}  // namespace ozr_pano
