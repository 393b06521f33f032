// Integer trigonometry in degrees, the integer square root, rectangles and points. Everything is 32-bit arithmetic
// that wraps around: coordinates out of range give meaningless results, but never a trap.
#include "ozr_geometry.h"
#include "support/trig_tables.h"

#include <math.h>

#include <algorithm>

#include "base/fixed.h"
#include "base/wrap32.h"

using namespace ozr;

namespace
{

constexpr int32_t kFullTurn = 360;
constexpr uint32_t kTangentFracBits = 10;
constexpr int32_t kSteepest = 58;  // tan 89 degrees: steeper directions are taken as 90

// Into 0 to 359.
int32_t _wrap_angle(int32_t degrees)
{
    const int32_t rest = degrees % kFullTurn;
    return rest < 0 ? rest + kFullTurn : rest;
}

int32_t _cos_from(const int32_t* table, int32_t degrees)
{
    const int32_t a = _wrap_angle(degrees);
    if (a <= 90)
        return table[a];
    if (a <= 180)
        return -table[180 - a];
    return a <= 270 ? -table[a - 180] : table[360 - a];
}

int32_t _sin_from(const int32_t* table, int32_t degrees)
{
    const int32_t a = _wrap_angle(degrees);
    if (a <= 90)
        return table[90 - a];
    if (a <= 180)
        return table[a - 90];
    return a <= 270 ? -table[270 - a] : -table[a - 270];
}

// The arc tangent of a number in Q10 in whole degrees, by bisection. Kept: the result is the last degree that the search
// compared, so ozr_math_arctan may return a neighbour of the nearest degree.
int32_t _degrees_of_tangent(int32_t tangent)
{
    int32_t low = 0;
    int32_t high = 90;
    for (;;) {
        const int32_t middle = (low + high) >> 1;
        const int32_t entry = ozr_math_tan_d_table[middle];
        if (tangent < entry)
            high = middle - 1;
        else if (tangent > entry && middle < high)
            low = middle + 1;
        else
            return middle;
        if (low > high)
            return middle;
    }
}

Wrap32 _abs(Wrap32 number)
{
    return number < 0 ? 0 - number : number;
}

ozr_rect _intersection(const ozr_rect& a, const ozr_rect& b)
{
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

int32_t _area(const ozr_rect& r)
{
    return ((Wrap32(r.right) - r.left) * (Wrap32(r.bottom) - r.top)).value;
}

ozr_point _rotate(ozr_point p, ozr_point centre, int32_t degrees)
{
    const Wrap32 cosine = ozr_math_cosi16_d(degrees);
    const Wrap32 sine = ozr_math_sini16_d(degrees);
    const Wrap32 dx = Wrap32(p.x) - centre.x;
    const Wrap32 dy = Wrap32(centre.y) - p.y;  // upwards: angles are counter-clockwise
    return {(((cosine * dx - sine * dy) >> kTrigFracBits) + centre.x).value,
            (centre.y - ((sine * dx + cosine * dy) >> kTrigFracBits)).value};
}

}  // namespace

int32_t ozr_math_cosi16_d(int32_t deg)
{
    return _cos_from(ozr_math_cosi16_d_table, deg);
}

int32_t ozr_math_sini16_d(int32_t deg)
{
    return _sin_from(ozr_math_cosi16_d_table, deg);
}

int32_t ozr_math_cos_tiny(int32_t deg)
{
    return _cos_from(ozr_math_cosi16_d_table, deg);
}

int32_t ozr_math_sin_tiny(int32_t deg)
{
    return _sin_from(ozr_math_cosi16_d_table, deg);
}

double ozr_math_cos(double x)
{
    return cos(x);
}

double ozr_math_sin(double x)
{
    return sin(x);
}

int32_t ozr_math_arctan(int32_t x, int32_t y)
{
    const int32_t quarter = x >= 0 ? 90 : -90;
    if (y == 0)
        return quarter;
    const Wrap32 across = _abs(x);
    const Wrap32 along = _abs(y);
    if (across > kSteepest * along)
        return quarter;
    const int32_t angle = _degrees_of_tangent(((across << kTangentFracBits) / along).value);
    if (y >= 0)
        return x >= 0 ? angle : -angle;
    return x >= 0 ? 180 - angle : angle - 180;
}

uint32_t ozr_math_sqrt(uint32_t n)
{
    if (n <= 2)
        return 1;
    uint32_t root = 1;
    for (;;) {
        const uint32_t next = (root + n / root + 1) >> 1;
        if (std::max(root, next) - std::min(root, next) <= 1)
            return next;
        root = next;
    }
}

int32_t ozr_math_normalize_angle(int32_t deg)
{
    int32_t angle = static_cast<int16_t>(deg);
    while (angle > 180)
        angle -= kFullTurn;
    while (angle < -179)
        angle += kFullTurn;
    return angle;
}

int32_t ozr_rect_is_intersecting(const ozr_rect* a, const ozr_rect* b)
{
    return a != nullptr && b != nullptr && b->left < a->right && a->left < b->right && b->top < a->bottom &&
           a->top < b->bottom;
}

ozr_err ozr_rect_get_intersecting_rect(const ozr_rect* a, const ozr_rect* b, ozr_rect* out)
{
    if (a == nullptr || b == nullptr || out == nullptr)
        return ozr_err_invalid_argument;
    *out = _intersection(*a, *b);
    return ozr_success;
}

ozr_err ozr_rect_get_bounding_rect(const ozr_rect* a, const ozr_rect* b, ozr_rect* out)
{
    if (a == nullptr || b == nullptr || out == nullptr)
        return ozr_err_invalid_argument;
    *out = {std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
            std::max(a->bottom, b->bottom)};
    return ozr_success;
}

int32_t ozr_rect_get_area(const ozr_rect* r)
{
    return r != nullptr ? _area(*r) : static_cast<int32_t>(ozr_err_invalid_argument);
}

int32_t ozr_rect_get_intersecting_area(const ozr_rect* a, const ozr_rect* b)
{
    if (a == nullptr || b == nullptr)
        return ozr_err_invalid_argument;
    return _area(_intersection(*a, *b));
}

ozr_err ozr_rect_move(ozr_rect* r, int32_t dx, int32_t dy)
{
    if (r == nullptr)
        return ozr_err_invalid_argument;
    *r = {(Wrap32(r->left) + dx).value, (Wrap32(r->top) + dy).value, (Wrap32(r->right) + dx).value,
          (Wrap32(r->bottom) + dy).value};
    return ozr_success;
}

ozr_err ozr_rect_clip(ozr_rect* r, const ozr_rect* bounds)
{
    if (r == nullptr || bounds == nullptr)
        return ozr_err_invalid_argument;
    *r = _intersection(*r, *bounds);
    if (r->left > r->right || r->top > r->bottom)
        *r = {0, 0, 0, 0};
    return ozr_success;
}

int32_t ozr_point_inside_rect(const ozr_point* p, const ozr_rect* r)
{
    return p != nullptr && r != nullptr && r->left <= p->x && p->x < r->right && r->top <= p->y &&
           p->y < r->bottom;
}

void ozr_point_rotate(ozr_point* out, const ozr_point* p, const ozr_point* centre, int32_t deg)
{
    if (out != nullptr && p != nullptr && centre != nullptr)
        *out = _rotate(*p, *centre, deg);
}

void ozr_rect_rotate(ozr_rect* out, const ozr_rect* r, const ozr_point* centre, int32_t deg)
{
    if (out == nullptr || r == nullptr || centre == nullptr)
        return;
    const ozr_point middle = {((Wrap32(r->left) + r->right) >> 1).value,
                              ((Wrap32(r->top) + r->bottom) >> 1).value};
    const ozr_point turned = _rotate(middle, *centre, deg);
    // Kept: the result is a square as wide as r; a caller's height has no effect.
    const Wrap32 half = (Wrap32(r->right) - r->left) >> 1;
    *out = {(turned.x - half).value, (turned.y - half).value, (turned.x + half).value,
            (turned.y + half).value};
}

void ozr_rect_scale(ozr_rect* out, const ozr_rect* r, uint32_t num, uint32_t den)
{
    if (out == nullptr || r == nullptr || den == 0)
        return;
    const auto scaled = [num, den](int32_t field) {
        return static_cast<int32_t>(static_cast<uint32_t>(field) * num / den);
    };
    *out = {scaled(r->left), scaled(r->top), scaled(r->right), scaled(r->bottom)};
}

int32_t ozr_point_dist(const ozr_point* a, const ozr_point* b)
{
    if (a == nullptr || b == nullptr)
        return ozr_err_invalid_argument;
    const Wrap32 dx = Wrap32(a->x) - b->x;
    const Wrap32 dy = Wrap32(a->y) - b->y;
    return static_cast<int32_t>(ozr_math_sqrt((dx * dx + dy * dy).bits()));
}
