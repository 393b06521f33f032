// The pictures of the refined quality: a sweep whose camera is not the one that is assumed,
// whose hand rolls and drifts, and whose light changes, joined by a session of the library and
// looked at through its window.
#include "refined_pictures.h"

#include "base/program_error.h"
#include "drawing.h"
#include "media/image_owner.h"
#include "media/picture_io.h"
#include "scene/camera.h"
#include "scene/scene.h"
#include "session/window.h"
#include "sweep/layout_reader.h"
#include "sweep/pinhole.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <stdio.h>

using namespace ozr_pano;

namespace
{

constexpr int32_t kWidth = 640, kHeight = 480, kPictures = 4;
constexpr double kLonger = 1.2;  // the camera's focal length, times the assumed one
constexpr double kStep = 0.30;   // of a picture's width
constexpr uint32_t kSeed = 4;
constexpr double kDegree = 3.14159265358979 / 180;

// Tilt and roll of the hand, and the light: 256ths that a picture is brighter at its
// left and at its right edge.
constexpr double kTilt[kPictures] = {-0.4 * kDegree, 1.0 * kDegree, 0.3 * kDegree, -0.8 * kDegree};
constexpr double kRoll[kPictures] = {1.5 * kDegree, -1.0 * kDegree, 2.0 * kDegree, -0.5 * kDegree};
constexpr int32_t kLeftLight[kPictures] = {250, 290, 210, 256}, kRightLight[kPictures] = {262, 254, 246, 236};

struct Destroy {
    void operator()(ozr_panorama* handle) const { ozr_panorama_destroy(handle); }
};

void require(ozr_err error, const char* what)
{
    if (error != ozr_success)
        fail("%s: %s", what, ozr_err_to_string(error));
}

// A sweep that was joined, and what can be seen of it.
class JoinedSweep
{
public:
    JoinedSweep()
    {
        ozr_panorama* handle = nullptr;
        require(ozr_panorama_create(nullptr, &handle), "creating a session");
        handle_.reset(handle);
        require(ozr_panorama_set_quality(handle, ozr_panorama_quality_refined), "choosing a quality");
        const double focal = kLonger * assumed_focal_length(kWidth);
        const Surroundings surroundings(paint_city(2600, 1600, focal / kSceneUnitsPerRadian, kSeed), focal,
                                        false);
        for (int32_t i = 0; i < kPictures; ++i) {
            take(surroundings, focal, i, images_[static_cast<size_t>(i)].get());
            require(ozr_panorama_stitch_one_image(handle, images_[static_cast<size_t>(i)].get(), nullptr),
                    "a picture");
        }
        require(ozr_panorama_run(handle, &panorama_), "composing");
        ozr_panorama_joint joint;
        for (int32_t i = 0; ozr_panorama_get_joint(handle, i, &joint) == ozr_success; ++i)
            joints.push_back(joint);
        layout = read_layout(*handle, panorama_, joints);
        record = ozr::session::look_at_refined(handle);
        printf("refined: focal length %.2f, found %.2f\n", focal, record.cameras[0].focal);
    }

    Picture panorama() const { return convert_to_picture(panorama_); }
    const ozr_image& image(int32_t index) const { return *images_[static_cast<size_t>(index)].get(); }
    ozr_panorama_camera camera(int32_t index) const
    {
        ozr_panorama_camera camera;
        require(ozr_panorama_get_camera(handle_.get(), index, &camera), "a camera");
        return camera;
    }
    const ozr::refined::UnrolledPair& unrolled(int32_t index) const
    {
        return ozr::session::window::refined_sweep_of(handle_.get())->inside().sights[index].unrolled;
    }

    std::vector<ozr_panorama_joint> joints;
    Layout layout;
    ozr::session::RefinedRecord record;

private:
    static void take(const Surroundings& surroundings, double focal, int32_t index, ozr_image* picture)
    {
        surroundings.photograph({kWidth, kHeight, focal, false},
                                {0.6 + kStep * kWidth * index / focal, kTilt[index], kRoll[index]}, picture);
        for (int32_t y = 0; y < kHeight; ++y) {
            for (int32_t x = 0; x < kWidth; ++x) {
                uint8_t* luma = picture->data + y * picture->stride + x;
                const int32_t light =
                    kLeftLight[index] + (kRightLight[index] - kLeftLight[index]) * x / kWidth;
                *luma = static_cast<uint8_t>(std::min(255, *luma * light / 256));
            }
        }
    }

    mutable std::array<ImageOwner, kPictures> images_ = {
        ImageOwner(kWidth, kHeight), ImageOwner(kWidth, kHeight), ImageOwner(kWidth, kHeight),
        ImageOwner(kWidth, kHeight)};
    std::unique_ptr<ozr_panorama, Destroy> handle_;
    ozr_image panorama_ = {};
};

// Whether the cylinder shows the picture at a column of a row.
bool shows(const ozr::refined::Unrolled& unrolled, int32_t x, int32_t y)
{
    const ozr::refined::Interval& shown = unrolled.shown.get()[y];
    return x >= shown.first && x < shown.end;
}

// Contrast as grey: 0 in the middle, white where the cylinder shows nothing.
Picture contrast(const ozr::refined::Unrolled& unrolled, int32_t zoom)
{
    Picture picture(unrolled.width, unrolled.height);
    for (int32_t y = 0; y < unrolled.height; ++y) {
        for (int32_t x = 0; x < unrolled.width; ++x) {
            const int32_t value = 128 + unrolled.row(y)[x] * 2;
            const uint8_t grey =
                static_cast<uint8_t>(shows(unrolled, x, y) ? std::clamp(value, 0, 255) : 255);
            tint(&picture, {x, y, 1, 1}, {grey, grey, grey}, 100);
        }
    }
    return cut(picture, {0, 0, picture.width, picture.height}, zoom);
}

// The correlation of two unrolled pictures at a shift of the second one, less where they have
// little in common.
double correlation(const ozr::refined::Unrolled& a, const ozr::refined::Unrolled& b, int32_t shift_x,
                   int32_t shift_y)
{
    constexpr double kFullShare = 0.25;
    double ab = 0, aa = 1, bb = 1, common = 0;
    for (int32_t y = std::max(0, shift_y); y < std::min(a.height, b.height + shift_y); ++y) {
        for (int32_t x = std::max(0, shift_x); x < std::min(a.width, b.width + shift_x); ++x) {
            if (!shows(a, x, y) || !shows(b, x - shift_x, y - shift_y))
                continue;
            const double p = a.row(y)[x], q = b.row(y - shift_y)[x - shift_x];
            ab += p * q;
            aa += p * p;
            bb += q * q;
            ++common;
        }
    }
    const double share = common / (static_cast<double>(a.width) * a.height);
    return ab / std::sqrt(aa * bb) * std::min(1.0, std::sqrt(share / kFullShare));
}

// The correlations of all shifts: dark to bright, the best one framed.
Picture correlations(const ozr::refined::Unrolled& a, const ozr::refined::Unrolled& b)
{
    constexpr int32_t kCell = 8;
    const int32_t right = a.width * 92 / 100, down = a.height * 20 / 100;
    Picture map = blank((right + 1) * kCell, (2 * down + 1) * kCell, kWhite);
    double best = -1;
    Part best_cell = {};
    for (int32_t y = -down; y <= down; ++y) {
        for (int32_t x = 0; x <= right; ++x) {
            const double r = correlation(a, b, x, y);
            const uint8_t value = static_cast<uint8_t>(std::max(0.0, r) * 255);
            const Part cell = {x * kCell, (y + down) * kCell, kCell, kCell};
            tint(&map, cell, {value, value, static_cast<uint8_t>(64 + value / 2)}, 100);
            if (r > best) {
                best = r;
                best_cell = {cell.x - 2, cell.y - 2, kCell + 4, kCell + 4};
            }
        }
    }
    outline(&map, best_cell, kRed);
    printf("rough shift: best correlation %.3f\n", best);
    return map;
}

// Two pictures as they are compared, and how well they agree at every shift.
Picture rough_shift(const JoinedSweep& sweep)
{
    const Picture map = correlations(sweep.unrolled(0).coarse, sweep.unrolled(1).coarse);
    return stacked(
        {side_by_side({contrast(sweep.unrolled(0).fine, 2), contrast(sweep.unrolled(1).fine, 2)}), map});
}

// The matched points of the first joint over what is left of the difference, with arrows.
Picture matches(const JoinedSweep& sweep)
{
    constexpr double kEnlarged = 400;
    constexpr Ink kDot = {110, 200, 255};
    const JointView& view = sweep.layout.joints[0];
    const double scale = view.part.width / static_cast<double>(view.box.right - view.box.left);
    Picture picture = view.part;
    const auto place = [&](const Spot& at) {
        return Spot{(at.x - view.box.left) * scale, (at.y - view.box.top) * scale};
    };
    for (const MatchView& match : view.matches) {
        if (!match.is_near) {
            printf("a match that the cameras contradict\n");
            continue;
        }
        const Spot from = place(match.shown);
        const Spot to = {from.x + (match.found.x - match.shown.x) * kEnlarged,
                         from.y + (match.found.y - match.shown.y) * kEnlarged};
        draw_line(&picture, from, to, 1.4, kYellow);
        draw_line(&picture, from, from, 4, kDot);
    }
    printf("matches: %zu, residual %.4f\n", view.matches.size(),
           static_cast<double>(sweep.joints[0].residual));
    return picture;
}

// The camera of a picture as the sweep found it.
Pinhole pinhole(const JoinedSweep& sweep, int32_t index)
{
    const ozr::session::CameraRecord& camera = sweep.record.cameras[index];
    Pinhole pinhole = {{}, camera.focal, camera.radial, camera.skew.stretch, camera.skew.shear};
    std::copy_n(camera.rotation, 9, pinhole.rotation);
    return pinhole;
}

// Draws what a picture shows onto the panorama's cylinder, its brightness times `gain`, where
// `mine` says so.
template <class IsMine>
void lay(const JoinedSweep& sweep, int32_t index, double gain, const IsMine& mine, Picture* onto)
{
    const Picture source = convert_to_picture(sweep.image(index));
    const Pinhole camera = pinhole(sweep, index);
    const ozr::session::CylinderRecord& cylinder = sweep.record.cylinder;
    for (int32_t y = 0; y < onto->height; ++y) {
        for (int32_t x = 0; x < onto->width; ++x) {
            const double heading = cylinder.first_heading + (x + 0.5) / cylinder.radius;
            const double height = cylinder.first_height + (y + 0.5) / cylinder.radius;
            Spot at;
            if (!mine(x, y) || !camera.place({std::sin(heading), height, std::cos(heading)}, &at))
                continue;
            const int32_t from_x = static_cast<int32_t>(std::floor(at.x + kWidth / 2.0));
            const int32_t from_y = static_cast<int32_t>(std::floor(at.y + kHeight / 2.0));
            if (from_x < 0 || from_y < 0 || from_x >= kWidth || from_y >= kHeight)
                continue;
            const uint8_t* pixel = source.row(from_y) + ptrdiff_t{4} * from_x;
            const auto lit = [&](int32_t i) {
                return static_cast<uint8_t>(std::min(255.0, pixel[i] * gain + 0.5));
            };
            tint(onto, {x, y, 1, 1}, {lit(0), lit(1), lit(2)}, 100);
        }
    }
}

// All pictures laid one over the other, with their borders: where the cameras looked.
Picture cameras(const JoinedSweep& sweep)
{
    constexpr Ink kInks[kPictures] = {{230, 60, 50}, {240, 190, 20}, {60, 190, 60}, {60, 130, 240}};
    int32_t left = 0, top = 0, right = 0, bottom = 0;
    for (const Placement& picture : sweep.layout.pictures) {
        left = std::min(left, picture.box.left - 2);
        top = std::min(top, picture.box.top - 2);
        right = std::max(right, picture.box.right + 2);
        bottom = std::max(bottom, picture.box.bottom + 2);
    }
    Picture canvas = blank(right - left, bottom - top, kWhite);
    const Picture panorama = sweep.panorama();
    paste(&canvas, panorama, -left, -top);
    for (size_t i = 0; i < sweep.layout.pictures.size(); ++i) {
        const std::vector<Spot>& border = sweep.layout.pictures[i].outline;
        for (size_t k = 0; k < border.size(); ++k) {
            const Spot &a = border[k], &b = border[(k + 1) % border.size()];
            draw_line(&canvas, {a.x - left, a.y - top}, {b.x - left, b.y - top}, 3, kInks[i]);
        }
    }
    for (int32_t i = 0; i < kPictures; ++i) {
        const ozr_panorama_camera camera = sweep.camera(i);
        printf("camera %d: yaw %.3f, pitch %.3f, roll %.3f, gain %.3f\n", i, static_cast<double>(camera.yaw),
               static_cast<double>(camera.pitch), static_cast<double>(camera.roll),
               static_cast<double>(camera.gain));
    }
    return canvas;
}

// The column at which a seam crosses a row of the panorama.
int32_t seam_at(const OverlapView& seam, int32_t y)
{
    for (size_t i = 1; i < seam.seam.size(); ++i) {
        const ozr_point &a = seam.seam[i - 1], &b = seam.seam[i];
        if (y < b.y || i + 1 == seam.seam.size())
            return a.x + (b.x - a.x) * (y - a.y) / std::max(b.y - a.y, 1);
    }
    return 0;
}

// The pictures switched hard at the seams, as bright as they came or evened out.
Picture hard(const JoinedSweep& sweep, bool evened)
{
    const Picture panorama = sweep.panorama();
    Picture canvas = blank(panorama.width, panorama.height, kWhite);
    for (int32_t i = 0; i < kPictures; ++i) {
        const auto mine = [&](int32_t x, int32_t y) {
            return (i == 0 || x >= seam_at(sweep.layout.overlaps[static_cast<size_t>(i - 1)], y)) &&
                   (i + 1 == kPictures || x < seam_at(sweep.layout.overlaps[static_cast<size_t>(i)], y));
        };
        lay(sweep, i, evened ? static_cast<double>(sweep.camera(i).gain) : 1.0, mine, &canvas);
    }
    return canvas;
}

// The panorama with its seams.
Picture seams(const JoinedSweep& sweep)
{
    Picture panorama = sweep.panorama();
    for (const OverlapView& overlap : sweep.layout.overlaps) {
        for (size_t i = 1; i < overlap.seam.size(); ++i) {
            const ozr_point &a = overlap.seam[i - 1], &b = overlap.seam[i];
            draw_line(&panorama, {a.x + 0.0, a.y + 0.0}, {b.x + 0.0, b.y + 0.0}, 3, kRed);
        }
    }
    return panorama;
}

// A piece around a seam: as the pictures came, evened out, and as the library blends it.
Picture transitions(const JoinedSweep& sweep)
{
    constexpr int32_t kSide = 180, kTop = 20;
    const int32_t x = seam_at(sweep.layout.overlaps[1], kTop + kSide / 2) - kSide / 2;
    std::vector<Picture> pieces;
    for (const Picture& whole : {hard(sweep, false), hard(sweep, true), sweep.panorama()})
        pieces.push_back(cut(whole, {x, kTop, kSide, kSide}, 2));
    return side_by_side(pieces);
}

}  // namespace

void make_refined_pictures(const std::string& folder)
{
    constexpr int kQuality = 85;
    const JoinedSweep sweep;
    write_picture(folder + "/refined-shift.jpg", rough_shift(sweep), kQuality);
    write_picture(folder + "/refined-matches.jpg", matches(sweep), kQuality);
    write_picture(folder + "/refined-cameras.jpg", cameras(sweep), kQuality);
    write_picture(folder + "/refined-exposure.jpg", stacked({hard(sweep, false), hard(sweep, true)}),
                  kQuality);
    write_picture(folder + "/refined-seams.jpg", seams(sweep), kQuality);
    write_picture(folder + "/refined-transitions.jpg", transitions(sweep), kQuality);
}
