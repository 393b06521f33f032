// Panoramas drawn from known cameras, against the world that the pictures show.
#include <gtest/gtest.h>

#include <deque>
#include <functional>

#include "refined/draw.h"
#include "refined/simulated_camera.h"
#include "support/wrapped_heap.h"

using namespace ozr;
using namespace ozr::refined;

namespace
{

// Waves that the smallest pictures still resolve.
Paint painted(const Vector& ray)
{
    const double heading = heading_of(ray), height = height_of(ray);
    return {120 + 45 * std::sin(14 * heading + 1) * std::cos(11 * height) +
                30 * std::sin(31 * heading - 17 * height),
            128 + 40 * std::sin(6 * heading), 128 + 35 * std::cos(5 * heading + 4 * height)};
}

struct PaintedSweep : SimulatedCamera {
    static constexpr bool is_coloured = true;

    std::function<Paint(const Vector&, size_t picture)> seen = [](const Vector& ray, size_t) {
        return painted(ray);
    };
    std::deque<Photograph> photographs;
    std::vector<PanoImg> images;
    std::vector<Pyramid> pyramids;
    std::vector<Camera> cameras;
    std::vector<DrawPicture> pictures;

    explicit PaintedSweep(int32_t w = 160, int32_t h = 120, double f = 172) : SimulatedCamera{w, h, f} {}

    // Five views: level ones, or tilted and rolled.
    void turn(double tilt = 1.5, double roll = 2)
    {
        for (int32_t i = -2; i <= 2; ++i)
            views.push_back({14.0 * i, tilt * (i % 2), roll * (2 - i)});
    }

    void take()
    {
        pyramids.resize(views.size());
        for (size_t i = 0; i < views.size(); ++i) {
            images.push_back(photographs.emplace_back(*this, i).img);
            EXPECT_EQ(build_pyramid(&images[i], {nullptr}, &pyramids[i]), kPanoSuccess);
            cameras.push_back(camera_of_pose(views[i], focal, radial));
        }
        for (size_t i = 0; i < views.size(); ++i)
            pictures.push_back({&images[i], &pyramids[i], &cameras[i], {}});
    }

    DrawInput input(const SharedWord<uint8_t>* cancel = nullptr) const
    {
        return {pictures.data(), static_cast<int32_t>(pictures.size()), {cancel}};
    }
};

PaintedSweep usual_sweep()
{
    PaintedSweep sweep;
    sweep.turn();
    sweep.take();
    return sweep;
}

// A panorama that frees itself, and what was reported of it.
struct Drawn {
    PanoImg image = {};
    DrawReport report = {};
    PanoResult result;

    explicit Drawn(const DrawInput& input) : result(draw(input, &image, &report)) {}
    explicit Drawn(const PaintedSweep& sweep) : Drawn(sweep.input()) {}
    ~Drawn() { PanoImg_Destroy(&image); }
    Drawn(const Drawn&) = delete;
    Drawn& operator=(const Drawn&) = delete;

    // Along which a pixel of the panorama looks.
    Vector ray(double x, double y) const
    {
        const double heading = report.first_heading + x / report.radius;
        return {std::sin(heading), report.first_height + y / report.radius, std::cos(heading)};
    }
    int32_t luma(int32_t x, int32_t y) const { return image.data[y * image.stride + x]; }
    int32_t chroma(int32_t x, int32_t y) const { return luma(x, image.height + y); }  // of byte x
    std::vector<uint8_t> bytes() const { return {image.data, image.data + image.size}; }

    // Share of the pixels lighter than `level` among those whose rays are chosen.
    template <class Choice>
    double share_above(int32_t level, Choice is_chosen) const
    {
        int32_t light = 0, all = 0;
        for (int32_t y = 0; y < image.height; ++y) {
            for (int32_t x = 0; x < image.width; ++x) {
                const bool counts = is_chosen(ray(x, y));
                light += counts && luma(x, y) > level ? 1 : 0;
                all += counts ? 1 : 0;
            }
        }
        return all == 0 ? 0 : static_cast<double>(light) / all;
    }
};

struct Errors {
    double worst = 0, squares = 0;
    int64_t count = 0;
    void add(double error)
    {
        worst = std::max(worst, std::abs(error));
        squares += error * error;
        ++count;
    }
    double rms() const { return std::sqrt(squares / static_cast<double>(count)); }
};

Errors luma_errors(const Drawn& drawn, double gain)
{
    Errors luma;
    for (int32_t y = 0; y < drawn.image.height; ++y) {
        for (int32_t x = 0; x < drawn.image.width; ++x)
            luma.add(drawn.luma(x, y) - gain * painted(drawn.ray(x, y)).luma);
    }
    return luma;
}

// Every pixel against the paint, both times a common gain.
void expect_shows(const Drawn& drawn, double gain, double most_rms, double most)
{
    ASSERT_EQ(drawn.result, kPanoSuccess);
    const Errors luma = luma_errors(drawn, gain);
    Errors chroma;
    for (int32_t y = 0; y < drawn.image.height / 2; ++y) {
        for (int32_t x = 0; x < drawn.image.width / 2; ++x) {
            const Paint want = painted(drawn.ray(2 * x + 0.5, 2 * y + 0.5));
            chroma.add(drawn.chroma(2 * x, y) - 128 - gain * (want.u - 128));
            chroma.add(drawn.chroma(2 * x + 1, y) - 128 - gain * (want.v - 128));
        }
    }
    EXPECT_LT(luma.rms(), most_rms);
    EXPECT_LT(luma.worst, most);
    EXPECT_LT(chroma.rms(), most_rms);
    EXPECT_LT(chroma.worst, most);
}

}  // namespace

// Turned, tilted, with a lens that bends lines; the first row and column are where the report says.
TEST(Draw, EveryPixelShowsWhatItsRayMeets)
{
    for (double radial : {0.0, 0.06, -0.06}) {
        SCOPED_TRACE(radial);
        PaintedSweep sweep;
        sweep.radial = radial;
        sweep.padding = 6;
        sweep.turn();
        sweep.take();
        const Drawn drawn(sweep);
        expect_shows(drawn, 1, 0.9, 5);
        // The 56 degrees between the outer pictures' middles are 168 pixels.
        EXPECT_GE(drawn.image.width, 240);
        EXPECT_GE(drawn.image.height, 84);
        EXPECT_EQ(drawn.image.width % 2 + drawn.image.height % 2, 0);
    }
}

// What is noisy is drawn softly, all of it alike, and is nearer to the world then.
TEST(Draw, TakesNoiseOff)
{
    Random random(5);
    PaintedSweep sweep;
    sweep.seen = [&random](const Vector& ray, size_t) {
        Paint paint = painted(ray);
        for (int32_t i = 0; i < 4; ++i)
            paint.luma += random.below(21) - 10;
        return paint;
    };
    sweep.turn();
    sweep.take();
    const Drawn sharp(sweep);
    for (size_t i = 0; i < sweep.pictures.size(); ++i)
        sweep.pictures[i].grain = measure_grain(sweep.pyramids[i].levels[0]);
    const Drawn soft(sweep);
    ASSERT_EQ(sharp.result + soft.result, 2 * kPanoSuccess);
    EXPECT_LT(luma_errors(soft, 1).rms(), 0.75 * luma_errors(sharp, 1).rms());
}

// Order of capture, pictures left out, a sweep that turns back: all the same panorama.
TEST(Draw, OrderDoesNotMatterAndUnusedPicturesAreLeftOut)
{
    PaintedSweep sweep = usual_sweep();
    const Drawn want(sweep);
    std::reverse(sweep.pictures.begin(), sweep.pictures.end());
    std::swap(sweep.pictures[1], sweep.pictures[3]);
    const Drawn reordered(sweep);
    ASSERT_EQ(reordered.result, kPanoSuccess);
    EXPECT_EQ(reordered.bytes(), want.bytes());

    const std::vector<uint8_t> kept = want.bytes();
    std::vector<uint8_t> noise(static_cast<size_t>(sweep.images[0].size), 3);
    PanoImg other = sweep.images[0];
    other.data = noise.data();
    Camera unused = sweep.cameras[2];
    unused.used = false;
    unused.focal = 0;
    sweep.pictures.insert(sweep.pictures.begin() + 2, {&other, &sweep.pyramids[0], &unused, {900, 900}});
    const Drawn with_another(sweep);
    ASSERT_EQ(with_another.result, kPanoSuccess);
    EXPECT_EQ(with_another.bytes(), kept);
    EXPECT_EQ(with_another.report.gain[2], 1.0F);
}

TEST(Draw, EvensOutExposureAndFalloff)
{
    PaintedSweep sweep(640, 480, 690);
    sweep.turn();
    std::vector<Rotation> rotations;
    for (const Pose& view : sweep.views)
        rotations.push_back(rotation_of_pose(view));
    const double gains[] = {1.0, 0.8, 1.15, 0.9, 1.05};
    sweep.seen = [&](const Vector& ray, size_t picture) {
        const Vector at = rotations[picture].turn_back(ray);
        const double x = at.x / at.z * sweep.focal, y = at.y / at.z * sweep.focal;
        const double gain =
            gains[picture] * std::exp(-0.2 * (x * x + y * y) / (319.5 * 319.5 + 239.5 * 239.5));
        const Paint paint = painted(ray);
        return Paint{gain * paint.luma, 128 + gain * (paint.u - 128), 128 + gain * (paint.v - 128)};
    };
    sweep.take();
    const Drawn drawn(sweep);
    ASSERT_EQ(drawn.result, kPanoSuccess);
    const double common = static_cast<double>(drawn.report.gain[0]) * gains[0];
    for (size_t i = 1; i < 5; ++i)
        EXPECT_NEAR(static_cast<double>(drawn.report.gain[i]) * gains[i] / common, 1, 0.01) << i;
    expect_shows(drawn, common, 1, 5);
}

// Pictures whose gains are far apart: what was not white does not become white.
TEST(Draw, BlowsOutNoHighlights)
{
    PaintedSweep sweep;
    sweep.views = {{0, 0, 0}, {13, 0, 0}, {26, 0, 0}, {39, 0, 0}};
    sweep.seen = [](const Vector& ray, size_t picture) {
        return Paint{(picture % 2 == 0 ? 1.0 : 0.75) * (painted(ray).luma * 0.5 + 138), 128, 128};
    };
    sweep.take();
    const Drawn drawn(sweep);
    ASSERT_EQ(drawn.result, kPanoSuccess);
    EXPECT_LT(drawn.share_above(253, [](const Vector&) { return true; }), 0.01);
}

// Somebody in a bright coat walks along: shown whole or not at all, wherever the pictures saw him.
TEST(Draw, SeamsGoRoundWhoeverMoves)
{
    for (double start : {-0.5, -0.25, 0.0}) {
        SCOPED_TRACE(start);
        PaintedSweep sweep(480, 360, 518);
        sweep.turn(0, 0);
        const auto is_walker = [&](const Vector& ray, size_t picture, double part) {
            const double walker = start + 0.11 * static_cast<double>(picture);
            return std::abs(heading_of(ray) - walker) < 0.035 * part &&
                   std::abs(height_of(ray)) < 0.16 * part;
        };
        sweep.seen = [&](const Vector& ray, size_t picture) {
            const Paint paint = painted(ray);
            return is_walker(ray, picture, 1) ? Paint{250, 60, 200}
                                              : Paint{paint.luma * 0.7, paint.u, paint.v};
        };
        sweep.take();
        const Drawn drawn(sweep);
        ASSERT_EQ(drawn.result, kPanoSuccess);
        for (size_t picture = 0; picture < 5; ++picture) {
            const double share =
                drawn.share_above(200, [&](const Vector& ray) { return is_walker(ray, picture, 0.9); });
            EXPECT_TRUE(share < 0.05 || share > 0.95) << "picture " << picture << " share " << share;
        }
    }
}

// Nothing to go by: no texture, no light, nothing but light, nothing but noise; the smallest
// pictures; one picture alone.
TEST(Draw, DrawsWhateverItIsGiven)
{
    Random random(5);
    const std::function<double()> levels[] = {[] { return 90; }, [] { return 0; }, [] { return 255; },
                                              [&] { return random.byte(); },
                                              [&] { return random.below(2) * 255; }};
    for (const auto& level : levels) {
        for (int32_t size : {32, 34, 46, 100}) {
            for (int32_t count : {1, 2, 5}) {
                SCOPED_TRACE(testing::Message() << "size " << size << " pictures " << count);
                PaintedSweep sweep(size, 34, size * 1.1);
                sweep.seen = [&](const Vector&, size_t) { return Paint{level(), level(), level()}; };
                for (int32_t i = 0; i < count; ++i)
                    sweep.views.push_back({12.0 * i, 1.0 * (i % 2), 0});
                sweep.take();
                const Drawn drawn(sweep);
                ASSERT_EQ(drawn.result, kPanoSuccess);
                EXPECT_GT(drawn.image.width, size / 4);
                if (&level == &levels[1]) {
                    EXPECT_EQ(drawn.luma(0, 0), 0);
                }
                if (&level == &levels[2]) {
                    EXPECT_GT(drawn.luma(drawn.image.width / 2, 3), 170);
                }
            }
        }
    }
}

TEST(Draw, RefusesEachFault)
{
    using Sweep = PaintedSweep;
    const std::pair<const char*, void (*)(Sweep*)> faults[] = {
        {"no pictures", [](Sweep* s) { s->pictures.clear(); }},
        {"too many", [](Sweep* s) { s->pictures.resize(11, s->pictures[0]); }},
        {"none used",
         [](Sweep* s) {
             for (Camera& camera : s->cameras)
                 camera.used = false;
         }},
        {"no camera", [](Sweep* s) { s->pictures[1].camera = nullptr; }},
        {"no picture", [](Sweep* s) { s->pictures[1].picture = nullptr; }},
        {"no pixels", [](Sweep* s) { s->images[1].data = nullptr; }},
        {"odd width", [](Sweep* s) { s->images[1].width -= 1; }},
        {"other size", [](Sweep* s) { s->images[1].width -= 2; }},
        {"other format", [](Sweep* s) { s->images[1].format = kPanoGray; }},
        {"short stride", [](Sweep* s) { s->images[1].stride = 100; }},
        {"too small",
         [](Sweep* s) {
             for (PanoImg& image : s->images)
                 image.height = 30;
         }},
        {"no focal length", [](Sweep* s) { s->cameras[1].focal = 0; }},
        {"not a number", [](Sweep* s) { s->cameras[1].radial = std::nan(""); }},
        {"too bent", [](Sweep* s) { s->cameras[1].radial = -0.5001; }},
        {"no rotation", [](Sweep* s) { s->cameras[1].rotation.m[4] = 1e30; }},
        {"a gap",
         [](Sweep* s) {
             s->pictures = {s->pictures[0], s->pictures[4]};
         }},
        {"upside down",
         [](Sweep* s) {
             s->cameras.assign(5, {{1, 0, 0, 0, 0, 1, 0, -1, 0}, 900, 0, 1, true});
         }},
    };
    for (const auto& [what, apply] : faults) {
        SCOPED_TRACE(what);
        PaintedSweep sweep = usual_sweep();
        apply(&sweep);
        const Drawn drawn(sweep);
        EXPECT_EQ(drawn.result, kPanoBadArgument);
        EXPECT_EQ(drawn.image.data, nullptr);
    }
    // The most bent lenses that a solution may end with are none.
    for (const double radial : {-kMostRadial, kMostRadial}) {
        PaintedSweep sweep = usual_sweep();
        for (Camera& camera : sweep.cameras)
            camera.radial = radial;
        EXPECT_EQ(Drawn(sweep).result, kPanoSuccess) << radial;
    }
    PanoImg image;
    DrawReport report;
    EXPECT_EQ(draw(usual_sweep().input(), nullptr, &report), kPanoNullArgument);
    EXPECT_EQ(draw(usual_sweep().input(), &image, nullptr), kPanoNullArgument);
}

// The request comes while the n-th block is allocated: as early and as late as that goes.
TEST(Draw, StopsWhereverItIsCancelled)
{
    static SharedWord<uint8_t> asked;
    static int64_t when;
    const PaintedSweep sweep = usual_sweep();
    bool is_asked = true;
    for (when = 1; is_asked; ++when) {
        asked = 0;
        WrappedHeap heap(0, [](int64_t allocation) { asked = allocation >= when ? 1 : 0; });
        const PanoResult result = Drawn(sweep.input(&asked)).result;
        is_asked = asked != 0;
        EXPECT_EQ(result, is_asked ? kPanoCancelled : kPanoSuccess) << when;
        EXPECT_EQ(heap.live_blocks(), 0) << when;
    }
    EXPECT_GT(when, 40);
}

// Pictures with stripes upright and lying in turn: which of two it shows can be seen on both sides
// of a reported seam. They agree along slanting lines only, so seams slant, and one that is
// reported rows too high is seen, too.
TEST(Draw, ReportsItsSeams)
{
    PaintedSweep sweep;
    sweep.seen = [](const Vector& ray, size_t picture) {
        const double heading = heading_of(ray), height = height_of(ray);
        const bool is_upright = picture % 2 == 0;
        return Paint{120 + 40 * std::sin(180 * (is_upright ? heading : height)) +
                         (is_upright ? 0 : 30 * std::sin(40 * (heading - 0.7 * height))),
                     128, 128};
    };
    // To the left: the order of capture is not that along the sweep.
    sweep.views = {{28, 0, 0}, {14, 0, 0}, {0, 0, 0}, {-14, 0, 0}};
    sweep.take();
    const Drawn drawn(sweep);
    ASSERT_EQ(drawn.result, kPanoSuccess);
    const auto lies = [&](int32_t x, int32_t y) {  // of the stripes there
        int32_t across = 0, down = 0;
        for (int32_t i = -3; i <= 3; ++i) {
            across += std::abs(drawn.luma(x + i + 1, y + 1) - drawn.luma(x + i - 1, y + 1));
            down += std::abs(drawn.luma(x, y + i + 1) - drawn.luma(x, y + i - 1));
        }
        return down > across;
    };
    const SeamLines& seams = drawn.report.seams;
    ASSERT_EQ(seams.count, 4);
    constexpr int32_t kBeside = 11,
                      kEdge = 6;  // pixels: beyond the feather, and what stripes are looked at in
    for (int32_t seam = 0; seam < 3; ++seam) {
        EXPECT_EQ(seams.pictures[seam], 3 - seam);
        EXPECT_EQ(seams.pictures[seam + 1], 2 - seam);
        int32_t seen = 0;
        for (int32_t i = 0; i < seams.rows; ++i) {
            const int32_t x = seams.columns[static_cast<size_t>(seam * seams.rows + i)];
            const int32_t y = seams.first_row + i * seams.step;
            if (y < kEdge || y >= drawn.image.height - kEdge)
                continue;
            EXPECT_EQ(lies(x - kBeside, y), seams.pictures[seam] % 2 == 1) << seam << " " << y;
            EXPECT_EQ(lies(x + kBeside, y), seams.pictures[seam + 1] % 2 == 1) << seam << " " << y;
            ++seen;
        }
        EXPECT_GT(seen * seams.step, drawn.image.height - 2 * kEdge - 2 * seams.step);
    }
}
