// Reads the layout of a classic sweep through the library's window.
#include "sweep/layout_reader.h"

#include "media/thumbnail.h"
#include "sweep/refined_reader.h"
#include "sweep/turn.h"

#include "session/window.h"

#include <algorithm>
#include <stdlib.h>

namespace ozr_pano
{

namespace
{

using ozr::session::PanoramaRecord;
using ozr::session::PictureRecord;
using ozr::session::SeamRecord;

// What the picture is to the one before.
Placement _step(const PictureRecord& picture, const Turn& turn)
{
    Placement placement;
    placement.has_step = picture.is_aligned;
    if (!picture.is_aligned)
        return placement;
    placement.step = turn.step(picture.step_x, picture.step_y);
    placement.overlap = picture.shared_columns / static_cast<double>(picture.luma.width);
    placement.has_score = picture.has_score;
    placement.score = picture.score;
    return placement;
}

void _place(const PictureRecord& picture, const Turn& turn, Placement* placement)
{
    placement->is_used = picture.is_used;
    if (picture.is_used)
        placement->box = turn.box(picture.x, picture.y, picture.luma.width, picture.luma.height);
}

void _set_difference(const SeamRecord& seam, const Turn& turn, OverlapView* view)
{
    const int32_t width = seam.left_luma.width, height = seam.left_luma.height;
    Picture difference = turn.picture(width, height);
    int64_t sum = 0;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t *left = seam.left_luma.row(y), *right = seam.right_luma.row(y);
        for (int32_t x = 0; x < width; ++x) {
            const int32_t grey = std::abs(left[x] - right[x]);
            sum += grey;
            uint8_t* pixel = turn.pixel(&difference, x, y, width);
            std::fill_n(pixel, 3, static_cast<uint8_t>(std::min(grey * kDifferenceGain, 255)));
            pixel[3] = 255;
        }
    }
    view->mean_difference = static_cast<double>(sum) / (static_cast<double>(width) * height);
    view->difference = shrink(difference, kDifferenceExtent);
}

OverlapView _overlap(const SeamRecord& seam, const Turn& turn)
{
    OverlapView view;
    view.first = static_cast<size_t>(std::min(seam.left, seam.right));
    view.second = view.first + 1;
    const int32_t height = seam.left_luma.height;
    view.box = turn.box(seam.x, seam.y, seam.left_luma.width, height);
    for (int32_t y = 0; y < height; ++y) {
        const int32_t x = seam.x + seam.columns[static_cast<size_t>(y)];
        view.seam.push_back(turn.point(x, seam.y + y));
        view.seam.push_back(turn.point(x, seam.y + y + 1));
    }
    _set_difference(seam, turn, &view);
    return view;
}

// A panorama of one picture is that picture, as it came.
Layout _single(const ozr_image& panorama)
{
    Layout layout;
    layout.pictures.resize(1);
    layout.pictures[0].is_used = panorama.data != nullptr;
    layout.pictures[0].box = {0, 0, panorama.width, panorama.height};
    return layout;
}

Layout _classic(const ozr_panorama& session, const ozr_image& panorama)
{
    const PanoramaRecord record = ozr::session::look(&session);
    if (record.count == 1)
        return _single(panorama);
    const Turn turn(record.is_vertical, panorama.height);
    Layout layout;
    layout.is_vertical = record.is_vertical;
    for (int32_t i = 0; i < record.count; ++i)
        layout.pictures.push_back(_step(record.pictures[i], turn));
    if (panorama.data == nullptr)
        return layout;
    for (int32_t i = 0; i < record.count; ++i)
        _place(record.pictures[i], turn, &layout.pictures[static_cast<size_t>(i)]);
    for (int32_t i = 0; i < record.seam_count; ++i)
        layout.overlaps.push_back(_overlap(record.seams[i], turn));
    return layout;
}

}  // namespace

int count_used(const ozr_panorama& session)
{
    return ozr::session::pictures_used(&session);
}

Layout read_layout(const ozr_panorama& session, const ozr_image& panorama,
                   const std::vector<ozr_panorama_joint>& joints)
{
    return has_refined(session) ? read_refined(session, panorama, joints) : _classic(session, panorama);
}

}  // namespace ozr_pano
