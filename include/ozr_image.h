/**
 * @file
 * The public image record: pixel formats, creation, copying, release, and what is done
 * with whole images.
 *
 * A record is empty (all fields zero) or filled. ozr_image_create fills an empty one with memory of
 * its own; ozr_image_destroy empties it again. A caller may also fill a record itself around memory
 * that it owns: such a record may be read and copied into, but must never be passed to
 * ozr_image_destroy or ozr_image_recreate.
 *
 * No function can detect a violation of these rules, so the caller has to keep them:
 * - that the memory behind `data` is as large as width, height, stride and format say:
 *   stride * height bytes, and half as many again for the 12-bit formats; where the stride is
 *   shorter than a row, also `size` bytes;
 * - that two images do not overlap in memory, where a function asks for it;
 * - that a record to be destroyed or recreated owns its memory, and that no other thread uses
 *   an image meanwhile.
 *
 * Faults that a record itself shows are refused: no pixels, strides shorter than a row (unless
 * `size` covers the last row too), planes that reach further than 32 bits count, unknown formats.
 * Sizes below 1 are no fault: such an image has no rows to work on.
 *
 * @code
 * ozr_image picture = {0};
 * if (ozr_image_create(&picture, 640, 480, 0, ozr_image_format_nv12, 0) == ozr_success) {
 *     fill_luma(picture.data, picture.stride);
 *     fill_chroma(picture.data + picture.height * picture.stride, picture.stride);
 *     ozr_image copy = {0};
 *     ozr_image_clone(&picture, &copy);
 *     ozr_image_destroy(&copy);
 *     ozr_image_destroy(&picture);
 * }
 * @endcode
 */
#ifndef OZR_IMAGE_H
#define OZR_IMAGE_H

#include "ozr_types.h"

OZR_BEGIN_DECLS

/** Pixel formats. S is the stride, W the width, H the height of the record. */
typedef enum ozr_image_format OZR_INT32_ENUM {
    /** 12 bits a pixel: H rows of luma, then H / 2 rows of W / 2 chroma pairs U V, all rows S bytes
        apart. */
    ozr_image_format_nv12 = 0,
    /** 12 bits: H rows of luma, then a U and a V plane of H / 2 rows of W / 2 bytes, S / 2 bytes
        apart; U starts at S * H, V at S * H + S * H / 4. */
    ozr_image_format_yv12 = 1,
    /** 8 bits: one byte a pixel. */
    ozr_image_format_gray = 2,
    /** 32 bits: the bytes R, G, B, A. */
    ozr_image_format_rgba32 = 3,
    /** 16 bits: the bytes Y0, U, Y1, V for two pixels. */
    ozr_image_format_yuy2 = 4,
    /** 12 bits: as nv12 with pairs V U. */
    ozr_image_format_nv21 = 5
} ozr_image_format;

/** An image. The order of the fields is part of the interface. */
typedef struct ozr_image {
    uint8_t* data;           /**< first byte of the first plane; null in an empty record */
    int32_t size;            /**< bytes of all planes together */
    int32_t width;           /**< pixels in a row */
    int32_t height;          /**< rows */
    ozr_image_format format; /**< the layout of the bytes */
    int32_t stride;          /**< bytes from one row of the first plane to the next */
    int32_t rotation;        /**< tag that travels with the picture; copied, never interpreted */
} ozr_image;

/**
 * Fills an empty record and allocates its pixels, uninitialised and aligned to 4096 bytes.
 *
 * @param image     in/out: an empty record.
 * @param width     pixels.
 * @param height    rows.
 * @param stride    bytes: below 1 picks the row bytes rounded up to a multiple of 16; from 1 to
 *                  `width` picks the row bytes as they are; above `width` is taken unchanged.
 *                  Only the width is compared, so a stride shorter than a row is accepted for
 *                  rgba32 and yuy2.
 * @param format    pixel format. Not checked: a value outside the enumeration makes stride
 *                  and size -1.
 * @param rotation  tag to store.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  image is null or already has pixels, or the size
 *                                   exceeds 32 bits
 *         ozr_err_nomem             the pixels could not be allocated; `data` stays null, the
 *                                   geometry is filled in
 * @note Ownership: the pixels are the record's; release them with ozr_image_destroy.
 */
OZR_API ozr_err ozr_image_create(ozr_image* image, int32_t width, int32_t height, int32_t stride,
                                 ozr_image_format format, int32_t rotation);

/**
 * Releases the pixels of a record made by ozr_image_create and empties it; the record itself
 * stays the caller's.
 *
 * @param image  record, filled or empty; null is ignored.
 */
OZR_API void ozr_image_destroy(ozr_image* image);

/**
 * Makes a record fit a geometry, keeping memory, pixels and rotation when it fits already.
 *
 * Otherwise the pixels are released and allocated anew, and the rotation becomes 0.
 * @param image   in/out: filled by ozr_image_create, or empty.
 * @param width, height, stride, format  as in ozr_image_create; a stride below 1 fits any stride.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  image is null, or the size exceeds 32 bits
 *         ozr_err_nomem             the pixels could not be allocated; the old ones are gone
 */
OZR_API ozr_err ozr_image_recreate(ozr_image* image, int32_t width, int32_t height, int32_t stride,
                                   ozr_image_format format);

/**
 * Copies pixels and rotation between two filled records of equal width, height and format.
 *
 * Strides may differ; bytes behind a row's pixels are left alone. With an odd size the last chroma
 * row or column of the 12-bit formats is not copied.
 * @param src  source; may be memory of the caller's.
 * @param dst  destination, likewise.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null, a record is empty, the geometries differ,
 *                                   or a stride is shorter than a row and `size` does not cover
 *                                   the last row
 *         ozr_err_not_supported     the format is none of the enumeration
 */
OZR_API ozr_err ozr_image_copy(const ozr_image* src, ozr_image* dst);

/**
 * Makes `dst` a copy of `src`, rotation included.
 *
 * @param src  filled record.
 * @param dst  in/out: filled by ozr_image_create, or empty; reallocated when it does not fit.
 * @return as ozr_image_recreate and ozr_image_copy; ozr_err_invalid_argument also when `src` is
 *         null or empty. After a failure `dst` is what the failing step left.
 */
OZR_API ozr_err ozr_image_clone(const ozr_image* src, ozr_image* dst);

/**
 * Bits per pixel of a record's format: 12, 8, 32 or 16.
 *
 * @param image  record.
 * @return the bits, -2 for a format outside the enumeration, or -3
 *         (ozr_err_invalid_argument) for null.
 */
OZR_API int32_t ozr_image_get_bits_per_pixel(const ozr_image* image);

/**
 * Whole bytes per pixel of a record's format.
 *
 * @param image  record.
 * @return 1 for gray and the 12-bit formats, 4 for rgba32, 2 for yuy2, 0 for a format outside the
 *         enumeration or null.
 */
OZR_API int32_t ozr_image_get_channel(const ozr_image* image);

/** @name Conversion */
/**@{*/
/**
 * Makes `dst` a picture of the function's format with the content of `src`.
 *
 * rgba32 converts to and from every other format, and every format to itself (a copy, rotation
 * included); all other pairs are refused. `dst` is reshaped to the width and height of `src` with a
 * stride of the library's choosing; it is not reallocated when it fits already. A real conversion
 * does not carry the rotation over: it stays as reshaping left it, 0 in new memory.
 *
 * To RGB, with C = Y - 16, D = U - 128, E = V - 128 and every result clamped to a byte; A is 255:
 * R = (298 C + 409 E + 128) >> 8, G = (298 C - 100 D - 208 E + 128) >> 8,
 * B = (298 C + 516 D + 128) >> 8. Pixels that share a chroma pair take it as it is, without
 * interpolation.
 *
 * From RGB: Y = ((66 R + 128 G + 25 B + 128) >> 8) + 16, U = (-38 R - 74 G + 112 B + 32896) >> 8,
 * V = (112 R - 94 G - 18 B + 32896) >> 8. Green weighs 128, not 129, so that white becomes
 * Y = 234. The chroma of a pair or of a 2 x 2 block is that of its top left pixel alone:
 * nothing is averaged.
 *
 * Gray is (77 R + 151 G + 28 B) >> 8, full range and without rounding; from gray, R = G = B.
 *
 * @param src  filled record; must not share its pixels with `dst`.
 * @param dst  in/out: filled by ozr_image_create, or empty. **Empty after every failure**, also
 *             when it held a picture.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null, src is empty, src and dst are one image, the
 *                                   size exceeds 32 bits, or a stride is shorter than a row
 *         ozr_err_nomem             the pixels could not be allocated
 *         ozr_err_not_supported     the format of src is unknown, or nothing converts this pair
 *         ozr_err_general           an odd width (12-bit formats and yuy2) or height (12-bit
 *                                   formats) on either side of a conversion to or from rgba32
 * @note Ownership: as ozr_image_create; release `dst` with ozr_image_destroy.
 * @note Threads: any, as long as one thread at a time uses an image.
 */
OZR_API ozr_err ozr_image_convert_to_nv12(const ozr_image* src, ozr_image* dst);
OZR_API ozr_err ozr_image_convert_to_nv21(const ozr_image* src, ozr_image* dst);
OZR_API ozr_err ozr_image_convert_to_yv12(const ozr_image* src, ozr_image* dst);
OZR_API ozr_err ozr_image_convert_to_gray(const ozr_image* src, ozr_image* dst);
OZR_API ozr_err ozr_image_convert_to_rgba(const ozr_image* src, ozr_image* dst);
OZR_API ozr_err ozr_image_convert_to_yuy2(const ozr_image* src, ozr_image* dst);
/**@}*/

/**
 * Converts to the format given: the function above of that format does it.
 *
 * @param src, dst  as there.
 * @param format    format of the result; a value outside the enumeration returns
 *                  ozr_err_not_supported and leaves `dst` as it is, not empty, and
 *                  nothing is logged.
 * @return as there.
 */
OZR_API ozr_err ozr_image_convert(const ozr_image* src, ozr_image* dst, ozr_image_format format);

/**
 * Mirrors an image left to right in place.
 *
 * Bytes behind a row's pixels stay. With an odd width the chroma pairs of nv12 and nv21 change
 * places byte by byte with the pairs that end at the last column, so that U and V on the right-hand
 * side no longer stand where they belong: use even widths.
 * @param image  gray, rgba32, nv12 or nv21.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  image is null or empty, or its stride is shorter than a row
 *         ozr_err_not_supported     yv12, yuy2 or an unknown format; the image is unchanged
 * @note Nothing is logged.
 */
OZR_API ozr_err ozr_image_hflip(ozr_image* image);

/**
 * Makes a gray image of the luma of every n-th pixel of every n-th row.
 *
 * The size of the result is that of the source divided by n, rounded down. An rgba32 source
 * gives the limited-range luma of ozr_image_convert_to_nv12, not the gray of
 * ozr_image_convert_to_gray. With n = 1 and equal strides the first plane of a planar source is
 * copied as a whole, padding included.
 * @param dst  in/out: empty, or filled by ozr_image_create. One that has the resulting size already
 *             is **used whatever its format**, which stays as it is: one byte a pixel is written at
 *             its own stride. Any other is released and created as gray. Takes the rotation of
 *             `src`, also when the call fails later on.
 * @param src  any known format; may be memory of the caller's.
 * @param n    1 or more.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null, src is empty, n is below 1, dst shares the
 *                                   pixels of src and does not have the resulting size, or a stride
 *                                   is shorter than a row
 *         ozr_err_nomem             the result could not be created
 *         ozr_err_not_supported     the format of src is unknown; dst has been shaped
 */
OZR_API ozr_err ozr_image_sample_gray(ozr_image* dst, const ozr_image* src, int32_t n);

/**
 * Turns, scales and shifts the luma of an image so that two of its points land on two given places.
 *
 * Fills the first plane of `dst` with one byte a pixel, bilinearly; 0 where the source has no
 * pixel. The format of `dst` is not looked at, and chroma is not written.
 *
 * What may surprise:
 * - The columns of a source row are bounded by its stride, not by its width: padding may show. A
 *   stride of 0 counts as the width.
 * - All products are 32 bits wide and wrap around. Keep the destination points within 215 pixels of
 *   each other: beyond, the square of the squared distance wraps and spoils the interpolation.
 * - Positions truncate towards 0, so that those less than a pixel left of or above the source still
 *   show its edge.
 * - In the last column and row the pixels one before are interpolated with the fractions
 *   of the last.
 * @param src  gray, nv12, nv21 or yuy2.
 * @param sx1, sy1, sx2, sy2  the two points in `src`, pixels.
 * @param dst  filled record; must not share the pixels of `src`.
 * @param dx1, dy1, dx2, dy2  where they land in `dst`, pixels.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null, an image with a size has no pixels, the
 *                                   stride of dst is shorter than a row, or the destination points
 *                                   are so close (1 or 1.4 pixels), or so far apart, that the
 *                                   interpolation would divide by 0
 *         ozr_err_invalid_status    the destination points coincide
 *         ozr_err_not_supported     src is yv12, rgba32 or of an unknown format
 */
OZR_API ozr_err ozr_image_warp_by_2points(const ozr_image* src, int32_t sx1, int32_t sy1, int32_t sx2,
                                          int32_t sy2, ozr_image* dst, int32_t dx1, int32_t dy1, int32_t dx2,
                                          int32_t dy2);

OZR_END_DECLS

#endif
