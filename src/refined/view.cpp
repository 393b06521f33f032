#include "refined/view.h"

#include <cmath>

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

constexpr double kFixedOne = 1 << 30;  // a camera's numbers are multiples of its inverse
constexpr double kNodeOne = 1 << kNodePlaceBits;
constexpr double kGainOne = 1 << 13;  // gains as nodes hold them
constexpr double kMaxGain = 32767;
constexpr double kFarAway = 65536.0;  // pixels; what a camera cannot see
// Of a ray's part along the camera's axis: some 86 degrees from it.
constexpr double kLeastAhead = 1.0 / 16;
constexpr double kSteepest = 4.0;  // height over distance: 76 degrees
constexpr double kReach = 1.2;     // of the lens table against the corners

double _fixed(double value)
{
    return static_cast<double>(nearest(value * kFixedOne)) / kFixedOne;
}

double _limited(double value, double limit)
{
    return value < -limit ? -limit : value > limit ? limit : value;
}

// How far (square) from the middle the lens can be followed: to the corners and a little beyond,
// but not to where a negative radial term folds the picture back.
double _followed(double corner, double radial)
{
    constexpr double kLeastSlope = 0.1;  // of the undistorted against the distorted distance
    const double reach = corner * kReach;
    const double fold = radial < 0.0 ? (1.0 - kLeastSlope) / (-3.0 * radial) : reach;
    return reach < fold ? reach : fold;
}

// The distorted distance over the undistorted one: t with t (1 + k1 q t^2) = 1, by Newton's
// method from 1. It doubles the digits in each step, but begins slowly near a fold.
double _distortion(double q, double radial)
{
    constexpr int32_t kNewtonSteps = 12;
    double t = 1.0;
    for (int32_t step = 0; step < kNewtonSteps; ++step)
        t -= (t * (1.0 + radial * q * t * t) - 1.0) / (1.0 + 3.0 * radial * q * t * t);
    return t;
}

}  // namespace

View::View(const Camera& camera, int32_t width, int32_t height)
    : focal_(_fixed(camera.focal)), radial_(_fixed(camera.radial)),
      skew_({_fixed(camera.skew.stretch), _fixed(camera.skew.shear)}), middle_x_((width - 1) / 2.0),
      middle_y_((height - 1) / 2.0)
{
    for (int32_t row = 0; row < 3; ++row) {
        for (int32_t column = 0; column < 3; ++column)
            turn_[3 * row + column] = _fixed(camera.rotation.m[3 * column + row]);
    }
    corner_ = (middle_x_ * middle_x_ + middle_y_ * middle_y_) / (focal_ * focal_);
    const double followed = _followed(corner_, radial_);
    const double stretch = 1.0 + radial_ * followed;
    lens_reach_ = followed * stretch * stretch;
    for (int32_t i = 0; i < kLensSteps + 2; ++i)
        lens_[i].scale = _distortion(lens_reach_ * i / kLensSteps, radial_);
    set_gain(1.0, {});
}

void View::set_gain(double gain, const Falloff& falloff)
{
    for (int32_t i = 0; i < kLensSteps + 2; ++i) {
        const double spread = lens_reach_ * i / kLensSteps * lens_[i].scale * lens_[i].scale / corner_;
        const double lost = (falloff.first + falloff.second * spread) * spread;
        lens_[i].gain = _limited(gain * exponential(lost) * kGainOne, kMaxGain);
    }
}

NodePlace View::place(const Heading& heading, double height, int16_t* gain) const
{
    const double ahead = turn_[6] * heading.sine + turn_[7] * height + turn_[8] * heading.cosine;
    *gain = static_cast<int16_t>(nearest(lens_[0].gain));
    if (ahead < kLeastAhead)
        return {static_cast<int32_t>(-kFarAway * kNodeOne), static_cast<int32_t>(-kFarAway * kNodeOne)};
    const double scale = 1.0 / ahead;
    const double x = (turn_[0] * heading.sine + turn_[1] * height + turn_[2] * heading.cosine) * scale;
    const double y = (turn_[3] * heading.sine + turn_[4] * height + turn_[5] * heading.cosine) * scale;
    const double step = _limited((x * x + y * y) * (kLensSteps / lens_reach_), kLensSteps);
    const int32_t index = static_cast<int32_t>(step);
    const double part = step - index;
    const Lens &here = lens_[index], &next = lens_[index + 1];
    const double places = (here.scale + (next.scale - here.scale) * part) * focal_;
    *gain = static_cast<int16_t>(nearest(here.gain + (next.gain - here.gain) * part));
    const Place shown = skewed_place({x * places, y * places}, skew_);
    return {nearest_int(_limited(shown.x + middle_x_, kFarAway) * kNodeOne),
            nearest_int(_limited(shown.y + middle_y_, kFarAway) * kNodeOne)};
}

double View::heading() const
{
    return arctangent(turn_[6], turn_[8]);
}

double View::spread(const NodePlace& place) const
{
    const double x = (place.x / kNodeOne - middle_x_) / focal_;
    const double y = (place.y / kNodeOne - middle_y_) / focal_;
    return (x * x + y * y) / corner_;
}

bool View::ray(double x, double y, double* heading, double* height) const
{
    const Place seen = unskewed_place({(x - middle_x_) / focal_, (y - middle_y_) / focal_}, skew_);
    const double u = seen.x;
    const double v = seen.y;
    const double stretch = 1.0 + radial_ * (u * u + v * v);
    const double a = u * stretch, b = v * stretch;
    const double right = turn_[0] * a + turn_[3] * b + turn_[6];
    const double down = turn_[1] * a + turn_[4] * b + turn_[7];
    const double ahead = turn_[2] * a + turn_[5] * b + turn_[8];
    const double distance = std::sqrt(right * right + ahead * ahead);
    if (distance * kSteepest < (down < 0.0 ? -down : down))
        return false;
    *heading = arctangent(right, ahead);
    *height = down / distance;
    return true;
}

}  // namespace ozr::refined
