// What the pictures of the documentation are put together with.
#ifndef DRAWING_H
#define DRAWING_H

#include "media/picture.h"
#include "report/layout.h"

namespace ozr_pano
{

// Pixels: left, top, and the columns and rows of a part of a picture.
struct Part {
    int32_t x, y, width, height;
};

struct Ink {
    uint8_t r, g, b;
};

constexpr Ink kWhite = {255, 255, 255}, kRed = {230, 30, 30}, kBlue = {30, 90, 230}, kYellow = {255, 230, 0};

// A picture of one colour.
Picture blank(int32_t width, int32_t height, Ink ink);

// A part of a picture, every pixel `zoom` pixels wide and high.
Picture cut(const Picture& picture, const Part& part, int32_t zoom);

// Half the width and height, each pixel the mean of four.
Picture halved(const Picture& picture);

// Copies a picture onto another, as far as it lies on it.
void paste(Picture* onto, const Picture& picture, int32_t x, int32_t y);

// Mixes a colour into a rectangle: `percent` of it; 100 covers.
void tint(Picture* picture, const Part& part, Ink ink, int32_t percent);

// Draws the outline of a rectangle, two pixels wide and inside it.
void outline(Picture* picture, const Part& part, Ink ink);

// Draws a line of `width` pixels, with smooth edges. Places are between pixels.
void draw_line(Picture* picture, const Spot& from, const Spot& to, double width, Ink ink);

// Pictures in a row, with a white gap between them.
Picture side_by_side(const std::vector<Picture>& pictures);

// The same, from top to bottom.
Picture stacked(const std::vector<Picture>& pictures);

}  // namespace ozr_pano

#endif
