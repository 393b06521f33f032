// People who walk through the scene while the camera pans: no two pictures show them at one place.
#ifndef WALKERS_H
#define WALKERS_H

#include "scene/canvas.h"

namespace ozr_pano
{

// A person, in canvas units.
struct Walker {
    double x, y;    // between the feet
    double height;  // from the feet up
    double stride;  // of the legs, -1 to 1
    Rgb coat, trousers;
};

// All that paint_walker covers, and a little more.
Box box_of(const Walker& walker);

// What a person looks like at a place: a colour, and how much of it covers the scene, 0 to 256.
struct WalkerPaint {
    Rgb colour;
    uint32_t cover;
};

// Where people walk: along x, their feet at y = ground.
struct Pavement {
    double from;
    double to;
    double ground;
};

// Who walks where, so many seconds after the sweep began.
std::vector<Walker> walkers_at(double seconds, int32_t count, const Pavement& pavement, uint32_t seed);

// `pixel`: units of one; edges are as soft as that.
WalkerPaint paint_walker(const Walker& walker, double x, double y, double pixel);

}  // namespace ozr_pano

#endif
