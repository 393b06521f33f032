// The loops over pixels, each on plain pointers, strides and sizes, gathered in one table of function pointers.
//
// The scalar function of a kernel is its meaning; another variant is right when it gives the same bytes for every
// input. Callers fetch the table once per image with ozr_kernels(). No kernel reads or writes outside the ranges
// stated here, and none needs alignment. Source and destination do not overlap unless the kernel says so.
//
// A kernel is stated as the type of its functions, by which all of its variants are declared.
#ifndef OZR_KERNELS_H
#define OZR_KERNELS_H

#include <stdint.h>

// --- Resampling. Positions are Q22.10: 1024 steps to a pixel; column x lies at x * step. ---

// A picture to be resampled, row y at y * step_y. Sizes in pixels of the result, strides in bytes.
struct OzrResample {
    const uint8_t* src;
    int64_t src_stride;
    uint32_t step_x;
    uint32_t step_y;
    uint32_t first_y;  // added to every row's position
    int32_t width;
    int32_t rows;
};

// The two source rows of one row, and how far it lies (Q10) from the top one to the bottom one.
struct OzrResampleRows {
    const uint8_t* top;
    const uint8_t* bottom;
    uint32_t fraction;
};

// In unsigned 32 bits. At a fraction of 0 the row below does not count and need not exist: the same one stands in.
OzrResampleRows ozr_resample_rows(const OzrResample& task, int32_t y);

// Bilinear resampling of all rows:
//   dst[x] = ((p00 (1024 - fx) + p10 fx) (1024 - fy) + p01 fy (1024 - fx) + p11 fx fy) >> 20
// with the column i = x * step_x >> 10 and fx = x * step_x & 1023 in unsigned 32 bits. The largest sum is 255 * 2^20; no
// rounding. Where fx is 0 the right-hand neighbour is not read.
using Resample = void(uint8_t* dst, int32_t dst_stride, const OzrResample& task);

// The same for one row of byte pairs, each byte of a pair with its own kind; writes exactly dst_bytes bytes, an
// odd number of them ending in the middle of a pair. Of each source row src_bytes (at least 1) may be read: beyond
// them the last byte stands in, or a byte for its neighbour.
using ResamplePairsRow = void(uint8_t* dst, int32_t dst_bytes, const uint8_t* top, const uint8_t* bottom,
                              int32_t src_bytes, uint32_t step, uint32_t fraction);

// dst[x] = src[x * step >> 10], in unsigned 32 bits.
using NearestGrayRow = void(uint8_t* dst, int32_t dst_width, const uint8_t* src, uint32_t step);

// dst[x] = src[x * step] for x < count; step 1 or more. `dst` may start where `src` starts: in order, no byte is
// overwritten before it was read.
using SampleBytesRow = void(uint8_t* dst, const uint8_t* src, int32_t count, int64_t step);

// dst[x] = src[2x] for x < dst_width: the luma of packed Y0 U Y1 V.
using YuyvLumaRow = void(uint8_t* dst, const uint8_t* src, int32_t dst_width);

// dst[x] = floor((top[2x] + top[2x+1] + bottom[2x] + bottom[2x+1]) / 4). Truncates, so rounding averages (pavgb) are
// not an option. Reads exactly 2 * dst_width bytes of each row.
using HalfGrayRow = void(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int32_t dst_width);

// --- Motion and alignment ---

// Sum of |a - b| over `rows` rows of `columns` bytes, modulo 2^32; strides in bytes, 0 for a row that stands for many.
using SadArea = uint32_t(const uint8_t* a, int64_t a_stride, const uint8_t* b, int64_t b_stride,
                         int32_t columns, int32_t rows);

// Sum of |a[x] - value| over `count` bytes; a count below 1 gives 0.
using SadConstRow = uint32_t(const uint8_t* a, uint8_t value, int32_t count);

// One row of an integral image: out[x] = above[x] + pixels[0] + ... + pixels[x], modulo 2^32. A null `above` counts
// as zeros.
using IntegralRow = void(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width);

// What two overlapping areas have in common: the sums of a^2, b^2 and a*b, a and b being the pixels less their means.
struct OzrCorrelation {
    int32_t aa;
    int32_t bb;
    int32_t ab;
};

// Two areas of one size.
struct OzrAreaPair {
    const uint8_t* a;
    int32_t a_stride;
    int32_t a_mean;
    const uint8_t* b;
    int32_t b_stride;
    int32_t b_mean;
    int32_t columns;
    int32_t rows;
};

// Each row counts in two halves, columns [0, columns / 2) and the rest; each half's three sums are shifted right
// arithmetically by `shift` and then added up, modulo 2^32. Shifted per half row, not per row: the split decides which
// bits are lost and so belongs to the result. A half row's sum fits 32 bits up to 33 025 columns (255^2 each).
using CorrelateAreas = OzrCorrelation(const OzrAreaPair& areas, int32_t shift);

// --- Projection: blocks of 8 pixels, each pixel from a patch of 4 x 4 source bytes ---

// The tables of one row of blocks. A source row or column `d` sixteenths of a pixel behind the first of a patch has the
// tent weights max(0, 16 - |d - 16 i|) for i < 4, or none when d exceeds 48; a pixel's weights are the products of those of
// its row and its column, 256 in sum.
struct OzrProjectionRow {
    const int32_t* offsets;   // a block: source byte at the top left of its first pixel's patch
    const uint16_t* weights;  // a block: 128 products; source row i, column j of pixel k at (4 i + j) 8 + k
    const uint8_t*
        columns;  // a block: 32 column weights; those of pixel k at 2 k, 2 k + 1, 2 k + 16 and 2 k + 17
    const uint8_t* rows;  // a pixel: d of its source row, 255 where it exceeds 48
};

// One row of `blocks` blocks. Pixel k of block b is
//   (sum over i, j < 4 of src[offsets[b] + i * stride + k + j] * weights[128 b + (4 i + j) 8 + k] + 128) >> 8.
// The sum stays within 16 bits (255 * 256 + 128). Source bytes whose weight is 0 may lie outside the picture and are not
// read, unless they lie among the `src_bytes` readable ones from src on. Variants may work from the factors, which are a
// sixteenth of the weights in size: reading these is what bounds them otherwise.
using ProjectLumaRow = void(uint8_t* dst, const uint8_t* src, int64_t src_bytes, int32_t stride,
                            const OzrProjectionRow& row, int32_t blocks);

// Where the tables of one row go.
struct OzrProjectionRowOut {
    int32_t* offsets;
    uint16_t* weights;
    uint8_t* rows;
};

// What the rows of blocks have in common.
struct OzrProjectionColumns {
    const int32_t* bases;    // a block: its first source column
    const uint8_t* weights;  // as OzrProjectionRow has them
    int32_t stride;          // of the source
};

// Makes them from the source rows of its pixels, in sixteenths, none negative and the smallest of a block less than 2^27:
// the patches of a block begin in the row of the smallest.
using ProjectionTablesRow = void(const OzrProjectionRowOut& out, const int32_t* positions,
                                 const OzrProjectionColumns& columns, int32_t blocks);

// dst pair p = src pair map[p], both bytes together.
using ProjectChromaRow = void(uint8_t* dst, const uint8_t* src, const int32_t* map, int32_t pairs);

// --- Seam and composition ---

// One row of a least-cost path: two pictures, and a mask whose bytes of 255 make a pixel as expensive as the largest
// difference.
struct OzrSeamRow {
    const uint8_t* a;
    const uint8_t* b;
    const uint8_t* mask;
    int32_t width;  // 2 or more
};

// sums[x] = |a[x] - b[x]| | mask[x], plus the smallest of above[x - 1], above[x], above[x + 1], as far as they exist;
// steps[x] tells which it is: -1, 0 or 1. 0 wins every tie, -1 one with 1. Sums count modulo 2^16. How far the left and the
// right one lie from the middle one orders them, so neighbours of `above` differ by less than 2^15.
using SeamSumRow = void(uint16_t* sums, int8_t* steps, const uint16_t* above, const OzrSeamRow& row);

// The same modulo 2^32, for neighbours that differ by less than 2^31.
using SeamSumWideRow = void(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row);

// A linear transition in 128ths: with a = first_weight + x * weight_step (at most 128),
//   dst[x] = min(255, (a * later[x] + (128 - a) * dst[x] + 128) >> 7).
// Kept: 128, not 64, is added, so a transition lifts the picture by up to one level.
using BlendRow = void(uint8_t* dst, const uint8_t* later, int32_t count, int32_t first_weight,
                      int32_t weight_step);

// The same for byte pairs; both bytes of pair p share the weight first_weight + p * weight_step.
using BlendPairsRow = void(uint8_t* dst, const uint8_t* later, int32_t pairs, int32_t first_weight,
                           int32_t weight_step);

// --- Rotation and colour ---

// Quarter turns of `width` x `height` elements; strides in bytes. Clockwise, element (column x, row y) goes to column
// height - 1 - y of row x; counter-clockwise, to column y of row width - 1 - x.
using Rotate = void(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t src_stride, int32_t width,
                    int32_t height);

// 2 * pairs pixels of R, G, B, 255 from luma bytes and chroma pairs whose first byte is V:
//   R = (298 (Y - 16) + 409 (V - 128) + 128) >> 8
//   G = (298 (Y - 16) - 100 (U - 128) - 208 (V - 128) + 128) >> 8
//   B = (298 (Y - 16) + 516 (U - 128) + 128) >> 8, each clamped to a byte (BT.601, limited range).
using YvuToRgbaRow = void(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);

// The same with pairs whose first byte is U.
using YuvToRgbaRow = void(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs);

// The same with the U and the V bytes in rows of their own.
using PlanarToRgbaRow = void(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                             int32_t pairs);

// The same from packed Y0 U Y1 V.
using YuyvToRgbaRow = void(uint8_t* dst, const uint8_t* src, int32_t pairs);

// dst pixel x = src[x], src[x], src[x], 255.
using GrayToRgbaRow = void(uint8_t* dst, const uint8_t* src, int32_t count);

// dst[x] = (77 R + 151 G + 28 B) >> 8 of pixel x: full range, no rounding.
using RgbaToGrayRow = void(uint8_t* dst, const uint8_t* src, int32_t count);

// dst[x] = ((66 R + 128 G + 25 B + 128) >> 8) + 16 of pixel x * step: limited range, so at most 234. `dst` may start
// where `src` starts: pixels are done in order.
using RgbaToLumaRow = void(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step);

// Chroma pair p is that of pixel 2p alone, not an average: U = (-38 R - 74 G + 112 B + 32896) >> 8 and
// V = (112 R - 94 G - 18 B + 32896) >> 8, both within 16 to 240. Stored as pairs, U or V first.
using RgbaToChromaPairsRow = void(uint8_t* dst, const uint8_t* src, int32_t pairs);

// The same with the U and the V bytes in rows of their own.
using RgbaToChromaRows = void(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs);

// The same packed as Y0 U Y1 V; both pixels of a pair keep their luma.
using RgbaToYuyvRow = void(uint8_t* dst, const uint8_t* src, int32_t pairs);

// --- Mirrors, warps and texture codes ---

// In place: byte i changes places with byte count - 1 - i for i < count / 2.
using MirrorBytesRow = void(uint8_t* row, int32_t count);

// In place: pair k, bytes 2k and 2k + 1, changes places with bytes bytes - 2 - 2k and bytes - 1 - 2k for
// k < bytes / 4; with an odd number of bytes too, where pairs on the right start at odd bytes.
using MirrorPairsRow = void(uint8_t* row, int32_t bytes);

// In place: four-byte pixel i changes places with pixel count - 1 - i for i < count / 2.
using MirrorQuadsRow = void(uint8_t* row, int32_t count);

// The square of a scale and the product of two fractions lose four bits before they meet.
constexpr uint32_t kOzrWarpShift = 4;

// A similarity warp. Source positions are multiples of 1 / scale pixel; scale and square are neither 0, and scale is
// not -1.
struct OzrWarp {
    const uint8_t* src;
    int64_t last;   // offset of the last sample; offsets beyond it, or below 0, are limited to the source
    int32_t pitch;  // bytes from one row to the next
    int32_t pixel_bytes;  // bytes from one sample to its right-hand neighbour
    int32_t columns;      // positions outside [0, columns) x [0, rows) give 0
    int32_t rows;
    int32_t scale;
    int32_t square;  // scale * scale >> 4, wrapped
    int32_t step_x;  // per destination column
    int32_t step_y;
};

// `count` warped pixels from the position (x, y) on, all modulo 2^32: with the column and fraction x / scale and
// x % scale (truncating: a position just left of 0 counts as column 0 with a negative fraction), likewise rows, and a
// step back, with unchanged fractions, from the last column and the last row,
//   dst = p00 + ((p10 - p00) fy + (p01 - p00) fx) / scale + ((fx fy >> 4) (p11 + p00 - p01 - p10)) / square
// where p01 is right of p00 and p10 below it; every division truncates and the low byte is kept. `dst` may overlap the
// source: pixels are done in order.
using WarpRow = void(uint8_t* dst, int32_t count, const OzrWarp& warp, int32_t x, int32_t y);

// A straight walk over a grey picture, positions and steps in Q26.
constexpr int32_t kOzrLineFracBits = 26;
struct OzrLine {
    const uint8_t* src;
    int64_t stride;
    int32_t width;
    int32_t height;
    int64_t step_x;
    int64_t step_y;
};

// dst[i] = the pixel in column (x + i * step_x) >> 26 of row (y + i * step_y) >> 26, 0 outside the picture.
using LineGrayRow = void(uint8_t* dst, int32_t count, const OzrLine& line, int64_t x, int64_t y);

// Texture codes of `count` windows of 3 x 3 pixels in rows `width` bytes apart. Window k starts at src[k]; bit
// 3 r + c of dst[k + width + 1] tells whether 9 times its pixel in row r, column c exceeds the sum of the nine.
// Windows are done in order, one at a time as far as anybody can see: `dst` may overlap `src`, and a variant that
// does several at once leaves that case to the scalar one.
using CensusRun = void(uint16_t* dst, const uint8_t* src, uint32_t width, uint32_t count);

struct OzrKernels {
    const char* level;
    uint32_t features;  // the kOzrCpu bits of ozr_cpu.h it needs
    Resample* resample_gray;
    Resample* resample_yuyv;  // reads the luma of packed rows, gives grey
    Resample* resample_rgb;   // three bytes a pixel; the right-hand neighbour of a byte stands three bytes on
    ResamplePairsRow* resample_pairs_row;
    YuyvLumaRow* yuyv_luma_row;
    HalfGrayRow* half_gray_row;
    SadArea* sad_area;
    SadConstRow* sad_const_row;
    IntegralRow* integral_row;
    CorrelateAreas* correlate_areas;
    ProjectLumaRow* project_luma_row;
    ProjectChromaRow* project_chroma_row;
    ProjectionTablesRow* projection_tables_row;
    SeamSumRow* seam_sum_row;
    SeamSumWideRow* seam_sum_wide_row;  // seldom needed: has no variants
    BlendRow* blend_row;
    BlendPairsRow* blend_pairs_row;
    Rotate* rotate_bytes_cw;
    Rotate* rotate_bytes_ccw;
    Rotate* rotate_pairs_cw;
    Rotate* rotate_pairs_ccw;
    YvuToRgbaRow* yvu_to_rgba_row;
    YuvToRgbaRow* yuv_to_rgba_row;
    PlanarToRgbaRow* planar_to_rgba_row;
    YuyvToRgbaRow* yuyv_to_rgba_row;
    GrayToRgbaRow* gray_to_rgba_row;
    RgbaToGrayRow* rgba_to_gray_row;
    RgbaToLumaRow* rgba_to_luma_row;
    RgbaToChromaPairsRow* rgba_to_uv_row;
    RgbaToChromaPairsRow* rgba_to_vu_row;
    RgbaToChromaRows* rgba_to_u_v_rows;
    RgbaToYuyvRow* rgba_to_yuyv_row;
    NearestGrayRow* nearest_gray_row;
    SampleBytesRow* sample_bytes_row;
    MirrorBytesRow* mirror_bytes_row;
    MirrorPairsRow* mirror_pairs_row;
    MirrorQuadsRow* mirror_quads_row;
    WarpRow* warp_row;
    LineGrayRow* line_gray_row;
    CensusRun* census_run;
};

extern const OzrKernels kOzrKernelsScalar;
#if defined(__i386__) || defined(__x86_64__)
extern const OzrKernels kOzrKernelsSse2;
extern const OzrKernels kOzrKernelsSsse3;
extern const OzrKernels kOzrKernelsAvx2;
#endif

// All levels of this build, whether this machine can run them or not; the lowest first, a null pointer at the end.
extern const OzrKernels* const kOzrKernelLevels[];

// The highest level that needs no more than these features.
const OzrKernels* ozr_kernels_for(uint32_t features);

// The table to use on this machine; the same one for the life of the process.
const OzrKernels* ozr_kernels();

// Makes ozr_kernels() return another table; null brings back the machine's own. While no other thread uses kernels.
void ozr_kernels_set_for_test(const OzrKernels* kernels);

#endif
