#include "refined/elementary.h"

#include <cmath>

namespace ozr::refined
{

namespace
{

// Power series, nested; within [-pi/4, pi/4] the first term left out is below 2^-56.
double _sine_near_zero(double a)
{
    const double s = a * a;
    double sum = 1.0;
    for (int32_t k = 16; k >= 2; k -= 2)
        sum = 1.0 - s / (k * (k + 1.0)) * sum;
    return a * sum;
}

double _cosine_near_zero(double a)
{
    const double s = a * a;
    double sum = 1.0;
    for (int32_t k = 17; k >= 1; k -= 2)
        sum = 1.0 - s / (k * (k + 1.0)) * sum;
    return sum;
}

// Halving the angle thrice leaves at most tan(pi/32): eight terms reach the last bit.
double _arctangent_of(double t)
{
    constexpr int32_t kHalvings = 3;
    for (int32_t i = 0; i < kHalvings; ++i)
        t = t / (1.0 + std::sqrt(1.0 + t * t));
    const double s = t * t;
    double sum = 0.0;
    for (int32_t k = 17; k >= 1; k -= 2)
        sum = 1.0 / k - s * sum;
    return (1 << kHalvings) * t * sum;
}

}  // namespace

double sine(double angle)
{
    const int64_t quarters = nearest(angle * (2.0 / kPi));
    const double rest = angle - static_cast<double>(quarters) * (kPi / 2.0);
    const double value = (quarters & 1) != 0 ? _cosine_near_zero(rest) : _sine_near_zero(rest);
    return (quarters & 2) != 0 ? -value : value;
}

double cosine(double angle)
{
    return sine(angle + kPi / 2.0);
}

double arctangent(double y, double x)
{
    const double across = x < 0.0 ? -x : x;
    const double up = y < 0.0 ? -y : y;
    if (across == 0.0 && up == 0.0)
        return 0.0;
    double angle = up <= across ? _arctangent_of(up / across) : kPi / 2.0 - _arctangent_of(across / up);
    if (x < 0.0)
        angle = kPi - angle;
    return y < 0.0 ? -angle : angle;
}

double logarithm(double value)
{
    constexpr double kLn2 = 0.69314718055994530942, kRoot2 = 1.41421356237309504880;
    int32_t doublings = 0;
    while (value > kRoot2) {
        value *= 0.5;
        ++doublings;
    }
    while (value < 0.5 * kRoot2) {
        value *= 2.0;
        --doublings;
    }
    const double t = (value - 1.0) / (value + 1.0);  // at most 0.172
    double sum = 0.0;
    for (int32_t k = 21; k >= 1; k -= 2)
        sum = 1.0 / k + t * t * sum;
    return 2.0 * t * sum + doublings * kLn2;
}

double exponential(double power)
{
    // (e^(x / 1024))^1024: nine terms of the series reach the last bit for any x below 100.
    constexpr int32_t kSquarings = 10;
    const double x = power / (1 << kSquarings);
    double value = 1.0;
    for (int32_t k = 9; k >= 1; --k)
        value = 1.0 + x / k * value;
    for (int32_t i = 0; i < kSquarings; ++i)
        value *= value;
    return value;
}

}  // namespace ozr::refined
