// The refined quality, as the session sees it: pictures go in, a panorama with its joints and
// cameras comes out.
//
// One sweep is used by one thread. What it allocates beyond the panorama goes with it.
#ifndef REFINED_SWEEP_H
#define REFINED_SWEEP_H

#include <stddef.h>

#include <new>

#include "ozr_panorama.h"
#include "refined/cancel.h"
#include "refined/solve.h"
#include "refined/trace.h"

namespace ozr::refined
{

// What is known of a picture before it is looked at; none of it needs to be right.
struct PictureHint {
    int32_t direction;  // of the sweep, PanoDirection
    bool has_offset;
    // From the middle of the last picture, in shares of the width and height of the caller's
    // picture.
    double offset_x;
    double offset_y;
};

class Sweep
{
public:
    static Sweep* create();  // null: memory is out

    // Copies a picture and matches it with the one before. kPanoBadArgument: smaller than 2 x 2 or
    // of another size than the first; kPanoTooManyPictures; kPanoNoMemory; kPanoCancelled.
    PanoResult add(const PanoImg& picture, const PictureHint& hint, const Cancel& cancel);

    // Finds the cameras and draws the panorama, in the orientation of the caller's pictures; to be
    // released with PanoImg_Destroy. Can be called once. Codes of draw; kPanoPictureMissing
    // without a picture.
    PanoResult compose(const Cancel& cancel, PanoImg* out);

    // After compose. False beyond the last.
    bool joint(int32_t index, ozr_panorama_joint* joint) const;
    bool camera(int32_t index, ozr_panorama_camera* camera) const;

    // Without pictures before compose.
    SweepInside inside() const
    {
        return {sights_, is_composed_ ? pictures_ : 0, turned_, pairs_, count_, cameras_, &trace_, &drawn_};
    }

    ~Sweep() = default;
    Sweep(const Sweep&) = delete;
    Sweep& operator=(const Sweep&) = delete;
    static void operator delete(void* sweep) noexcept;

private:
    Sweep() = default;
    static void* operator new(size_t size, const std::nothrow_t& tag) noexcept;
    static void operator delete(void* sweep, const std::nothrow_t& tag) noexcept;

    bool has_good_pair() const;
    bool is_joined(int32_t picture) const;
    ShiftHint shift_hint(const PictureHint& hint) const;
    PanoResult turn_pictures(const Cancel& cancel);
    PanoResult match(int32_t first, int32_t second, const ShiftHint& hint, const Cancel& cancel);
    PanoResult bridge(const Cancel& cancel);
    PanoResult match_back(const PictureHint& hint, const Cancel& cancel);
    PanoResult match_turned(int32_t begin, const PictureHint& hint, const Cancel& cancel);
    PanoResult match_newest(const PictureHint& hint, const Cancel& cancel);
    PanoResult turn_along(const Cancel& cancel);
    void fill_cameras();
    PanoResult draw_cameras(const Cancel& cancel, PanoImg* drawn);

    Sight sights_[kMaxPictures] = {};
    int32_t pictures_ = 0;
    bool turned_ = false;  // pictures are turned clockwise: the sweep runs up or down
    Pair pairs_[kMaxPairs] = {};
    int32_t count_ = 0;  // of pairs
    Solution solution_ = {};
    Camera cameras_[kMaxPictures] = {};
    Trace trace_ = {};
    DrawReport drawn_ = {};
    bool is_composed_ = false;
};

}  // namespace ozr::refined

#endif
