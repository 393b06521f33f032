// Panoramas drawn from known cameras, against the world that the pictures show.
#include <gtest/gtest.h>

#include <cmath>

#include "kernels/cpu.h"
#include "kernels/kernels.h"
#include "refined/painted_sweep.h"
#include "support/wrapped_heap.h"

using namespace ozr;
using namespace ozr::refined;

namespace
{

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

// Every pixel against the paint, both times a common gain.
void expect_shows(const Drawn& drawn, double gain, double most_rms, double most)
{
    ASSERT_EQ(drawn.result, kPanoSuccess);
    Errors luma, chroma;
    for (int32_t y = 0; y < drawn.image.height; ++y) {
        for (int32_t x = 0; x < drawn.image.width; ++x)
            luma.add(drawn.luma(x, y) - gain * painted(drawn.ray(x, y)).luma);
    }
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

Sweep usual_sweep()
{
    Sweep sweep;
    for (int32_t i = -2; i <= 2; ++i)
        sweep.add(14 * i, 1.5 * (i % 2), 2 - i);
    sweep.take();
    return sweep;
}

}  // namespace

// Turned, tilted, with a lens that bends lines; the first row and column are where the report says.
TEST(Draw, EveryPixelShowsWhatItsRayMeets)
{
    for (double radial : {0.0, 0.06, -0.06}) {
        SCOPED_TRACE(radial);
        Sweep sweep;
        sweep.radial = radial;
        sweep.padding = 6;
        for (int32_t i = -2; i <= 2; ++i)
            sweep.add(14 * i, 1.5 * (i % 2), 4 - 2 * i);
        sweep.take();
        const Drawn drawn(sweep);
        expect_shows(drawn, 1, 0.9, 5);
        EXPECT_GE(drawn.image.width, 240);  // 56 degrees between the outer pictures' middles are 168 pixels
        EXPECT_GE(drawn.image.height, 84);
        EXPECT_EQ(drawn.image.width % 2 + drawn.image.height % 2, 0);
    }
}

// Order of capture, pictures left out, a sweep that turns back: all the same panorama.
TEST(Draw, OrderDoesNotMatterAndUnusedPicturesAreLeftOut)
{
    Sweep sweep = usual_sweep();
    const Drawn want(sweep);
    std::reverse(sweep.pictures.begin(), sweep.pictures.end());
    std::swap(sweep.pictures[1], sweep.pictures[3]);
    const Drawn reordered(sweep);
    ASSERT_EQ(reordered.result, kPanoSuccess);
    EXPECT_EQ(reordered.bytes(), want.bytes());

    const std::vector<uint8_t> kept = want.bytes();
    std::vector<uint8_t> noise(sweep.pixels[0].size(), 3);
    PanoImg other = sweep.images[0];
    other.data = noise.data();
    Camera unused = sweep.cameras[2];
    unused.used = false;
    unused.focal = 0;
    sweep.pictures.insert(sweep.pictures.begin() + 2, {&other, nullptr, 0, &unused});
    const Drawn with_another(sweep);
    ASSERT_EQ(with_another.result, kPanoSuccess);
    EXPECT_EQ(with_another.bytes(), kept);
    EXPECT_EQ(with_another.report.gain[2], 1.0F);
}

TEST(Draw, ReducedPicturesMayBeHandedOver)
{
    Sweep sweep = usual_sweep();
    Sweep halves;
    halves.width = sweep.width / 2;
    halves.height = sweep.height / 2;
    halves.focal = sweep.focal / 2;
    for (int32_t i = -2; i <= 2; ++i)
        halves.add(14 * i, 1.5 * (i % 2), 2 - i);
    halves.take();
    for (size_t i = 0; i < sweep.pictures.size(); ++i) {
        sweep.pictures[i].reduced = &halves.images[i];
        sweep.pictures[i].reduced_bits = 1;
    }
    expect_shows(Drawn(sweep), 1, 0.9, 5);
}

TEST(Draw, EvensOutExposureAndFalloff)
{
    Sweep sweep;
    sweep.width = 640;
    sweep.height = 480;
    sweep.focal = 690;
    for (int32_t i = -2; i <= 2; ++i)
        sweep.add(14 * i, 1.5 * (i % 2), 2 - i);
    const double gains[] = {1.0, 0.8, 1.15, 0.9, 1.05};
    sweep.paint = [&](const Ray& ray, int32_t picture) {
        const Camera& camera = sweep.cameras[static_cast<size_t>(picture)];
        const double* r = camera.rotation;
        const double ahead = r[2] * ray.x + r[5] * ray.y + r[8] * ray.z;
        const double x = (r[0] * ray.x + r[3] * ray.y + r[6] * ray.z) / ahead * camera.focal;
        const double y = (r[1] * ray.x + r[4] * ray.y + r[7] * ray.z) / ahead * camera.focal;
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
    Sweep sweep;
    for (int32_t i = 0; i < 4; ++i)
        sweep.add(13 * i);
    sweep.paint = [](const Ray& ray, int32_t picture) {
        return Paint{(picture % 2 == 0 ? 1.0 : 0.75) * (painted(ray).luma * 0.5 + 138), 128, 128};
    };
    sweep.take();
    const Drawn drawn(sweep);
    ASSERT_EQ(drawn.result, kPanoSuccess);
    int32_t white = 0;
    for (int32_t y = 0; y < drawn.image.height; ++y) {
        for (int32_t x = 0; x < drawn.image.width; ++x)
            white += drawn.luma(x, y) >= 254 ? 1 : 0;
    }
    EXPECT_LT(white, drawn.image.width * drawn.image.height / 100);
}

// Somebody in a bright coat walks along: shown whole or not at all, wherever the pictures saw him.
TEST(Draw, SeamsGoRoundWhoeverMoves)
{
    constexpr double kHalfWidth = 0.035, kHalfHeight = 0.16;
    for (double start : {-0.5, -0.25, 0.0}) {
        SCOPED_TRACE(start);
        Sweep sweep;
        sweep.width = 480;
        sweep.height = 360;
        sweep.focal = 518;
        for (int32_t i = -2; i <= 2; ++i)
            sweep.add(14 * i);
        const auto walker = [&](int32_t picture) { return start + 0.11 * picture; };
        sweep.paint = [&](const Ray& ray, int32_t picture) {
            const double heading = std::atan2(ray.x, ray.z), height = ray.y / std::hypot(ray.x, ray.z);
            const bool hit =
                std::abs(heading - walker(picture)) < kHalfWidth && std::abs(height) < kHalfHeight;
            const Paint paint = painted(ray);
            return hit ? Paint{250, 60, 200} : Paint{paint.luma * 0.7, paint.u, paint.v};
        };
        sweep.take();
        const Drawn drawn(sweep);
        ASSERT_EQ(drawn.result, kPanoSuccess);
        for (int32_t picture = 0; picture < 5; ++picture) {
            int64_t bright = 0, all = 0;
            for (int32_t y = 0; y < drawn.image.height; ++y) {
                for (int32_t x = 0; x < drawn.image.width; ++x) {
                    const Ray ray = drawn.ray(x, y);
                    if (std::abs(std::atan2(ray.x, ray.z) - walker(picture)) < 0.9 * kHalfWidth &&
                        std::abs(ray.y) < 0.9 * kHalfHeight) {
                        bright += drawn.luma(x, y) > 200 ? 1 : 0;
                        ++all;
                    }
                }
            }
            const double share = all == 0 ? 0 : static_cast<double>(bright) / static_cast<double>(all);
            EXPECT_TRUE(share < 0.05 || share > 0.95) << "picture " << picture << " share " << share;
        }
    }
}

// Nothing to go by: no texture, no light, nothing but light, nothing but noise; the smallest pictures; one picture alone.
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
                Sweep sweep;
                sweep.width = size;
                sweep.height = 34;
                sweep.focal = size * 1.1;
                sweep.paint = [&](const Ray&, int32_t) { return Paint{level(), level(), level()}; };
                for (int32_t i = 0; i < count; ++i)
                    sweep.add(12 * i, i % 2);
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
    struct Fault {
        const char* what;
        void (*apply)(Sweep*);
        PanoResult want;
    };
    const Fault faults[] = {
        {"no pictures", [](Sweep* s) { s->pictures.clear(); }, kPanoBadArgument},
        {"too many", [](Sweep* s) { s->pictures.resize(11, s->pictures[0]); }, kPanoBadArgument},
        {"none used",
         [](Sweep* s) {
             for (Camera& c : s->cameras)
                 c.used = false;
         },
         kPanoBadArgument},
        {"no camera", [](Sweep* s) { s->pictures[1].camera = nullptr; }, kPanoBadArgument},
        {"no picture", [](Sweep* s) { s->pictures[1].picture = nullptr; }, kPanoBadArgument},
        {"no pixels", [](Sweep* s) { s->images[1].data = nullptr; }, kPanoBadArgument},
        {"odd width", [](Sweep* s) { s->images[1].width -= 1; }, kPanoBadArgument},
        {"other size", [](Sweep* s) { s->images[1].width -= 2; }, kPanoBadArgument},
        {"other format", [](Sweep* s) { s->images[1].format = kPanoGray; }, kPanoBadArgument},
        {"short stride", [](Sweep* s) { s->images[1].stride = 100; }, kPanoBadArgument},
        {"too small",
         [](Sweep* s) {
             for (PanoImg& i : s->images)
                 i.height = 30;
         },
         kPanoBadArgument},
        {"no focal length", [](Sweep* s) { s->cameras[1].focal = 0; }, kPanoBadArgument},
        {"not a number", [](Sweep* s) { s->cameras[1].radial = std::nan(""); }, kPanoBadArgument},
        {"no rotation", [](Sweep* s) { s->cameras[1].rotation[4] = 1e30; }, kPanoBadArgument},
        {"a gap", [](Sweep* s) { std::swap(s->pictures[4], s->pictures[1]), s->pictures.resize(2); },
         kPanoBadArgument},
        {"upside down",
         [](Sweep* s) {
             for (Camera& c : s->cameras)
                 c = {{1, 0, 0, 0, 0, 1, 0, -1, 0}, 900, 0, 1, true};
         },
         kPanoBadArgument},
    };
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.what);
        Sweep sweep = usual_sweep();
        fault.apply(&sweep);
        const Drawn drawn(sweep);
        EXPECT_EQ(drawn.result, fault.want);
        EXPECT_EQ(drawn.image.data, nullptr);
    }
    PanoImg image;
    DrawReport report;
    EXPECT_EQ(draw(usual_sweep().input(), nullptr, &report), kPanoNullArgument);
    EXPECT_EQ(draw(usual_sweep().input(), &image, nullptr), kPanoNullArgument);
}

TEST(Draw, SurvivesEveryFailingAllocation)
{
    Sweep sweep = usual_sweep();
    PanoResult result = kPanoNoMemory;
    int32_t failing = 0;
    while (result != kPanoSuccess) {
        WrappedHeap heap(++failing);
        {
            const Drawn drawn(sweep);
            result = drawn.result;
        }
        EXPECT_EQ(heap.live_blocks(), 0) << failing;
        if (result != kPanoSuccess) {
            ASSERT_EQ(result, kPanoNoMemory) << failing;
        }
    }
    EXPECT_GT(failing, 40);
}

// The request comes while the n-th block is allocated: as early and as late as that goes.
TEST(Draw, StopsWhereverItIsCancelled)
{
    static ozr::SharedWord<uint8_t> asked;
    static int64_t when;
    Sweep sweep = usual_sweep();
    int64_t allocations;
    {
        WrappedHeap heap;
        const Drawn drawn(sweep);
        allocations = heap.allocations();
    }
    for (when = 1; when <= allocations; ++when) {
        asked = 0;
        WrappedHeap heap(0, [](int64_t allocation) {
            if (allocation == when)
                asked = 1;
        });
        {
            const Drawn drawn(sweep.input(&asked));
            EXPECT_EQ(drawn.result, kPanoCancelled) << when;
        }
        EXPECT_EQ(heap.live_blocks(), 0) << when;
    }
}

TEST(Draw, LevelsDrawTheSameBytes)
{
    Sweep sweep = usual_sweep();
    kernels::set_for_test(&kernels::kScalarKernels);
    const std::vector<uint8_t> want = Drawn(sweep).bytes();
    EXPECT_FALSE(want.empty());
    for (const kernels::Kernels* const* level = kernels::kLevels; *level != nullptr; ++level) {
        if (((*level)->features & ~kernels::cpu_features()) != 0)
            continue;
        kernels::set_for_test(*level);
        EXPECT_EQ(Drawn(sweep).bytes(), want) << (*level)->level;
    }
    kernels::set_for_test(nullptr);
}

// Pictures with stripes upright and lying in turn: which of two it shows can be seen on both sides of a reported seam. They
// agree along slanting lines only, so seams slant, and one that is reported rows too high is seen, too.
TEST(Draw, ReportsItsSeams)
{
    Sweep sweep;
    sweep.paint = [](const Ray& ray, int32_t picture) {
        const double heading = std::atan2(ray.x, ray.z), height = ray.y / std::hypot(ray.x, ray.z);
        return Paint{120 + 40 * std::sin(180 * (picture % 2 == 0 ? heading : height)) +
                         picture % 2 * 30 * std::sin(40 * (heading - 0.7 * height)),
                     128, 128};
    };
    for (const int32_t i : {2, 1, 0, -1})  // to the left: the order of capture is not that along the sweep
        sweep.add(14 * i);
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
