// Motion estimation against its meaning: random frames of every shape, moved,
// flat, symmetric and saturated.
#include <gtest/gtest.h>

#include <vector>

#include "engine/panorama_me.h"
#include "reference/engine.h"
#include "support/noise.h"
#include "support/points.h"
#include "support/random.h"

namespace
{

using Frame = std::vector<uint8_t>;

// Noise at some zoom, stripes that repeat, or one spot.
struct Scene {
    int32_t kind, zoom, width, height;

    Frame seen_from(ozr_point place) const
    {
        Frame frame;
        frame.reserve(1);  // a buffer, even without pixels
        for (int32_t i = 0; i < width * height; ++i) {
            const int32_t u = i % width + place.x, v = i / width + place.y;
            const int32_t spot = u == width / 2 && v == height / 2 ? 255 : 0,
                          stripes = (u / zoom + v / zoom) % 2 * 255;
            frame.push_back(static_cast<uint8_t>(kind == 0   ? spot
                                                 : kind == 1 ? stripes
                                                             : noise((u + 200) / zoom, (v + 200) / zoom)));
        }
        return frame;
    }
};

}  // namespace

TEST(MotionEstimate, IsWhatItMeans)
{
    for (int32_t seed = 0; seed < trials(1500) && !HasFailure(); ++seed) {
        Random random(static_cast<uint32_t>(seed));
        const int32_t most = random.below(8) == 0 ? 160 : 40;
        const auto side = [&random](int32_t limit) {  // at times there are no pixels
            return random.below(50) == 0 ? -random.below(5) : 1 + random.below(limit);
        };
        const int32_t width = side(most), height = side(40);
        const Scene scene = {random.below(5), 1 + random.below(5), width, height};
        const int32_t reach = 1 + random.below(40);
        const Frame reference = scene.seen_from({0, 0});
        Frame current = scene.seen_from({random.below(2 * reach) - reach, random.below(2 * reach) - reach});
        const int32_t grain = 1 + random.below(random.below(3) == 0 ? 200 : 4);
        for (uint8_t& pixel : current)
            pixel = static_cast<uint8_t>(pixel + random.below(grain));
        ozr_point got = {99, 99};
        MotionEstimate(reference.data(), current.data(), width, height, &got.x, &got.y);
        const ozr_point want = ozr_reference::estimate_motion(reference, current, width, height);
        EXPECT_EQ(got, want) << "seed " << seed << ": " << width << "x" << height;
    }
    const uint8_t pixel = 7;
    MotionEstimate(nullptr, &pixel, 1, 1, nullptr, nullptr);
}
