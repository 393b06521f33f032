// Sweeps as the core sees them, call by call against the reference: intake, alignment, and in the end the panorama.
#include <gtest/gtest.h>

#include "image/pano_result.h"
#include "support/cores.h"
#include "support/log_capture.h"

namespace
{

using ozr_reference::Image;

// The pictures of a sweep: their size, where they lie, and what they show.
struct Scene {
    int32_t width, height, stride, overlap, dx, dy, textures;

    explicit Scene(Random& random)
    {
        const bool is_large = random.below(40) == 0;
        width = 32 + random.below(is_large ? 100 : 30);
        height = is_large ? 60 + random.below(40) : 1 + random.below(40);
        stride = width + random.below(3);
        overlap = random.below(random.below(2) == 0 ? 101 : 20000);
        dx = random.below(width / 2) - width / 8;
        dy = random.below(height / 4 + 1) - height / 8;
        textures = random.below(3) == 0 ? 5 : 1;
    }
    Image picture(Random& random, int32_t index) const
    {
        const int32_t texture = random.below(textures), level = random.byte(), shift = random.below(8);
        Image picture(kPanoNv12, width, height, stride);
        for (size_t i = 0; i < picture.bytes.size(); ++i) {
            const int32_t x = static_cast<int32_t>(i) % stride, y = static_cast<int32_t>(i) / stride;
            const int32_t value = y < height ? noise(x + index * dx, y + index * dy) : random.byte();
            const int32_t values[] = {value, level, value & 128 ? 255 : 0, level + (random.byte() >> shift),
                                      random.byte()};
            picture.bytes[i] = static_cast<uint8_t>(values[texture]);
        }
        return picture;
    }
    int32_t guess(Random& random, int32_t position) const
    {
        const int32_t extremes[] = {INT32_MIN, INT32_MAX, 2 * width, -width, -height, height};
        return random.below(30) == 0 ? extremes[random.below(6)] : position + random.below(7) - 3;
    }
};

// Hands a copy to the core, in either of the two ways that it has. It keeps or releases what it takes; some refusals leave it.
void add_both(TestCore& core, ozr_reference::Core* want, const Image& picture, int32_t index, int32_t x,
              int32_t y, bool is_lent)
{
    const PanoImg view = picture.view();
    PanoImg img = {};
    PanoImg_Clone(&view, &img);
    const int32_t code = want->add(&img, index, x, y);
    const bool is_left = index < 0 || index >= kMaxPictures || code == -2 || code == -201;
    EXPECT_EQ(is_lent ? panorama_core_add_lent(core.core, &img, index, x, y)
                      : panorama_core_add_input(core.core, &img, index, x, y),
              code);
    EXPECT_TRUE(is_lent || is_left ? holds(img, picture) : img.data == nullptr);
    PanoImg_Destroy(&img);
    expect_same(*core.core, *want);
}

// A call that is refused, or would be but for luck.
void add_badly(TestCore& core, ozr_reference::Core* want, const Scene& scene, Random& random, int32_t index)
{
    const int32_t indices[] = {index, index, index, 0, -1, 10, INT32_MAX, INT32_MIN}, fault = random.below(8);
    Image picture(fault == 0 ? kPanoNv21 : kPanoNv12, scene.width - (fault == 1 ? 1 : 0),
                  scene.height + (fault == 2 ? 1 : 0), scene.stride + (fault == 3 ? 1 : 0));
    const uint8_t initialised = want->record.initialised;
    int32_t* const tables = core->proj.block_offsets;
    const ozr_reference::Projection projection = want->projection;
    core->cancel = want->record.cancel = fault == 4 ? random.below(2) : 0;
    core->initialised = want->record.initialised = fault == 5 ? 0 : initialised;
    if (fault == 6) {
        core->proj.block_offsets = nullptr;
        want->projection = {};
    }
    if (fault < 7)
        add_both(core, want, picture, fault < 4 ? index : indices[random.below(8)], 0, 0,
                 random.below(2) == 0);
    else
        EXPECT_EQ(panorama_core_add_input(core.core, nullptr, index, 0, 0), want->add(nullptr, index, 0, 0));
    core->cancel = want->record.cancel = 0;
    core->initialised = want->record.initialised = initialised;
    core->proj.block_offsets = tables;
    want->projection = projection;
}

PanoramaCore* g_core;
int64_t g_moment;
enum { kBeforeProjection, kBeforeAlignment, kLater } g_stage;  // at the moment

void cancel_at_the_moment(int64_t allocation)
{
    if (allocation != g_moment)
        return;
    const int32_t index = g_core->added[0];
    g_stage = g_core->frames[index].data == nullptr     ? kBeforeProjection
              : index == 1 && g_core->added[index] == 0 ? kBeforeAlignment
                                                        : kLater;  // nothing looks at the request any more
    g_core->cancel = 1;
}

}  // namespace

TEST(CoreSweep, IsAsTheReferenceHasIt)
{
    for_trials(1500, [](Random& random) {
        const Scene scene(random);
        const int32_t forward = random.below(2), side = forward != 0 ? 1 : -1,
                      gap = 1 + random.below(50) / 49;
        TestCore core;
        ozr_reference::Core want;
        init_both(core.core, &want, 1, 32, 3, 40);  // an earlier sweep
        add_both(core, &want, Image(kPanoNv12, 32, 3, 40), 0, 0, 0, true);
        core->overlap = want.record.overlap = scene.overlap;
        init_both(core.core, &want, forward, scene.width, scene.height, scene.stride);
        const int32_t count = 2 + random.below(3);
        for (int32_t index = 0; index < count; index += gap) {
            if (random.below(3) == 0)
                add_badly(core, &want, scene, random, index);
            add_both(core, &want, scene.picture(random, index), index, scene.guess(random, side * scene.dx),
                     scene.guess(random, side * scene.dy), random.below(2) == 0);
        }
        const LogCapture quiet;
        std::vector<std::string> log;
        Image panorama;
        PanoImgOwner out;
        const int32_t shown = 1 + random.below(count);
        EXPECT_EQ(panorama_core_panorama(core.core, shown, out.get()), want.compose(shown, &panorama, &log));
        EXPECT_TRUE(holds(*out.get(), panorama));
        expect_same(*core.core, want);
    });
    const PanoImg view = Image(kPanoNv12, 7, 48, 7).view();
    EXPECT_EQ(panorama_core_add_lent(nullptr, &view, 0, 0, 0), kPanoNullArgument);
}

// Memory runs out, or the request comes, at each of the allocations for the first picture and for the second one.
TEST(CoreSweep, CanBeDisturbedAtAnyTime)
{
    for (int32_t variant = 0; variant < 8; ++variant) {
        const int32_t index = variant & 1, forward = variant >> 1 & 1;
        const bool is_cancel = variant >= 4;
        at_each_allocation([=](int64_t allocation) {
            TestCore core;
            core->overlap = 2000;
            EXPECT_EQ(panorama_core_init(core.core, forward, 64, 48, 64), 0);
            const Image picture(kPanoNv12, 64, 48, 64);
            const PanoImg view = picture.view();
            for (int32_t i = 0; i < index; ++i)
                EXPECT_EQ(panorama_core_add_lent(core.core, &view, i, 0, 0), 0);
            PanoImg img = {};
            PanoImg_Clone(&view, &img);
            g_core = core.core;
            g_moment = allocation;
            g_stage = kLater;
            const WrappedHeap heap(is_cancel ? 0 : g_moment, is_cancel ? cancel_at_the_moment : nullptr);
            const int32_t code = panorama_core_add_input(core.core, &img, index, 0, 0);
            const bool is_disturbed = heap.allocations() >= allocation;
            const bool is_refused = is_disturbed && (!is_cancel || g_stage != kLater);
            const bool is_added = !is_refused || g_stage == kBeforeAlignment;
            EXPECT_EQ(code, !is_refused ? 0 : is_cancel ? kPanoCancelled : kPanoNoMemory);
            EXPECT_EQ(img.data, nullptr);
            EXPECT_EQ(core->aligned[index], !is_refused);
            EXPECT_EQ(core->added[index], is_added);
            const AlignItem& item = core->align[index];
            EXPECT_TRUE(is_added ? item.pyramid_levels == core->pyramid_levels
                                 : !item.pyramid && !item.integrals);
            EXPECT_EQ(core->cancel, is_disturbed && is_cancel);
            return is_disturbed;
        });
    }
}
