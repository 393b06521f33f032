// A simulated pinhole camera in the middle of a painted cylinder.
#ifndef CAMERA_H
#define CAMERA_H

#include "scene/texture.h"

#include <ozr_image.h>

namespace ozr_pano
{

/** Where the camera points, in radians. */
struct Pose {
    double along;   // the pan: grows to the right, or downwards in a vertical sweep
    double across;  // the tilt out of the pan's plane: grows downwards, or to the right in a vertical sweep
    double roll;    // about the line of sight
};

/** The camera's picture. */
struct Lens {
    int32_t width, height;  // pixels, both even
    double focal;           // focal length in pixels
    bool vertical;          // the camera sweeps up or down
};

/**
 * The focal length for which the library's projection is made, in pixels.
 *
 * The projection has no calibration: it takes a camera that sees about 50 degrees along the sweep.
 * @param extent  pixels of the picture along the sweep, at least 64.
 */
double assumed_focal_length(int32_t extent);

/** The angle of a tangent, for tangents of at most 1 either way, with the same bits on every machine. */
double arc_tangent(double tangent);

/** A cylinder around the camera, painted with a scene that runs along the sweep. */
class Surroundings
{
public:
    /**
     * @param canvas    the scene; the origin of its axis across the sweep lies at the camera's height.
     * @param scale     pixels of the canvas to a radian.
     * @param vertical  the canvas' y axis runs along the sweep, not its x axis.
     */
    Surroundings(const Canvas& canvas, double scale, bool vertical);

    /**
     * Takes a picture. What lies beyond the scene's edges shows the edge.
     *
     * @param pose     along = 0 looks at the beginning of the scene.
     * @param picture  in/out: an NV12 image of the lens' size.
     */
    void photograph(const Lens& lens, const Pose& pose, ozr_image* picture) const;

private:
    Texture texture_;
    double scale_;
    double middle_;  // pixels of the canvas from its edge to the camera's height
};

}  // namespace ozr_pano

#endif
