// Similarity mappings given by two pairs of points: turn, scale and shift that bring two points of
// a source onto two points of a destination. With source points P1, P2 and destination points Q1,
// Q2,
//   D = |Q1 - Q2|^2,  A = (P2 - P1) . (Q2 - Q1),  B = (P2 - P1) x (Q2 - Q1)
// and the centres Pc, Qc rounded half up, a destination position (x, y) is at the source position
//   (Pc.x D + A (x - Qc.x) + B (y - Qc.y)) / D,  (Pc.y D - B (x - Qc.x) + A (y - Qc.y)) / D.
// All of it is 32-bit arithmetic that wraps around, which is part of the results.
#include "base/fixed.h"
#include "base/plane.h"
#include "base/wrap32.h"
#include "kernels/kernels.h"
#include "ozr_geometry.h"
#include "ozr_gray.h"
#include "ozr_image.h"
#include "ozr_memory.h"
#include "support/image_rows.h"
#include "support/raw_pictures.h"

using namespace ozr;

namespace
{

constexpr int32_t kLargestSquare = 6000000;  // of D * D: larger ones make products exceed 32 bits
constexpr uint32_t kStrengthFracBits = 10;   // a strength of 1024 does not move the points

Wrap32 _middle(Wrap32 a, Wrap32 b)
{
    return (a + b + 1) >> 1;
}

struct PointPair {
    Wrap32 x1, y1, x2, y2;

    Wrap32 width() const { return x2 - x1; }
    Wrap32 height() const { return y2 - y1; }
    Wrap32 centre_x() const { return _middle(x1, x2); }
    Wrap32 centre_y() const { return _middle(y1, y2); }
    Wrap32 squared_distance() const { return width() * width() + height() * height(); }

    // Both points moved half way towards their centre.
    PointPair halved() const
    {
        const Wrap32 cx = centre_x();
        const Wrap32 cy = centre_y();
        return {_middle(cx, x1), _middle(cy, y1), _middle(cx, x2), _middle(cy, y2)};
    }
};

// From destination positions to source positions times `scale`.
struct Similarity {
    PointPair src;
    PointPair dst;
    Wrap32 scale;   // D; 0 when the destination points coincide
    Wrap32 along;   // A
    Wrap32 across;  // B

    Similarity(const PointPair& from, const PointPair& onto)
        : src(from), dst(onto), scale(onto.squared_distance()),
          along(from.width() * onto.width() + from.height() * onto.height()),
          across(from.width() * onto.height() - from.height() * onto.width())
    {
    }
    Wrap32 x_at(Wrap32 x, Wrap32 y) const
    {
        return src.centre_x() * scale + along * (x - dst.centre_x()) + across * (y - dst.centre_y());
    }
    Wrap32 y_at(Wrap32 x, Wrap32 y) const
    {
        return src.centre_y() * scale - across * (x - dst.centre_x()) + along * (y - dst.centre_y());
    }
    Wrap32 square() const { return (scale * scale) >> kernels::kWarpShift; }
};

// Luma samples, `pixel_bytes` apart in the rows of a plane.
struct LumaSamples {
    ConstPlane plane;
    int32_t pixel_bytes;

    // No image has more bytes than 32 bits can count.
    bool are_readable() const
    {
        if (plane.width < 1 || plane.height < 1)
            return true;
        const int64_t stride = plane.stride;
        return plane.data != nullptr && stride * plane.height <= INT32_MAX;
    }
};

// Warps `height` rows of `width` pixels; row_at(y) is where row y begins. Neither the scale nor its
// square is 0.
template <class RowAt>
void _warp(const Similarity& map, const LumaSamples& src, int32_t width, int32_t height, RowAt row_at)
{
    kernels::WarpRow* const warp_row = kernels::active()->warp.row;
    kernels::Warp warp = {};
    warp.src = src.plane.data;
    warp.last = static_cast<int64_t>(src.plane.stride) * src.plane.height - 1;
    warp.stride = src.plane.stride;
    warp.pixel_bytes = src.pixel_bytes;
    warp.columns = src.plane.width;
    warp.rows = src.plane.height;
    warp.scale = map.scale.value;
    warp.square = map.square().value;
    warp.step_x = map.along.value;
    warp.step_y = (0 - map.across).value;
    Wrap32 x = map.x_at(0, 0);
    Wrap32 y = map.y_at(0, 0);
    for (int32_t row = 0; row < height; ++row) {
        warp_row(row_at(row), width, warp, x.value, y.value);
        x = x + map.across;
        y = y + map.along;
    }
}

// Bytes between neighbouring luma samples; 0 for formats that the warp does not read.
int32_t _luma_pixel_bytes(ozr_image_format format)
{
    switch (format) {
    case ozr_image_format_gray:
    case ozr_image_format_nv12:
    case ozr_image_format_nv21:
        return 1;
    case ozr_image_format_yuy2:
        return 2;
    default:
        return 0;
    }
}

bool _has_rows(uint8_t* const* rows, int32_t count)
{
    if (rows == nullptr)
        return false;
    for (int32_t i = 0; i < count; ++i)
        if (rows[i] == nullptr)
            return false;
    return true;
}

}  // namespace

ozr_err ozr_warp_point_by_2points(int32_t x, int32_t y, int32_t sx1, int32_t sy1, int32_t sx2, int32_t sy2,
                                  int32_t* out_x, int32_t* out_y, int32_t dx1, int32_t dy1, int32_t dx2,
                                  int32_t dy2)
{
    const Similarity map({sx1, sy1, sx2, sy2}, {dx1, dy1, dx2, dy2});
    if (out_x == nullptr || out_y == nullptr || map.scale == 0)
        return ozr_err_invalid_argument;
    const Wrap32 rounding = map.scale / 2;
    *out_x = ((map.x_at(x, y) + rounding) / map.scale).value;
    *out_y = ((map.y_at(x, y) + rounding) / map.scale).value;
    return ozr_success;
}

void ozr_warp_strength_by_2points_i(const ozr_point* p1, const ozr_point* p2, ozr_point* out1,
                                    ozr_point* out2, int32_t strength)
{
    if (p1 == nullptr || p2 == nullptr || out1 == nullptr || out2 == nullptr)
        return;
    const Wrap32 half =
        (Wrap32(1 << kStrengthFracBits) - strength) >> 1;  // of the change, for each of the points
    const Wrap32 ex = ((Wrap32(p1->x) - p2->x) * half) >> kStrengthFracBits;
    const Wrap32 ey = ((Wrap32(p1->y) - p2->y) * half) >> kStrengthFracBits;
    const ozr_point moved1 = {(ex + p1->x).value, (ey + p1->y).value};
    const ozr_point moved2 = {(p2->x - ex).value, (p2->y - ey).value};
    ozr_memcpy_s(out1, sizeof(*out1), &moved1, sizeof(moved1));
    ozr_memcpy_s(out2, sizeof(*out2), &moved2, sizeof(moved2));
}

void ozr_warp_rotation_degree(const ozr_point* p, ozr_point* out, int32_t deg)
{
    if (p == nullptr || out == nullptr)
        return;
    const Wrap32 cosine = ozr_math_cos_tiny(deg);
    const Wrap32 sine = ozr_math_sin_tiny(deg);
    *out = {((cosine * p->x - sine * p->y) >> kTrigFracBits).value,
            ((cosine * p->y + sine * p->x) >> kTrigFracBits).value};
}

ozr_err ozr_warp_image_by_2points_uc_scale(const uint8_t* src, int32_t src_width, int32_t src_height,
                                           int32_t sx1, int32_t sy1, int32_t sx2, int32_t sy2,
                                           uint8_t* const* dst_rows, int32_t dst_width, int32_t dst_height,
                                           int32_t dx1, int32_t dy1, int32_t dx2, int32_t dy2)
{
    PointPair from = {sx1, sy1, sx2, sy2};
    PointPair onto = {dx1, dy1, dx2, dy2};
    // Halving both distances changes neither the turn nor the scale.
    while (onto.squared_distance() * onto.squared_distance() > kLargestSquare) {
        from = from.halved();
        onto = onto.halved();
    }
    const Similarity map(from, onto);
    if (map.scale == 0)
        return ozr_err_invalid_argument;
    if (dst_height < 1 || dst_width < 1)
        return ozr_success;
    const LumaSamples luma = {{src, src_width, src_height, src_width}, 1};
    if (map.square() == 0 || !luma.are_readable() || !_has_rows(dst_rows, dst_height))
        return ozr_err_invalid_argument;
    _warp(map, luma, dst_width, dst_height, [dst_rows](int32_t y) { return dst_rows[y]; });
    return ozr_success;
}

ozr_err ozr_image_warp_by_2points(const ozr_image* src, int32_t sx1, int32_t sy1, int32_t sx2, int32_t sy2,
                                  ozr_image* dst, int32_t dx1, int32_t dy1, int32_t dx2, int32_t dy2)
{
    if (src == nullptr || dst == nullptr)
        return ozr_err_invalid_argument;
    const Similarity map({sx1, sy1, sx2, sy2}, {dx1, dy1, dx2, dy2});
    if (map.scale == 0)
        return ozr_err_invalid_status;
    const int32_t pixel_bytes = _luma_pixel_bytes(src->format);
    if (pixel_bytes == 0)
        return ozr_err_not_supported;
    // Kept: a row has `stride` columns, not `width`, so the padding shows where the warp reaches
    // it.
    const int32_t stride = stride_or_width(src->stride, src->width);
    const LumaSamples luma = {{src->data, stride, src->height, stride}, pixel_bytes};
    if (map.square() == 0 || !luma.are_readable() || !image_counts_bytes(src, stride) ||
        !image_holds_rows(dst, dst->width, dst->height))
        return ozr_err_invalid_argument;
    _warp(map, luma, dst->width, image_row_count(dst), [dst](int32_t y) { return image_row(dst, y); });
    return ozr_success;
}

ozr_err warp_image_by_2points(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                              const uint8_t* src, int32_t src_width, int32_t src_height, int32_t src_stride,
                              int32_t sx1, int32_t sy1, int32_t sx2, int32_t sy2, int32_t dx1, int32_t dy1,
                              int32_t dx2, int32_t dy2)
{
    if (dst == nullptr || src == nullptr || dst_width < 1 || dst_height < 1 || src_width < 1 ||
        src_height < 1)
        return ozr_err_invalid_argument;
    const ozr_image from = {const_cast<uint8_t*>(src), 0,          src_width, src_height,
                            ozr_image_format_gray,     src_stride, 0};
    ozr_image onto = {
        dst, 0, dst_width, dst_height, ozr_image_format_gray, stride_or_width(dst_stride, dst_width), 0};
    return ozr_image_warp_by_2points(&from, sx1, sy1, sx2, sy2, &onto, dx1, dy1, dx2, dy2);
}
