// Reads the core of a second session. The core works on pictures whose sweep runs along x: those of vertical sweeps were
// turned clockwise, so what is found here is turned back at the end.
#include "sweep/retrace.h"

#include "media/thumbnail.h"
#include "report/library_log.h"

#include "core/panorama_core.h"
#include "core/panorama_seam.h"
#include "engine/panorama_engine.h"
#include "session/panorama.h"

#include <algorithm>
#include <stdlib.h>

namespace ozr_pano
{

namespace
{

constexpr double kScoreOne = 1 << 28;
constexpr int32_t kNoSearch = -1;     // score of a pair that could not be searched
constexpr uint8_t kBarred = 255;      // mask value that keeps a seam away
constexpr int32_t kGain = 4;          // differences are shown brighter than they are
constexpr int32_t kViewExtent = 480;  // longer side of a difference picture

/** A seam with the two regions that it divides. */
struct Seam {
    SeamRegion left, right;
    std::vector<int32_t> columns;
};

/** The core's pictures on the canvas, from left to right. */
class Canvas
{
public:
    Canvas(const PanoramaInternal& engine, const ozr_image& panorama, int used)
        : core_(*engine.core), vertical_(ozr::is_vertical(engine.direction)), count_(engine.count),
          used_(used), extent_(vertical_ ? panorama.height : panorama.width)
    {
        for (int k = 1; k < used_; ++k) {
            const AlignResult& result = core_.offsets[index(k)];
            corners_[k] = {corners_[k - 1].x + result.x, corners_[k - 1].y + result.y};
            top_ = std::max(top_, corners_[k].y);
        }
    }

    Layout layout() const
    {
        Layout layout;
        layout.pictures.resize(static_cast<size_t>(count_));
        for (int i = 1; i < count_; ++i)
            set_step(i, &layout.pictures[static_cast<size_t>(i)]);
        for (int k = 0; k < used_; ++k) {
            Placement& placement = layout.pictures[static_cast<size_t>(index(k))];
            placement.is_used = true;
            placement.box = turned(corners_[k].x, corners_[k].y - top_, picture(k).width, picture(k).height);
        }
        Seam before;
        for (int k = 1; k < used_; ++k) {
            Seam seam = find_seam(k, before);
            if (seam.columns.empty())
                break;
            layout.overlaps.push_back(view(k, seam));
            before = std::move(seam);
        }
        return layout;
    }

private:
    /** Position k of the canvas, from the left, in the order of the sweep. */
    int index(int k) const { return core_.forward != 0 ? k : count_ - 1 - k; }

    const PanoImg& picture(int k) const { return core_.frames[index(k)]; }

    ozr_rect turned(int32_t x, int32_t y, int32_t width, int32_t height) const
    {
        if (!vertical_)
            return {x, y, x + width, y + height};
        return {y, extent_ - x - width, y + height, extent_ - x};
    }

    ozr_point turned(int32_t x, int32_t y) const
    {
        return vertical_ ? ozr_point{y, extent_ - x} : ozr_point{x, y};
    }

    /** The core knows of each pair where its right picture lies in its left one. */
    void set_step(int i, Placement* placement) const
    {
        const bool forward = core_.forward != 0;
        const AlignResult& result = core_.offsets[forward ? i : i - 1];
        if (core_.aligned[i] == 0)
            return;
        const int32_t x = forward ? result.x : -result.x, y = forward ? result.y : -result.y;
        placement->has_step = true;
        placement->step = vertical_ ? ozr_point{y, -x} : ozr_point{x, y};
        const int32_t width = core_.frames[i].width;
        placement->overlap = std::clamp(width - result.x, 0, width) / static_cast<double>(width);
        placement->has_score = result.score != kNoSearch;
        placement->score = result.score / kScoreOne;
    }

    /** What the composition bars: both edges of the overlap, and what does not lie to the right of the seam before. */
    std::vector<uint8_t> mask(const Seam& seam, const Seam& before) const
    {
        const SeamRegion& region = seam.left;
        const int32_t width = region.width, band = std::clamp(core_.margin, 0, width / 2);
        std::vector<uint8_t> mask(static_cast<size_t>(width) * static_cast<size_t>(region.height));
        for (int32_t y = 0; y < region.height; ++y) {
            const auto row = mask.begin() + static_cast<ptrdiff_t>(y) * width;
            std::fill(row, row + band, kBarred);
            std::fill(row + width - band, row + width, kBarred);
            const int32_t shared = region.y + y - before.right.y;
            if (shared < 0 || shared >= static_cast<int32_t>(before.columns.size()))
                continue;
            const int32_t behind = before.columns[static_cast<size_t>(shared)] - region.x + band + 1;
            std::fill(row, row + std::clamp(behind, 0, width), kBarred);
        }
        return mask;
    }

    /** The seam between pictures k - 1 and k, found as the composition found it. No columns: there is none. */
    Seam find_seam(int k, const Seam& before) const
    {
        const PanoImg &left = picture(k - 1), &right = picture(k);
        const AlignResult& at = core_.offsets[index(k)];
        const int32_t width = left.width - at.x, height = left.height - std::abs(at.y);
        if (at.x < 0 || width < 2 || height < 1)
            return {};
        Seam seam = {{&left, at.x, std::max(at.y, 0), width, height},
                     {&right, 0, std::max(-at.y, 0), width, height},
                     std::vector<int32_t>(static_cast<size_t>(height))};
        if (panorama_seam_find(seam.columns.data(), mask(seam, before).data(), &seam.left, &seam.right) < 0)
            return {};
        return seam;
    }

    OverlapView view(int k, const Seam& seam) const
    {
        OverlapView view;
        view.first = static_cast<size_t>(std::min(index(k - 1), index(k)));
        view.second = view.first + 1;
        const int32_t x = corners_[k].x, y = corners_[k].y - top_ + seam.right.y;
        view.box = turned(x, y, seam.right.width, seam.right.height);
        for (int32_t row = 0; row < seam.right.height; ++row) {
            const int32_t column = seam.columns[static_cast<size_t>(row)];
            view.seam.push_back(turned(x + column, y + row));
            view.seam.push_back(turned(x + column, y + row + 1));
        }
        set_difference(seam, &view);
        return view;
    }

    void set_difference(const Seam& seam, OverlapView* view) const
    {
        const int32_t width = seam.left.width, height = seam.left.height;
        Picture difference(vertical_ ? height : width, vertical_ ? width : height);
        int64_t sum = 0;
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* left = ozr::pano_row(seam.left.img, seam.left.y + y) + seam.left.x;
            const uint8_t* right = ozr::pano_row(seam.right.img, seam.right.y + y) + seam.right.x;
            for (int32_t x = 0; x < width; ++x) {
                const int32_t grey = std::abs(left[x] - right[x]);
                sum += grey;
                uint8_t* pixel =
                    vertical_ ? difference.row(width - 1 - x) + 4 * y : difference.row(y) + 4 * x;
                std::fill_n(pixel, 3, static_cast<uint8_t>(std::min(grey * kGain, 255)));
                pixel[3] = 255;
            }
        }
        view->mean_difference = static_cast<double>(sum) / (static_cast<double>(width) * height);
        view->difference = shrink(difference, kViewExtent);
    }

    const PanoramaCore& core_;
    bool vertical_;
    int count_;  // pictures of the sweep
    int used_;
    int32_t extent_;   // of the panorama along the sweep
    int32_t top_ = 0;  // canvas row that the panorama's first row shows
    ozr_point corners_[kMaxPictures] = {};
};

/** A panorama of one picture is that picture. */
Layout _single(const ozr_image& panorama)
{
    Layout layout;
    layout.pictures.resize(1);
    layout.pictures[0].is_used = panorama.width > 0;
    layout.pictures[0].box = {0, 0, panorama.width, panorama.height};
    return layout;
}

}  // namespace

struct Retrace::Session {
    explicit Session(const ozr_config* config) : panorama(config) {}
    panorama_t panorama;
};

Retrace::Retrace()
{
    const QuietLibrary quiet;
    ozr_config config;
    ozr_panorama_get_default_config(&config);
    session_ = std::make_unique<Session>(&config);
}

Retrace::~Retrace()
{
    const QuietLibrary quiet;
    session_.reset();
}

void Retrace::set_parameters(const ozr_panorama_parameters& parameters)
{
    const QuietLibrary quiet;
    panorama_param_t all = {};
    if (session_->panorama.get_parameters(&all) != ozr_success)
        return;
    all.overlap_percent = parameters.overlapping_ratio;
    all.direction = parameters.direction;
    session_->panorama.set_parameters(&all);
}

void Retrace::watch(const ozr_image& preview)
{
    const QuietLibrary quiet;
    ozr_point offset;
    ozr_panorama_direction direction;
    session_->panorama.detect_frame_to_stitch(&preview, &offset, direction);
}

void Retrace::add(ozr_image* picture, const ozr_point* offset)
{
    const QuietLibrary quiet;
    session_->panorama.stitch_one_image(picture, offset);
}

void Retrace::reset()
{
    const QuietLibrary quiet;
    session_->panorama.reset();
}

Layout Retrace::layout(const ozr_image& panorama, int used) const
{
    const PanoramaInternal* engine = session_->panorama.engine;
    if (engine == nullptr || engine->core == nullptr)
        return {};
    if (engine->count < 2)
        return _single(panorama);
    return Canvas(*engine, panorama, used).layout();
}

}  // namespace ozr_pano
