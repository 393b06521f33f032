#include "refined/unroll.h"

#include <algorithm>

#include "image/pano_result.h"
#include "refined/angles.h"

namespace ozr::refined
{

namespace
{

// Source places: 16 fractional bits, of which the upper 8 weigh the four pixels around.
constexpr int32_t kPlaceBits = 16;
constexpr double kPlaceOne = 1 << kPlaceBits;
constexpr int32_t kWeightBits = 8;
constexpr int32_t kWeightOne = 1 << kWeightBits;

// Half of the window whose mean is taken off: light and vignetting are slower, what is worth
// matching is finer.
constexpr int32_t kWindowHalf = 4;

int32_t _fixed(double place)
{
    const double nearest = place * kPlaceOne + 0.5;  // places are not negative
    return static_cast<int32_t>(nearest);
}

// Bilinear; x and y in 16.16 and at least one pixel inside the last column and row.
int32_t _sample(const ConstPlane& plane, int32_t x, int32_t y)
{
    const uint8_t* top = plane.row(y >> kPlaceBits) + (x >> kPlaceBits);
    const uint8_t* bottom = top + plane.stride;
    const int32_t fx = (x >> (kPlaceBits - kWeightBits)) & (kWeightOne - 1);
    const int32_t fy = (y >> (kPlaceBits - kWeightBits)) & (kWeightOne - 1);
    const int32_t upper = top[0] * (kWeightOne - fx) + top[1] * fx;
    const int32_t lower = bottom[0] * (kWeightOne - fx) + bottom[1] * fx;
    return (upper * (kWeightOne - fy) + lower * fy + (1 << (2 * kWeightBits - 1))) >> (2 * kWeightBits);
}

// One column of the cylinder: the source runs along a straight line, which is upright unless the
// picture is rolled.
struct SourceLine {
    double x;  // of row 0
    double y;
    double step_x;
    double step_y;
};

SourceLine _source_line(const ConstPlane& plane, double focal, SineCosine roll, int32_t column)
{
    const double cx = 0.5 * (plane.width - 1);
    const double cy = 0.5 * (plane.height - 1);
    const SineCosine angle = sine_cosine((column - cx) / focal);
    const double u = focal * angle.sine / angle.cosine;
    const double stretch = 1.0 / angle.cosine;
    const double v = -cy * stretch;
    return {cx + roll.cosine * u - roll.sine * v, cy + roll.sine * u + roll.cosine * v, -roll.sine * stretch,
            roll.cosine * stretch};
}

void _unroll_column(const ConstPlane& plane, const SourceLine& line, int32_t column, Unrolled* out)
{
    const double last_x = plane.width - 1.001;
    const double last_y = plane.height - 1.001;
    for (int32_t y = 0; y < out->height; ++y) {
        const double x_at = line.x + y * line.step_x;
        const double y_at = line.y + y * line.step_y;
        if (!(x_at >= 0.0 && y_at >= 0.0 && x_at <= last_x && y_at <= last_y))
            continue;
        const int64_t at = int64_t{y} * out->width + column;
        out->contrast.get()[at] = static_cast<int16_t>(_sample(plane, _fixed(x_at), _fixed(y_at)));
        out->mask.get()[at] = -1;
    }
}

// Adds (or with sign -1 takes away) a row to the sums of the columns.
void _add_row(const Unrolled* image, int32_t y, int32_t sign, int32_t* sums, int32_t* counts)
{
    const int16_t* luma = image->contrast_row(y);
    const int16_t* mask = image->mask_row(y);
    for (int32_t x = 0; x < image->width; ++x) {
        sums[x] += sign * luma[x];
        counts[x] -= sign * mask[x];
    }
}

int32_t _contrast(int32_t luma, int32_t sum, int32_t count)
{
    return std::clamp(luma - (sum + count / 2) / count, -kMaxContrast, kMaxContrast);
}

void _contrast_row(const Unrolled& image, int32_t y, const int32_t* sums, const int32_t* counts, int16_t* out)
{
    const int16_t *luma = image.contrast_row(y), *mask = image.mask_row(y);
    const int32_t width = image.width;
    int32_t sum = 0;
    int32_t count = 0;
    for (int32_t x = 0; x < std::min(kWindowHalf, width); ++x) {
        sum += sums[x];
        count += counts[x];
    }
    for (int32_t x = 0; x < width; ++x) {
        if (x + kWindowHalf < width) {
            sum += sums[x + kWindowHalf];
            count += counts[x + kWindowHalf];
        }
        if (x > kWindowHalf) {
            sum -= sums[x - kWindowHalf - 1];
            count -= counts[x - kWindowHalf - 1];
        }
        out[x] = static_cast<int16_t>(mask[x] != 0 ? _contrast(luma[x], sum, count) : 0);
    }
}

// Takes the mean of the window off every pixel, by running sums over the columns.
PanoResult _take_off_means(Unrolled* image)
{
    const int32_t width = image->width;
    auto contrast = make_unfilled_buffer<int16_t>(int64_t{width} * image->height);
    auto sums = make_buffer<int32_t>(2 * int64_t{width});
    if (!contrast || !sums)
        return kPanoNoMemory;
    int32_t* counts = sums.get() + width;
    for (int32_t y = 0; y < std::min(kWindowHalf, image->height); ++y)
        _add_row(image, y, 1, sums.get(), counts);
    for (int32_t y = 0; y < image->height; ++y) {
        if (y + kWindowHalf < image->height)
            _add_row(image, y + kWindowHalf, 1, sums.get(), counts);
        if (y > kWindowHalf)
            _add_row(image, y - kWindowHalf - 1, -1, sums.get(), counts);
        _contrast_row(*image, y, sums.get(), counts, contrast.get() + int64_t{y} * width);
    }
    image->contrast = std::move(contrast);
    return kPanoSuccess;
}

}  // namespace

PanoResult unroll(const ConstPlane& plane, double focal, double roll, Unrolled* out)
{
    out->width = plane.width;
    out->height = plane.height;
    const int64_t pixels = int64_t{plane.width} * plane.height;
    out->contrast = make_buffer<int16_t>(pixels);
    out->mask = make_buffer<int16_t>(pixels);
    if (!out->contrast || !out->mask)
        return kPanoNoMemory;
    const SineCosine turn = sine_cosine(roll);
    for (int32_t x = 0; x < out->width; ++x)
        _unroll_column(plane, _source_line(plane, focal, turn, x), x, out);
    return _take_off_means(out);
}

}  // namespace ozr::refined
