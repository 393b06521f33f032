// Sweeps as the core sees them, call by call against the reference: intake, alignment,
// and in the end the panorama.
#include <gtest/gtest.h>

#include "support/cores.h"
#include "support/log_capture.h"

namespace
{

using ozr_reference::Image;

// A picture of any shape: such that the farthest rows or the reach of a patch end,
// and with blocks on the centre.
Image any_picture(Random& random)
{
    const bool is_tall = random.below(3) == 0;
    const int32_t width = 32 + random.below(is_tall ? 100 : 400),
                  height = 1 + random.below(is_tall ? 3000 : 300);
    Image picture(kPanoNv12, width, height, width + random.below(9));
    for (uint8_t& byte : picture.bytes)
        byte = random.byte();
    return picture;
}

// The pictures of a sweep: their size, their offsets, and their textures.
struct Scene {
    int32_t width, height, stride, overlap, dx, dy, textures;

    explicit Scene(Random& random)
    {
        const bool is_large = random.below(16) == 0;  // for many levels, whose sums are shifted
        width = 32 + random.below(is_large ? 100 : 30);
        height = is_large ? 60 + random.below(40) : 1 + random.below(40);
        stride = width + random.below(3);
        overlap = random.below(is_large ? 4 : 2) == 0 ? random.below(101) : 500 + random.below(19500);
        dx = random.below(width / 2) - width / 8;
        dy = random.below(height / 4 + 1) - height / 8;
        textures = random.below(3) == 0 ? 5 : 1;
    }
    Image picture(Random& random, int32_t index) const
    {
        const int32_t texture = random.below(textures), level = random.byte(), shift = random.below(8);
        Image picture(kPanoNv12, width, height, stride);
        for (int32_t i = 0; i < picture.view().size; ++i) {
            const int32_t x = i % stride, y = i / stride;
            const int32_t value = y < height ? noise(x + index * dx, y + index * dy) : random.byte();
            const int32_t values[] = {value, level, value & 128 ? 255 : 0, level + (random.byte() >> shift),
                                      random.byte()};
            picture.bytes[i] = static_cast<uint8_t>(values[texture]);
        }
        return picture;
    }
    int32_t guess(Random& random, int32_t position) const
    {
        const int32_t above = height / 10, before = width / 10, behind = 3 * width / 10;
        const int32_t extremes[] = {INT32_MIN,       INT32_MAX,      width + before,
                                    -width - behind, height + above, -height - above};
        return random.below(20) == 0 ? extremes[random.below(6)] : position + random.below(7) - 3;
    }
};

// Adds a copy of a picture, lent or handed over, with a disturbance at times. The core keeps or
// releases a picture that is handed over, unless it refuses it.
void add_both(TestCore& core, const Image& picture, int32_t index, ozr_point at, Random& random)
{
    const PanoImg view = picture.view();
    PanoImg img = {};
    PanoImg_Clone(&view, &img);
    const bool is_lent = random.below(2) == 0;
    const Disturbance disturbance(core.core, random.below(2) == 0,
                                  random.below(8) == 0 ? 1 + random.below(12) : 1000);
    const int32_t code = is_lent ? ozr::core::add_lent(core.core, &img, index, at.x, at.y)
                                 : panorama_core_add_input(core.core, &img, index, at.x, at.y);
    EXPECT_EQ(code, core.want.add(&view, index, at.x, at.y, disturbance.event(index)));
    const bool is_left = index < 0 || index >= kMaxPictures || code == -2 || code == -201;
    EXPECT_TRUE(is_lent || is_left ? holds(img, picture) : img.data == nullptr);
    PanoImg_Destroy(&img);
    expect_same(core);
    core->cancel = core.want.record.cancel = 0;
}

// A call with a fault; some of these faults have no effect.
void add_badly(TestCore& core, const Scene& s, int32_t index, Random& random)
{
    ozr_reference::Core& want = core.want;
    const int32_t indices[] = {index, index, index, 0, -1, 10, INT32_MAX, INT32_MIN};
    const int32_t fault = random.below(core->has_tables != 0 ? 8 : 6);
    const uint8_t initialised = want.record.initialised;
    int32_t* const tables = core->proj.block_offsets;
    const ozr_reference::Projection projection = want.projection;
    core->cancel = want.record.cancel = fault == 4 || fault == 5 ? random.below(2) : 0;
    core->initialised = want.record.initialised = fault == 5 ? 0 : initialised;
    if (fault >= 6) {
        core->proj.block_offsets = nullptr;
        want.projection = {};
    }
    const Image picture(fault == 0 ? kPanoNv21 : kPanoNv12, s.width - (fault == 1 ? 1 : 0),
                        s.height + (fault == 2 ? 1 : 0), s.stride + (fault == 3 ? 1 : 0));
    if (fault < 7)
        add_both(core, picture, fault < 4 ? index : indices[random.below(8)], {0, 0}, random);
    else
        EXPECT_EQ(panorama_core_add_input(core.core, nullptr, index, 0, 0),
                  want.add(nullptr, index, 0, 0, {}));
    core->initialised = want.record.initialised = initialised;
    core->proj.block_offsets = tables;
    want.projection = projection;
}

}  // namespace

TEST(CoreSweep, IsAsTheReferenceHasIt)
{
    for_trials(1500, [](Random& random) {
        const Scene scene(random);
        const int32_t forward = random.below(2), side = forward != 0 ? 1 : -1,
                      gap = 1 + random.below(50) / 49;
        TestCore core;
        const auto tables = [&random] { return random.below(2) == 0 ? Tables::kNone : Tables::kMade; };
        const Image earlier = random.below(12) == 0 ? any_picture(random) : Image(kPanoNv12, 32, 3, 40);
        init_both(core, {1, earlier.width, earlier.height, earlier.stride}, tables());
        add_both(core, earlier, 0, {0, 0}, random);
        core->overlap = core.want.record.overlap = scene.overlap;
        init_both(core, {forward, scene.width, scene.height, scene.stride}, tables());
        const int32_t count = 2 + random.below(3);
        for (int32_t index = 0; index < count; index += gap) {
            if (random.below(3) == 0)
                add_badly(core, scene, index, random);
            const ozr_point at = {scene.guess(random, side * scene.dx), scene.guess(random, side * scene.dy)};
            add_both(core, scene.picture(random, index), index, at, random);
        }
        const LogCapture quiet;
        std::vector<std::string> log;
        Image panorama;
        ozr::PanoImgOwner out;
        const int32_t shown = 1 + random.below(count);
        EXPECT_EQ(panorama_core_panorama(core.core, shown, out.get()),
                  core.want.compose(shown, &panorama, &log));
        EXPECT_TRUE(holds(*out.get(), panorama));
        // The pictures shown have lost their pyramids: a further one may have no partner.
        add_both(core, scene.picture(random, count), count, {0, 0}, random);
    });
    const PanoImg view = Image(kPanoNv12, 7, 48, 7).view();
    EXPECT_EQ(ozr::core::add_lent(nullptr, &view, 0, 0, 0), -3);
}
