// A simulated pinhole camera in the middle of a painted cylinder.
#ifndef CAMERA_H
#define CAMERA_H

#include "scene/texture.h"
#include "scene/walkers.h"

#include <ozr_image.h>

namespace ozr_pano
{

// Where the camera points, in radians.
struct Pose {
    double along;   // the pan: grows to the right, or downwards in a vertical sweep
    double across;  // tilt out of the plane of the pan: down, or right in a vertical sweep
    double roll;    // about the line of sight
};

// The camera's picture.
struct Lens {
    int32_t width, height;  // pixels, both even
    double focal;           // focal length in pixels
    bool vertical;          // the camera sweeps up or down

    // A place at r focal lengths from the middle is seen r (1 + radial r^2) off the axis.
    double radial = 0;
    double vignetting = 0;  // share of the light that the corners lose
};

// What happens while a picture is taken.
struct Instant {
    double sweep = 0;                              // radians of pan from the first row to the last
    double brightness = 1;                         // of the exposure
    const std::vector<Walker>* walkers = nullptr;  // who is before the camera, or nobody
};

// The focal length for which the library's projection is made, in pixels.
//
// The projection has no calibration: it takes a camera that sees about 50 degrees along the sweep.
// `extent`: pixels of the picture along the sweep, at least 64.
double assumed_focal_length(int32_t extent);

// The angle of a tangent, for tangents of at most 1 either way, with the same bits on every
// machine.
double arc_tangent(double tangent);

// A cylinder around the camera, painted with a scene that runs along the sweep.
class Surroundings
{
public:
    // `canvas`: the scene; the origin of its axis across the sweep lies at the camera's height.
    // `scale`: pixels of the canvas to a radian.
    // `vertical`: the canvas' y axis runs along the sweep, not its x axis.
    Surroundings(const Canvas& canvas, double scale, bool vertical);

    // Takes a picture. What lies beyond the scene's edges shows the edge.
    // `pose`: along = 0 looks at the beginning of the scene.
    // With a rolling shutter the pose is that of the middle row.
    // `picture`: in/out: an NV12 image of the lens' size.
    void photograph(const Lens& lens, const Pose& pose, ozr_image* picture,
                    const Instant& instant = Instant()) const;

    // What the scene shows, in units.
    const Box& bounds() const { return bounds_; }

private:
    Texture texture_;
    double scale_;
    double middle_;  // pixels of the canvas from its edge to the camera's height
    Box bounds_;     // of the canvas
    double units_;   // pixels of the canvas to a unit
};

}  // namespace ozr_pano

#endif
