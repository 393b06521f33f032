// The landscape of the demonstration: painted by the program, the same bytes on every machine.
#ifndef SCENE_H
#define SCENE_H

#include "scene/canvas.h"

namespace ozr_pano
{

// Units of a scene to a radian of the camera's pan: a picture of 1280 x 960 pixels sees 1280 x 960
// units.
constexpr double kSceneUnitsPerRadian = 1380.0;

// Of the city's street, in units below the line of sight.
constexpr double kCityStreet = 214;

// Paints a city along a street, for a camera that pans sideways.
// `along`: units from the left end, x = 0, to the right one.
// `across`: units from top to bottom; the camera looks at y = 0, the middle.
// `scale`: pixels to a unit.
Canvas paint_city(double along, double across, double scale, uint32_t seed);

// Paints a high tower from its roof down to the street, for a camera that tilts up or down.
// `along`: units from the upper end, y = 0, to the lower one.
// `across`: units from left to right; the camera looks at x = 0, the middle.
// `street`: y of the tower's foot.
Canvas paint_tower(double along, double across, double street, double scale, uint32_t seed);

}  // namespace ozr_pano

#endif
