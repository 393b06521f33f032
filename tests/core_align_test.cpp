// Sweeps as the core sees them, call by call against the reference: intake, alignment, and in the end the panorama.
#include <gtest/gtest.h>

#include <algorithm>

#include "ozr_support.h"
#include "pano_result.h"
#include "reference/core_composition.h"
#include "support/cores.h"
#include "support/log_capture.h"
#include "support/wrapped_heap.h"

namespace
{

using namespace ozr_reference;

// What the core should hold.
struct Model {
    explicit Model(const Geometry& g) : geometry(g), projection(g) {}

    Geometry geometry;
    Projection projection;
    Yuv frames[kMaxPictures];
    Pyramid pyramids[kMaxPictures];
    Match offsets[kMaxPictures];
    bool added[kMaxPictures] = {}, aligned[kMaxPictures] = {};
    int32_t expected[kMaxPictures][2] = {};  // positions that the alignment records hold

    // A picture of the right geometry, with no cancellation in the way.
    int32_t add(const Yuv& picture, int32_t index, int32_t x, int32_t y)
    {
        frames[index] = projection.of(picture);
        pyramids[index] = make_pyramid(geometry, frames[index]);
        if (pyramids[index].empty())
            return kPanoBadArgument;
        added[index] = true;
        if (index > 0 && !added[index - 1])
            return kPanoPreviousMissing;
        if (index > 0 && pyramids[index - 1].empty())
            return kPanoNullArgument;
        if (index > 0 && geometry.forward) {
            offsets[index] = search(geometry, pyramids[index - 1], pyramids[index], x, y);
            expected[index][0] = x;
            expected[index][1] = y;
        } else if (index > 0) {
            offsets[index - 1] =
                search(geometry, pyramids[index], pyramids[index - 1], -int64_t{x}, -int64_t{y});
        }
        if (index > 0) {
            pyramids[index - 1].clear();
            expected[index - 1][0] = expected[index - 1][1] = 0;
        }
        aligned[index] = true;
        return 0;
    }
};

void expect_pyramid(const AlignItem& item, const Pyramid& want)
{
    ASSERT_EQ(item.pyramid_levels, static_cast<int32_t>(want.size()));
    ASSERT_EQ(item.pyramid == nullptr, want.empty());
    ASSERT_EQ(item.integrals == nullptr, want.empty());
    for (size_t level = 0; level < want.size(); ++level) {
        const PanoImg& img = item.pyramid[level];
        const Gray& gray = want[level];
        ASSERT_TRUE(img.format == kPanoGray && img.width == gray.width && img.height == gray.height);
        ASSERT_TRUE(std::equal(gray.pixels.begin(), gray.pixels.end(), img.data));
        std::vector<uint32_t> columns(static_cast<size_t>(gray.width));
        for (int32_t y = 0; y < gray.height; ++y) {
            uint32_t sum = 0;
            for (int32_t x = 0; x < gray.width; ++x) {
                sum += columns[static_cast<size_t>(x)] += gray.at(x, y);
                ASSERT_EQ(item.integrals[level][y * gray.width + x], sum);
            }
        }
    }
}

void expect_same(const PanoramaCore& core, const Model& model)
{
    for (int32_t i = 0; i < kMaxPictures; ++i) {
        SCOPED_TRACE(testing::Message() << "picture " << i);
        const AlignResult &is = core.offsets[i],
                          want = {model.offsets[i].x, model.offsets[i].y, model.offsets[i].score};
        EXPECT_TRUE(memcmp(&is, &want, sizeof(is)) == 0) << is.x << "," << is.y << " " << is.score << " for "
                                                         << want.x << "," << want.y << " " << want.score;
        EXPECT_EQ(core.added[i], model.added[i]);
        EXPECT_EQ(core.aligned[i], model.aligned[i]);
        EXPECT_TRUE(model.frames[i].bytes.empty() ? core.frames[i].data == nullptr
                                                  : shows(core.frames[i], model.frames[i]));
        EXPECT_EQ(core.align[i].expected_x, model.expected[i][0]);
        EXPECT_EQ(core.align[i].expected_y, model.expected[i][1]);
        ASSERT_NO_FATAL_FAILURE(expect_pyramid(core.align[i], model.pyramids[i]));
    }
}

// The size of a sweep's pictures, where they lie, and what they show.
struct Scene {
    int32_t width, height, stride, overlap, dx, dy, textures, seed;

    explicit Scene(Random& random)
    {
        const bool is_large = random.below(40) == 0;
        width = 32 + random.below(is_large ? 100 : 30);
        height = is_large ? 60 + random.below(40) : 1 + random.below(40);
        stride = width + random.below(3);
        overlap = random.below(2) == 0 ? random.below(101) : random.below(20000);
        dx = random.below(width / 2) - width / 8;
        dy = random.below(height / 4 + 1) - height / 8;
        textures = random.below(3) == 0 ? 5 : 1;
        seed = random.below(1000);
    }
    Yuv picture(Random& random, int32_t index) const
    {
        const int32_t texture = random.below(textures), level = random.byte(), shift = random.below(8);
        Yuv picture(width, height, stride);
        for (int32_t i = 0; i < stride * height; ++i) {
            const int32_t value = noise(i % stride + index * dx + seed, i / stride + index * dy);
            const int32_t values[] = {value, level, value & 128 ? 255 : 0, level + (random.byte() >> shift),
                                      random.byte()};
            picture.bytes[static_cast<size_t>(i)] = static_cast<uint8_t>(values[texture]);
        }
        for (size_t i = static_cast<size_t>(stride * height); i < picture.bytes.size(); ++i)
            picture.bytes[i] = random.byte();
        return picture;
    }
    int32_t guess(Random& random, int32_t position) const
    {
        const int32_t extremes[] = {INT32_MIN, INT32_MAX, 2 * width, -width, -height, height};
        return random.below(30) == 0 ? extremes[random.below(6)] : position + random.below(7) - 3;
    }
};

// Hands over a copy of the picture; both ways that the core has.
int32_t add(PanoramaCore* core, const Yuv& picture, int32_t index, int32_t x, int32_t y, bool is_lent)
{
    PanoImg img = pano_of(picture);
    const int32_t result = is_lent ? panorama_core_add_lent(core, &img, index, x, y)
                                   : panorama_core_add_input(core, &img, index, x, y);
    EXPECT_EQ(img.data != nullptr, is_lent);
    EXPECT_TRUE(!is_lent || shows(img, picture));
    PanoImg_Destroy(&img);
    return result;
}

// Of any number of its pictures.
void expect_panorama(PanoramaCore* core, Model* model, int32_t count)
{
    const LogCapture quiet;
    const Composition want = compose(model->geometry, {model->frames, model->frames + count},
                                     {model->offsets, model->offsets + count});
    const bool is_aligned =
        std::all_of(model->aligned, model->aligned + count, [](bool aligned) { return aligned; });
    PanoImgOwner out;
    EXPECT_EQ(panorama_core_panorama(core, count, out.get()), is_aligned ? want.code : kPanoPictureMissing);
    EXPECT_TRUE(is_aligned && want.code == 0 ? shows(*out.get(), want.out) : out->data == nullptr);
    if (is_aligned) {
        model->pyramids[count - 1].clear();
        model->expected[count - 1][0] = model->expected[count - 1][1] = 0;
    }
    expect_same(*core, *model);
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

// Adds picture `index` and is disturbed at the moment. Returns whether there was one.
bool add_disturbed(int32_t index, int32_t forward, bool is_cancel)
{
    const int64_t before = WrappedHeap::live;
    int64_t held = 0;
    bool is_disturbed = false;
    {
        TestCore core;
        core->overlap = 2000;
        EXPECT_EQ(panorama_core_init(core.core, forward, 64, 48, 64), 0);
        const Yuv picture(64, 48, 64);
        for (int32_t i = 0; i < index; ++i)
            EXPECT_EQ(add(core.core, picture, i, 0, 0, true), 0);
        g_core = core.core;
        g_stage = kLater;
        PanoImg img = pano_of(picture);
        held = WrappedHeap::live - before;
        const WrappedHeap heap(is_cancel ? 0 : g_moment, is_cancel ? cancel_at_the_moment : nullptr);
        const int32_t code = panorama_core_add_input(core.core, &img, index, 0, 0);
        is_disturbed = heap.allocations() >= g_moment;
        const bool is_refused = is_disturbed && (!is_cancel || g_stage != kLater);
        EXPECT_EQ(code, !is_refused ? 0 : is_cancel ? kPanoCancelled : kPanoNoMemory);
        EXPECT_EQ(img.data, nullptr);
        EXPECT_EQ(core->aligned[index], !is_refused);
        EXPECT_EQ(core->added[index], !is_refused || g_stage == kBeforeAlignment);
        EXPECT_EQ(core->align[index].pyramid != nullptr, core->added[index] != 0);
        EXPECT_EQ(core->align[index].pyramid_levels != 0, core->added[index] != 0);
        EXPECT_EQ(core->cancel, is_disturbed && is_cancel);
    }
    EXPECT_EQ(WrappedHeap::live + held, 0);
    return is_disturbed;
}

}  // namespace

TEST(CoreSweep, IsAsTheReferenceHasIt)
{
    const WrappedHeap heap;
    Random random(41);
    for (int32_t trial = 0; trial < 1500 && !HasFailure(); ++trial) {
        const KernelsByTurns kernels(trial);
        const Scene scene(random);
        const int32_t forward = random.below(2);
        SCOPED_TRACE(testing::Message() << "trial " << trial << ": " << scene.width << "x" << scene.height
                                        << " overlap " << scene.overlap << " forward " << forward);
        TestCore core(1 - forward, scene.width + 8, 3);  // of an earlier sweep
        EXPECT_EQ(add(core.core, Yuv(scene.width + 8, 3, scene.width + 8), 0, 0, 0, false), 0);
        core->overlap = scene.overlap;
        core->proj.unused[0] = ozr_malloc(1);  // lets the tables of the earlier sweep go
        ASSERT_EQ(panorama_core_init(core.core, forward, scene.width, scene.height, scene.stride), 0);
        Model model(Geometry(scene.overlap, forward, scene.width, scene.height, scene.stride));
        int32_t index = 0;
        for (const int32_t count = 2 + random.below(3); index < count;
             index += random.below(50) == 0 ? 2 : 1) {
            SCOPED_TRACE(testing::Message() << "index " << index);
            const Yuv picture = scene.picture(random, index);
            const int32_t side = forward != 0 ? 1 : -1;
            const int32_t x = scene.guess(random, side * scene.dx), y = scene.guess(random, side * scene.dy);
            const int32_t want = model.add(picture, index, x, y);
            ASSERT_EQ(add(core.core, picture, index, x, y, random.below(2) == 0), want);
            ASSERT_NO_FATAL_FAILURE(expect_same(*core.core, model));
        }
        expect_panorama(core.core, &model, 1 + random.below(std::min(index, kMaxPictures)));
    }
    EXPECT_EQ(heap.live_blocks(), 0);
}

// Memory runs out, or the request comes, at each of the allocations for the first picture and for the second one.
TEST(CoreSweep, CanBeDisturbedAtAnyTime)
{
    for (int32_t variant = 0; variant < 8; ++variant) {
        g_moment = 0;
        do {
            SCOPED_TRACE(testing::Message() << "variant " << variant << ", allocation " << ++g_moment);
        } while (add_disturbed(variant & 1, variant >> 1 & 1, variant >= 4));
        EXPECT_GT(g_moment, 5);
    }
}

TEST(CoreSweep, RefusalsInOrderAndWhoKeepsThePicture)
{
    TestCore core(1, 96, 64);
    EXPECT_EQ(add(core.core, Yuv(96, 64, 96), 0, 0, 0, false), 0);
    int32_t* const offsets = core->proj.block_offsets;
    const struct {
        uint8_t cancel, initialised;
        bool has_tables;
        int32_t width, height, stride, format, index, want;
        bool kept;
    } cases[] = {
        {1, 0, false, 96, 62, 96, kPanoGray, 10, kPanoBadArgument, true},
        {1, 0, false, 96, 62, 96, kPanoGray, -1, kPanoBadArgument, true},
        {1, 0, false, 96, 62, 96, kPanoGray, 0, kPanoNotSupported, true},
        {1, 0, false, 96, 62, 96, kPanoGray, 1, kPanoCancelled, false},
        {0, 0, false, 96, 62, 96, kPanoGray, 1, kPanoCoreNotInitialised, true},
        {0, 1, false, 96, 62, 96, kPanoGray, 1, kPanoNullArgument, false},
        {0, 1, true, 104, 64, 104, kPanoNv12, 2, kPanoBadArgument, false},
        {0, 1, true, 95, 64, 96, kPanoNv12, 2, kPanoBadArgument, false},
        {0, 1, true, 96, 62, 96, kPanoNv12, 2, kPanoBadArgument, false},
        {0, 1, true, 96, 64, 97, kPanoNv12, 2, kPanoBadArgument, false},
        {0, 1, true, 96, 64, 96, kPanoNv21, 2, kPanoBadArgument, false},
        {0, 1, true, 96, 64, 96, kPanoNv12, 9, kPanoPreviousMissing, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        core->cancel = c.cancel;
        core->initialised = c.initialised;
        core->proj.block_offsets = c.has_tables ? offsets : nullptr;
        PanoImg img = {};
        PanoImg_CreateRef(&img, nullptr, c.width, c.height, c.stride, c.format);
        EXPECT_EQ(panorama_core_add_input(core.core, &img, c.index, 0, 0), c.want);
        EXPECT_EQ(img.data != nullptr, c.kept);
        PanoImg_Destroy(&img);
        EXPECT_EQ(core->cancel, c.cancel);
        EXPECT_EQ(core->frames[1].data, nullptr);
    }
    PanoImg empty = {kPanoNv12, 96, 64, 96, 96 * 96, 0, nullptr};
    EXPECT_EQ(panorama_core_add_input(core.core, &empty, 1, 0, 0), kPanoBadArgument);
    core->proj.block_offsets = nullptr;
    EXPECT_EQ(panorama_core_add_input(core.core, nullptr, 1, 0, 0), kPanoNullArgument);
    EXPECT_EQ(panorama_core_add_input(nullptr, &empty, 1, 0, 0), kPanoNullArgument);
    core->proj.block_offsets = offsets;
    EXPECT_NE(core->frames[9].data, nullptr);  // projected before the gap showed
    TestCore narrow(1, 7, 48);
    EXPECT_EQ(add(narrow.core, Yuv(7, 48, 7), 0, 0, 0, false), kPanoBadArgument);
}
