// Where a picture shows what the panorama shows: from a place on the cylinder to a place
// in the picture.
//
// A cylinder of radius r stands upright around the cameras; pixel (X, Y) of the panorama looks
// along the ray (sin(X / r), Y / r, cos(X / r)). The camera's numbers are rounded to fixed point
// before anything is drawn with them.
#ifndef REFINED_VIEW_H
#define REFINED_VIEW_H

#include <stdint.h>

#include "refined/camera.h"

namespace ozr::refined
{

// Places in pictures, as the nodes of a drawing hold them.
constexpr int32_t kNodePlaceBits = 14;

// Sine and cosine of a column's heading.
struct Heading {
    double sine;
    double cosine;
};

struct NodePlace {
    int32_t x;  // Q14 pixels of the picture
    int32_t y;
};

class View
{
public:
    View(const Camera& camera, int32_t width, int32_t height);
    View() = default;

    // Counts brightness in from now on.
    void set_gain(double gain, const Falloff& falloff);

    // The place, and what luma there is multiplied by. Places that the camera cannot see are far
    // outside the picture.
    NodePlace place(const Heading& heading, double height, int16_t* gain) const;

    double heading() const;  // of the picture's middle, -pi to pi

    double focal() const { return focal_; }

    // The square of the distance of a place from the middle, 1 at the corners.
    double spread(const NodePlace& place) const;

    // Heading and height of the ray of a picture place; false where it looks up or down too steeply
    // for a cylinder.
    bool ray(double x, double y, double* heading, double* height) const;

private:
    // The lens, by the square of an undistorted ray's distance from the axis.
    static constexpr int32_t kLensSteps = 256;
    struct Lens {
        double scale;  // of the distorted place against the undistorted one
        double gain;   // Q13
    };

    double turn_[9] = {};  // from the world to the camera, row-major
    double focal_ = 1.0;
    double radial_ = 0.0;
    Skew skew_ = {0.0, 0.0};
    double middle_x_ = 0.0;
    double middle_y_ = 0.0;
    double corner_ = 1.0;      // square of the corners' distance, in focal lengths
    double lens_reach_ = 1.0;  // square of the largest undistorted distance in the table
    Lens lens_[kLensSteps + 2] = {};
};

}  // namespace ozr::refined

#endif
