// The report page of a sweep of either quality says of joints and cameras what the library says,
// and draws each matched point of a refined one where the cameras found show it.
#include "support/files.h"
#include "support/pages.h"
#include "support/random.h"
#include "support/scenes.h"
#include "sweep/comparison.h"
#include "sweep/layout_reader.h"

#include <algorithm>
#include <math.h>

using namespace ozr_pano;

namespace
{

constexpr int32_t kWidth = 480, kHeight = 360, kPictures = 4;
constexpr double kDegrees = 57.29577951308232;

// A sweep across the painted city, or up and down the tower; the pictures are
// brighter and rolled by turns.
class QualityReport : public FolderTest
{
protected:
    void photograph(ozr_panorama_direction direction, int32_t index, ozr_image* picture) const
    {
        const bool is_vertical = direction >= ozr_panorama_direction_down;
        const bool is_backward =
            direction == ozr_panorama_direction_left || direction == ozr_panorama_direction_up;
        const int32_t extent = is_vertical ? kHeight : kWidth;
        const int32_t step = is_backward ? kPictures - 1 - index : index;
        const double focal = assumed_focal_length(extent);
        scene(is_vertical, focal)
            .photograph({kWidth, kHeight, focal, is_vertical},
                        {0.6 + 0.3 * extent / focal * step, 0.01 * (index % 2), 0.02 * (index % 3 - 1)},
                        picture, {index % 2 == 0 ? pan : -pan, 1, nullptr});
        for (int32_t i = 0; i < kWidth * kHeight; ++i)
            picture->data[i] =
                static_cast<uint8_t>(std::min(255, picture->data[i] * (256 + 12 * index) / 256));
    }

    // Grey noise, which belongs to no sweep.
    static void make_noise(ozr_image* picture)
    {
        Random random(7);
        std::fill_n(picture->data, picture->size, uint8_t{128});
        std::generate_n(picture->data, kWidth * kHeight, [&] { return random.byte(); });
    }

    void take(ozr_panorama_direction direction, ozr_panorama_quality quality, int32_t noise = kPictures)
    {
        journal = Journal();
        comparison = Comparison();
        options.report = "page.html";
        session = std::make_unique<Session>(options, &journal);
        ASSERT_EQ(session->set_parameters({70, direction}), ozr_success);
        if (quality == ozr_panorama_quality_refined) {
            ASSERT_EQ(session->set_quality(quality), ozr_success);
        }
        for (int32_t i = 0; i < kPictures; ++i) {
            ImageOwner picture(kWidth, kHeight);
            if (i == noise)
                make_noise(picture.get());
            else
                photograph(direction, i, picture.get());
            PictureEntry entry;
            entry.source = "<picture>";
            comparison.keep(*picture.get(), entry);
            ASSERT_EQ(session->stitch_one_image(picture.get(), entry), ozr_success);
        }
        ASSERT_EQ(session->run(&panorama), ozr_success);
        layout = read_layout(session->limits(), panorama, journal.joints);
    }

    std::string page(const Counterpart* counterpart = nullptr)
    {
        session->publish(panorama, counterpart);
        return read_page("page.html");
    }

    double pan = 0;  // radians, to and fro by turns, while the rows of a picture are read
    CommonOptions options;
    Journal journal;
    std::unique_ptr<Session> session;
    Comparison comparison;
    ozr_image panorama = {};
    Layout layout;
};

// The errors that are drawn are those that the library's residuals are made from, and where they
// are drawn is where the two pictures overlap.
void _check_matches(const Layout& layout, const std::vector<ozr_panorama_joint>& joints)
{
    ASSERT_EQ(layout.joints.size(), joints.size());
    for (size_t i = 0; i < joints.size(); ++i) {
        const JointView& view = layout.joints[i];
        EXPECT_GT(view.matches.size(), 20U);
        double squares = 0;
        int near = 0;
        for (const MatchView& match : view.matches) {
            EXPECT_TRUE(match.has_shown);
            EXPECT_TRUE(match.found.x > view.box.left - 3 && match.found.x < view.box.right + 3)
                << match.found.x;
            EXPECT_TRUE(match.found.y > view.box.top - 3 && match.found.y < view.box.bottom + 3)
                << match.found.y;
            const double off = hypot(match.found.x - match.shown.x, match.found.y - match.shown.y);
            EXPECT_EQ(match.is_near, off <= 3);
            squares += match.is_near ? off * off : 0;
            near += match.is_near ? 1 : 0;
        }
        EXPECT_NEAR(sqrt(squares / near), joints[i].residual, 1e-3);
    }
}

void _check_cameras(const Layout& layout, const std::vector<ozr_panorama_camera>& cameras)
{
    ASSERT_EQ(layout.cameras.size(), cameras.size());
    for (size_t i = 0; i < cameras.size(); ++i) {
        const CameraView& view = layout.cameras[i];
        const double x = layout.is_vertical ? atan(view.middle.x) : view.middle.x;
        const double y = layout.is_vertical ? view.middle.y : atan(view.middle.y);
        EXPECT_NEAR(x * kDegrees, cameras[i].yaw, 1e-3);
        EXPECT_NEAR(y * kDegrees, cameras[i].pitch, 1e-3);
        const double lean = atan2(view.top.x - view.middle.x, view.middle.y - view.top.y);
        EXPECT_NEAR(lean * kDegrees, cameras[i].roll, 0.4);
        EXPECT_GT(fabs(static_cast<double>(cameras[i].roll)), i % 3 == 1 ? 0 : 0.5);
    }
}

// The borders are those of the cameras, as large as the joints say, and together they
// cover the panorama closely.
void _check_borders(const Layout& layout, const std::vector<ozr_panorama_joint>& joints,
                    const ozr_image& panorama)
{
    const Spot first = layout.cameras[0].middle, second = layout.cameras[1].middle;
    const double radius = layout.is_vertical ? static_cast<double>(joints[0].offset_y) / (second.y - first.y)
                                             : static_cast<double>(joints[0].offset_x) / (second.x - first.x);
    ozr_rect all = layout.pictures[0].box;
    for (size_t i = 0; i < layout.pictures.size(); ++i) {
        const Placement& picture = layout.pictures[i];
        const CameraView& view = layout.cameras[i];
        ASSERT_EQ(picture.outline.size(), view.outline.size());
        for (size_t k = 1; k < view.outline.size(); ++k) {
            EXPECT_NEAR(picture.outline[k].x - picture.outline[0].x,
                        radius * (view.outline[k].x - view.outline[0].x), 0.1);
            EXPECT_NEAR(picture.outline[k].y - picture.outline[0].y,
                        radius * (view.outline[k].y - view.outline[0].y), 0.1);
        }
        all = {std::min(all.left, picture.box.left), std::min(all.top, picture.box.top),
               std::max(all.right, picture.box.right), std::max(all.bottom, picture.box.bottom)};
    }
    const int32_t before = layout.is_vertical ? all.top : all.left;
    const int32_t after = layout.is_vertical ? all.bottom - panorama.height : all.right - panorama.width;
    EXPECT_TRUE(before <= 0 && before > -40) << before;
    EXPECT_TRUE(after >= 0 && after < 40) << after;
}

void _check_seams(const Layout& layout, const ozr_image& panorama)
{
    ASSERT_EQ(layout.overlaps.size(), kPictures - 1U);
    for (const OverlapView& overlap : layout.overlaps) {
        EXPECT_EQ(std::max(overlap.first, overlap.second) - std::min(overlap.first, overlap.second), 1U);
        ozr_rect common;
        ASSERT_EQ(ozr_rect_get_intersecting_rect(&layout.pictures[overlap.first].box,
                                                 &layout.pictures[overlap.second].box, &common),
                  ozr_success);
        for (const ozr_point& at : overlap.seam)
            EXPECT_TRUE(at.x >= common.left && at.x <= common.right && at.y >= common.top &&
                        at.y <= common.bottom);
        const ozr_point &begin = overlap.seam.front(), &end = overlap.seam.back();
        const int32_t length = layout.is_vertical ? end.x - begin.x : end.y - begin.y;
        EXPECT_EQ(length, layout.is_vertical ? panorama.width : panorama.height);
    }
}

// What the joints' drawings and facts say, against the library's numbers and the
// matches of a refined layout.
void _check_joints_of_page(const std::string& page, const Layout& layout,
                           const std::vector<ozr_panorama_joint>& joints)
{
    ASSERT_EQ(joints.size(), kPictures - 1U);
    std::vector<double> confidences, gains, residuals, arrows;
    int matches = 0;
    for (size_t i = 0; i < joints.size(); ++i) {
        confidences.push_back(floor(static_cast<double>(joints[i].confidence) * 100) / 100);
        gains.push_back(static_cast<double>(joints[i].gain));
        if (layout.joints.empty())
            continue;
        residuals.push_back(static_cast<double>(joints[i].residual));
        const double enlargement = numbers(page, "is ([0-9.]+) times as long").at(0);
        for (const MatchView& match : layout.joints[i].matches) {
            ++matches;
            if (match.is_near)
                arrows.insert(arrows.end(), {match.shown.x, enlargement * (match.found.x - match.shown.x),
                                             enlargement * (match.found.y - match.shown.y)});
        }
    }
    const std::string section = between(page, "id=\"joints\"", "</section>");
    expect_numbers(section, "<b>([0-9.]+)</b>", confidences, 0);
    expect_numbers(section, "<dt>gain</dt><dd>([0-9.]+)<", gains, 0.000501);
    expect_numbers(page, "<dt>residual</dt><dd>([0-9.]+) px", residuals, 0.000501);
    expect_numbers(page, "class=\"arrow\" d=\"M([-0-9.]+) [-0-9.]+l([-0-9.]+) ([-0-9.]+)", arrows, 0.0501);
    EXPECT_EQ(count_of(page, "match\" cx="), matches);
    EXPECT_EQ(count_of(section, "<figure class=\"joint"), static_cast<int>(joints.size()));
    EXPECT_EQ(count_of(section, "<svg"), static_cast<int>(layout.overlaps.size()));
    EXPECT_EQ(count_of(section, "role=\"img\" aria-label=\""), static_cast<int>(layout.overlaps.size()));
}

void _check_cameras_of_page(const std::string& page, const std::vector<ozr_panorama_camera>& cameras)
{
    const std::vector<double> cells = numbers(between(page, "<tbody>", "</tbody>"), "<td>([-+0-9.]+)");
    ASSERT_EQ(cells.size(), 7 * cameras.size());
    for (size_t i = 0; i < cameras.size(); ++i) {
        const ozr_panorama_camera& camera = cameras[i];
        const double view = 2 * atan(kWidth / 2.0 / static_cast<double>(camera.focal_length)) * kDegrees;
        const float of_camera[] = {camera.yaw,          camera.pitch,  camera.roll,
                                   camera.focal_length, camera.radial, camera.gain};
        std::vector<double> want(of_camera, of_camera + 6);
        want.insert(want.begin() + 4, view);
        const double most[] = {0.00501, 0.00501, 0.00501, 0.0501, 0.0501, 0.0000501, 0.000501};
        for (size_t k = 0; k < 7; ++k)
            EXPECT_NEAR(cells[7 * i + k], want[k], most[k]) << i << " " << k;
    }
    EXPECT_EQ(count_of(page, "class=\"sight\""), static_cast<int>(cameras.size()));
    EXPECT_EQ(count_of(page, "grid ahead"), 2);
}

TEST_F(QualityReport, ShowsRefinedSweepsAlongAndUp)
{
    for (const ozr_panorama_direction direction :
         {ozr_panorama_direction_left, ozr_panorama_direction_up, ozr_panorama_direction_down}) {
        SCOPED_TRACE(direction);
        take(direction, ozr_panorama_quality_refined);
        EXPECT_EQ(layout.is_vertical, direction != ozr_panorama_direction_left);
        _check_matches(layout, journal.joints);
        _check_cameras(layout, journal.cameras);
        _check_borders(layout, journal.joints, panorama);
        _check_seams(layout, panorama);
        const std::string text = page();
        _check_joints_of_page(text, layout, journal.joints);
        _check_cameras_of_page(text, journal.cameras);
        EXPECT_EQ(count_of(text, "<path class=\"border\""), kPictures);
        EXPECT_EQ(count_of(text, "<picture>") + count_of(text, "doubtful\""), 0);
    }
}

// Mean of the differences that the joints' drawings show, grey levels.
double _mean_difference(const Layout& layout)
{
    double sum = 0, count = 0;
    for (const JointView& view : layout.joints) {
        for (size_t i = 0; i < view.part.rgba.size(); i += 4, ++count)
            sum += view.part.rgba[i];
    }
    return sum / count;
}

// Rows that are read while the camera turns skew the pictures; laid on each other as they are,
// they still fit.
TEST_F(QualityReport, LaysSkewedPicturesOnEachOther)
{
    for (const ozr_panorama_direction direction : {ozr_panorama_direction_right, ozr_panorama_direction_up}) {
        SCOPED_TRACE(direction);
        pan = 0;
        take(direction, ozr_panorama_quality_refined);
        const double still = _mean_difference(layout);
        pan = 0.01;
        take(direction, ozr_panorama_quality_refined);
        EXPECT_LT(_mean_difference(layout), 1.2 * still);
    }
}

TEST_F(QualityReport, ShowsTheJointsOfClassicSweeps)
{
    take(ozr_panorama_direction_right, ozr_panorama_quality_classic);
    EXPECT_TRUE(layout.joints.empty() && layout.cameras.empty());
    const std::string text = page();
    _check_joints_of_page(text, layout, journal.joints);
    EXPECT_EQ(count_of(text, "class=\"arrow\"") + count_of(text, "id=\"cameras\"") +
                  count_of(text, "<dt>residual") + count_of(text, "times as long"),
              0);
    EXPECT_EQ(count_of(text, "id=\"qualities\""), 0);
}

TEST_F(QualityReport, MarksWhatDoesNotBelong)
{
    take(ozr_panorama_direction_right, ozr_panorama_quality_refined, kPictures - 1);
    const std::string text = page();
    const int doubtful = static_cast<int>(
        std::count_if(journal.joints.begin(), journal.joints.end(), [](const ozr_panorama_joint& joint) {
            return joint.confidence < 0.5F && joint.used == 0;
        }));
    EXPECT_GT(doubtful, 0);
    EXPECT_EQ(count_of(text, "<figure class=\"joint doubtful\">"), doubtful);
    EXPECT_EQ(count_of(text, "— not in the panorama</h3>"), doubtful);
    EXPECT_EQ(count_of(text, "</b> not to be trusted</dd>"), doubtful);
    EXPECT_EQ(count_of(text, "left out of the panorama</td>"), 1);
    EXPECT_EQ(count_of(text, "class=\"sight\""), kPictures - 1);
    EXPECT_EQ(count_of(text, "<article class=\"card unused\">"), 1);
}

TEST_F(QualityReport, ComparesTheQualities)
{
    for (const ozr_panorama_quality quality : {ozr_panorama_quality_classic, ozr_panorama_quality_refined}) {
        SCOPED_TRACE(quality);
        take(ozr_panorama_direction_left, quality);
        const Counterpart counterpart = comparison.join(options, journal);
        EXPECT_NE(counterpart.journal.quality, quality);
        EXPECT_EQ(counterpart.journal.direction, ozr_panorama_direction_left);
        ASSERT_EQ(counterpart.journal.joints.size(), kPictures - 1U);
        const std::string section = between(page(&counterpart), "id=\"qualities\"", "</section>");
        EXPECT_EQ(count_of(section, "alt=\"The panorama in the refined quality\""), 1);
        EXPECT_EQ(count_of(section, "alt=\"The panorama in the classic quality\""), 1);
        for (const Journal* each : {static_cast<const Journal*>(&journal), &counterpart.journal})
            expect_lines(section,
                         "<dd>" + std::to_string(each->width) + " × " + std::to_string(each->height) + "<");
        // The same as when it is asked for directly.
        take(ozr_panorama_direction_left, counterpart.journal.quality);
        if (quality == ozr_panorama_quality_classic) {
            EXPECT_EQ(journal.width, counterpart.journal.width);
            EXPECT_EQ(journal.joints[1].offset_x, counterpart.journal.joints[1].offset_x);
        }
        EXPECT_NEAR(journal.width, counterpart.journal.width, 16);
        EXPECT_EQ(journal.height, counterpart.journal.height);
    }
    // What gives no panorama says why.
    Counterpart none;
    none.journal.failure = "why <";
    expect_lines(page(&none), "<p class=\"failure\">No panorama: why &lt;</p>");
}

// A tenth of the picture's width: too far from the truth to be found from, where it is not scaled.
TEST_F(QualityReport, ComparesWithTheOffsetsOfPreviews)
{
    take(ozr_panorama_direction_right, ozr_panorama_quality_refined);
    const auto join = [&](int32_t preview_width, int32_t offset) {
        Comparison kept;
        if (preview_width > 0)
            kept.note_preview({nullptr, 0, preview_width, 36, ozr_image_format_gray, preview_width, 0});
        for (int32_t i = 0; i < kPictures; ++i) {
            ImageOwner picture(kWidth, kHeight);
            photograph(ozr_panorama_direction_right, i, picture.get());
            PictureEntry entry;
            entry.has_offset = i > 0;
            entry.offset = {offset, 0};
            kept.keep(*picture.get(), entry);
        }
        return kept.join(options, journal).journal;
    };
    const Journal scaled = join(kWidth / 10, 14), unscaled = join(0, 140), wrong = join(0, 14);
    ASSERT_EQ(scaled.joints.size(), kPictures - 1U);
    for (size_t i = 0; i < scaled.joints.size(); ++i) {
        EXPECT_EQ(scaled.joints[i].offset_x, unscaled.joints[i].offset_x);
        EXPECT_NEAR(scaled.joints[i].offset_x, 0.3 * kWidth * 1.2, 20);
        EXPECT_NE(scaled.joints[i].offset_x, wrong.joints[i].offset_x);
    }
}

}  // namespace
