// A sweep without a camera: a painted scene, seen by a simulated one whose true motion is known.
#include "camera.h"
#include "commands.h"
#include "file_io.h"
#include "image_owner.h"
#include "program_error.h"
#include "scene.h"

namespace
{

// Motion between frames is measured in whole pixels of a 320-pixel copy: at 20 degrees a second and 30 frames it is
// about four of them. Much slower pans would round to nothing, much faster ones outrun the search.
constexpr double kRadiansPerFrame = 20.0 / 30.0 * 3.14159265358979323846 / 180.0;
constexpr double kSpeedJitter = 0.25;  // of the speed
constexpr double kTiltJitter = 0.004, kRollJitter = 0.002;  // radians
constexpr double kJitterFrames = 9;    // from one extreme to the next
constexpr int32_t kOverlapPercent = 70;

// The next picture is due after 30 % of a picture less a tolerance; what is measured may fall short of what is true.
constexpr double kStepShare = 0.30 * 1.3;
constexpr double kEdge = 0.06;  // radians of scene beyond the first and the last view

bool _is_vertical(ozr_panorama_direction direction)
{
    return direction == ozr_panorama_direction_down || direction == ozr_panorama_direction_up;
}

Lens _lens(const Size& size, double focal, bool vertical)
{
    return {size.width, size.height, focal, vertical};
}

/** The hand that holds the camera: its pose at each frame. */
class Hand
{
public:
    Hand(double start, bool backwards, uint32_t seed) : seed_(seed), step_(backwards ? -kRadiansPerFrame : kRadiansPerFrame)
    {
        pose_.along = start;
        set_jitter();
    }

    const Pose& pose() const { return pose_; }

    void move_on()
    {
        ++frame_;
        pose_.along += step_ * (1 + kSpeedJitter * wander(frame_ / kJitterFrames, seed_));
        set_jitter();
    }

private:
    void set_jitter()
    {
        pose_.across = kTiltJitter * wander(frame_ / kJitterFrames, seed_ + 1);
        pose_.roll = kRollJitter * wander(frame_ / kJitterFrames, seed_ + 2);
    }

    uint32_t seed_;
    double step_;
    Pose pose_ = {0, 0, 0};
    int frame_ = 0;
};

/** The scene, the camera in it and the path that it takes. */
struct Stage {
    Lens picture, preview;
    double view;  // radians that one picture covers along the sweep
    double arc;   // radians of the whole scene
};

Stage _set_up(const DemoOptions& options)
{
    const bool vertical = _is_vertical(options.direction);
    const double extent = vertical ? options.size.height : options.size.width;
    const double focal = assumed_focal_length(vertical ? options.size.height : options.size.width);
    const double preview_extent = vertical ? options.preview.height : options.preview.width;
    Stage stage = {};
    stage.picture = _lens(options.size, focal, vertical);
    stage.preview = _lens(options.preview, focal * preview_extent / extent, vertical);
    stage.view = 2 * arc_tangent(extent / 2 / focal);
    stage.arc = stage.view + (options.pictures - 1) * kStepShare * extent / focal + 2 * kEdge;
    return stage;
}

Surroundings _paint(const DemoOptions& options, const Stage& stage)
{
    const bool vertical = stage.picture.vertical;
    const double scale = stage.picture.focal / kSceneUnitsPerRadian;
    const double extent_across = vertical ? options.size.width : options.size.height;
    const double across = extent_across / scale + 2 * 0.03 * kSceneUnitsPerRadian;
    const double along = stage.arc * kSceneUnitsPerRadian;
    return Surroundings((vertical ? paint_tower : paint_city)(along, across, scale, options.seed), stage.picture.focal,
                        vertical);
}

/** The motion of the camera between two poses, in pixels of the preview. */
void _set_truth(const Pose& from, const Pose& to, const Lens& preview, PictureEntry* entry)
{
    const double along = (to.along - from.along) * preview.focal, across = (to.across - from.across) * preview.focal;
    entry->has_truth = true;
    entry->truth_x = preview.vertical ? across : along;
    entry->truth_y = preview.vertical ? along : across;
}

}  // namespace

void run_demo(const DemoOptions& options)
{
    require_writable(options.output);
    Report report;
    report.command = "demo";
    Sweep sweep(options, &report, options.direction, kOverlapPercent);
    const Stage stage = _set_up(options);
    const Surroundings surroundings = [&] {
        const Report::Lap lap = report.time("paint");
        return _paint(options, stage);
    }();

    const bool backwards =
        options.direction == ozr_panorama_direction_left || options.direction == ozr_panorama_direction_up;
    const double first = stage.view / 2 + kEdge, last = stage.arc - first;
    Hand hand(backwards ? last : first, backwards, options.seed);
    ImageOwner picture(options.size.width, options.size.height), preview(options.preview.width, options.preview.height);
    const auto photograph = [&](const Lens& lens, ozr_image* image) {
        const Report::Lap lap = report.time("photograph");
        surroundings.photograph(lens, hand.pose(), image);
    };

    Pose last_picture_pose = hand.pose();
    photograph(stage.picture, picture.get());
    PictureEntry first_entry;
    first_entry.source = "frame 0";
    sweep.add(picture.get(), std::move(first_entry));
    for (int frame = 0; static_cast<int32_t>(report.pictures.size()) < options.pictures; ++frame, hand.move_on()) {
        PictureEntry entry;
        entry.source = "frame " + std::to_string(frame);
        if (hand.pose().along < first - kEdge || hand.pose().along > last + kEdge)
            fail("the scene ended before picture %zu was due", report.pictures.size());
        photograph(stage.preview, preview.get());
        const Announcement announcement = sweep.watch(*preview.get(), entry.source);
        if (!announcement.due)
            continue;
        photograph(stage.picture, picture.get());
        entry.has_offset = true;
        entry.offset = announcement.offset;
        _set_truth(last_picture_pose, hand.pose(), stage.preview, &entry);
        last_picture_pose = hand.pose();
        sweep.add(picture.get(), std::move(entry));
    }
    sweep.finish();
}
