// Composition, against the reference: layout, seams, transitions, codes and the log.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <memory>

#include "pano_result.h"
#include "reference/core_composition.h"
#include "support/cores.h"
#include "support/log_capture.h"
#include "support/wrapped_heap.h"

namespace
{

using namespace ozr_reference;

// Aligned pictures at positions of the test's own.
struct Sweep {
    TestCore core;
    Geometry geometry;
    std::vector<Yuv> pictures;
    std::vector<Match> results;

    Sweep(int32_t forward, int32_t width, int32_t height, int32_t margin)
        : core(forward, width, height), geometry(70, forward, width, height, width)
    {
        core->margin = geometry.margin = margin;
    }
    void add(const Yuv& picture, const Match& result)
    {
        const size_t i = pictures.size();
        pictures.push_back(picture);
        results.push_back(result);
        core->frames[i] = pano_of(picture);
        core->offsets[i] = {result.x, result.y, result.score};
        core->aligned[i] = 1;
    }
    int32_t count() const { return static_cast<int32_t>(pictures.size()); }
};

// The bytes of a sweep: noise, a few values (so that paths tie), flat ones, or the two ends.
struct Texture {
    int32_t values, spread;
    bool is_wild;

    explicit Texture(Random& random)
        : values(1 << random.below(9)), spread(values == 2 ? 255 : 1), is_wild(values != 2)
    {
    }

    Yuv picture(Random& random, int32_t width, int32_t height) const
    {
        Yuv picture(width, height, width);
        const int32_t level = is_wild ? random.below(257 - values) : 0;
        for (uint8_t& byte : picture.bytes)
            byte = static_cast<uint8_t>(level + random.below(values) * spread);
        return picture;
    }
};

std::unique_ptr<Sweep> make_sweep(Random& random)
{
    const int32_t margins[] = {16, 32, 64, 0, 1, 2, 5, 48};
    const int32_t width = 32 + random.below(64), w8 = width / 8 * 8, step = 1 + random.below(w8);
    const int32_t height = random.below(10) == 0 ? 1 + random.below(20) : 16 + random.below(40);
    const int32_t drift = random.below(4) == 0 ? height : 5, narrower = random.below(8) == 0 ? 9 : 1;
    const int32_t count = random.below(4) == 0 ? 1 + random.below(kMaxPictures) : 2 + random.below(2);
    // Normally the first picture of the canvas has no neighbour and no result.
    const bool has_first = random.below(8) == 0;
    const Texture texture(random);
    auto sweep = std::make_unique<Sweep>(random.below(2), width, height, margins[random.below(8)]);
    for (int32_t i = 0; i < count; ++i) {
        const bool is_first = i == (sweep->geometry.forward ? 0 : count - 1), is_odd = random.below(100) == 0;
        const int32_t x =
            is_odd ? random.below(w8 + 20) - 10 : std::min(random.below(step), random.below(w8 - 1));
        const Match result = {x, random.below(drift) - drift / 2,
                              static_cast<int32_t>(random.next() >> 3) - (1 << 28)};
        sweep->add(texture.picture(random, w8 - random.below(narrower), height),
                   is_first && !has_first ? Match() : result);
    }
    return sweep;
}

// What the core made of a sweep, in either of the two ways that it has.
struct Outcome {
    PanoImg out = {};
    void* block = nullptr;
    const bool in_block;
    int32_t code;
    Lines log;

    Outcome(PanoramaCore* core, int32_t count, bool as_block) : in_block(as_block)
    {
        const LogCapture capture;
        code = in_block ? panorama_core_compose(core, count, &out, &block)
                        : panorama_core_panorama(core, count, &out);
        log = capture.progress();
    }
    ~Outcome()
    {
        if (in_block)
            PanoImg_DestroyAligned(&out, &block);
        else
            PanoImg_Destroy(&out);
    }
    Outcome(const Outcome&) = delete;
    Outcome& operator=(const Outcome&) = delete;

    bool is_empty() const { return out.data == nullptr && block == nullptr; }
};

void expect_composition(Sweep& sweep, bool in_block)
{
    const Composition want = compose(sweep.geometry, sweep.pictures, sweep.results);
    PanoramaCore* const core = sweep.core.core;
    const bool is_cancelled =
        core->cancel != 0 && want.used > 1;  // a single picture is handed out all the same
    const int32_t left = is_cancelled ? 0 : core->cancel;
    const Outcome outcome(core, sweep.count(), in_block);
    EXPECT_EQ(outcome.code, is_cancelled ? kPanoCancelled : want.code);
    EXPECT_EQ(core->cancel, left);
    EXPECT_EQ(outcome.log, want.log);
    EXPECT_EQ(core->g_nCount, want.used);
    EXPECT_EQ(core->overlaps, want.used - 1);
    EXPECT_EQ(core->mean_score, want.mean_score);
    EXPECT_TRUE(outcome.code != 0 ? outcome.is_empty() : shows(outcome.out, want.out));
}

PanoramaCore* g_core;
int64_t g_moment;

}  // namespace

TEST(Compose, IsAsTheReferenceHasIt)
{
    const WrappedHeap heap;
    Random random(51);
    mallopt(M_PERTURB, 85);  // new memory is anything but zero
    for (int32_t trial = 0; trial < 3000 && !HasFailure(); ++trial) {
        const KernelsByTurns kernels(trial);
        const auto sweep = make_sweep(random);
        SCOPED_TRACE(testing::Message()
                     << "trial " << trial << ": " << sweep->count() << " of " << sweep->geometry.width << "x"
                     << sweep->geometry.height << " margin " << sweep->geometry.margin << " forward "
                     << sweep->geometry.forward);
        sweep->core->cancel = random.below(40) == 0 ? 1 : 0;
        expect_composition(*sweep, trial % 3 == 0);
    }
    mallopt(M_PERTURB, 0);
    EXPECT_EQ(heap.live_blocks(), 0);
}

// The request comes, or memory runs out, at each of its allocations; nothing is left behind, and the next call succeeds.
TEST(Compose, CanBeDisturbedAtAnyTime)
{
    for (int32_t variant = 0; variant < 12; ++variant) {
        const bool in_block = variant % 2 != 0, is_cancel = variant / 2 % 2 != 0;
        const int32_t count = 1 + variant / 4;
        SCOPED_TRACE(testing::Message() << "variant " << variant);
        Random random(61);
        Sweep sweep(1, 64, 32, 16);
        for (int32_t i = 0; i < count; ++i)
            sweep.add(Texture(random).picture(random, 64, 32), {i == 0 ? 0 : 20, 0, 7});
        g_core = sweep.core.core;
        int32_t code = -1;
        for (g_moment = 1; code != 0; ++g_moment) {
            SCOPED_TRACE(testing::Message() << "allocation " << g_moment);
            const auto cancel = [](int64_t allocation) {
                g_core->cancel = allocation == g_moment ? 1 : g_core->cancel;
            };
            g_core->cancel = 0;
            const WrappedHeap heap(is_cancel ? 0 : g_moment, is_cancel ? +cancel : nullptr);
            {
                const Outcome outcome(g_core, count, in_block);
                code = outcome.code;
                const bool is_disturbed = heap.allocations() >= g_moment && (!is_cancel || count > 1);
                ASSERT_EQ(code, !is_disturbed ? 0 : is_cancel ? kPanoCancelled : kPanoNoMemory);
                EXPECT_EQ(outcome.is_empty(), is_disturbed);
            }
            EXPECT_EQ(heap.live_blocks(), 0);
        }
        g_core->cancel = 0;
        expect_composition(sweep, in_block);
    }
}

TEST(Compose, Refusals)
{
    Random random(71);
    Sweep sweep(1, 64, 32, 2);
    for (int32_t i = 0; i < 2; ++i)
        sweep.add(Texture(random).picture(random, 64, 32), {20 * i, 0, 0});
    PanoramaCore* const core = sweep.core.core;
    core->g_nCount = 77;
    for (const auto& [count, code] :
         {std::pair{-1, kPanoNotSupported}, {INT32_MIN, kPanoNotSupported}, {11, kPanoBadArgument}}) {
        const Outcome outcome(core, count, false);
        EXPECT_EQ(outcome.code, code);
        EXPECT_TRUE(outcome.log.empty() && core->g_nCount == 77);
    }
    EXPECT_EQ(Outcome(nullptr, 2, false).code, kPanoNullArgument);
    {
        const LogCapture quiet;
        EXPECT_EQ(panorama_core_panorama(core, 2, nullptr), kPanoBadArgument);
        EXPECT_EQ(panorama_core_panorama(core, 1, nullptr), kPanoBadArgument);
    }
    EXPECT_EQ(Outcome(core, 0, false).log.back(),
              "panorama_core_panorama: Exiting synthesis: pi->g_nCount(0) < 1");
    EXPECT_EQ(Outcome(core, 0, false).code, kPanoNotSupported);
    core->cancel = 1;
    const Outcome missing(core, 3, false);
    EXPECT_EQ(missing.code, kPanoPictureMissing);
    EXPECT_EQ(missing.log, Lines{"panorama_core_panorama: start synthesis 3 image(s), (size: 64x32)"});
    EXPECT_TRUE(core->cancel == 1 && core->g_nCount == 3 && core->overlaps == 2);
    core->cancel = 0;
    core->offsets[1].x = INT32_MIN;
    EXPECT_EQ(Outcome(core, 2, false).code, kPanoBadArgument);
}
