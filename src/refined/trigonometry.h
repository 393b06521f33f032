// Sine, cosine, arc tangent, logarithm and exponential that give the same bits on every machine. The C libraries' own
// differ in the last bit from system to system, and a camera that moves by one bit may move a pixel.
//
// Series of + - * / and sqrt only, which IEEE 754 rounds in one way. Good to about 1e-15 of the result.
#ifndef REFINED_TRIGONOMETRY_H
#define REFINED_TRIGONOMETRY_H

namespace ozr::refined
{

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;

struct SineCosine {
    double sine;
    double cosine;
};

// Of an angle in radians, at most 1e6 either way.
SineCosine sine_cosine(double angle);

// The angle of the direction (x, y), from -pi to pi; 0 for the zero vector.
double arc_tangent(double y, double x);

// Of a positive number between 1e-6 and 1e6.
double logarithm(double x);

// Of a number of at most 10 either way.
double exponential(double x);

}  // namespace ozr::refined

#endif
