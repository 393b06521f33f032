// Twenty sweeps of the simulated camera, each hard in its own way, through the library: the cameras
// and joints that it tells against the truth, and all bytes against those of before.
#include "media/image_owner.h"
#include "record/recording.h"
#include "support/handle.h"
#include "support/scenes.h"

#include <array>
#include <cmath>

using namespace ozr_pano;

namespace
{

constexpr double kDegree = 3.14159265358979 / 180;
constexpr double kUsualFocal = 690;  // of 640 pixels along the sweep
constexpr int32_t kForeign = 1000;   // no picture

// Degrees: along the sweep (right, or down), across it (down, or right), roll.
struct View {
    double along, across, roll;
};

struct Simulated {
    const char* what;
    bool vertical = false;
    double focal = 1;  // of the usual one
    std::vector<View> views;
    double radial = 0, vignetting = 0;
    std::vector<double> brightness = {};
    double sweep = 0;  // degrees of pan while the rows are read
    int32_t walkers = 0;
    int32_t foreign = kForeign;  // the picture that shows something else
};

std::vector<View> _pan(int32_t pictures, double step, double tilt = 0)
{
    std::vector<View> views;
    for (int32_t i = 0; i < pictures; ++i)
        views.push_back({step * i, tilt, 0});
    return views;
}

std::vector<Simulated> _sweeps()
{
    return {
        {"right", false, 1, _pan(5, 14)},
        {"left", false, 1, _pan(5, -14)},
        {"down", true, 1, _pan(5, 14)},
        {"up", true, 1, _pan(5, -14)},
        {"wide", false, 0.6, _pan(5, 22)},
        {"rather wide", false, 0.77, _pan(5, 18)},
        {"rather long", false, 1.5, _pan(5, 9)},
        {"long", false, 2.2, _pan(5, 6.5)},
        {"overlap of a fifth", false, 1, _pan(4, 38)},
        {"overlap of 95 percent", false, 1, _pan(6, 2.4)},
        {"barrel", false, 1, _pan(5, 14), 0.06},
        {"pincushion", false, 1, _pan(5, 14), -0.05},
        {"exposure by a third", false, 1, _pan(5, 14), 0, 0, {1, 1.33, 0.9, 0.7, 1.2}},
        {"vignetting", false, 0.8, _pan(5, 16), 0.03, 0.4},
        {"rolling shutter", false, 1, _pan(5, 14), 0, 0, {}, 0.4},
        {"walkers", false, 1, _pan(5, 14), 0, 0, {}, 0, 9},
        {"tilt", false, 1, _pan(5, 14, 10)},
        {"rolling hand", false, 1, {{0, 0, 0}, {14, 0.5, 8}, {28, -0.5, 1}, {42, 0, -6}, {56, 0.5, 1}}},
        {"shaking hand that turns back",
         true,
         1,
         {{0, 1, 1}, {13, -1, -2}, {27, 2, 1}, {22, 0, 0}, {35, -1, 2}}},
        {"a picture that does not belong", false, 1, _pan(5, 12), 0, 0, {}, 0, 0, 2},
    };
}

// Of the bytes of each sweep's pictures, panorama, cameras and joints: every build, at every
// level of kernels, makes the same. A change that is to make better pictures brings new ones
// along; all others keep them.
constexpr uint32_t kChecksums[] = {0xDE14C6B7, 0x7FD92142, 0x32C7FBED, 0x638D08B6, 0xB886B7A7,
                                   0x6080A283, 0xF84CDFFD, 0xAA3E6FF6, 0x143590D7, 0x6DDD1B11,
                                   0xCAB6B340, 0xB56F8181, 0xA9C5EE03, 0x897DC696, 0x49B3C9D9,
                                   0x5C054E7E, 0xC57F8C24, 0x043A0CCA, 0x14209D1B, 0xC4318A27};

// Row by row. Turns of the camera's axes: x to the right, y down, z ahead.
using Matrix = std::array<double, 9>;

Matrix _product(const Matrix& a, const Matrix& b)
{
    Matrix m = {};
    for (size_t i = 0; i < 27; ++i)
        m[i / 9 * 3 + i % 3] += a[i / 9 * 3 + i / 3 % 3] * b[i / 3 % 3 * 3 + i % 3];
    return m;
}

Matrix _transposed(const Matrix& a)
{
    return {a[0], a[3], a[6], a[1], a[4], a[7], a[2], a[5], a[8]};
}

// About an axis, in the way that turns the next axis into the one after it.
Matrix _turn(size_t axis, double degrees)
{
    const size_t from = (axis + 1) % 3, to = (axis + 2) % 3;
    Matrix m = {};
    m[4 * axis] = 1;
    m[4 * from] = m[4 * to] = std::cos(degrees * kDegree);
    m[3 * to + from] = std::sin(degrees * kDegree);
    m[3 * from + to] = -m[3 * to + from];
    return m;
}

// The turn along the sweep is the outermost one.
Matrix _rotation(bool vertical, double yaw, double pitch, double roll)
{
    const Matrix down = _turn(0, -pitch), right = _turn(1, yaw);
    return _product(vertical ? _product(down, right) : _product(right, down), _turn(2, roll));
}

// The scene's own convention: in vertical sweeps the roll is that of its exchanged axes.
Matrix _true_rotation(const Simulated& sweep, const View& view)
{
    return sweep.vertical ? _rotation(true, view.across, view.along, -view.roll)
                          : _rotation(false, view.along, view.across, view.roll);
}

double _angle(const Matrix& m)
{
    return std::acos(std::clamp((m[0] + m[4] + m[8] - 1) / 2, -1.0, 1.0)) / kDegree;
}

// How far the scene reaches along and across the sweep, in radians.
std::pair<double, double> _extent(const Simulated& sweep)
{
    if (sweep.focal < 1)
        return {3.2, 1.5};
    return sweep.focal > 1 ? std::make_pair(1.5, 0.6) : std::make_pair(3.4, 1.4);
}

void _photograph(const Simulated& sweep, size_t i, ozr_image* picture)
{
    const double focal = sweep.focal * kUsualFocal;
    Lens lens = {picture->width, picture->height, focal, sweep.vertical, sweep.radial, sweep.vignetting};
    const View& view = sweep.views[i];
    const std::vector<Walker> walkers =
        walkers_at(static_cast<double>(i), sweep.walkers, {1000, 3700, 300}, 5);
    const Instant instant = {sweep.sweep * kDegree, i < sweep.brightness.size() ? sweep.brightness[i] : 1,
                             &walkers};
    // A picture that does not belong shows a part of the tower.
    lens.vertical = sweep.vertical || static_cast<int32_t>(i) == sweep.foreign;
    const auto [along, across] = _extent(sweep);
    const double middle = (sweep.views.front().along + sweep.views.back().along) / 2;
    const Pose pose = {along / 2 + (view.along - middle) * kDegree, view.across * kDegree,
                       view.roll * kDegree};
    scene(lens.vertical, focal, along, across).photograph(lens, pose, picture, instant);
}

using Bytes = std::vector<uint8_t>;

void _append(const void* data, size_t size, Bytes* bytes)
{
    const uint8_t* first = static_cast<const uint8_t*>(data);
    bytes->insert(bytes->end(), first, first + size);
}

// Hands all pictures over without a word on direction, offset or overlap.
void _compose(const Simulated& sweep, ozr_panorama* handle, Bytes* bytes)
{
    ASSERT_EQ(ozr_panorama_set_quality(handle, ozr_panorama_quality_refined), ozr_success);
    ImageOwner picture(sweep.vertical ? 480 : 640, sweep.vertical ? 640 : 480);
    for (size_t i = 0; i < sweep.views.size(); ++i) {
        _photograph(sweep, i, picture.get());
        _append(picture.get()->data, static_cast<size_t>(picture.get()->size), bytes);
        ASSERT_EQ(ozr_panorama_stitch_one_image(handle, picture.get(), nullptr), ozr_success);
    }
    ozr_image panorama;
    ASSERT_EQ(ozr_panorama_run(handle, &panorama), ozr_success);
    _append(panorama.data, static_cast<size_t>(panorama.size), bytes);
}

void _expect_true_cameras(const Simulated& sweep, ozr_panorama* handle, Bytes* bytes)
{
    std::vector<Matrix> worlds;
    double worst_focal = 0, worst_angle = 0;
    for (size_t i = 0; i < sweep.views.size(); ++i) {
        ozr_panorama_camera camera;
        ASSERT_EQ(ozr_panorama_get_camera(handle, static_cast<int32_t>(i), &camera), ozr_success);
        _append(&camera, sizeof(camera), bytes);
        const bool belongs = static_cast<int32_t>(i) != sweep.foreign;
        EXPECT_EQ(camera.used, belongs ? 1 : 0) << i;
        if (!belongs)
            continue;
        const Matrix found = _rotation(sweep.vertical, static_cast<double>(camera.yaw),
                                       static_cast<double>(camera.pitch), static_cast<double>(camera.roll));
        // By what the world is turned as this picture shows it: the same for all of them.
        worlds.push_back(_product(found, _transposed(_true_rotation(sweep, sweep.views[i]))));
        const double focal = static_cast<double>(camera.focal_length) / (sweep.focal * kUsualFocal);
        worst_focal = std::max(worst_focal, 100 * std::abs(focal - 1));
    }
    // Nobody told where ahead is: as the picture in the middle shows it.
    const Matrix back = _transposed(worlds[worlds.size() / 2]);
    for (const Matrix& world : worlds)
        worst_angle = std::max(worst_angle, _angle(_product(back, world)));
    printf("%-32s focal length %.3f %%, rotation %.4f degrees\n", sweep.what, worst_focal, worst_angle);
    EXPECT_LT(worst_focal, 0.5);
    EXPECT_LT(worst_angle, 0.05);
}

void _expect_true_joints(const Simulated& sweep, ozr_panorama* handle, Bytes* bytes)
{
    ozr_panorama_joint joint;
    int32_t count = 0;
    for (; ozr_panorama_get_joint(handle, count, &joint) == ozr_success; ++count) {
        _append(&joint, sizeof(joint), bytes);
        const bool belongs = joint.first != sweep.foreign && joint.second != sweep.foreign;
        EXPECT_EQ(joint.used, belongs ? 1 : 0) << joint.first << " " << joint.second;
        EXPECT_EQ(joint.confidence >= 0.5F, belongs)
            << joint.first << " " << joint.second << " " << static_cast<double>(joint.confidence);
    }
    EXPECT_GE(count, static_cast<int32_t>(sweep.views.size()) - 1);
}

TEST(SimulatedSweeps, AreFoundAsTheyAre)
{
    const uint32_t* checksum = kChecksums;
    for (const Simulated& sweep : _sweeps()) {
        SCOPED_TRACE(sweep.what);
        const Handle handle = create_panorama();
        Bytes bytes;
        _compose(sweep, handle.get(), &bytes);
        if (HasFatalFailure())
            return;
        _expect_true_cameras(sweep, handle.get(), &bytes);
        _expect_true_joints(sweep, handle.get(), &bytes);
        EXPECT_EQ(checksum_of(bytes.data(), bytes.size()), *checksum++);
    }
}

}  // namespace
