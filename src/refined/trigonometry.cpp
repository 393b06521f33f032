// Each function reduces its argument to where a short power series converges, and sums that from its smallest term.
#include "refined/trigonometry.h"

#include <cmath>

#include <stdint.h>

namespace ozr::refined
{

namespace
{

// Terms after which a series at its widest argument is below 1e-16.
constexpr int32_t kSineTerms = 9;        // pi / 4
constexpr int32_t kTangentTerms = 11;    // tan(pi / 16) ~ 0.199
constexpr int32_t kLogarithmTerms = 18;  // (sqrt(2) - 1) / (sqrt(2) + 1) ~ 0.172
constexpr int32_t kExponentTerms = 14;   // ln(2) / 2

constexpr double kHalfPi = kPi / 2.0;
constexpr double kLn2 = 0.69314718055994530942;
constexpr double kSqrt2 = 1.41421356237309504880;

// x - x^3 / 3! + x^5 / 5! ...
double _sine_series(double x)
{
    const double square = x * x;
    double sum = 1.0;
    for (int32_t i = kSineTerms; i > 0; --i)
        sum = 1.0 - sum * square / (2.0 * i * (2.0 * i + 1.0));
    return x * sum;
}

// 1 - x^2 / 2! + x^4 / 4! ...
double _cosine_series(double x)
{
    const double square = x * x;
    double sum = 1.0;
    for (int32_t i = kSineTerms; i > 0; --i)
        sum = 1.0 - sum * square / (2.0 * i * (2.0 * i - 1.0));
    return sum;
}

// x + s x^3 / 3 + x^5 / 5 ...; s = -1 gives the arc tangent, 1 the inverse hyperbolic tangent.
double _odd_series(double x, double sign, int32_t terms)
{
    const double square = sign * x * x;
    double sum = 0.0;
    for (int32_t i = terms; i >= 0; --i)
        sum = sum * square + 1.0 / (2.0 * i + 1.0);
    return x * sum;
}

// tan(a / 2) from tan(a).
double _half_tangent(double tangent)
{
    return tangent / (1.0 + std::sqrt(1.0 + tangent * tangent));
}

int32_t _nearest(double x)
{
    return static_cast<int32_t>(x < 0.0 ? x - 0.5 : x + 0.5);
}

}  // namespace

SineCosine sine_cosine(double angle)
{
    const int32_t quarters = _nearest(angle / kHalfPi);
    const double rest = angle - quarters * kHalfPi;
    const double sine = _sine_series(rest);
    const double cosine = _cosine_series(rest);
    switch (quarters & 3) {
    case 0:
        return {sine, cosine};
    case 1:
        return {cosine, -sine};
    case 2:
        return {-sine, -cosine};
    default:
        return {-cosine, sine};
    }
}

double arc_tangent(double y, double x)
{
    const double width = x < 0.0 ? -x : x;
    const double height = y < 0.0 ? -y : y;
    if (width == 0.0 && height == 0.0)
        return 0.0;
    const bool steep = height > width;
    // At most 1, so that two halvings leave at most tan(pi / 16).
    const double tangent = steep ? width / height : height / width;
    double angle = 4.0 * _odd_series(_half_tangent(_half_tangent(tangent)), -1.0, kTangentTerms);
    if (steep)
        angle = kHalfPi - angle;
    if (x < 0.0)
        angle = kPi - angle;
    return y < 0.0 ? -angle : angle;
}

double logarithm(double x)
{
    int32_t doublings = 0;
    for (; x > kSqrt2; x *= 0.5)
        ++doublings;
    for (; x < kSqrt2 * 0.5; x *= 2.0)
        --doublings;
    return doublings * kLn2 + 2.0 * _odd_series((x - 1.0) / (x + 1.0), 1.0, kLogarithmTerms);
}

double exponential(double x)
{
    const int32_t doublings = _nearest(x / kLn2);
    const double rest = x - doublings * kLn2;
    double sum = 1.0;
    for (int32_t i = kExponentTerms; i > 0; --i)
        sum = 1.0 + sum * rest / i;
    for (int32_t i = 0; i < doublings; ++i)
        sum *= 2.0;
    for (int32_t i = 0; i > doublings; --i)
        sum *= 0.5;
    return sum;
}

}  // namespace ozr::refined
