#include "refined/camera.h"

namespace ozr::refined
{

namespace
{

// Newton's method for r (1 + k1 r^2) = distance starts within a few percent and doubles its digits
// in each step.
constexpr int32_t kNewtonSteps = 5;

// A lens that bends so much that the picture folds over has no inverse; the slope is kept
// away from 0.
constexpr double kLeastStretch = 0.2;

}  // namespace

Place straightened_place(Place bent, double radial)
{
    const double d = 1.0 + radial * (bent.x * bent.x + bent.y * bent.y);
    return {bent.x * d, bent.y * d};
}

BentPlace bent_place(Place straight, double radial)
{
    if (radial == 0.0)
        return {straight, 1.0, 1.0};
    const double square = straight.x * straight.x + straight.y * straight.y;
    // The scale s = r / distance solves s (1 + k1 s^2 distance^2) = 1.
    const double k = radial * square;
    double s = 1.0;
    for (int32_t i = 0; i < kNewtonSteps; ++i) {
        const double slope = 1.0 + 3.0 * k * s * s;
        s -= (s * (1.0 + k * s * s) - 1.0) / (slope > kLeastStretch ? slope : kLeastStretch);
    }
    const double stretch = 1.0 + 3.0 * k * s * s;
    return {
        {straight.x * s, straight.y * s}, 1.0 + k * s * s, stretch > kLeastStretch ? stretch : kLeastStretch};
}

}  // namespace ozr::refined
