#include "refined/rotation.h"

#include <cmath>

#include "refined/angles.h"

namespace ozr::refined
{

namespace
{

// Below this a turn is its first-order part, I + [v]x: the rest is under 1e-16.
constexpr double kSmallAngle = 1e-8;

// Sweeps over the three off-diagonal elements; the method of Jacobi converges quadratically, and
// five are plenty.
constexpr int32_t kJacobiSweeps = 8;

// Turns rows and columns p and q of a symmetric matrix so that element (p, q) vanishes, and
// `vectors` with them.
void _annihilate(double a[3][3], double vectors[3][3], int32_t p, int32_t q)
{
    if (a[p][q] == 0.0)
        return;
    const double theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
    const double size = theta < 0.0 ? -theta : theta;
    const double t = (theta < 0.0 ? -1.0 : 1.0) / (size + std::sqrt(theta * theta + 1.0));
    const double c = 1.0 / std::sqrt(t * t + 1.0);
    const double s = t * c;
    for (int32_t i = 0; i < 3; ++i) {
        const double at_p = a[i][p];
        const double at_q = a[i][q];
        a[i][p] = c * at_p - s * at_q;
        a[i][q] = s * at_p + c * at_q;
    }
    for (int32_t i = 0; i < 3; ++i) {
        const double at_p = a[p][i];
        const double at_q = a[q][i];
        a[p][i] = c * at_p - s * at_q;
        a[q][i] = s * at_p + c * at_q;
        const double vector_p = vectors[i][p];
        const double vector_q = vectors[i][q];
        vectors[i][p] = c * vector_p - s * vector_q;
        vectors[i][q] = s * vector_p + c * vector_q;
    }
}

}  // namespace

Vector unit(Vector v)
{
    return (1.0 / std::sqrt(dot(v, v))) * v;
}

Rotation operator*(const Rotation& a, const Rotation& b)
{
    Rotation product = {};
    for (int32_t i = 0; i < 3; ++i) {
        for (int32_t j = 0; j < 3; ++j)
            product.m[3 * i + j] = dot(a.row(i), b.column(j));
    }
    return product;
}

Rotation inverse(const Rotation& r)
{
    return {{r.m[0], r.m[3], r.m[6], r.m[1], r.m[4], r.m[7], r.m[2], r.m[5], r.m[8]}};
}

// The formula of Rodrigues: R = I + sin(a) [k]x + (1 - cos(a)) [k]x^2.
Rotation rotation_about(Vector v)
{
    const double angle = std::sqrt(dot(v, v));
    const bool is_large = angle > kSmallAngle;
    const SineCosine turn = is_large ? sine_cosine(angle) : SineCosine{1.0, 1.0};
    const Vector k = is_large ? (1.0 / angle) * v : v;
    const double s = turn.sine;
    const double c = 1.0 - turn.cosine;
    return {{1.0 - c * (k.y * k.y + k.z * k.z), c * k.x * k.y - s * k.z, c * k.x * k.z + s * k.y,
             c * k.x * k.y + s * k.z, 1.0 - c * (k.x * k.x + k.z * k.z), c * k.y * k.z - s * k.x,
             c * k.x * k.z - s * k.y, c * k.y * k.z + s * k.x, 1.0 - c * (k.x * k.x + k.y * k.y)}};
}

Rotation squared(const Rotation& r)
{
    const Vector x = unit(r.row(0));
    const Vector y = unit(r.row(1) + (-dot(r.row(1), x)) * x);
    const Vector z = cross(x, y);
    return {{x.x, x.y, x.z, y.x, y.y, y.z, z.x, z.y, z.z}};
}

Vector least_eigenvector(const double matrix[9])
{
    double a[3][3];
    for (int32_t i = 0; i < 9; ++i)
        a[i / 3][i % 3] = matrix[i];
    double vectors[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int32_t sweep = 0; sweep < kJacobiSweeps; ++sweep) {
        _annihilate(a, vectors, 0, 1);
        _annihilate(a, vectors, 0, 2);
        _annihilate(a, vectors, 1, 2);
    }
    int32_t least = 0;
    for (int32_t i = 1; i < 3; ++i) {
        if (a[i][i] < a[least][least])
            least = i;
    }
    return {vectors[0][least], vectors[1][least], vectors[2][least]};
}

}  // namespace ozr::refined
