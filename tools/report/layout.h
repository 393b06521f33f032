// Where the pictures of a sweep lie on its panorama, how they were joined, and where
// their cameras looked.
#ifndef LAYOUT_H
#define LAYOUT_H

#include "media/picture.h"

#include <ozr_support.h>

#include <vector>

namespace ozr_pano
{

// Differences of two pictures are shown brighter than they are, and with so many pixels on
// the longer side.
constexpr int32_t kDifferenceGain = 4, kDifferenceExtent = 480;

// A place between pixels.
struct Spot {
    double x = 0, y = 0;
};

// A picture, in the order of the sweep.
struct Placement {
    bool is_used = false;  // false: left out of the panorama
    // Pixels of the panorama, ends exclusive; may reach beyond it. Only when used.
    ozr_rect box = {0, 0, 0, 0};

    // Against the picture before; the first one has none.
    bool has_step = false;
    ozr_point step = {0, 0};  // from its corner to this one's, pixels of the panorama
    double overlap = 0;       // share of a picture, along the sweep
    bool has_score = false;   // false: no search could be made
    double score = 0;         // sign(r) * r^2 of the correlation r: 1 for equal pictures

    std::vector<Spot> outline = {};  // the picture's border on the panorama; empty: that of the box
};

// Where two neighbours overlap.
struct OverlapView {
    size_t first = 0, second = 0;  // pictures, in the order of the sweep
    ozr_rect box = {0, 0, 0, 0};   // pixels of the panorama, ends exclusive; may reach beyond it
    std::vector<ozr_point> seam;   // corners of the line, pixels of the panorama
    Picture difference;            // grey: 0 where they are equal; reduced; may be empty
    double mean_difference = 0;    // grey levels
};

// A point of the first picture of a joint that was found in the second one, in pixels of that.
struct MatchView {
    Spot found;
    bool has_shown = false;  // the cameras of both pictures are known, and so the rest is set
    Spot shown;              // where these show it
    bool is_near = false;    // the two agree
};

// What a refined joint was made from.
struct JointView {
    std::vector<MatchView> matches;
    // The part of the second picture that the first one shows too, in its pixels; all of it where
    // the cameras are not known. The picture is grey and reduced: the difference of the two, or
    // the second one.
    ozr_rect box = {0, 0, 0, 0};
    Picture part;
};

// Where a picture of a refined sweep looked.
struct CameraView {
    // The picture's middle, its upper edge's middle and its border: radians along the sweep, and
    // across it what a cylinder of radius 1 shows there.
    Spot middle, top;
    std::vector<Spot> outline;
};

struct Layout {
    bool is_vertical = false;  // the sweep runs up or down
    std::vector<Placement> pictures;
    std::vector<OverlapView> overlaps;
    // Of a refined panorama: one for each joint and each camera that the library tells.
    std::vector<JointView> joints;
    std::vector<CameraView> cameras;
};

}  // namespace ozr_pano

#endif
