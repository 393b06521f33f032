// The camera that a refined sweep found for a picture, as the report page draws with it. What is
// drawn here is looked at and never stitched, so it may use the C library's functions.
#ifndef PINHOLE_H
#define PINHOLE_H

#include "report/layout.h"

namespace ozr_pano
{

struct Ray {
    double x, y, z;  // to the right along the sweep, down, ahead
};

// Places are in pixels from the picture's middle.
struct Pinhole {
    double rotation[9];  // of a ray of the camera into the world, row-major
    double focal;        // pixels
    double radial;       // r focal lengths from the middle are seen r (1 + radial r^2) off the axis
    // What a rolling shutter adds to the place (x, y): (stretch x + shear y, shear x - stretch y).
    double stretch, shear;

    // The direction in which the camera sees a place.
    Ray ray(const Spot& place) const;

    // False where it looks away.
    bool place(const Ray& ray, Spot* place) const;
};

// Where a ray meets the upright cylinder of radius 1: radians to the right, and downwards.
Spot on_cylinder(const Ray& ray);

}  // namespace ozr_pano

#endif
