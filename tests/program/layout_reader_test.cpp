// What the report page draws is what the library did: pictures of one colour each
// show in the panorama's chroma which of them every pixel comes from, while alignment
// and seams look at luma alone.
#include "media/image_owner.h"
#include "support/handle.h"
#include "support/points.h"
#include "sweep/layout_reader.h"

#include <algorithm>
#include <stdlib.h>

using namespace ozr_pano;

namespace
{

constexpr int32_t kWidth = 320, kHeight = 240, kPictures = 4;

uint8_t _colour_of(size_t picture)
{
    return static_cast<uint8_t>(40 + 30 * picture);
}

// Blocks of 5 pixels with grey levels that hold no pattern, but for two plain stripes across the
// sweep: one at the edge of an overlap and one inside all of them, so that the seams would run
// along the edge and through each other.
uint8_t _texture(const ozr_point& at, int32_t along)
{
    const bool is_plain = (along >= 1030 && along < 1110) || (along >= 1240 && along < 1300);
    const uint32_t block =
        static_cast<uint32_t>(at.x / 5) * 2654435761U ^ static_cast<uint32_t>(at.y / 5) * 2246822519U;
    return is_plain ? 128 : static_cast<uint8_t>((block ^ block >> 15) * 2654435761U >> 24);
}

void _paint(size_t number, const ozr_point& corner, bool vertical, ozr_image* picture)
{
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x) {
            const ozr_point at = {corner.x + x, corner.y + y};
            picture->data[y * picture->stride + x] = _texture(at, vertical ? at.y : at.x);
        }
    }
    std::fill_n(picture->data + kHeight * picture->stride, kHeight / 2 * picture->stride, _colour_of(number));
}

uint8_t _chroma_at(const ozr_image& panorama, int32_t x, int32_t y)
{
    return panorama.data[(panorama.height + y / 2) * panorama.stride + (x & ~1)];
}

struct Sweep {
    ozr_panorama_direction direction;
    ozr_point start, step;
    bool first_comes_first;  // from left to right, or from the top down

    bool is_vertical() const { return std::abs(step.y) > std::abs(step.x); }
};

void _compose(ozr_panorama* handle, const Sweep& sweep, ozr_image* panorama)
{
    const ozr_panorama_parameters parameters = {70, sweep.direction};
    ASSERT_EQ(ozr_panorama_set_parameters(handle, &parameters), ozr_success);
    ImageOwner picture(kWidth, kHeight);
    for (int32_t i = 0; i < kPictures; ++i) {
        const ozr_point corner = {sweep.start.x + i * sweep.step.x, sweep.start.y + i * sweep.step.y};
        _paint(static_cast<size_t>(i), corner, sweep.is_vertical(), picture.get());
        ASSERT_EQ(ozr_panorama_stitch_one_image(handle, picture.get(), &sweep.step), ozr_success);
    }
    ASSERT_EQ(ozr_panorama_run(handle, panorama), ozr_success);
}

void _check_seams(const Sweep& sweep, const ozr_image& panorama, const Layout& layout)
{
    constexpr int32_t kBeside = 4;  // pixels: two share chroma, and so a seam's odd column
    const int32_t dx = sweep.is_vertical() ? 0 : kBeside, dy = sweep.is_vertical() ? kBeside : 0;
    for (const OverlapView& overlap : layout.overlaps) {
        const size_t before = sweep.first_comes_first ? overlap.first : overlap.second;
        const size_t after = sweep.first_comes_first ? overlap.second : overlap.first;
        int32_t checked = 0;
        for (size_t i = 0; i < overlap.seam.size(); i += 2) {
            const ozr_point& at = overlap.seam[i];
            // The chroma row follows the seam of the first of its two rows.
            const int32_t along = dx != 0 ? at.y : at.x, end = dx != 0 ? panorama.height : panorama.width;
            if (along < 0 || along >= end || along % 2 != 0)
                continue;
            ASSERT_EQ(_chroma_at(panorama, at.x - dx, at.y - dy), _colour_of(before)) << at.x << " " << at.y;
            ASSERT_EQ(_chroma_at(panorama, at.x + dx, at.y + dy), _colour_of(after)) << at.x << " " << at.y;
            ++checked;
        }
        EXPECT_GT(checked, 80);
    }
}

void _check_boxes(const Sweep& sweep, const Layout& layout)
{
    // Across the sweep the panorama begins where all pictures have begun.
    int32_t begin = INT32_MIN;
    for (const Placement& picture : layout.pictures)
        begin = std::max(begin, sweep.is_vertical() ? picture.box.left : picture.box.top);
    EXPECT_EQ(begin, 0);
    for (const OverlapView& overlap : layout.overlaps) {
        const Placement &first = layout.pictures[overlap.first], &second = layout.pictures[overlap.second];
        ozr_rect common;
        ASSERT_EQ(ozr_rect_get_intersecting_rect(&first.box, &second.box, &common), ozr_success);
        EXPECT_EQ(overlap.box, common);
        EXPECT_EQ(second.box.left - first.box.left, second.step.x);
        EXPECT_EQ(second.box.top - first.box.top, second.step.y);
        // The projection stretches the middle of a picture by 418 / 345, and its edges less.
        EXPECT_NEAR(second.step.x, sweep.step.x * 1.17, 3);
        EXPECT_NEAR(second.step.y, sweep.step.y * 1.17, 3);
        EXPECT_TRUE(second.is_used && second.has_score);
        EXPECT_GT(second.score, 0.1);
        EXPECT_NEAR(second.overlap, 0.7, 0.1);
        EXPECT_GT(overlap.mean_difference, 0);
    }
}

TEST(LayoutReader, FindsPicturesSeamsAndBordersOfThePanorama)
{
    // The canvas is laid out from the left, or from the bottom: the first picture that drifts too
    // far away is left out, with all that follow it there.
    struct Row {
        Sweep sweep;
        bool is_used[kPictures];
    };
    const Row rows[] = {
        {{ozr_panorama_direction_right, {1000, 1000}, {80, 3}, true}, {true, true, true, true}},
        {{ozr_panorama_direction_left, {1240, 1000}, {-80, -3}, false}, {true, true, true, true}},
        {{ozr_panorama_direction_down, {1000, 1000}, {3, 60}, true}, {true, true, true, true}},
        {{ozr_panorama_direction_up, {1000, 1180}, {-3, -60}, false}, {true, true, true, true}},
        {{ozr_panorama_direction_right, {1000, 1000}, {80, 45}, true}, {true, true, true, false}},
        {{ozr_panorama_direction_left, {1240, 1000}, {-80, 45}, false}, {false, true, true, true}},
        {{ozr_panorama_direction_down, {1000, 1000}, {60, 80}, true}, {false, true, true, true}},
        {{ozr_panorama_direction_up, {1000, 1240}, {60, -80}, false}, {true, true, true, false}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.sweep.direction << " " << row.sweep.step.y);
        const Handle handle = create_panorama();
        ozr_image panorama = {};
        _compose(handle.get(), row.sweep, &panorama);
        const Layout layout = read_layout(*handle, panorama, {});
        ASSERT_EQ(layout.pictures.size(), size_t{kPictures});
        for (size_t i = 0; i < kPictures; ++i)
            EXPECT_EQ(layout.pictures[i].is_used, row.is_used[i]) << i;
        const int64_t used = std::count(row.is_used, row.is_used + kPictures, true);
        EXPECT_EQ(count_used(*handle), used);
        ASSERT_EQ(layout.overlaps.size(), static_cast<size_t>(used - 1));
        if (used == kPictures) {
            _check_boxes(row.sweep, layout);
            _check_seams(row.sweep, panorama, layout);
        }
        const Layout without = read_layout(*handle, ozr_image(), {});
        EXPECT_TRUE(without.overlaps.empty());
        for (size_t i = 1; i < kPictures; ++i) {
            EXPECT_FALSE(without.pictures[i].is_used) << i;
            EXPECT_EQ(without.pictures[i].step.x, layout.pictures[i].step.x) << i;
        }
        ASSERT_EQ(ozr_panorama_reset(handle.get()), ozr_success);
        EXPECT_EQ(count_used(*handle), 0);
        EXPECT_TRUE(read_layout(*handle, ozr_image(), {}).pictures.empty());
    }
}

}  // namespace
