// Painting with edges that fall between pixels.
#include "scene/canvas.h"

#include "scene/lettering.h"

#include <math.h>
#include <string.h>

namespace ozr_pano
{

namespace
{

/** How much of pixel i the span from begin to end (256ths of a pixel) covers, 0 to 256. */
uint32_t _cover(int32_t i, int32_t begin, int32_t end)
{
    const int32_t from = std::max(begin, i * 256), to = std::min(end, i * 256 + 256);
    return to > from ? static_cast<uint32_t>(to - from) : 0;
}

}  // namespace

Canvas::Canvas(const Box& bounds, double scale)
    : bounds_(bounds), scale_(scale), width_(static_cast<int32_t>(bounds.width() * scale)),
      height_(static_cast<int32_t>(bounds.height() * scale)),
      pixels_(static_cast<size_t>(width_) * static_cast<size_t>(height_))
{
}

void Canvas::fill(const Box& box, Rgb colour, uint32_t opacity)
{
    const int32_t left = subpixel(box.left - bounds_.left), right = subpixel(box.right - bounds_.left);
    const int32_t top = subpixel(box.top - bounds_.top), bottom = subpixel(box.bottom - bounds_.top);
    const int32_t x_end = std::min((right + 255) >> 8, width_),
                  y_end = std::min((bottom + 255) >> 8, height_);
    for (int32_t y = std::max(top >> 8, 0); y < y_end; ++y) {
        const uint32_t row_cover = _cover(y, top, bottom) * opacity;
        for (int32_t x = std::max(left >> 8, 0); x < x_end; ++x) {
            Rgb& pixel = at(x, y);
            pixel = mix(pixel, colour, (row_cover * _cover(x, left, right)) >> 16);
        }
    }
}

void Canvas::disc(double x, double y, double radius, Rgb colour, uint32_t opacity)
{
    const Box box = {x - radius - 1 / scale_, y - radius - 1 / scale_, x + radius + 1 / scale_,
                     y + radius + 1 / scale_};
    shade(box, [&](double px, double py, Rgb below) {
        const double distance = sqrt((px - x) * (px - x) + (py - y) * (py - y));
        const double cover = std::clamp((radius - distance) * scale_ + 0.5, 0.0, 1.0);
        return mix(below, colour, static_cast<uint32_t>(cover * opacity));
    });
}

void Canvas::grain(const Box& box, int32_t steps, uint32_t seed)
{
    const double cells = 2.0;  // units to a grain, so that other sizes of the scene show the same ones
    shade(box, [&](double x, double y, Rgb below) {
        const uint32_t noise = value_noise(noise_place(x, cells), noise_place(y, cells), seed);
        return lighten(below, (static_cast<int32_t>(noise) - 32768) * steps / 32768);
    });
}

void Canvas::letters(double x, double y, double height, const char* text, Rgb colour)
{
    const double dot = height / kLetterRows;
    for (; *text != '\0'; ++text, x += dot * (kLetterColumns + 1)) {
        const uint8_t* rows = letter_rows(*text);
        for (int row = 0; rows != nullptr && row < kLetterRows; ++row) {
            for (int column = 0; column < kLetterColumns; ++column) {
                if ((rows[row] >> (kLetterColumns - 1 - column) & 1) != 0)
                    fill({x + column * dot, y + row * dot, x + (column + 1) * dot, y + (row + 1) * dot},
                         colour);
            }
        }
    }
}

double Canvas::letters_width(double height, const char* text)
{
    return (static_cast<double>(strlen(text)) * (kLetterColumns + 1) - 1) * height / kLetterRows;
}

}  // namespace ozr_pano
