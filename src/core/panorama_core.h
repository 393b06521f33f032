// The panorama core: aligns and composes the pictures of one sweep. Pictures reach it with the
// sweep running along their x axis.
//
// panorama_core.cpp holds the context's life and geometry, projection.cpp the way of source
// positions onto the cylinder, project.cpp that of pictures, tables.cpp the tables for callers that
// want them, align.cpp the intake and alignment of pictures, compose.cpp the composition, seams.cpp
// and canvas.cpp its last steps. Nothing but the composition logs.
//
// What cannot be detected: a context that panorama_core_create did not make, a picture whose memory
// is smaller than its geometry says or does not belong to the heap, and two threads in one context
// but for the cancellation.
#ifndef PANORAMA_CORE_H
#define PANORAMA_CORE_H

#include <stdint.h>

#include "base/limits.h"
#include "base/shared_word.h"
#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "kernels/projection_block.h"
#include "ozr_types.h"

// Parameter numbers of the core.
enum PanoCoreParam : int32_t {
    kCoreParamOverlap = 0,  // percent
};

// What the alignment of one picture needs.
struct AlignItem {
    int32_t pyramid_levels;  // entries of the two arrays
    PanoImg* pyramid;        // grey; level 0 first, each level half the size of the last; owned
    uint32_t** integrals;    // one integral image per level, width x height sums; owned
    ozr_point expected;      // of this picture in the one on its left, where the search begins
};

// Position of the later picture of a pair relative to the earlier one, full-size pixels, and the
// correlation there: sign(r) * r^2 in Q3.28, or kNoSearchScore when no search could be made.
struct AlignResult {
    int32_t x;
    int32_t y;
    int32_t score;
};

// Projection tables of a picture size. W8 is the width rounded down to a multiple of 8.
struct ProjectionInfo {
    void* unused[2];         // never filled here, released when set
    int32_t* block_offsets;  // W8 / 8 x height: source byte at the top left of each block
    uint16_t* weights;       // 128 a block: 16 groups (4 x 4 source pixels) of 8 output pixels
    int32_t* chroma_map;     // W8 / 2 x height / 2: source chroma pair of each output chroma pair
};

namespace ozr::core
{
class Projection;
}

// The positions to search, relative to the expected one: full-size pixels, ends exclusive.
struct SearchRange {
    int32_t x_min;
    int32_t x_max;
    int32_t y_min;
    int32_t y_max;
};

// The pictures to be added.
struct PictureGeometry {
    int32_t width;
    int32_t half_width;
    int32_t height;
    int32_t half_height;
    int32_t stride;
};

struct PyramidShape {
    int32_t levels;        // halvings from full size to the top of the pyramid
    int32_t half;          // 1 when level 0 is the half-size picture
    int32_t built_levels;  // of each picture
    int32_t work_width;    // size of level 0
    int32_t work_height;
    int32_t ncc_shift;  // right shift of partial correlation sums at level 0
};

struct PanoramaCore {
    int32_t mean_score;  // of the pictures composed
    uint8_t initialised;
    int32_t overlap;  // percent
    SearchRange search;
    uint8_t forward;                    // 1: pictures go to the right; 0xFF before init
    PanoImg frames[kMaxPictures];       // projected pictures, semi-planar
    AlignItem align[kMaxPictures];      // of the newest picture only, once its pair is aligned
    AlignResult offsets[kMaxPictures];  // of pair (i - 1, i) at i when forward, else at i - 1
    uint8_t added[kMaxPictures];        // projected, pyramid built
    uint8_t aligned[kMaxPictures];
    ProjectionInfo proj;
    PictureGeometry input;
    int32_t g_nCount;  // pictures in the composition
    int32_t overlaps;  // g_nCount - 1
    PyramidShape pyramid;
    int32_t margin;                   // full-size columns left out at each side of an overlap
    ozr::SharedWord<int32_t> cancel;  // set from another thread, polled
    // From here on not part of the interface.
    ozr::core::Projection* projection;  // null before init; owned
    uint8_t has_tables;                 // made by init: an error where a caller took them away
};

OZR_BEGIN_DECLS

// Allocates a context, not initialised. -3: out is null; -8: memory is out.
OZR_API int32_t panorama_core_create(PanoramaCore** out);

// Releases a context with everything in it; null is no fault. Returns 0.
OZR_API int32_t panorama_core_destroy(PanoramaCore* core);

// Parameter 0 is the overlap in percent; a value above 100 becomes 70.
// -3: null; -2 (get: -4): another id.
OZR_API int32_t panorama_core_set_param(PanoramaCore* core, int32_t id, uint32_t value);
OZR_API int32_t panorama_core_get_param(PanoramaCore* core, int32_t id);

// Asks a running panorama_core_add_input or panorama_core_panorama to stop. Null is no fault.
OZR_API void panorama_core_request_cancel_async(PanoramaCore* core);

// Prepares for a sweep of pictures of this size and stride: releases the pictures of an earlier
// one, derives the search geometry and builds the projection tables. `forward` says whether each
// picture lies to the right of the one before.
// -4: a size or stride that is not positive or cannot be projected (the geometry is stored all the
// same); -7: a table could not be allocated.
OZR_API int32_t panorama_core_init(PanoramaCore* pi, int32_t forward, int32_t width, int32_t height,
                                   int32_t stride);

// Takes picture `index`: projects it, builds its pyramid, and aligns it with the picture before it.
// (x, y) is its expected position relative to that one. Releases `img` on every path except -4 for
// the index, -2 and -201.
// -4: index beyond the slots, or a picture of another geometry than init was told; -2: slot filled;
// -5: cancelled; -201: not initialised; -3: no picture, or no tables; -202: no picture before it;
// -8: memory is out.
OZR_API int32_t panorama_core_add_input(PanoramaCore* pi, PanoImg* img, int32_t index, int32_t x, int32_t y);

// Composes the first `count` pictures into `out`, which then owns its pixels.
// -2: a negative count, no usable picture, or no common band of rows; -4: count above the slots, no
// record, neighbours that overlap outside their pictures, or no column left of the width; -203: a
// picture is not aligned; -5: cancelled (the request is cleared); -8, -7: memory is out.
OZR_API int32_t panorama_core_panorama(PanoramaCore* pi, int32_t count, PanoImg* out);

OZR_END_DECLS

namespace ozr::core
{

constexpr int32_t kScoreOne = 1 << 28;  // r = 1
constexpr int32_t kNoSearchScore = -1;

// As panorama_core_init, but without tables: rows of the projection are worked out when they are
// needed, and the projected pictures are the same. Sizes whose tables would not fit 32-bit sizes
// are refused all the same, so both take the same pictures.
PanoResult prepare(PanoramaCore* pi, int32_t forward, int32_t width, int32_t height, int32_t stride);

// As panorama_core_add_input, but the picture is only read and stays its owner's.
PanoResult add_lent(PanoramaCore* pi, const PanoImg* img, int32_t index, int32_t x, int32_t y);

// As panorama_core_panorama.
PanoResult compose(PanoramaCore* pi, int32_t count, PanoImgOwner* out);

// Frees what a record owns and clears it; null is no fault.
void _panoFreeAlignmentItem(AlignItem* item);
void free_projection(ProjectionInfo* info);

// Whether the stored geometry is one that can be projected without a division by zero
// or an overflow.
bool is_usable(const PanoramaCore* pi);

// Whether the tables of the stored geometry have sizes of 32 bits.
bool tables_fit(const PanoramaCore* pi);

// Fills the tables for pictures of the stored geometry, whose projection is prepared.
// -7: memory is out.
PanoResult make_tables(PanoramaCore* pi);

// Projects a picture of that size into `dst`, W8 x height.
void project(const PanoramaCore* pi, PanoImg* dst, const PanoImg* src);

// Width of the projected pictures: whole blocks of 8 pixels.
inline int32_t projected_width(const PanoramaCore* pi)
{
    return pi->input.width - pi->input.width % kernels::kBlock;
}

}  // namespace ozr::core

#endif
