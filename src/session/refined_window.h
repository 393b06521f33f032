// The part of the window that shows a refined sweep: its matched points, where its pictures lie on
// the panorama, and its seams. To be included by way of session/window.h; inline like all of it.
//
// Positions are those of the sweep along x: pictures of vertical sweeps were turned clockwise.
// Planes are the session's, valid until its next sweep.
#ifndef SESSION_REFINED_WINDOW_H
#define SESSION_REFINED_WINDOW_H

#include <stdint.h>

#include <algorithm>

#include "base/plane.h"
#include "refined/residual.h"
#include "refined/sweep.h"
#include "session/handle.h"
#include "session/quality.h"

namespace ozr::session
{

// A point of the first picture that was found in the second one, in pixels from the middle of that.
struct MatchRecord {
    double x;  // where it was found
    double y;
    bool has_shown;  // both pictures have cameras, and so the rest is set
    double shown_x;  // where these show it
    double shown_y;
    bool is_near;  // the two agree
};

struct MatchesRecord {
    int32_t first;
    int32_t second;
    int32_t count;
    MatchRecord matches[refined::kMaxMatches];
};

// What the refined panorama lies on: pixel (x, y) looks along the heading first_heading + x /
// radius, and first_height + y / radius down for every 1 ahead.
struct CylinderRecord {
    double radius;  // pixels
    double first_heading;
    double first_height;
};

// The camera of a picture: turns a ray of it into the world.
struct CameraRecord {
    double rotation[9];  // row-major
    double focal;        // pixels
    double radial;
    refined::Skew skew;  // of the shutter
    bool is_used;
};

struct RefinedRecord {
    bool is_vertical;
    int32_t count;                     // pictures of the sweep, in its order
    int32_t width;                     // of a picture
    int32_t height;                    // likewise
    ConstPlane reduced[kMaxPictures];  // the pictures' luma, smaller
    CameraRecord cameras[kMaxPictures];
    CylinderRecord cylinder;
    int32_t pairs;                    // that were compared
    const refined::SeamLines* seams;  // pixels of the panorama
};

namespace window
{

// Null where the session has no refined panorama.
inline const refined::Sweep* refined_sweep_of(const ozr_panorama* handle)
{
    const panorama_t* session = static_cast<const ozr_panorama_internal_t*>(handle)->panorama;
    return session != nullptr && is_refined(session) ? quality_of(session)->sweep : nullptr;
}

inline CameraRecord camera_record(const refined::Camera& camera)
{
    CameraRecord record = {{}, camera.focal, camera.radial, camera.skew, camera.used};
    std::copy_n(camera.rotation.m, 9, record.rotation);
    return record;
}

inline MatchRecord match_record(const refined::Match& match, const refined::ShownPlace& shown, double scale)
{
    const refined::Place found = match.second;
    const refined::Place place = {static_cast<double>(shown.x), static_cast<double>(shown.y)};
    const double x = place.x - found.x;
    const double y = place.y - found.y;
    return {found.x * scale, found.y * scale,
            shown.is_known,  place.x * scale,
            place.y * scale, shown.is_known && x * x + y * y <= refined::kNearPixels * refined::kNearPixels};
}

}  // namespace window

// Looks at the refined panorama of a session; a record without pictures where there is none.
inline RefinedRecord look_at_refined(const ozr_panorama* handle)
{
    RefinedRecord record = {};
    const refined::Sweep* sweep = window::refined_sweep_of(handle);
    const refined::SweepInside inside = sweep != nullptr ? sweep->inside() : refined::SweepInside{};
    record.count = inside.pictures;
    if (record.count == 0)
        return record;
    record.is_vertical = inside.is_turned;
    record.width = inside.sights[0].pyramid.levels[0].width;
    record.height = inside.sights[0].pyramid.levels[0].height;
    for (int32_t i = 0; i < record.count; ++i) {
        record.reduced[i] = inside.sights[i].plane(0);
        record.cameras[i] = window::camera_record(inside.cameras[i]);
    }
    record.cylinder = {inside.drawn->radius, inside.drawn->first_heading, inside.drawn->first_height};
    record.pairs = inside.count;
    record.seams = &inside.drawn->seams;
    return record;
}

// The matches of one of the pairs of a refined panorama.
inline MatchesRecord look_at_matches(const ozr_panorama* handle, int32_t index)
{
    const refined::SweepInside inside = window::refined_sweep_of(handle)->inside();
    const refined::Pair& pair = inside.pairs[index];
    MatchesRecord record = {};
    record.first = pair.first;
    record.second = pair.second;
    record.count = pair.match.matches.count;
    for (int32_t i = 0; i < record.count; ++i)
        record.matches[i] = window::match_record(pair.match.matches.at[i], inside.trace->shown[index][i],
                                                 inside.sights[pair.second].base_scale());
    return record;
}

}  // namespace ozr::session

#endif
