// A sweep without a camera: a painted scene, seen by a simulated one whose true motion is known.
#include "base/file_io.h"
#include "base/program_error.h"
#include "commands/commands.h"
#include "media/image_owner.h"
#include "scene/camera.h"
#include "scene/scene.h"

#include <stdlib.h>

namespace ozr_pano
{

namespace
{

// 20 degrees a second at 30 frames. The library measures motion in whole pixels of a copy with 320
// pixels on the longer side: pans of less than three of them to a frame are measured badly, so
// pictures that are narrow along the sweep are swept faster.
constexpr double kDegree = 3.14159265358979323846 / 180.0;
constexpr double kFramesPerSecond = 30;
constexpr double kRadiansPerFrame = 20.0 / 30.0 * 3.14159265358979323846 / 180.0;
constexpr double kCopyExtent = 320, kMinCopyPixelsPerFrame = 3;
constexpr int32_t kPreviewExtent = 640;                     // longer side, where no size is given
constexpr double kSpeedJitter = 0.2;                        // of the speed
constexpr double kTiltJitter = 0.004, kRollJitter = 0.002;  // radians
constexpr double kJitterFrames = 9;                         // from one extreme to the next
constexpr int32_t kOverlapPercent = 70;

constexpr double kBelowStreet = 330;  // units of the tower's scene

// The next picture is due after 30 % of a picture less a tolerance of 2; what the library measures
// differs from what is true by a few percent, so the scene goes on for a while behind the place
// where the last picture is expected.
constexpr double kStepShare = 0.285;
constexpr double kEdge = 0.05,
                 kOverrun = 0.3;  // radians of scene before the first view and behind the last one

bool _is_vertical(ozr_panorama_direction direction)
{
    return direction == ozr_panorama_direction_down || direction == ozr_panorama_direction_up;
}

Lens _lens(const Size& size, double focal, bool vertical, const DemoOptions& options)
{
    return {size.width, size.height, focal, vertical, options.lens, options.vignetting / 100};
}

// The hand that holds the camera: its pose at each frame.
class Hand
{
public:
    // `step`: radians of pan to a frame. `tilt`: radians across the sweep.
    Hand(double start, double step, double tilt, uint32_t seed) : seed_(seed), step_(step), tilt_(tilt)
    {
        pose_.along = start;
        set_jitter();
    }

    const Pose& pose() const { return pose_; }
    double seconds() const { return frame_ / kFramesPerSecond; }

    void move_on()
    {
        ++frame_;
        pose_.along += step_ * (1 + kSpeedJitter * wander(frame_ / kJitterFrames, seed_));
        set_jitter();
    }

private:
    void set_jitter()
    {
        pose_.across = tilt_ + kTiltJitter * wander(frame_ / kJitterFrames, seed_ + 1);
        pose_.roll = kRollJitter * wander(frame_ / kJitterFrames, seed_ + 2);
    }

    uint32_t seed_;
    double step_, tilt_;
    Pose pose_ = {0, 0, 0};
    int frame_ = 0;
};

// The scene, the camera in it and the path that it takes.
struct Stage {
    Lens picture, preview;
    double view;     // radians that one picture covers along the sweep
    double arc;      // radians of the whole scene
    double step;     // radians of pan to a frame
    double beyond;   // radians across the sweep that lens and tilt show beyond a plain view
    bool backwards;  // the sweep runs against the scene's axis
};

Size _preview_size(const DemoOptions& options)
{
    const Size &size = options.size, &preview = options.preview;
    if (preview.width == 0) {
        const int32_t longer = std::max(size.width, size.height);
        return {(size.width * kPreviewExtent / longer) & ~1, (size.height * kPreviewExtent / longer) & ~1};
    }
    // The library measures along one axis and scales both alike, so both pictures must have one
    // shape.
    if (std::abs(preview.width * size.height - preview.height * size.width) * 50 >
        preview.height * size.width)
        throw UsageError("--preview: its sides must have the proportion of the pictures' sides; leave it out "
                         "for 640 pixels on the longer one");
    return preview;
}

Stage _set_up(const DemoOptions& options)
{
    const bool vertical = _is_vertical(options.direction);
    const double extent = vertical ? options.size.height : options.size.width;
    const double across = vertical ? options.size.width : options.size.height;
    const double focal = options.focal * assumed_focal_length(static_cast<int32_t>(extent));
    const double corner = (extent * extent + across * across) / 4 / (focal * focal);
    const double bend = 1 + std::max(options.lens, 0.0) * corner;
    const double plain = across / 2 / focal, edge = plain * bend;
    const double angle = std::abs(options.tilt) * kDegree;
    const double tilt = angle * (1 + 0.36 * angle * angle);  // its tangent, or a little more
    const Size preview = _preview_size(options);
    const double preview_extent = vertical ? preview.height : preview.width;
    Stage stage = {};
    stage.picture = _lens(options.size, focal, vertical, options);
    stage.preview = _lens(preview, focal * preview_extent / extent, vertical, options);
    stage.backwards =
        options.direction == ozr_panorama_direction_left || options.direction == ozr_panorama_direction_up;
    const double copy_focal = stage.preview.focal * kCopyExtent / std::max(preview.width, preview.height);
    const double step = std::max(kRadiansPerFrame, kMinCopyPixelsPerFrame / copy_focal);
    stage.step = stage.backwards ? -step : step;
    stage.view = 2 * arc_tangent(extent / 2 / focal * bend);
    stage.beyond = (edge + tilt) / (1 - edge * tilt) - plain;
    stage.arc = stage.view + (options.pictures - 1) * kStepShare * extent / focal + kEdge + kOverrun;
    return stage;
}

Surroundings _paint(const DemoOptions& options, const Stage& stage)
{
    constexpr double kAcrossMargin = 42;  // units
    const Lens& lens = stage.picture;
    const double scale = lens.focal / kSceneUnitsPerRadian;  // pixels to a unit
    const double along = stage.arc * kSceneUnitsPerRadian;
    const double across = (lens.vertical ? lens.width : lens.height) / scale +
                          2 * (kAcrossMargin + stage.beyond * kSceneUnitsPerRadian);
    if (!lens.vertical)
        return Surroundings(paint_city(along, across, scale, options.seed), lens.focal, false);
    // The last view of a camera that comes down ends before the overrun, and still shows the
    // street.
    const double lower_end = along - (stage.backwards ? 0 : kOverrun * kSceneUnitsPerRadian);
    return Surroundings(paint_tower(along, across, lower_end - kBelowStreet, scale, options.seed), lens.focal,
                        true);
}

// Who walks past, and how bright the next picture is taken: the camera meters anew for each.
class Moment
{
public:
    Moment(const DemoOptions& options, const Stage& stage, const Box& scene) : options_(options)
    {
        const bool vertical = stage.picture.vertical;
        pavement_ = {scene.left, scene.right,
                     (vertical ? scene.bottom - kBelowStreet : kCityStreet) + kPavement};
        instant_.sweep = stage.step * kFramesPerSecond * options.shutter / 1000;
        instant_.walkers = &walkers_;
    }

    const Instant& at(double seconds, size_t pictures)
    {
        walkers_ = walkers_at(seconds, options_.walkers, pavement_, options_.seed);
        const double swing = hash_at(static_cast<int32_t>(pictures), 1, options_.seed) / 2147483648.0 - 1;
        instant_.brightness = 1 + (pictures > 0 ? swing : 0) * options_.exposure / 100;
        return instant_;
    }

private:
    static constexpr double kPavement = 90;  // units from the street's edge to the feet

    const DemoOptions& options_;
    Pavement pavement_;
    std::vector<Walker> walkers_;
    Instant instant_;
};

// The motion of the middle of the picture between two poses, in pixels of the preview.
void _set_truth(const Pose& from, const Pose& to, const Lens& preview, PictureEntry* entry)
{
    const double along = (to.along - from.along) * preview.focal;
    const double across = (to.across - from.across) * preview.focal;
    entry->has_truth = true;
    entry->truth_x = preview.vertical ? across : along;
    entry->truth_y = preview.vertical ? along : across;
}

// Takes the first picture, then follows the hand and takes those that the library asks for.
void _take_pictures(const DemoOptions& options, const Stage& stage, const Surroundings& surroundings,
                    Sweep& sweep, Journal* journal)
{
    const double nearest = stage.view / 2, farthest = stage.arc - stage.view / 2;
    Hand hand(stage.backwards ? farthest - kEdge : nearest + kEdge, stage.step, options.tilt * kDegree,
              options.seed);
    Moment moment(options, stage, surroundings.bounds());
    ImageOwner picture(stage.picture.width, stage.picture.height);
    ImageOwner preview(stage.preview.width, stage.preview.height);
    const auto photograph = [&](const Lens& lens, ozr_image* image) {
        const Journal::Lap lap = journal->time("photograph");
        surroundings.photograph(lens, hand.pose(), image,
                                moment.at(hand.seconds(), journal->pictures.size()));
    };
    Pose last_pose = hand.pose();
    photograph(stage.picture, picture.get());
    PictureEntry first;
    first.source = "frame 0";
    sweep.add(picture.get(), std::move(first));
    for (int frame = 0; static_cast<int32_t>(journal->pictures.size()) < options.pictures;
         ++frame, hand.move_on()) {
        PictureEntry entry;
        entry.source = "frame " + std::to_string(frame);
        if (hand.pose().along < nearest || hand.pose().along > farthest)
            sweep.give_up(
                "the scene ended before picture %zu was due; take fewer pictures, or another --seed",
                journal->pictures.size());
        photograph(stage.preview, preview.get());
        const Announcement announcement = sweep.watch(*preview.get(), entry.source);
        if (!announcement.due)
            continue;
        entry.has_offset = true;
        entry.offset = announcement.offset;
        _set_truth(last_pose, hand.pose(), stage.preview, &entry);
        last_pose = hand.pose();
        photograph(stage.picture, picture.get());
        sweep.add(picture.get(), std::move(entry));
    }
}

}  // namespace

void run_demo(const DemoOptions& options)
{
    require_writable(options.output);
    Journal journal;
    journal.command = "demo";
    Sweep sweep(options, &journal, options.direction, kOverlapPercent);
    const Stage stage = _set_up(options);
    const Surroundings surroundings = [&] {
        const Journal::Lap lap = journal.time("paint");
        return _paint(options, stage);
    }();
    _take_pictures(options, stage, surroundings, sweep, &journal);
    sweep.finish();
}

}  // namespace ozr_pano
