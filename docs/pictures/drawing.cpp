#include "drawing.h"

#include <algorithm>
#include <cmath>
#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr int32_t kBytes = 4;  // of a pixel
constexpr int32_t kGap = 8;    // between pictures

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

void draw_line(Picture* picture, const Spot& from, const Spot& to, double width, Ink ink)
{
    const double length = std::max(std::hypot(to.x - from.x, to.y - from.y), 1e-9);
    const double right = (to.x - from.x) / length, down = (to.y - from.y) / length, half = width / 2;
    const auto least = [&](double a, double b) {
        return static_cast<int32_t>(std::floor(std::min(a, b) - half - 1));
    };
    const auto most = [&](double a, double b) {
        return static_cast<int32_t>(std::ceil(std::max(a, b) + half + 1));
    };
    for (int32_t y = least(from.y, to.y); y < most(from.y, to.y); ++y) {
        for (int32_t x = least(from.x, to.x); x < most(from.x, to.x); ++x) {
            // From the middle of the pixel to the nearest place of the line; a
            // pixel at its edge is mixed.
            const double to_x = x + 0.5 - from.x, to_y = y + 0.5 - from.y;
            const double along = std::clamp(to_x * right + to_y * down, 0.0, length);
            const double off = std::hypot(to_x - along * right, to_y - along * down);
            const double share = std::clamp(half + 0.5 - off, 0.0, 1.0);
            tint(picture, {x, y, 1, 1}, ink, static_cast<int32_t>(std::lround(100 * share)));
        }
    }
}

Picture side_by_side(const std::vector<Picture>& pictures)
{
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

Picture stacked(const std::vector<Picture>& pictures)
{
    int32_t width = 0;
    int32_t height = -kGap;
    for (const Picture& picture : pictures) {
        width = std::max(width, picture.width);
        height += picture.height + kGap;
    }
    Picture result = blank(width, height, kWhite);
    int32_t y = 0;
    for (const Picture& picture : pictures) {
        paste(&result, picture, 0, y);
        y += picture.height + kGap;
    }
    return result;
}

}  // namespace ozr_pano
