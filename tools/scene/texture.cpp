// From painted colours to luma and chroma planes of several sizes.
#include "scene/texture.h"

namespace ozr_pano
{

namespace
{

constexpr size_t kLevels = 5;
constexpr int32_t kSmallestSide = 32;

// Sum of a 2 x 2 block's colours.
struct RgbSum {
    int32_t r, g, b;
};

uint8_t _luma(Rgb c)
{
    return static_cast<uint8_t>((66 * c.r + 129 * c.g + 25 * c.b + 128 + (16 << 8)) >> 8);
}

// The chroma of a block, U or V by its coefficients. Q8 coefficients times a sum of four: 10 bits
// to shift out; 128.5 in Q10 is the neutral value, rounded.
uint8_t _chroma(const RgbSum& sum, int32_t r, int32_t g, int32_t b)
{
    constexpr int32_t kNeutral = (128 << 10) + 512;
    return static_cast<uint8_t>((r * sum.r + g * sum.g + b * sum.b + kNeutral) >> 10);
}

uint8_t _u(const RgbSum& sum)
{
    return _chroma(sum, -38, -74, 112);
}

uint8_t _v(const RgbSum& sum)
{
    return _chroma(sum, 112, -94, -18);
}

TextureLevel _from_canvas(const Canvas& canvas)
{
    TextureLevel level = {canvas.width() & ~1, canvas.height() & ~1, {}, {}};
    const size_t pixels = static_cast<size_t>(level.width) * static_cast<size_t>(level.height);
    level.luma.reserve(pixels);
    level.chroma.reserve(pixels / 2);
    for (int32_t y = 0; y < level.height; ++y) {
        const Rgb* row = canvas.row(y);
        for (int32_t x = 0; x < level.width; ++x)
            level.luma.push_back(_luma(row[x]));
    }
    for (int32_t y = 0; y < level.height; y += 2) {
        const Rgb *top = canvas.row(y), *bottom = canvas.row(y + 1);
        for (int32_t x = 0; x < level.width; x += 2) {
            const RgbSum sum = {top[x].r + top[x + 1].r + bottom[x].r + bottom[x + 1].r,
                                top[x].g + top[x + 1].g + bottom[x].g + bottom[x + 1].g,
                                top[x].b + top[x + 1].b + bottom[x].b + bottom[x + 1].b};
            level.chroma.push_back(_u(sum));
            level.chroma.push_back(_v(sum));
        }
    }
    return level;
}

// Means of 2 x 2 blocks of a plane whose pixels have so many channels.
std::vector<uint8_t> _halve(const std::vector<uint8_t>& plane, int32_t width, int32_t new_width,
                            int32_t new_height, size_t channels)
{
    std::vector<uint8_t> half;
    half.reserve(static_cast<size_t>(new_width) * static_cast<size_t>(new_height) * channels);
    const size_t stride = static_cast<size_t>(width) * channels;
    for (size_t y = 0; y < static_cast<size_t>(new_height); ++y) {
        const uint8_t* top = plane.data() + 2 * y * stride;
        for (size_t x = 0; x < static_cast<size_t>(new_width); ++x) {
            for (size_t c = 0; c < channels; ++c) {
                const uint8_t* at = top + 2 * x * channels + c;
                half.push_back(static_cast<uint8_t>(
                    (at[0] + at[channels] + at[stride] + at[stride + channels] + 2) >> 2));
            }
        }
    }
    return half;
}

}  // namespace

Yuv yuv_of(Rgb colour)
{
    const RgbSum four = {4 * colour.r, 4 * colour.g, 4 * colour.b};
    return {_luma(colour), _u(four), _v(four)};
}

Texture::Texture(const Canvas& canvas)
{
    levels_.push_back(_from_canvas(canvas));
    while (levels_.size() < kLevels) {
        const TextureLevel& from = levels_.back();
        TextureLevel next = {(from.width / 2) & ~1, (from.height / 2) & ~1, {}, {}};
        if (std::min(next.width, next.height) < kSmallestSide)
            break;
        next.luma = _halve(from.luma, from.width, next.width, next.height, 1);
        next.chroma = _halve(from.chroma, from.width / 2, next.width / 2, next.height / 2, 2);
        levels_.push_back(std::move(next));
    }
}

}  // namespace ozr_pano
