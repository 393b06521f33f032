/**
 * @file
 * The support toolkit: memory, bounded copies, platform services, the profiler and version matching, integer
 * geometry, and operations on grey pictures in plain memory.
 *
 * @code
 * ozr_prof_set(3);
 * for (int i = 0; i < 100; ++i) {
 *     ozr_prof_go_label(3, "resize");
 *     resize(frame);
 *     ozr_prof_stop(3);
 * }
 * ozr_prof_print();   // calls, total, shortest, longest and mean time of slot 3, at info level
 * @endcode
 */
#ifndef OZR_SUPPORT_H
#define OZR_SUPPORT_H

#include <time.h>

#include "ozr_types.h"

OZR_BEGIN_DECLS

/**
 * @name Memory
 * The allocators of the C library under the library's names, with 32-bit sizes. Nothing is logged. Blocks of
 * ozr_malloc, ozr_realloc and ozr_calloc go back through ozr_free.
 */
/**@{*/
/** Allocates. @param size  bytes. @return the block, uninitialised, or null. */
OZR_API void* ozr_malloc(uint32_t size);

/** Changes a block's size. @param ptr  the block or null. @param size  bytes. @return where it lies now, or null. */
OZR_API void* ozr_realloc(void* ptr, uint32_t size);

/** Allocates zeros. @param count, size  number and bytes of the elements. @return the block, or null. */
OZR_API void* ozr_calloc(uint32_t count, uint32_t size);

/** Releases a block. @param ptr  the block or null. */
OZR_API void ozr_free(void* ptr);
/**@}*/

/**
 * Allocates a block at an aligned address.
 *
 * Costs alignment + 2 bytes: the two bytes before the block hold its distance from the start of the underlying one.
 * @param size       bytes. size + alignment + 2 is computed in 32 bits and may wrap.
 * @param alignment  a power of two, at most 32768.
 * @return the block, uninitialised, to be released with ozr_free_aligned; null when memory is out or the wrapped
 *         request is too small to hold the header.
 */
OZR_API void* ozr_malloc_aligned(uint32_t size, uint32_t alignment);

/**
 * Allocates a zero-filled block at an aligned address.
 *
 * The overhead is added to the element size: count * (size + alignment + 2) bytes are requested.
 * @param count, size  number and bytes of the elements.
 * @param alignment    a power of two, at most 32768.
 * @return as ozr_malloc_aligned.
 */
OZR_API void* ozr_calloc_aligned(uint32_t count, uint32_t size, uint32_t alignment);

/**
 * Releases a block of ozr_malloc_aligned or ozr_calloc_aligned.
 *
 * @param ptr  the block; null is ignored. What neither of the two made cannot be detected.
 */
OZR_API void ozr_free_aligned(void* ptr);

/**
 * Copies at most as many bytes as the destination holds.
 *
 * @param dst, dst_size  destination and its size in bytes.
 * @param src, count     source and the bytes wanted; a larger count than dst_size is cut silently. Nothing is copied
 *                       when a pointer is null.
 * @return dst.
 */
OZR_API void* ozr_memcpy_s(void* dst, uint32_t dst_size, const void* src, uint32_t count);

/**
 * strncpy of at most as many characters as the destination holds.
 *
 * The destination is not terminated when `src` is at least as long as the smaller of the two sizes.
 * @param dst, dst_size  destination and its size.
 * @param src, count     source and the most characters wanted. Nothing is copied when a pointer is null.
 * @return dst.
 */
OZR_API char* ozr_strncpy_s(char* dst, uint32_t dst_size, const char* src, uint32_t count);

/**
 * Reads an Android system property.
 *
 * @param name   property name.
 * @param value  out: its text; room for 92 characters (PROP_VALUE_MAX).
 * @return length of the text. Outside Android the text is empty and the length 0.
 */
OZR_API int32_t ozr_android_property_get(const char* name, char* value);

/** The C library's time(). @param t  out: the same value, or null. @return seconds since 1970. */
OZR_API time_t ozr_time(time_t* t);

/** Sleeps. @param ms  milliseconds. */
OZR_API void ozr_platform_sleep(uint32_t ms);

/**
 * The C library's vsnprintf over the variadic arguments.
 *
 * @param buffer, size  out: the text, and its room in bytes.
 * @param format        printf-style format.
 * @return the length of the whole text.
 */
OZR_API int32_t ozr_platform_snprintf(char* buffer, uint32_t size, const char* format, ...) OZR_PRINTF(3, 4);

/**
 * The C library's vsnprintf.
 *
 * @param buffer, size   out: the text, and its room in bytes.
 * @param format, args   printf-style format and its arguments.
 * @return the length of the whole text.
 */
OZR_API int32_t ozr_platform_vsnprintf(char* buffer, uint32_t size, const char* format, va_list args)
    OZR_PRINTF(3, 0);

/** Opens a shared object with dlopen(name, RTLD_LAZY). @param name  path or name. @return its handle, or null. */
OZR_API void* ozr_platform_dlopen(const char* name);

/** Looks a symbol up; a pending dlerror text is dropped. @param handle, symbol  where and what. @return it, or null. */
OZR_API void* ozr_platform_dlsym(void* handle, const char* symbol);

/** Closes a shared object. @param handle  of ozr_platform_dlopen; null is ignored. */
OZR_API void ozr_platform_dlclose(void* handle);

/**
 * @name Profiler
 * Wall-clock statistics in 1000 static slots, numbered from 0; nothing is allocated. A slot belongs to one thread at
 * a time. A slot number outside the table is ignored.
 */
/**@{*/
/** Clears a slot: numbers 0, label empty. @param slot  0 to 999. */
OZR_API void ozr_prof_set(uint32_t slot);

/** Starts an interval. @param slot  0 to 999. */
OZR_API void ozr_prof_go(uint32_t slot);

/** Labels a slot, then starts an interval. @param slot  0 to 999. @param label  300 characters count; null keeps it. */
OZR_API void ozr_prof_go_label(uint32_t slot, const char* label);

/**
 * Ends an interval and adds it to the slot.
 *
 * @param slot  0 to 999.
 * @return how many intervals the slot has counted; 0 for a number outside the table.
 */
OZR_API uint32_t ozr_prof_stop(uint32_t slot);

/** Logs every used slot at info level; times in milliseconds. @return 0. */
OZR_API int32_t ozr_prof_print(void);

/**
 * Hands the same report to a function of the caller's, also while logging is disabled.
 *
 * @param function  called once a line with the format and its arguments.
 * @return 0, or ozr_err_invalid_argument when function is null.
 */
OZR_API int32_t ozr_prof_print_logfunc(ozr_log_hook function);

/** Logs a label, the wall clock in milliseconds and a value at info level. @param label, value  shown as they are. */
OZR_API void ozr_prof_print_timestamp(const char* label, int32_t value);
/**@}*/

/** Something that has a version. */
typedef struct ozr_version_variety_entry {
    const ozr_version* version; /**< an entry without one matches nothing */
    void* owner;                /**< the caller's; never read here */
} ozr_version_variety_entry;

/**
 * Compares major, then minor; patch and revision do not count.
 *
 * @param a, b  versions.
 * @return 1 when a is the greater, -1 when b is, 0 when both are equal; -3 (ozr_err_invalid_argument) for a null
 *         pointer.
 */
OZR_API int32_t ozr_version_compare(const ozr_version* a, const ozr_version* b);

/** Compares all but the revision. @param a, b  versions; not null. @return 1 when they are equal, else 0. */
OZR_API int32_t ozr_version_is_matching(const ozr_version* a, const ozr_version* b);

/**
 * Finds the first entry of a wanted version.
 *
 * @param wanted          version to match.
 * @param entries, count  the entries and their number.
 * @return the entry, or null when there is none, a pointer is null or count is below 1.
 */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_matching(const ozr_version* wanted, const ozr_version_variety_entry* entries,
                                 int32_t count);

/**
 * Finds the entry of the greatest version by ozr_version_compare; of equal ones the first. Entries without a version
 * are passed over, unless none has one.
 *
 * @param entries, count  the entries and their number.
 * @return the entry, or null when there is none.
 */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_latest(const ozr_version_variety_entry* entries, int32_t count);

/**
 * Finds the matching entry if there is one, else the latest.
 *
 * @param wanted, entries, count  as in ozr_version_variety_get_matching.
 * @return the entry, or null when there is none.
 */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_matching_or_latest(const ozr_version* wanted,
                                           const ozr_version_variety_entry* entries, int32_t count);

/** A rectangle in pixels; `right` and `bottom` are exclusive. */
typedef struct ozr_rect {
    int32_t left;   /**< first column */
    int32_t top;    /**< first row */
    int32_t right;  /**< column behind the last */
    int32_t bottom; /**< row behind the last */
} ozr_rect;

/**
 * @name Trigonometry
 * Angles are whole degrees; any number is taken, modulo 360. Results are Q16: 65536 is 1.
 */
/**@{*/
/**
 * Cosine or sine by table, truncated from single precision: the cosine of 60 degrees is 32767, not 32768.
 *
 * @param deg  degrees.
 * @return the value in Q16.
 */
OZR_API int32_t ozr_math_cosi16_d(int32_t deg);
OZR_API int32_t ozr_math_sini16_d(int32_t deg);

/** The same values under a second name. @param deg  degrees. @return the value in Q16. */
OZR_API int32_t ozr_math_cos_tiny(int32_t deg);
OZR_API int32_t ozr_math_sin_tiny(int32_t deg);

/** The C library's cos. @param x  radians. @return the cosine. */
OZR_API double ozr_math_cos(double x);

/** The C library's sin. @param x  radians. @return the sine. */
OZR_API double ozr_math_sin(double x);
/**@}*/

/**
 * Direction of (x, y), measured from the +y axis towards the +x axis.
 *
 * Found by bisection of a table of tangents (Q10): the last degree looked at, which may be a degree beside the nearest.
 * A direction steeper than 89 degrees gives 90. Lengths above 2097151 (x) or 37025580 (y) wrap around.
 * @param x, y  the direction, in any unit.
 * @return -180 to 180 degrees: (0, 1) gives 0, (1, 0) and (0, 0) 90, (-1, 0) -90, (5, -5) 135, (-5, -5) -135.
 */
OZR_API int32_t ozr_math_arctan(int32_t x, int32_t y);

/**
 * Integer square root by Newton's iteration, rounded somewhere near: 3 gives 2, 8 gives 3, 100 gives 10.
 *
 * @param n  any; 0 gives **1**, as do 1 and 2. 4294967294 and 4294967295 wrap around and give 0.
 * @return the root.
 */
OZR_API uint32_t ozr_math_sqrt(uint32_t n);

/**
 * Brings an angle into -179 to 180 degrees.
 *
 * @param deg  only its low 16 bits count, as a signed number.
 * @return the angle in degrees.
 */
OZR_API int32_t ozr_math_normalize_angle(int32_t deg);

/**
 * @name Rectangles
 * Coordinates are 32 bits wide and wrap around. `out` may be one of the inputs. Functions with a result code return
 * ozr_err_invalid_argument when a pointer is null, else ozr_success.
 */
/**@{*/
/** Tests for common pixels. @param a, b  rectangles. @return 1 when there are any, else 0 (also for null pointers). */
OZR_API int32_t ozr_rect_is_intersecting(const ozr_rect* a, const ozr_rect* b);

/**
 * The intersection, without a test for emptiness: right < left or bottom < top for rectangles that are apart.
 *
 * @param a, b  rectangles.
 * @param out   out: what they share.
 * @return ozr_success or ozr_err_invalid_argument.
 */
OZR_API ozr_err ozr_rect_get_intersecting_rect(const ozr_rect* a, const ozr_rect* b, ozr_rect* out);

/**
 * The smallest rectangle around two.
 *
 * @param a, b  rectangles.
 * @param out   out: the one around them.
 * @return ozr_success or ozr_err_invalid_argument.
 */
OZR_API ozr_err ozr_rect_get_bounding_rect(const ozr_rect* a, const ozr_rect* b, ozr_rect* out);

/** Area of a rectangle. @param r  rectangle. @return (right - left) * (bottom - top), or -3 for a null pointer. */
OZR_API int32_t ozr_rect_get_area(const ozr_rect* r);

/**
 * Area of the intersection as ozr_rect_get_intersecting_rect gives it: **negative** for rectangles apart in one
 * direction, **positive** again for rectangles apart in both. Ask ozr_rect_is_intersecting first.
 * @param a, b  rectangles.
 * @return the area, or -3 for a null pointer.
 */
OZR_API int32_t ozr_rect_get_intersecting_area(const ozr_rect* a, const ozr_rect* b);

/** Shifts. @param r  in/out: rectangle. @param dx, dy  pixels. @return ozr_success or ozr_err_invalid_argument. */
OZR_API ozr_err ozr_rect_move(ozr_rect* r, int32_t dx, int32_t dy);

/**
 * Cuts a rectangle to bounds. One that lies wholly outside becomes all zero; one of no width or height is kept.
 *
 * @param r       in/out: rectangle.
 * @param bounds  what remains of it lies inside.
 * @return ozr_success or ozr_err_invalid_argument.
 */
OZR_API ozr_err ozr_rect_clip(ozr_rect* r, const ozr_rect* bounds);

/**
 * Moves a rectangle by turning its centre as ozr_point_rotate does.
 *
 * The result is a **square**: half its side is (right - left) >> 1 both ways, whatever the height. Nothing happens
 * when a pointer is null.
 * @param out     out: the square.
 * @param r       rectangle.
 * @param centre  what it is turned about.
 * @param deg     degrees.
 */
OZR_API void ozr_rect_rotate(ozr_rect* out, const ozr_rect* r, const ozr_point* centre, int32_t deg);

/**
 * Scales every field by num / den in unsigned 32 bits: coordinates must not be negative, products not exceed 32 bits.
 *
 * Nothing happens when a pointer is null or den is 0.
 * @param out       out: the scaled rectangle.
 * @param r         rectangle.
 * @param num, den  the factor.
 */
OZR_API void ozr_rect_scale(ozr_rect* out, const ozr_rect* r, uint32_t num, uint32_t den);
/**@}*/

/**
 * Tests whether a point lies in a rectangle.
 *
 * @param p, r  point and rectangle.
 * @return 1 when left <= x < right and top <= y < bottom, else 0 (also for null pointers).
 */
OZR_API int32_t ozr_point_inside_rect(const ozr_point* p, const ozr_rect* r);

/**
 * Turns a point about a centre, anticlockwise as seen on the screen (y grows downwards); results round down in the
 * turned frame.
 *
 * `out` may be one of the inputs. Products are 32 bits wide: beyond 32767 pixels from the centre they wrap around.
 * Nothing happens when a pointer is null.
 * @param out        out: where the point goes.
 * @param p, centre  the point, and what it is turned about.
 * @param deg        degrees.
 */
OZR_API void ozr_point_rotate(ozr_point* out, const ozr_point* p, const ozr_point* centre, int32_t deg);

/**
 * Distance of two points.
 *
 * @param a, b  points.
 * @return ozr_math_sqrt of the squared distance: **1** for one and the same point; -3 for a null pointer.
 */
OZR_API int32_t ozr_point_dist(const ozr_point* a, const ozr_point* b);

/**
 * Where a point of a destination lies in the source that two pairs of points map onto it.
 *
 * The mapping of ozr_image_warp_by_2points, rounded by adding half before a truncating division: to nearest for
 * positive coordinates. 32-bit products that wrap around.
 * @param x, y                position in the destination, pixels.
 * @param sx1, sy1, sx2, sy2  two points of the source.
 * @param out_x, out_y        out: position in the source.
 * @param dx1, dy1, dx2, dy2  the same points in the destination.
 * @return ozr_success, or ozr_err_invalid_argument when an output is null or the destination points coincide; the
 *         outputs are untouched then.
 */
OZR_API ozr_err ozr_warp_point_by_2points(int32_t x, int32_t y, int32_t sx1, int32_t sy1, int32_t sx2,
                                          int32_t sy2, int32_t* out_x, int32_t* out_y, int32_t dx1,
                                          int32_t dy1, int32_t dx2, int32_t dy2);

/**
 * Moves two points apart or together along their line, symmetrically.
 *
 * @param p1, p2      points.
 * @param out1, out2  out: the moved points; may be the inputs.
 * @param strength    1024 leaves them; 0 gives twice the distance, 2048 none. Nothing happens when a pointer is null.
 */
OZR_API void ozr_warp_strength_by_2points_i(const ozr_point* p1, const ozr_point* p2, ozr_point* out1,
                                            ozr_point* out2, int32_t strength);

/**
 * Turns a point about the origin: x' = (cos x - sin y) >> 16, y' = (cos y + sin x) >> 16, that is clockwise on the
 * screen.
 *
 * `out` may be `p`. Nothing happens when a pointer is null.
 * @param p    point.
 * @param out  out: where it goes.
 * @param deg  degrees.
 */
OZR_API void ozr_warp_rotation_degree(const ozr_point* p, ozr_point* out, int32_t deg);

/**
 * ozr_image_warp_by_2points of an 8-bit plane into rows of the caller's.
 *
 * While the square of the squared distance of the destination points exceeds 6000000 (distances of 50 pixels and
 * more), all four points are moved half way towards the centre of their pair: turn and scale stay, up to the rounding
 * of the points, and the products fit 32 bits. The comparison is itself one of 32 bits that wraps around: some
 * distances from 216 pixels on (216 to 255 among them) are not halved.
 * @param src, src_width, src_height  plane without padding: rows stand src_width bytes apart.
 * @param sx1, sy1, sx2, sy2          two points in it, pixels.
 * @param dst_rows                    dst_height pointers to rows of dst_width bytes.
 * @param dst_width, dst_height       pixels; below 1 nothing is written.
 * @param dx1, dy1, dx2, dy2          where the points land.
 * @return ozr_success, or ozr_err_invalid_argument when the destination points coincide or are too close (or their
 *         distance wraps) for the interpolation, or a pointer is null.
 */
OZR_API ozr_err ozr_warp_image_by_2points_uc_scale(const uint8_t* src, int32_t src_width, int32_t src_height,
                                                   int32_t sx1, int32_t sy1, int32_t sx2, int32_t sy2,
                                                   uint8_t* const* dst_rows, int32_t dst_width,
                                                   int32_t dst_height, int32_t dx1, int32_t dy1, int32_t dx2,
                                                   int32_t dy2);

/**
 * @name Grey pictures in the caller's memory
 * One byte a pixel, sizes in pixels, strides in bytes (negative ones go upwards). Source and destination do not
 * overlap. Nothing is allocated or logged.
 *
 * Sizes and strides are the caller's word, and no function can detect a lie: of each picture (height - 1) strides and one
 * row's bytes must be there, unless a function asks for more. Strides may be shorter than a row; its rows then overlap.
 * Null pointers, sizes below 1 and steps that cannot be represented are refused.
 *
 * Source positions are Q22.10 numbers, (source size << 10) / destination size apart and starting at 0, so that errors
 * of the division add up towards the right and the bottom.
 */
/**@{*/

/**
 * Resizes by nearest neighbour: each pixel takes the source pixel its position truncates to.
 *
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  0 stands for the width.
 * @return ozr_success (also for a negative dst_height: nothing is written), or ozr_err_invalid_argument when a
 *         destination size is 0, a pointer is null, or another size is below 1 or so large that positions turn
 *         negative.
 */
OZR_API ozr_err resize_grayimage_nn(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                    const uint8_t* src, int32_t src_width, int32_t src_height,
                                    int32_t src_stride);

/**
 * Resizes bilinearly, truncating.
 *
 * The last destination column and row do not look at their right-hand and lower neighbours; all others do, **even
 * where these lie beyond the source**: when enlarging, the row below the source and the byte behind each row must be
 * readable and belong to the result. Reducing stays inside.
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  taken as they are: 0 is **not** replaced by the width.
 * @return ozr_success (also for a negative dst_height: nothing is written), or ozr_err_invalid_argument when a
 *         destination size is 0, a pointer is null, or another size is below 1 or so large that positions turn
 *         negative.
 */
OZR_API ozr_err resize_grayimage_bi(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                    const uint8_t* src, int32_t src_width, int32_t src_height,
                                    int32_t src_stride);

/**
 * Keeps every step_x-th byte of a row. How rows are skipped depends on step_x:
 *
 * - step_x 1: **all** `height` rows are copied, `width` bytes each; the source advances by a stride and
 *   **step_y - 1 bytes**, so that each row starts that many bytes further to the right. The last one ends
 *   (height - 1) * (step_y - 1) bytes beyond the picture; these must be readable.
 * - step_x 2: height / step_y rows; the source advances by a stride and 2 * (step_y - 1) bytes, one byte less when
 *   `width` is odd.
 * - other steps: height / step_y rows; the source advances by step_y rows less the width % step_x bytes left over, a
 *   drift to the left that adds up.
 *
 * @param dst         destination, of width / step_x bytes a row.
 * @param dst_stride  0 stands for width / step_x.
 * @param width       bytes of a source row that take part; below 1 nothing is copied.
 * @param height      rows of the source.
 * @param src         source.
 * @param src_stride  0 stands for the width.
 * @param step_x, step_y  1 or more.
 * @return ozr_success, or ozr_err_invalid_argument when a step is below 1 or a pointer is null.
 */
OZR_API ozr_err sample_image_by_n(uint8_t* dst, int32_t dst_stride, const uint8_t* src, int32_t width,
                                  int32_t height, int32_t src_stride, int32_t step_x, int32_t step_y);

/**
 * Codes the texture around each pixel, whatever its brightness: bit 3 r + c of a code is 1 when the pixel in row r,
 * column c of the 3 x 3 window is brighter than the window's mean.
 *
 * The picture is walked as one long row: windows that cross the end of a row wrap around and are coded too. Written
 * are the codes from dst[width + 1] up to dst[(height - 1) * width - 2]; the first and the last row, dst[width] and
 * the code behind the last written one keep what they hold.
 * @param src            width * height bytes, without padding.
 * @param width, height  pixels. With (height - 2) * width of 2 or less, in 32 bits, nothing is written.
 * @param dst            width * height codes; may overlap the source, whose bytes are read in order as the codes are
 *                       written.
 * @return nothing of meaning. Null pointers are ignored.
 */
OZR_API uint32_t image2mct(const uint8_t* src, uint32_t width, uint32_t height, uint16_t* dst);

/**
 * Turns a picture clockwise by eighths of a full turn about its centre, which goes to the centre of the destination.
 *
 * Nearest neighbour, without scaling; what the picture does not cover becomes 0. Quarter turns (even directions) are
 * exact when the destination has the turned picture's size, or differs from it by an even number of pixels.
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  0 stands for the width.
 * @param direction               0 to 7, in steps of 45 degrees.
 * @return ozr_success, or ozr_err_invalid_argument when a pointer is null, a size is below 1 or the direction is none
 *         of the eight.
 */
OZR_API ozr_err rotate_grayimage_eighth(uint8_t* dst, int32_t dst_width, int32_t dst_height,
                                        int32_t dst_stride, const uint8_t* src, int32_t src_width,
                                        int32_t src_height, int32_t src_stride, int32_t direction);

/**
 * resize_grayimage_nn of a part of a picture.
 *
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  0 stands for the width of the picture.
 * @param crop                    the part, in pixels of the source; not empty and wholly inside.
 * @return ozr_success, or ozr_err_invalid_argument when a pointer is null, a size is below 1 or the crop is not
 *         inside.
 */
OZR_API ozr_err crop_resize_grayimage_nn(uint8_t* dst, int32_t dst_width, int32_t dst_height,
                                         int32_t dst_stride, const uint8_t* src, int32_t src_width,
                                         int32_t src_height, int32_t src_stride, const ozr_rect* crop);

/**
 * resize_grayimage_bi of a part of a picture; when enlarging, pixels beside the part are interpolated with, and where
 * the part ends with the picture, the row and the byte beyond must be readable as there.
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
 * At 0 degrees the result is that of crop_resize_grayimage_nn. At others the corners show what surrounds the part,
 * and 0 where the picture ends.
 * @param dst, dst_width, dst_height  destination and its size, pixels.
 * @param src, src_width, src_height  source and its size, pixels.
 * @param dst_stride, src_stride  0 stands for the width of the picture.
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
 * @param dst_stride, src_stride      0 stands for the width.
 * @param sx1, sy1, sx2, sy2          two points in the source, pixels.
 * @param dx1, dy1, dx2, dy2          where they land in the destination.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null, a size is below 1, dst_stride is shorter than a row, or the
 *                                   destination points are too close or too far apart
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
