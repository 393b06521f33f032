// A picture to paint a scene on, in units that do not depend on its resolution.
#ifndef CANVAS_H
#define CANVAS_H

#include "scene/noise.h"

#include <algorithm>
#include <stddef.h>
#include <vector>

namespace ozr_pano
{

struct Rgb {
    uint8_t r, g, b;
};

// Between a (weight 0) and b (weight 256).
constexpr Rgb mix(Rgb a, Rgb b, uint32_t weight)
{
    return {static_cast<uint8_t>((a.r * (256 - weight) + b.r * weight) >> 8),
            static_cast<uint8_t>((a.g * (256 - weight) + b.g * weight) >> 8),
            static_cast<uint8_t>((a.b * (256 - weight) + b.b * weight) >> 8)};
}

// A colour made lighter or darker by so many steps of 255.
constexpr Rgb lighten(Rgb colour, int32_t steps)
{
    return {static_cast<uint8_t>(std::clamp(colour.r + steps, 0, 255)),
            static_cast<uint8_t>(std::clamp(colour.g + steps, 0, 255)),
            static_cast<uint8_t>(std::clamp(colour.b + steps, 0, 255))};
}

// A rectangle in canvas units: right and bottom are excluded.
struct Box {
    double left, top, right, bottom;

    double width() const { return right - left; }
    double height() const { return bottom - top; }
    double middle() const { return (left + right) / 2; }
    Box inset(double x, double y) const { return {left + x, top + y, right - x, bottom - y}; }
};

// Pixels with a coordinate system of their own: x to the right, y downwards, the origin anywhere.
//
// Edges fall between pixels and are painted with the share of the pixel that they cover, in 256ths.
// All arithmetic is of a kind that every machine rounds alike, so that a scene has the same bytes
// everywhere.
class Canvas
{
public:
    // `bounds`: what the canvas shows, in units. `scale`: pixels in a unit.
    Canvas(const Box& bounds, double scale);

    int32_t width() const { return width_; }
    int32_t height() const { return height_; }
    const Box& bounds() const { return bounds_; }
    double scale() const { return scale_; }
    const Rgb* row(int32_t y) const
    {
        return pixels_.data() + static_cast<size_t>(y) * static_cast<size_t>(width_);
    }

    // Fills a box; opacity 256 covers what is below, less lets it shine through.
    void fill(const Box& box, Rgb colour, uint32_t opacity = 256);

    // Fills a circle.
    void disc(double x, double y, double radius, Rgb colour, uint32_t opacity = 256);

    // Makes every pixel of a box lighter or darker at random, by at most so many steps.
    void grain(const Box& box, int32_t steps, uint32_t seed);

    // Writes capitals, digits and spaces, 7/5 of the letter width high; other characters stay
    // blank.
    void letters(double x, double y, double height, const char* text, Rgb colour);

    // Width of such a line.
    static double letters_width(double height, const char* text);

    // Calls shader(x, y, colour below) with the units of each pixel of a box and stores the colour
    // it returns.
    template <class Shader>
    void shade(const Box& box, Shader shader)
    {
        const Span xs = whole_pixels(box.left - bounds_.left, box.right - bounds_.left, width_);
        const Span ys = whole_pixels(box.top - bounds_.top, box.bottom - bounds_.top, height_);
        for (int32_t y = ys.begin; y < ys.end; ++y) {
            for (int32_t x = xs.begin; x < xs.end; ++x) {
                Rgb& pixel = at(x, y);
                pixel = shader(unit_x(x), unit_y(y), pixel);
            }
        }
    }

    // Fills everything below a line: top(x) gives its y, shader as in shade().
    template <class Top, class Shader>
    void shade_below(const Box& box, Top top, Shader shader)
    {
        const Span xs = whole_pixels(box.left - bounds_.left, box.right - bounds_.left, width_);
        for (int32_t x = xs.begin; x < xs.end; ++x) {
            const int32_t edge = subpixel(std::max(top(unit_x(x)), box.top) - bounds_.top);
            const int32_t end = whole_pixels(0, box.bottom - bounds_.top, height_).end;
            for (int32_t y = std::max(edge >> 8, 0); y < end; ++y) {
                Rgb& pixel = at(x, y);
                const uint32_t cover = static_cast<uint32_t>(std::min(((y + 1) << 8) - edge, 256));
                pixel = mix(pixel, shader(unit_x(x), unit_y(y), pixel), cover);
            }
        }
    }

private:
    struct Span {
        int32_t begin, end;
    };

    Rgb& at(int32_t x, int32_t y)
    {
        return pixels_[static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)];
    }
    double unit_x(int32_t x) const { return bounds_.left + (x + 0.5) / scale_; }
    double unit_y(int32_t y) const { return bounds_.top + (y + 0.5) / scale_; }
    // A distance in units as 256ths of a pixel, limited to what 32 bits hold easily.
    int32_t subpixel(double units) const
    {
        return static_cast<int32_t>(std::clamp(units * scale_ * 256.0, -1.0e8, 1.0e8));
    }
    Span whole_pixels(double begin, double end, int32_t limit) const
    {
        return {std::clamp((subpixel(begin) + 128) >> 8, 0, limit),
                std::clamp((subpixel(end) + 128) >> 8, 0, limit)};
    }

    Box bounds_;
    double scale_;
    int32_t width_, height_;
    std::vector<Rgb> pixels_;
};

// Calls paint(place) for begin and every step from there on that lies before end.
template <class Paint>
void repeat(double begin, double end, double step, Paint paint)
{
    for (int i = 0; begin + i * step < end; ++i)
        paint(begin + i * step);
}

struct Interval {
    double low, high;
};

// Calls paint(place) for places of a stretch, at random distances; the first one is less than the
// greatest distance behind its beginning.
template <class Paint>
void scatter(Dice& dice, Interval stretch, Interval distances, Paint paint)
{
    double place = stretch.low + dice.between(0, distances.high);
    while (place < stretch.high) {
        paint(place);
        place += dice.between(distances.low, distances.high);
    }
}

// A length or a place in units as an argument of the noise functions: one cell of noise to a period
// of units.
inline uint32_t noise_place(double units, double period)
{
    return static_cast<uint32_t>(static_cast<int64_t>((units + 100000.0) / period * 4096.0));
}

}  // namespace ozr_pano

#endif
