// The simulated camera. Where a ray meets the cylinder is computed for every 16th pixel and row and
// interpolated in between: at 50 degrees of view a line bends by less than a tenth of a pixel over
// that distance.
#include "scene/camera.h"

#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr int32_t kCellBits = 4, kCell = 1 << kCellBits;

// A place of the texture in pixels, Q15.16.
struct Place {
    int32_t x, y;
};

// Sine and cosine of angles of at most a few degrees.
struct Turn {
    double sine, cosine;

    explicit Turn(double angle)
        : sine(angle * (1 - angle * angle / 6 * (1 - angle * angle / 20))),
          cosine(1 - angle * angle / 2 * (1 - angle * angle / 12))
    {
    }
};

// One level of the texture: its pixels to a radian, and where the line of sight meets it.
struct Strip {
    const TextureLevel& level;
    double scale;
    double middle;
};

// Maps pixels of one picture to places of a strip.
class Rays
{
public:
    Rays(const Lens& lens, const Pose& pose, double sweep, const Strip& strip)
        : lens_(lens), pose_(pose), roll_(pose.roll), tilt_(pose.across), sweep_(sweep), scale_(strip.scale),
          middle_(strip.middle), bend_(lens.radial / (lens.focal * lens.focal)),
          max_x_(strip.level.width - 4), max_y_(strip.level.height - 4)
    {
    }

    Place at(int32_t pixel_x, int32_t pixel_y) const
    {
        const double seen_x = pixel_x - (lens_.width - 1) / 2.0, seen_y = pixel_y - (lens_.height - 1) / 2.0;
        const double bend = 1 + bend_ * (seen_x * seen_x + seen_y * seen_y);
        const double x = seen_x * bend, y = seen_y * bend;
        const double along = lens_.vertical ? y : x, across = lens_.vertical ? x : y;
        const double rolled_along = along * roll_.cosine - across * roll_.sine;
        const double rolled_across = along * roll_.sine + across * roll_.cosine;
        const double depth = lens_.focal * tilt_.cosine - rolled_across * tilt_.sine;
        const double height = rolled_across * tilt_.cosine + lens_.focal * tilt_.sine;
        const double read = sweep_ * (pixel_y / (lens_.height - 1.0) - 0.5);
        const double angle = pose_.along + arc_tangent(rolled_along / depth) + read;
        const double rise = height / sqrt(rolled_along * rolled_along + depth * depth);
        const double on_strip = angle * scale_ - 0.5, over_strip = rise * scale_ + middle_ - 0.5;
        return lens_.vertical ? place(over_strip, on_strip) : place(on_strip, over_strip);
    }

private:
    // Kept inside by enough that the interpolation of luma and of chroma has its right and lower
    // neighbours.
    Place place(double x, double y) const
    {
        return {static_cast<int32_t>(std::clamp(x, 0.0, max_x_) * 65536.0),
                static_cast<int32_t>(std::clamp(y, 0.0, max_y_) * 65536.0)};
    }

    const Lens& lens_;
    const Pose& pose_;
    Turn roll_, tilt_;
    double sweep_, scale_, middle_;
    double bend_;  // of the lens, to a pixel squared
    double max_x_, max_y_;
};

// Bilinear interpolation of one channel at a place.
uint8_t _sample(const uint8_t* plane, int32_t pitch, int32_t pixel_bytes, Place place)
{
    const uint32_t wx = static_cast<uint32_t>(place.x >> 8) & 255,
                   wy = static_cast<uint32_t>(place.y >> 8) & 255;
    const uint8_t* top =
        plane + static_cast<ptrdiff_t>(place.y >> 16) * pitch + (place.x >> 16) * pixel_bytes;
    const uint8_t* bottom = top + pitch;
    const uint32_t above = top[0] * (256 - wx) + top[pixel_bytes] * wx;
    const uint32_t below = bottom[0] * (256 - wx) + bottom[pixel_bytes] * wx;
    return static_cast<uint8_t>((above * (256 - wy) + below * wy + (1 << 15)) >> 16);
}

// Calls paint(x, place) for every step-th pixel of a row, given the places of every 16th.
template <class Paint>
void _walk_row(const std::vector<Place>& nodes, int32_t width, int32_t step, Paint paint)
{
    for (int32_t x = 0; x < width; x += step) {
        const Place &left = nodes[static_cast<size_t>(x >> kCellBits)],
                    &right = nodes[static_cast<size_t>(x >> kCellBits) + 1];
        const int32_t part = x & (kCell - 1);
        paint(x, Place{left.x + (((right.x - left.x) * part) >> kCellBits),
                       left.y + (((right.y - left.y) * part) >> kCellBits)});
    }
}

// Covers what a row shows with those who walk before it.
class Passage
{
public:
    // `bounds`: of the canvas, whose upper left corner is place 0. `units`: pixels to a unit.
    Passage(const std::vector<Walker>& walkers, const Box& bounds, double units)
        : walkers_(walkers), bounds_(bounds), units_(units)
    {
        for (const Walker& walker : walkers) {
            const Box box = box_of(walker);
            const auto place = [units](double at, double begin) { return (at - begin) * units - 0.5; };
            boxes_.push_back({place(box.left, bounds.left) * kOne, place(box.top, bounds.top) * kOne,
                              place(box.right, bounds.left) * kOne, place(box.bottom, bounds.top) * kOne});
        }
    }

    void cover_luma(Place place, uint8_t* luma) const
    {
        cover(place, [luma](const Yuv& colour, uint32_t share) { *luma = mixed(*luma, colour.y, share); });
    }

    void cover_chroma(Place place, uint8_t* chroma) const
    {
        cover(place, [chroma](const Yuv& colour, uint32_t share) {
            chroma[0] = mixed(chroma[0], colour.u, share);
            chroma[1] = mixed(chroma[1], colour.v, share);
        });
    }

private:
    static uint8_t mixed(uint32_t below, uint32_t above, uint32_t share)
    {
        return static_cast<uint8_t>((below * (256 - share) + above * share) >> 8);
    }

    template <class Cover>
    void cover(Place place, Cover paint) const
    {
        for (size_t i = 0; i < boxes_.size(); ++i) {
            const Box& box = boxes_[i];
            if (place.x < box.left || place.x > box.right || place.y < box.top || place.y > box.bottom)
                continue;
            const double x = bounds_.left + (place.x / kOne + 0.5) / units_;
            const double y = bounds_.top + (place.y / kOne + 0.5) / units_;
            const WalkerPaint seen = paint_walker(walkers_[i], x, y, 1 / units_);
            if (seen.cover > 0)
                paint(yuv_of(seen.colour), seen.cover);
        }
    }

    static constexpr double kOne = 65536;  // of a Place

    const std::vector<Walker>& walkers_;
    std::vector<Box> boxes_;  // of the walkers, as places
    const Box& bounds_;
    double units_;
};

// Makes a picture lighter or darker as exposure and lens have it; black is luma 16.
void _expose(const Lens& lens, double brightness, ozr_image* picture)
{
    constexpr int32_t kBlack = 16, kWhite = 235, kNeutral = 128;
    const double middle_x = (lens.width - 1) / 2.0, middle_y = (lens.height - 1) / 2.0;
    const double corner = middle_x * middle_x + middle_y * middle_y;
    const auto lit = [&](int32_t level, int32_t x, int32_t y) {
        const double dx = x - middle_x, dy = y - middle_y;
        const double light = brightness * (1 - lens.vignetting * (dx * dx + dy * dy) / corner);
        return static_cast<int32_t>(level * light + (level < 0 ? -0.5 : 0.5));
    };
    for (int32_t y = 0; y < lens.height; ++y) {
        uint8_t* luma = picture->data + static_cast<ptrdiff_t>(y) * picture->stride;
        for (int32_t x = 0; x < lens.width; ++x)
            luma[x] = static_cast<uint8_t>(std::clamp(kBlack + lit(luma[x] - kBlack, x, y), 0, kWhite));
    }
    for (int32_t y = 0; y < lens.height / 2; ++y) {
        uint8_t* chroma = picture->data + static_cast<ptrdiff_t>(picture->height + y) * picture->stride;
        for (int32_t x = 0; x < lens.width; ++x)
            chroma[x] =
                static_cast<uint8_t>(std::clamp(kNeutral + lit(chroma[x] - kNeutral, x & ~1, 2 * y), 0, 255));
    }
}

// Which level of a texture has about as many pixels to a degree as a picture: the canvas has
// `scale` of them to a radian, and the picture `focal`.
size_t _fitting_level(const Texture& texture, double scale, double focal)
{
    size_t level = 0;
    while (level + 1 < texture.levels().size() && scale > focal * 1.42) {
        scale /= 2;
        ++level;
    }
    return level;
}

void _fill_nodes(const Rays& rays, int32_t y, std::vector<Place>* nodes)
{
    for (size_t i = 0; i < nodes->size(); ++i)
        (*nodes)[i] = rays.at(static_cast<int32_t>(i) << kCellBits, y);
}

}  // namespace

double assumed_focal_length(int32_t extent)
{
    const int32_t focal = (extent / 8 * 8 / 32) * 345 / 10;
    return focal;
}

double arc_tangent(double tangent)
{
    // Half the angle has a tangent below 0.42, where the series converges fast.
    const double t = tangent / (1 + sqrt(1 + tangent * tangent)), square = t * t;
    double sum = 0;
    for (int term = 19; term >= 1; term -= 2)
        sum = 1.0 / term - square * sum;
    return 2 * t * sum;
}

Surroundings::Surroundings(const Canvas& canvas, double scale, bool vertical)
    : texture_(canvas), scale_(scale),
      middle_(-(vertical ? canvas.bounds().left : canvas.bounds().top) * canvas.scale()),
      bounds_(canvas.bounds()), units_(canvas.scale())
{
}

void Surroundings::photograph(const Lens& lens, const Pose& pose, ozr_image* picture,
                              const Instant& instant) const
{
    const size_t chosen = _fitting_level(texture_, scale_, lens.focal);
    const TextureLevel& level = texture_.levels()[chosen];
    const double shrink = 1 << chosen;
    const Rays rays(lens, pose, instant.sweep, {level, scale_ / shrink, middle_ / shrink});

    const std::vector<Walker> nobody;
    const std::vector<Walker>& walkers = instant.walkers != nullptr ? *instant.walkers : nobody;
    const Passage passage(walkers, bounds_, units_ / shrink);

    const size_t columns = static_cast<size_t>(lens.width / kCell) + 2;
    std::vector<Place> above(columns), below(columns), nodes(columns);
    _fill_nodes(rays, 0, &below);
    for (int32_t y = 0; y < lens.height; ++y) {
        const int32_t part = y & (kCell - 1);
        if (part == 0) {
            above.swap(below);
            _fill_nodes(rays, y + kCell, &below);
        }
        for (size_t i = 0; i < columns; ++i)
            nodes[i] = {above[i].x + (((below[i].x - above[i].x) * part) >> kCellBits),
                        above[i].y + (((below[i].y - above[i].y) * part) >> kCellBits)};
        uint8_t* luma = picture->data + static_cast<ptrdiff_t>(y) * picture->stride;
        _walk_row(nodes, lens.width, 1, [&](int32_t x, Place place) {
            luma[x] = _sample(level.luma.data(), level.width, 1, place);
            passage.cover_luma(place, luma + x);
        });
        if (y % 2 != 0)
            continue;
        uint8_t* chroma = picture->data + static_cast<ptrdiff_t>(picture->height + y / 2) * picture->stride;
        _walk_row(nodes, lens.width, 2, [&](int32_t x, Place place) {
            const Place half = {place.x / 2, place.y / 2};
            chroma[x] = _sample(level.chroma.data(), level.width, 2, half);
            chroma[x + 1] = _sample(level.chroma.data() + 1, level.width, 2, half);
            passage.cover_chroma(place, chroma + x);
        });
    }
    if (lens.vignetting != 0 || instant.brightness != 1)
        _expose(lens, instant.brightness, picture);
}

}  // namespace ozr_pano
