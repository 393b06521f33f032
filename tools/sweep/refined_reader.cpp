// Reads the layout of a refined panorama through the library's window.
#include "sweep/refined_reader.h"

#include "media/thumbnail.h"
#include "sweep/pinhole.h"
#include "sweep/turn.h"

#include "session/window.h"

#include <algorithm>
#include <math.h>
#include <stdlib.h>

namespace ozr_pano
{

namespace
{

using ozr::ConstPlane;
using ozr::session::CameraRecord;
using ozr::session::MatchesRecord;
using ozr::session::MatchRecord;
using ozr::session::RefinedRecord;

constexpr int kBorderSteps = 16;  // of each side of a picture's border
constexpr double kTwoPi = 6.283185307179586;

Pinhole _pinhole(const CameraRecord& camera)
{
    Pinhole pinhole = {{}, camera.focal, camera.radial, camera.skew.stretch, camera.skew.shear};
    std::copy_n(camera.rotation, 9, pinhole.rotation);
    return pinhole;
}

// Around a picture, in pixels from its middle.
std::vector<Spot> _border(const RefinedRecord& record)
{
    const double right = record.width / 2.0, bottom = record.height / 2.0;
    const Spot corners[] = {
        {-right, -bottom}, {right, -bottom}, {right, bottom}, {-right, bottom}, {-right, -bottom}};
    std::vector<Spot> border;
    for (int side = 0; side < 4; ++side) {
        for (int i = 0; i < kBorderSteps; ++i) {
            const double share = i / static_cast<double>(kBorderSteps);
            border.push_back({corners[side].x + share * (corners[side + 1].x - corners[side].x),
                              corners[side].y + share * (corners[side + 1].y - corners[side].y)});
        }
    }
    return border;
}

// A heading by whole turns so that it is near another one.
double _near_heading(double heading, double wanted)
{
    return heading - kTwoPi * nearbyint((heading - wanted) / kTwoPi);
}

Spot _sight(const Pinhole& pinhole, const Spot& place, double near_heading)
{
    Spot sight = on_cylinder(pinhole.ray(place));
    sight.x = _near_heading(sight.x, near_heading);
    return sight;
}

// Where a picture looks, in the sweep along x.
CameraView _look(const RefinedRecord& record, int32_t index, double panorama_heading)
{
    const Pinhole pinhole = _pinhole(record.cameras[index]);
    CameraView view;
    view.middle = _sight(pinhole, {0, 0}, panorama_heading);
    const Spot top = record.is_vertical ? Spot{record.width / 2.0, 0} : Spot{0, -record.height / 2.0};
    view.top = _sight(pinhole, top, view.middle.x);
    for (const Spot& place : _border(record))
        view.outline.push_back(_sight(pinhole, place, view.middle.x));
    return view;
}

// From the cylinder to the panorama.
Spot _on_panorama(const RefinedRecord& record, const Turn& turn, const Spot& sight)
{
    const ozr::session::CylinderRecord& cylinder = record.cylinder;
    return turn.point({(sight.x - cylinder.first_heading) * cylinder.radius,
                       (sight.y - cylinder.first_height) * cylinder.radius});
}

Placement _placement(const RefinedRecord& record, const Turn& turn, const CameraView& view)
{
    Placement placement;
    placement.is_used = true;
    placement.box = {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
    ozr_rect& box = placement.box;
    for (const Spot& sight : view.outline) {
        const Spot at = _on_panorama(record, turn, sight);
        placement.outline.push_back(at);
        box = {std::min(box.left, static_cast<int32_t>(floor(at.x))),
               std::min(box.top, static_cast<int32_t>(floor(at.y))),
               std::max(box.right, static_cast<int32_t>(ceil(at.x))),
               std::max(box.bottom, static_cast<int32_t>(ceil(at.y)))};
    }
    return placement;
}

// Turns a view upright.
void _turn_back(const Turn& turn, CameraView* view)
{
    view->middle = turn.step(view->middle);
    view->top = turn.step(view->top);
    for (Spot& sight : view->outline)
        sight = turn.step(sight);
}

OverlapView _seam(const ozr::refined::SeamLines& lines, int32_t index, const Turn& turn, int32_t rows)
{
    OverlapView view;
    view.first = static_cast<size_t>(lines.pictures[index]);
    view.second = static_cast<size_t>(lines.pictures[index + 1]);
    for (int32_t i = 0; i < lines.rows; ++i) {
        const int32_t y = lines.first_row + i * lines.step;
        if (y > -lines.step && y <= rows)
            view.seam.push_back(
                turn.point(lines.columns[static_cast<size_t>(index) * static_cast<size_t>(lines.rows) +
                                         static_cast<size_t>(i)],
                           std::clamp(y, 0, rows)));
    }
    return view;
}

// Everything about a joint's two pictures that its view is drawn from.
struct JointPictures {
    ConstPlane first, second;
    Pinhole first_camera, second_camera;
    double scale;  // pixels of a picture for each of the views
    double gain;   // brightness of the second picture over the first

    // Luma of the first picture at a place of the second one's view; negative where
    // it shows nothing.
    double first_at(int32_t x, int32_t y) const
    {
        const Spot from_middle = {(x - (second.width - 1) / 2.0) * scale,
                                  (y - (second.height - 1) / 2.0) * scale};
        Spot place;
        if (!first_camera.place(second_camera.ray(from_middle), &place))
            return -1;
        const double at_x = place.x / scale + (first.width - 1) / 2.0;
        const double at_y = place.y / scale + (first.height - 1) / 2.0;
        const double left = floor(at_x), top = floor(at_y);
        if (left < 0 || top < 0 || left + 1 >= first.width || top + 1 >= first.height)
            return -1;
        const uint8_t *upper = first.row(static_cast<int32_t>(top)) + static_cast<int32_t>(left),
                      *lower = upper + first.stride;
        const double share = at_x - left, down = at_y - top;
        return (upper[0] * (1 - share) + upper[1] * share) * (1 - down) +
               (lower[0] * (1 - share) + lower[1] * share) * down;
    }
};

// The part of a view, in its pixels, ends exclusive.
struct Part {
    int32_t left = INT32_MAX, top = INT32_MAX, right = 0, bottom = 0;

    void add(int32_t x, int32_t y)
    {
        *this = {std::min(left, x), std::min(top, y), std::max(right, x + 1), std::max(bottom, y + 1)};
    }
    int32_t width() const { return right - left; }
    int32_t height() const { return bottom - top; }
};

// The difference of the two pictures where both show the same, and which part of the second
// picture that is.
Part _differences(const JointPictures& pictures, std::vector<uint8_t>* grey)
{
    const int32_t width = pictures.second.width;
    grey->assign(static_cast<size_t>(width) * static_cast<size_t>(pictures.second.height), 0);
    Part part;
    for (int32_t y = 0; y < pictures.second.height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const double first = pictures.first_at(x, y);
            if (first < 0)
                continue;
            part.add(x, y);
            const double difference = fabs(pictures.second.row(y)[x] * pictures.gain - first);
            (*grey)[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] =
                static_cast<uint8_t>(std::min(difference * kDifferenceGain, 255.0));
        }
    }
    return part;
}

// Pictures that do not both have a camera have no overlap to show.
Part _plain(const ConstPlane& luma, std::vector<uint8_t>* grey)
{
    grey->clear();
    for (int32_t y = 0; y < luma.height; ++y)
        grey->insert(grey->end(), luma.row(y), luma.row(y) + luma.width);
    return {0, 0, luma.width, luma.height};
}

Picture _upright(const std::vector<uint8_t>& grey, int32_t stride, const Part& part, const Turn& turn)
{
    Picture picture = turn.picture(part.width(), part.height());
    for (int32_t y = 0; y < part.height(); ++y) {
        const uint8_t* row = grey.data() + ptrdiff_t{part.top + y} * stride + part.left;
        for (int32_t x = 0; x < part.width(); ++x) {
            uint8_t* pixel = turn.pixel(&picture, x, y, part.width());
            std::fill_n(pixel, 3, row[x]);
            pixel[3] = 255;
        }
    }
    return shrink(picture, kDifferenceExtent);
}

void _add_part(const RefinedRecord& record, const Turn& turn, const ozr_panorama_joint& joint,
               JointView* view)
{
    const ConstPlane& luma = record.reduced[joint.second];
    const double scale = record.width / static_cast<double>(luma.width);
    std::vector<uint8_t> grey;
    Part part;
    if (joint.used != 0)
        part = _differences({record.reduced[joint.first], luma, _pinhole(record.cameras[joint.first]),
                             _pinhole(record.cameras[joint.second]), scale, static_cast<double>(joint.gain)},
                            &grey);
    if (part.right == 0)
        part = _plain(luma, &grey);
    const auto pixels = [scale](int32_t steps) { return static_cast<int32_t>(lround(steps * scale)); };
    view->box = turn.box(pixels(part.left), pixels(part.top), pixels(part.width()), pixels(part.height()));
    view->part = _upright(grey, luma.width, part, turn);
}

MatchView _match(const RefinedRecord& record, const Turn& turn, const MatchRecord& match)
{
    const auto place = [&](double x, double y) {
        return turn.point({x + record.width / 2.0, y + record.height / 2.0});
    };
    return {place(match.x, match.y), match.has_shown, place(match.shown_x, match.shown_y), match.is_near};
}

// What a joint was made from; its drawing is in pixels of its second picture.
JointView _joint(const ozr_panorama& session, const RefinedRecord& record, const ozr_panorama_joint& joint)
{
    const Turn turn(record.is_vertical, record.width);
    JointView view;
    for (int32_t i = 0; i < record.pairs; ++i) {
        const MatchesRecord pair = ozr::session::look_at_matches(&session, i);
        if (pair.first != joint.first || pair.second != joint.second)
            continue;
        for (int32_t k = 0; k < pair.count; ++k)
            view.matches.push_back(_match(record, turn, pair.matches[k]));
    }
    _add_part(record, turn, joint, &view);
    return view;
}

}  // namespace

Cylinder read_cylinder(const ozr_panorama& session)
{
    const RefinedRecord record = ozr::session::look_at_refined(&session);
    return {record.cylinder.radius, record.cylinder.first_heading, record.cylinder.first_height};
}

bool has_refined(const ozr_panorama& session)
{
    return ozr::session::look_at_refined(&session).count > 0;
}

Layout read_refined(const ozr_panorama& session, const ozr_image& panorama,
                    const std::vector<ozr_panorama_joint>& joints)
{
    const RefinedRecord record = ozr::session::look_at_refined(&session);
    if (record.count == 0)
        return Layout();
    const Turn turn(record.is_vertical, panorama.height);
    const int32_t columns = record.is_vertical ? panorama.height : panorama.width;
    const int32_t rows = record.is_vertical ? panorama.width : panorama.height;
    const double middle = record.cylinder.first_heading + columns / 2.0 / record.cylinder.radius;
    Layout layout;
    layout.is_vertical = record.is_vertical;
    for (int32_t i = 0; i < record.count; ++i) {
        CameraView view;
        if (record.cameras[i].is_used)
            view = _look(record, i, middle);
        layout.pictures.push_back(record.cameras[i].is_used ? _placement(record, turn, view) : Placement());
        _turn_back(turn, &view);
        layout.cameras.push_back(std::move(view));
    }
    for (int32_t i = 0; i + 1 < record.seams->count; ++i)
        layout.overlaps.push_back(_seam(*record.seams, i, turn, rows));
    for (const ozr_panorama_joint& joint : joints)
        layout.joints.push_back(_joint(session, record, joint));
    return layout;
}

}  // namespace ozr_pano
