#include "sweep/pinhole.h"

#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr double kLeastAhead = 0.1;  // rays beyond 84 degrees aside show on no picture
constexpr int kNewtonSteps = 8;      // each doubles the digits

// Solves r (1 + radial r^2) = distance for r / distance.
double _bending(double radial, double square_of_distance)
{
    const double k = radial * square_of_distance;
    double scale = 1;
    for (int i = 0; i < kNewtonSteps; ++i)
        scale -= (scale * (1 + k * scale * scale) - 1) / fmax(1 + 3 * k * scale * scale, 0.2);
    return scale;
}

}  // namespace

Ray Pinhole::ray(const Spot& place) const
{
    const double scale = 1 / (focal * (1 - stretch * stretch - shear * shear));
    const double u = scale * (place.x - stretch * place.x - shear * place.y);
    const double v = scale * (place.y - shear * place.x + stretch * place.y);
    const double d = 1 + radial * (u * u + v * v);
    const double* m = rotation;
    return {m[0] * u * d + m[1] * v * d + m[2], m[3] * u * d + m[4] * v * d + m[5],
            m[6] * u * d + m[7] * v * d + m[8]};
}

bool Pinhole::place(const Ray& ray, Spot* place) const
{
    const double* m = rotation;
    const double x = m[0] * ray.x + m[3] * ray.y + m[6] * ray.z;
    const double y = m[1] * ray.x + m[4] * ray.y + m[7] * ray.z;
    const double z = m[2] * ray.x + m[5] * ray.y + m[8] * ray.z;
    if (z < kLeastAhead * sqrt(x * x + y * y + z * z))
        return false;
    const double scale = focal * _bending(radial, (x * x + y * y) / (z * z)) / z;
    const Spot lens = {x * scale, y * scale};
    *place = {lens.x + stretch * lens.x + shear * lens.y, lens.y + shear * lens.x - stretch * lens.y};
    return true;
}

Spot on_cylinder(const Ray& ray)
{
    return {atan2(ray.x, ray.z), ray.y / hypot(ray.x, ray.z)};
}

}  // namespace ozr_pano
