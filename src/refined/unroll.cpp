// Sampling goes along the columns of the cylinder, which are straight lines in the picture; the
// mean around each pixel comes from running sums along its rows.
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

// A picture on the cylinder as it is sampled: a value is kNothing where nothing shows.
constexpr int16_t kNothing = -1;

struct Samples {
    int32_t width;
    int32_t height;
    Buffer<int16_t> luma;

    int16_t* row(int32_t y) const { return luma.get() + int64_t{y} * width; }
};

void _unroll_column(const ConstPlane& plane, const SourceLine& line, int32_t column, const Samples& out)
{
    const double last_x = plane.width - 1.001;
    const double last_y = plane.height - 1.001;
    for (int32_t y = 0; y < out.height; ++y) {
        const double x_at = line.x + y * line.step_x;
        const double y_at = line.y + y * line.step_y;
        const bool shows = x_at >= 0.0 && y_at >= 0.0 && x_at <= last_x && y_at <= last_y;
        out.row(y)[column] =
            shows ? static_cast<int16_t>(_sample(plane, _fixed(x_at), _fixed(y_at))) : kNothing;
    }
}

Interval _shown(const int16_t* luma, int32_t width)
{
    Interval shown = {0, width};
    while (shown.end > 0 && luma[shown.end - 1] == kNothing)
        --shown.end;
    while (shown.first < shown.end && luma[shown.first] == kNothing)
        ++shown.first;
    return shown;
}

// What a window holds of a column, or all of it.
struct WindowSum {
    int32_t luma;
    int32_t count;
};

// Adds (or with sign -1 takes away) a row to the sums of the columns.
void _add_row(const int16_t* luma, const Interval& shown, int32_t sign, WindowSum* sums)
{
    for (int32_t x = shown.first; x < shown.end; ++x) {
        sums[x].luma += sign * luma[x];
        sums[x].count += sign;
    }
}

// Rounded quotients of sums of up to `count` bytes by their count, without dividing: a sum and half
// of its count is below 256 * count, so that neither do products exceed 32 bits nor is a quotient
// off by more than 21000 / 2^24 of one.
class Means
{
public:
    Means()
    {
        for (int32_t count = 1; count <= kMost; ++count)
            factors_[count] = (1U << kBits) / static_cast<uint32_t>(count) + 1;
    }
    int32_t of(const WindowSum& sum) const
    {
        const uint32_t rounded = static_cast<uint32_t>(sum.luma + sum.count / 2);
        return static_cast<int32_t>(rounded * factors_[sum.count] >> kBits);
    }

private:
    static constexpr int32_t kMost = (2 * kWindowHalf + 1) * (2 * kWindowHalf + 1), kBits = 24;
    uint32_t factors_[kMost + 1] = {};
};

// `sums` has an empty margin of half a window on each side.
void _contrast_row(const int16_t* luma, const Interval& shown, const WindowSum* sums, const Means& means,
                   int16_t* out)
{
    WindowSum window = {};
    for (int32_t x = shown.first - kWindowHalf; x < shown.first + kWindowHalf; ++x)
        window = {window.luma + sums[x].luma, window.count + sums[x].count};
    for (int32_t x = shown.first; x < shown.end; ++x) {
        const WindowSum &next = sums[x + kWindowHalf], &last = sums[x - kWindowHalf];
        window = {window.luma + next.luma, window.count + next.count};
        out[x] = static_cast<int16_t>(std::clamp(luma[x] - means.of(window), -kMaxContrast, kMaxContrast));
        window = {window.luma - last.luma, window.count - last.count};
    }
}

// Takes the mean of the window off every pixel, by running sums over the columns.
PanoResult _take_off_means(const Samples& samples, Unrolled* out)
{
    auto sums = make_buffer<WindowSum>(int64_t{samples.width} + 2 * kWindowHalf);
    if (!sums)
        return kPanoNoMemory;
    WindowSum* columns = sums.get() + kWindowHalf;
    const Interval* shown = out->shown.get();
    const Means means;
    for (int32_t y = -kWindowHalf; y < out->height; ++y) {
        const int32_t next = y + kWindowHalf, last = y - kWindowHalf - 1;
        if (next < out->height)
            _add_row(samples.row(next), shown[next], 1, columns);
        if (last >= 0)
            _add_row(samples.row(last), shown[last], -1, columns);
        if (y >= 0)
            _contrast_row(samples.row(y), shown[y], columns, means,
                          out->contrast.get() + kUnrolledMargin + int64_t{y} * out->stride);
    }
    return kPanoSuccess;
}

}  // namespace

PanoResult unroll(const ConstPlane& plane, double focal, double roll, Unrolled* out)
{
    out->width = plane.width;
    out->height = plane.height;
    out->stride = plane.width + kUnrolledMargin;
    out->contrast = make_buffer<int16_t>(int64_t{out->stride} * plane.height + kUnrolledMargin);
    out->shown = make_unfilled_buffer<Interval>(plane.height);
    const Samples samples = {plane.width, plane.height,
                             make_unfilled_buffer<int16_t>(int64_t{plane.width} * plane.height)};
    if (!out->contrast || !out->shown || !samples.luma)
        return kPanoNoMemory;
    const SineCosine turn = sine_cosine(roll);
    for (int32_t x = 0; x < out->width; ++x)
        _unroll_column(plane, _source_line(plane, focal, turn, x), x, samples);
    for (int32_t y = 0; y < out->height; ++y)
        out->shown.get()[y] = _shown(samples.row(y), out->width);
    return _take_off_means(samples, out);
}

}  // namespace ozr::refined
