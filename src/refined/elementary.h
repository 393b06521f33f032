// Elementary functions from sums, products, quotients and square roots alone: the C libraries of
// different systems differ in the last bit, and a panorama is to be the same everywhere.
#ifndef REFINED_ELEMENTARY_H
#define REFINED_ELEMENTARY_H

#include <stdint.h>

namespace ozr::refined
{

constexpr double kPi = 3.14159265358979323846;

// The nearest whole number, halves upwards; for magnitudes below 2^62.
inline int64_t nearest(double value)
{
    const double shifted = value + 0.5;
    const int64_t whole = static_cast<int64_t>(shifted);
    return whole - (static_cast<double>(whole) > shifted ? 1 : 0);
}

// The same, for what fits 32 bits.
inline int32_t nearest_int(double value)
{
    return static_cast<int32_t>(nearest(value));
}

double sine(double angle);
double cosine(double angle);
double arctangent(double y, double x);  // of y / x, in the quadrant of (x, y); 0 at the origin
double logarithm(double value);         // of a positive number
double exponential(double power);       // of magnitudes up to some hundred

}  // namespace ozr::refined

#endif
