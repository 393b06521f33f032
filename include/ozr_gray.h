/**
 * @file
 * Operations on grey pictures in plain memory: resizing, sampling, turning, warping, texture codes.
 */
#ifndef OZR_GRAY_H
#define OZR_GRAY_H

#include "ozr_geometry.h"

OZR_BEGIN_DECLS

/**
 * ozr_image_warp_by_2points of an 8-bit plane into rows of the caller's.
 *
 * While the square of the squared distance of the destination points exceeds 6000000 (distances of
 * 50 pixels and more), all four points are moved half way towards the centre of their pair: turn
 * and scale stay, up to the rounding of the points, and the products fit 32 bits. The comparison is
 * itself one of 32 bits that wraps around: some distances from 216 pixels on (216 to 255 among
 * them) are not halved.
 * @param src, src_width, src_height  plane without padding: rows are src_width bytes apart.
 * @param sx1, sy1, sx2, sy2          two points in it, pixels.
 * @param dst_rows                    dst_height pointers to rows of dst_width bytes.
 * @param dst_width, dst_height       pixels; below 1 nothing is written.
 * @param dx1, dy1, dx2, dy2          where the points land.
 * @return ozr_success, or ozr_err_invalid_argument when the destination points coincide or are too
 *         close (or their distance wraps) for the interpolation, or a pointer is null.
 */
OZR_API ozr_err ozr_warp_image_by_2points_uc_scale(const uint8_t* src, int32_t src_width, int32_t src_height,
                                                   int32_t sx1, int32_t sy1, int32_t sx2, int32_t sy2,
                                                   uint8_t* const* dst_rows, int32_t dst_width,
                                                   int32_t dst_height, int32_t dx1, int32_t dy1, int32_t dx2,
                                                   int32_t dy2);

/**
 * @name Grey pictures in the caller's memory
 * One byte a pixel, sizes in pixels, strides in bytes (negative ones go upwards). Source and
 * destination do not overlap. Nothing is allocated or logged.
 *
 * No function can check the memory behind a pointer: of each picture (height - 1) strides and
 * the bytes of one row must be there, unless a function asks for more. Strides may be shorter
 * than a row; the rows then overlap. Null pointers, sizes below 1 and steps that cannot be
 * represented are refused.
 *
 * Source positions are Q22.10 numbers, (source size << 10) / destination size apart and starting at
 * 0, so that errors of the division add up towards the right and the bottom.
 */
/**@{*/

/**
 * Resizes by nearest neighbour: each pixel takes the source pixel its position truncates to.
 *
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  0 means the width.
 * @return ozr_success (also for a negative dst_height: nothing is written), or
 *         ozr_err_invalid_argument when a destination size is 0, a pointer is null, or another size
 *         is below 1 or so large that positions turn negative.
 */
OZR_API ozr_err resize_grayimage_nn(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                    const uint8_t* src, int32_t src_width, int32_t src_height,
                                    int32_t src_stride);

/**
 * Resizes bilinearly, truncating.
 *
 * The last destination column and row do not read their right-hand and lower neighbours; all others
 * do, **even where these are beyond the source**: when enlarging, the row below the source and the
 * byte behind each row must be readable and have an effect on the result. Reducing stays inside.
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  taken as they are: 0 is **not** replaced by the width.
 * @return ozr_success (also for a negative dst_height: nothing is written), or
 *         ozr_err_invalid_argument when a destination size is 0, a pointer is null, or another size
 *         is below 1 or so large that positions turn negative.
 */
OZR_API ozr_err resize_grayimage_bi(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                    const uint8_t* src, int32_t src_width, int32_t src_height,
                                    int32_t src_stride);

/**
 * Keeps every step_x-th byte of a row. How rows are skipped depends on step_x:
 *
 * - step_x 1: **all** `height` rows are copied, `width` bytes each; the source advances by a stride
 *   and **step_y - 1 bytes**, so that each row starts that many bytes further to the right. The
 *   last one ends (height - 1) * (step_y - 1) bytes beyond the picture; these must be readable.
 * - step_x 2: height / step_y rows; the source advances by a stride and 2 * (step_y - 1) bytes, one
 *   byte less when `width` is odd.
 * - other steps: height / step_y rows; the source advances by step_y rows less the width % step_x
 *   bytes left over, a drift to the left that adds up.
 *
 * @param dst         destination, of width / step_x bytes a row.
 * @param dst_stride  0 means width / step_x.
 * @param width       bytes of a source row that take part; below 1 nothing is copied.
 * @param height      rows of the source.
 * @param src         source.
 * @param src_stride  0 means the width.
 * @param step_x, step_y  1 or more.
 * @return ozr_success, or ozr_err_invalid_argument when a step is below 1 or a pointer is null.
 */
OZR_API ozr_err sample_image_by_n(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t width,
                                  int32_t height, int32_t src_stride, int32_t step_x, int32_t step_y);

/**
 * Codes the texture around each pixel, whatever its brightness: bit 3 r + c of a code is 1 when the
 * pixel in row r, column c of the 3 x 3 window is brighter than the window's mean.
 *
 * The picture is walked as one long row: windows that cross the end of a row wrap around and are
 * coded too. Written are the codes from dst[width + 1] up to dst[(height - 1) * width - 2]; the
 * first and the last row, dst[width] and the code behind the last written one keep what they hold.
 * @param src            width * height bytes, without padding.
 * @param width, height  pixels. With (height - 2) * width of 2 or less, in 32 bits,
 *                       nothing is written.
 * @param dst            width * height codes; may overlap the source, whose bytes are read in order
 *                       as the codes are written.
 * @return nothing of meaning. Null pointers are ignored.
 */
OZR_API uint32_t image2mct(const uint8_t* src, uint32_t width, uint32_t height, uint16_t* dst);

/**
 * Turns a picture clockwise by eighths of a full turn about its centre, which goes to the centre
 * of the destination.
 *
 * Nearest neighbour, without scaling; what the picture does not cover becomes 0. Quarter turns
 * (even directions) are exact when the destination has the turned picture's size, or differs from
 * it by an even number of pixels.
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  0 means the width.
 * @param direction               0 to 7, in steps of 45 degrees.
 * @return ozr_success, or ozr_err_invalid_argument when a pointer is null, a size is below 1 or the
 *         direction is none of the eight.
 */
OZR_API ozr_err rotate_grayimage_eighth(uint8_t* dst, int32_t dst_width, int32_t dst_height,
                                        int32_t dst_stride, const uint8_t* src, int32_t src_width,
                                        int32_t src_height, int32_t src_stride, int32_t direction);

/**
 * resize_grayimage_nn of a part of a picture.
 *
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  0 means the width of the picture.
 * @param crop                    the part, in pixels of the source; not empty and wholly inside.
 * @return ozr_success, or ozr_err_invalid_argument when a pointer is null, a size is below 1 or the
 *         crop is not inside.
 */
OZR_API ozr_err crop_resize_grayimage_nn(uint8_t* dst, int32_t dst_width, int32_t dst_height,
                                         int32_t dst_stride, const uint8_t* src, int32_t src_width,
                                         int32_t src_height, int32_t src_stride, const ozr_rect* crop);

/**
 * resize_grayimage_bi of a part of a picture; when enlarging, pixels beside the part are
 * interpolated with, and where the part ends with the picture, the row and the byte beyond must be
 * readable as there.
 *
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  taken as they are.
 * @param crop                    as in crop_resize_grayimage_nn.
 * @return as crop_resize_grayimage_nn.
 */
OZR_API ozr_err crop_resize_grayimage_bi(uint8_t* dst, int32_t dst_width, int32_t dst_height,
                                         int32_t dst_stride, const uint8_t* src, int32_t src_width,
                                         int32_t src_height, int32_t src_stride, const ozr_rect* crop);

/**
 * Resizes a part of a picture by nearest neighbour and shows it turned clockwise about its centre.
 *
 * At 0 degrees the result is that of crop_resize_grayimage_nn. At others the corners show what
 * surrounds the part, and 0 where the picture ends.
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  0 means the width of the picture.
 * @param crop                    as in crop_resize_grayimage_nn.
 * @param deg                     degrees, any number.
 * @return as crop_resize_grayimage_nn.
 */
OZR_API ozr_err rotate_crop_resize_grayimage_nn(uint8_t* dst, int32_t dst_width, int32_t dst_height,
                                                int32_t dst_stride, const uint8_t* src, int32_t src_width,
                                                int32_t src_height, int32_t src_stride, const ozr_rect* crop,
                                                int32_t deg);

/**
 * ozr_image_warp_by_2points of a grey picture, with the same results and the same surprises.
 *
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride      0 means the width.
 * @param sx1, sy1, sx2, sy2          two points in the source, pixels.
 * @param dx1, dy1, dx2, dy2          where they land in the destination.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null, a size is below 1, dst_stride is
 *                                   shorter than a row, or the destination points are too
 *                                   close or too far apart
 *         ozr_err_invalid_status    the destination points coincide
 */
OZR_API ozr_err warp_image_by_2points(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                      const uint8_t* src, int32_t src_width, int32_t src_height,
                                      int32_t src_stride, int32_t sx1, int32_t sy1, int32_t sx2, int32_t sy2,
                                      int32_t dx1, int32_t dy1, int32_t dx2, int32_t dy2);

/**
 * crop_resize_grayimage_bi of a picture of three bytes a pixel, each byte for itself.
 *
 * @param dst, src                                      destination and source.
 * @param dst_width, dst_height, src_width, src_height  pixels.
 * @param dst_stride, src_stride                        bytes, taken as they are.
 * @param crop                                          as in crop_resize_grayimage_nn.
 * @return as crop_resize_grayimage_nn.
 */
OZR_API ozr_err crop_resize_RGB(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                const uint8_t* src, int32_t src_width, int32_t src_height, int32_t src_stride,
                                const ozr_rect* crop);
/**@}*/

OZR_END_DECLS

#endif
