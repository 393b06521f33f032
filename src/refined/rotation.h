// Directions and rotations of space.
#ifndef REFINED_ROTATION_H
#define REFINED_ROTATION_H

#include <stdint.h>

namespace ozr::refined
{

struct Vector {
    double x;
    double y;
    double z;
};

inline Vector operator+(Vector a, Vector b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Vector operator*(double k, Vector v)
{
    return {k * v.x, k * v.y, k * v.z};
}

inline double dot(Vector a, Vector b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Vector cross(Vector a, Vector b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vector unit(Vector v);

// Row-major: the product with a vector turns it.
struct Rotation {
    double m[9];

    Vector row(int32_t i) const { return {m[3 * i], m[3 * i + 1], m[3 * i + 2]}; }
    Vector column(int32_t i) const { return {m[i], m[3 + i], m[6 + i]}; }
    Vector turn(Vector v) const { return {dot(row(0), v), dot(row(1), v), dot(row(2), v)}; }
    Vector turn_back(Vector v) const { return {dot(column(0), v), dot(column(1), v), dot(column(2), v)}; }
};

constexpr Rotation kNoRotation = {{1, 0, 0, 0, 1, 0, 0, 0, 1}};

// First b, then a.
Rotation operator*(const Rotation& a, const Rotation& b);

Rotation inverse(const Rotation& r);

// By |v| radians about v.
Rotation rotation_about(Vector v);

// Rows that have become a little oblique by many small turns, made square and of length 1 again.
Rotation squared(const Rotation& r);

// The unit eigenvector of the least eigenvalue of a symmetric matrix, given row-major.
Vector least_eigenvector(const double matrix[9]);

}  // namespace ozr::refined

#endif
