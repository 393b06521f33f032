// One camera of a sweep, in the orientation in which the sweep runs along x.
#ifndef REFINED_CAMERA_H
#define REFINED_CAMERA_H

namespace ozr::refined
{

struct Camera {
    double
        rotation[9];  // turns a ray of the camera into the world, row-major; world: x right along the sweep,
                      // y down, z ahead
    double focal;     // pixels of the picture, this picture's own (zoom included)
    double radial;    // k1: the ray of picture place (x, y) is (u d, v d, 1), u = (x - cx) / focal,
                      // v = (y - cy) / focal, d = 1 + k1 (u^2 + v^2); (cx, cy) is the middle,
                      // ((width - 1) / 2, (height - 1) / 2)
    double gain;      // brightness: luma is multiplied by it (filled by exposure)
    bool used;        // in the panorama
};

}  // namespace ozr::refined

#endif
