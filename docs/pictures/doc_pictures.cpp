// usage: ozr_doc_pictures FOLDER
// Makes the pictures of docs/how-it-works.md: takes a short sweep of the painted scene and
// shows what the library's own functions make of it, step by step. The same bytes on every
// machine, but for the encoder's.
#include "base/program_error.h"
#include "core/panorama_core.h"
#include "core/panorama_seam.h"
#include "drawing.h"
#include "kernels/kernels.h"
#include "media/image_owner.h"
#include "media/picture_io.h"
#include "refined_pictures.h"
#include "scene/camera.h"
#include "scene/scene.h"

#include <algorithm>
#include <memory>
#include <stdio.h>

using namespace ozr_pano;

namespace
{

constexpr int32_t kWidth = 640, kHeight = 480;
constexpr int32_t kPictures = 4;
constexpr int32_t kStep = kWidth * 3 / 10;  // an overlap of 70 %
constexpr uint32_t kSeed = 4;

// How far each picture drifted across the sweep, and how much brighter it came out, as a hand and
// an automatic exposure have it.
constexpr double kDrift[kPictures] = {0, 0.02, -0.015, 0.01};     // radians
constexpr int32_t kBrightness[kPictures] = {256, 274, 262, 250};  // 256ths

struct ReleaseCore {
    void operator()(PanoramaCore* core) const { panorama_core_destroy(core); }
};
using CoreOwner = std::unique_ptr<PanoramaCore, ReleaseCore>;

struct ReleaseImg {
    void operator()(PanoImg* img) const
    {
        PanoImg_Destroy(img);
        delete img;
    }
};
using ImgOwner = std::unique_ptr<PanoImg, ReleaseImg>;

void require(int32_t result, const char* what)
{
    if (result < 0)
        fail("%s: code %d", what, result);
}

PanoImg wrapped(const ozr_image& image)
{
    return {kPanoNv12, image.width, image.height, image.stride, image.size, 0, image.data};
}

Picture shown(const PanoImg& img)
{
    return convert_to_picture(
        {img.data, img.size, img.width, img.height, ozr_image_format_nv12, img.stride, 0});
}

int32_t luma_at(const PanoImg& img, int32_t x, int32_t y)
{
    return ozr::pano_row(&img, y)[x];
}

// The camera in front of its scene.
class Photographer
{
public:
    Photographer()
        : focal_(assumed_focal_length(kWidth)),
          surroundings_(paint_city(2600, 1400, focal_ / kSceneUnitsPerRadian, kSeed), focal_, false)
    {
    }
    void take(int32_t index, ozr_image* picture) const
    {
        const double along = 0.6 + kStep * index / focal_;
        surroundings_.photograph({kWidth, kHeight, focal_, false}, {along, kDrift[index], 0}, picture);
        for (int32_t i = 0; i < picture->stride * picture->height; ++i)
            picture->data[i] =
                static_cast<uint8_t>(std::min(255, picture->data[i] * kBrightness[index] / 256));
    }

private:
    double focal_;
    Surroundings surroundings_;
};

// Draws a grid into the luma of a picture, so that the projection can be seen.
void draw_grid(ozr_image* picture)
{
    constexpr int32_t kCell = 64, kLine = 2;
    for (int32_t y = 0; y < picture->height; ++y) {
        for (int32_t x = 0; x < picture->width; ++x) {
            const bool line = (x + picture->width / 2) % kCell < kLine || (y + kCell / 2) % kCell < kLine;
            if (line)
                picture->data[y * picture->stride + x] = 235;
        }
    }
}

// Hands a copy of a picture to the core, which releases it.
void add(PanoramaCore* core, const ozr_image& picture, int32_t index)
{
    const PanoImg source = wrapped(picture);
    PanoImg copy = {};
    require(PanoImg_Clone(&source, &copy), "copying a picture");
    require(panorama_core_add_input(core, &copy, index, index == 0 ? 0 : kStep, 0), "adding a picture");
}

CoreOwner make_core()
{
    PanoramaCore* core = nullptr;
    require(panorama_core_create(&core), "creating a core");
    CoreOwner owner(core);
    require(panorama_core_init(core, 1, kWidth, kHeight, kWidth), "preparing a core");
    return owner;
}

CoreOwner sweep(const Photographer& photographer, int32_t pictures)
{
    CoreOwner core = make_core();
    ImageOwner picture(kWidth, kHeight);
    for (int32_t i = 0; i < pictures; ++i) {
        photographer.take(i, picture.get());
        add(core.get(), *picture.get(), i);
        const AlignResult& result = core->offsets[i];
        printf("picture %d: x %d, y %d, score %.4f\n", i, result.x, result.y, result.score / 268435456.0);
    }
    return core;
}

// A picture with a grid, before and after the projection.
Picture projection(const Photographer& photographer)
{
    ImageOwner picture(kWidth, kHeight);
    photographer.take(0, picture.get());
    draw_grid(picture.get());
    const CoreOwner core = make_core();
    add(core.get(), *picture.get(), 0);
    return side_by_side({halved(shown(wrapped(*picture.get()))), halved(shown(core->frames[0]))});
}

// The levels of a picture's pyramid.
Picture pyramid(const PanoramaCore* core)
{
    const AlignItem& item = core->align[0];
    std::vector<Picture> levels;
    for (int32_t i = 0; i < item.pyramid_levels; ++i) {
        const PanoImg& level = item.pyramid[i];
        Picture picture(level.width, level.height);
        for (int32_t y = 0; y < level.height; ++y) {
            for (int32_t x = 0; x < level.width; ++x) {
                const uint8_t value = static_cast<uint8_t>(luma_at(level, x, y));
                tint(&picture, {x, y, 1, 1}, {value, value, value}, 100);
            }
        }
        levels.push_back(std::move(picture));
    }
    return side_by_side(levels);
}

// Where two pictures overlap, the second one's origin lying at (x, y) of the first.
Part overlap(const PanoImg& first, int32_t x, int32_t y)
{
    return {x, std::max(y, 0), first.width - x, first.height - std::abs(y)};
}

// The difference of two pictures where they overlap: white where they agree.
Picture difference(const PanoImg& first, const PanoImg& second, int32_t x, int32_t y)
{
    const Part part = overlap(first, x, y);
    Picture picture(part.width, part.height);
    for (int32_t row = 0; row < part.height; ++row) {
        for (int32_t column = 0; column < part.width; ++column) {
            const int32_t a = luma_at(first, part.x + column, part.y + row);
            const int32_t b = luma_at(second, column, part.y + row - y);
            const uint8_t value = static_cast<uint8_t>(255 - std::min(255, 3 * std::abs(a - b)));
            tint(&picture, {column, row, 1, 1}, {value, value, value}, 100);
        }
    }
    return picture;
}

// The overlap of the first pair where it was expected, and where it was found.
Picture alignment(const PanoramaCore* core)
{
    const AlignResult& found = core->offsets[1];
    return side_by_side({halved(difference(core->frames[0], core->frames[1], kStep, 0)),
                         halved(difference(core->frames[0], core->frames[1], found.x, found.y))});
}

// The correlation coefficient of the overlap of two grey pictures; `margin` columns are left out at
// each side.
double coefficient(const PanoImg& a, const PanoImg& b, int32_t x, int32_t y, int32_t margin)
{
    const Part part = overlap(a, x, y);
    const int32_t columns = part.width - 2 * margin;
    ozr::kernels::AreaPair areas = {ozr::pano_row(&b, part.y - y) + margin,
                                    b.stride,
                                    0,
                                    ozr::pano_row(&a, part.y) + x + margin,
                                    a.stride,
                                    0,
                                    columns,
                                    part.height};
    int32_t sum_a = 0, sum_b = 0;
    for (int32_t row = 0; row < part.height; ++row) {
        for (int32_t i = 0; i < columns; ++i) {
            sum_a += areas.a[row * areas.a_stride + i];
            sum_b += areas.b[row * areas.b_stride + i];
        }
    }
    const int32_t count = columns * part.height;
    areas.a_mean = (sum_a + count / 2) / count;
    areas.b_mean = (sum_b + count / 2) / count;
    const ozr::kernels::CorrelationSums sums = ozr::kernels::active()->align.correlate_areas(areas, 0);
    return sums.ab / (std::max(1.0, 1.0 * sums.aa) * std::max(1.0, 1.0 * sums.bb)) * sums.ab *
           (sums.ab < 0 ? -1 : 1);
}

// The scores of the coarse search: dark to bright, the best one framed.
Picture scores(const Photographer& photographer)
{
    // The core keeps the pyramid of its newest picture only, so each comes from a core of its own.
    const CoreOwner first = sweep(photographer, 1);
    const CoreOwner both = sweep(photographer, 2);
    const int32_t level = first->pyramid.levels, top = first->pyramid.built_levels - 1;
    const PanoImg& a = first->align[0].pyramid[top];
    const PanoImg& b = both->align[1].pyramid[top];
    const int32_t x0 = (first->search.x_min + kStep) >> level, x1 = (first->search.x_max + kStep) >> level;
    const int32_t y0 = first->search.y_min >> level, y1 = first->search.y_max >> level;
    constexpr int32_t kCell = 16;
    Picture map = blank((x1 - x0) * kCell, (y1 - y0) * kCell, kWhite);
    double best = -1;
    Part best_cell = {};
    for (int32_t x = x0; x < x1; ++x) {
        for (int32_t y = y0; y < y1; ++y) {
            const double score = coefficient(a, b, x, y, first->margin >> level);
            const uint8_t value = static_cast<uint8_t>(std::max(0.0, score) * 255);
            const Part cell = {(x - x0) * kCell, (y - y0) * kCell, kCell, kCell};
            tint(&map, cell, {value, value, static_cast<uint8_t>(64 + value / 2)}, 100);
            if (score > best) {
                best = score;
                best_cell = cell;
            }
        }
    }
    outline(&map, best_cell, kRed);
    printf("coarse search: %d x %d positions at 1/%d, best %.4f\n", x1 - x0, y1 - y0, 1 << level, best);
    return map;
}

// All pictures where they were found, each framed, and the band of rows that becomes the panorama.
Picture layout(const PanoramaCore* core)
{
    int32_t x = 0, y = 0, highest = 0, lowest = 0;
    for (int32_t i = 1; i < kPictures; ++i) {
        x += core->offsets[i].x;
        y += core->offsets[i].y;
        highest = std::min(highest, y);
        lowest = std::max(lowest, y);
    }
    Picture canvas = blank(x + kWidth, kHeight + lowest - highest, kWhite);
    x = y = 0;
    for (int32_t i = 0; i < kPictures; ++i) {
        x += core->offsets[i].x;
        y += core->offsets[i].y;
        paste(&canvas, shown(core->frames[i]), x, y - highest);
    }
    x = y = 0;
    for (int32_t i = 0; i < kPictures; ++i) {
        x += core->offsets[i].x;
        y += core->offsets[i].y;
        outline(&canvas, {x, y - highest, kWidth, kHeight}, kBlue);
        outline(&canvas, {x + 1, y - highest + 1, kWidth - 2, kHeight - 2}, kBlue);
    }
    const int32_t band = (kHeight + highest - lowest) & ~15;
    outline(&canvas, {0, lowest - highest, canvas.width & ~15, band}, kRed);
    outline(&canvas, {1, lowest - highest + 1, (canvas.width & ~15) - 2, band - 2}, kRed);
    return halved(canvas);
}

// The seam of the first pair, in columns of the overlap, as the composition finds it.
std::vector<int32_t> find_seam(const PanoramaCore* core, const Part& part)
{
    const AlignResult& at = core->offsets[1];
    std::vector<uint8_t> mask(static_cast<size_t>(part.width) * static_cast<size_t>(part.height));
    for (size_t i = 0; i < mask.size(); ++i) {
        const int32_t x = static_cast<int32_t>(i % static_cast<size_t>(part.width));
        mask[i] = x < core->margin || x >= part.width - core->margin ? 255 : 0;
    }
    std::vector<int32_t> seam(static_cast<size_t>(part.height));
    const SeamRegion a = {&core->frames[0], part.x, part.y, part.width, part.height};
    const SeamRegion b = {&core->frames[1], 0, part.y - at.y, part.width, part.height};
    require(panorama_seam_find(seam.data(), mask.data(), &a, &b), "finding a seam");
    return seam;
}

// The overlap's differences with the barred bands and the seam.
Picture seam_picture(const PanoramaCore* core)
{
    const AlignResult& at = core->offsets[1];
    const Part part = overlap(core->frames[0], at.x, at.y);
    const std::vector<int32_t> seam = find_seam(core, part);
    Picture picture = difference(core->frames[0], core->frames[1], at.x, at.y);
    tint(&picture, {0, 0, core->margin, part.height}, kBlue, 40);
    tint(&picture, {part.width - core->margin, 0, core->margin, part.height}, kBlue, 40);
    Picture first = cut(shown(core->frames[0]), part, 1);
    for (int32_t y = 0; y < part.height; ++y) {
        const int32_t column = seam[static_cast<size_t>(y)];
        tint(&picture, {column - 1, y, 3, 1}, kRed, 100);
        tint(&first, {column - 1, y, 3, 1}, kRed, 100);
    }
    return side_by_side({picture, first});
}

// A piece of the panorama around the seam: switched hard, and as the library blends it.
Picture blending(const Photographer& photographer)
{
    const CoreOwner core = sweep(photographer, 2);
    const AlignResult at = core->offsets[1];
    const Part part = overlap(core->frames[0], at.x, at.y);
    const std::vector<int32_t> seam = find_seam(core.get(), part);
    Picture hard = shown(core->frames[0]);
    const Picture second = shown(core->frames[1]);
    for (int32_t y = 0; y < part.height; ++y) {
        const int32_t column = seam[static_cast<size_t>(y)];
        paste(&hard, cut(second, {column, part.y - at.y + y, part.width - column, 1}, 1), part.x + column,
              part.y + y);
    }
    const ImgOwner composed(new PanoImg{});
    require(panorama_core_panorama(core.get(), 2, composed.get()), "composing");
    constexpr int32_t kSide = 120, kZoom = 3, kRow = 60, kMiddle = kRow + kSide / 2;
    const int32_t top = std::max(at.y, 0);  // of the panorama in the first picture
    const int32_t left = part.x + seam[kMiddle] - kSide / 2;
    const Picture blended = shown(*composed);
    return side_by_side({cut(hard, {left, kRow + top, kSide, kSide}, kZoom),
                         cut(blended, {left, kRow, kSide, kSide}, kZoom)});
}

void make_pictures(const std::string& folder)
{
    constexpr int kQuality = 85;
    const Photographer photographer;
    const CoreOwner core = sweep(photographer, kPictures);
    const CoreOwner single = sweep(photographer, 1);
    write_picture(folder + "/projection.jpg", projection(photographer), kQuality);
    write_picture(folder + "/pyramid.jpg", pyramid(single.get()), kQuality);
    write_picture(folder + "/scores.png", scores(photographer), kQuality);
    write_picture(folder + "/alignment.jpg", alignment(core.get()), kQuality);
    write_picture(folder + "/layout.jpg", layout(core.get()), kQuality);
    write_picture(folder + "/seam.jpg", seam_picture(core.get()), kQuality);
    write_picture(folder + "/blending.jpg", blending(photographer), kQuality);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: ozr_doc_pictures FOLDER\n");
        return 2;
    }
    try {
        make_pictures(argv[1]);
        make_refined_pictures(argv[1]);
    } catch (const std::exception& error) {
        fprintf(stderr, "ozr_doc_pictures: %s\n", error.what());
        return 1;
    }
    return 0;
}
