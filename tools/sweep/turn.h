// Pictures of vertical sweeps were turned clockwise, so that inside the library every sweep runs
// along x; here everything is turned back.
#ifndef TURN_H
#define TURN_H

#include "media/picture.h"
#include "report/layout.h"

namespace ozr_pano
{

// From the canvas to the panorama.
class Turn
{
public:
    // `extent`: rows of the panorama.
    Turn(bool vertical, int32_t extent) : vertical_(vertical), extent_(extent) {}

    ozr_point step(int32_t x, int32_t y) const { return vertical_ ? ozr_point{y, -x} : ozr_point{x, y}; }

    ozr_point point(int32_t x, int32_t y) const
    {
        return vertical_ ? ozr_point{y, extent_ - x} : ozr_point{x, y};
    }

    // The same for what lies between pixels.
    Spot step(const Spot& step) const { return vertical_ ? Spot{step.y, -step.x} : step; }
    Spot point(const Spot& at) const { return vertical_ ? Spot{at.y, extent_ - at.x} : at; }

    ozr_rect box(int32_t x, int32_t y, int32_t width, int32_t height) const
    {
        if (!vertical_)
            return {x, y, x + width, y + height};
        return {y, extent_ - x - width, y + height, extent_ - x};
    }

    // A picture for as many pixels of the canvas.
    Picture picture(int32_t width, int32_t height) const
    {
        return vertical_ ? Picture(height, width) : Picture(width, height);
    }

    // Its pixel that shows (x, y) of `width` columns.
    uint8_t* pixel(Picture* picture, int32_t x, int32_t y, int32_t width) const
    {
        return vertical_ ? picture->row(width - 1 - x) + 4 * y : picture->row(y) + 4 * x;
    }

private:
    bool vertical_;
    int32_t extent_;  // of the panorama along a vertical sweep
};

}  // namespace ozr_pano

#endif
