/**
 * @file
 * Integer geometry: trigonometry by table, rectangles, points, and how two pairs of points
 * map a plane.
 */
#ifndef OZR_GEOMETRY_H
#define OZR_GEOMETRY_H

#include "ozr_types.h"

OZR_BEGIN_DECLS

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
 * Cosine or sine by table, truncated from single precision: the cosine of 60 degrees is
 * 32767, not 32768.
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
 * Found by bisection of a table of tangents (Q10): the last degree looked at, which may be a degree
 * beside the nearest. A direction steeper than 89 degrees is taken as 90. Lengths above 2097151 (x)
 * or 37025580 (y) wrap around.
 * @param x, y  the direction, in any unit.
 * @return -180 to 180 degrees: 0 for (0, 1), 90 for (1, 0) and (0, 0), -90 for (-1, 0), 135 for
 *         (5, -5), -135 for (-5, -5).
 */
OZR_API int32_t ozr_math_arctan(int32_t x, int32_t y);

/**
 * Integer square root by Newton's iteration, one of the two integers next to the root: 2 for 3, 3
 * for 8, 10 for 100.
 *
 * @param n  any; the root of 0 is **1**, like those of 1 and 2. 4294967294 and 4294967295 wrap
 *           around: their root is 0.
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
 * Coordinates are 32 bits wide and wrap around. `out` may be one of the inputs. Functions with a
 * result code return ozr_err_invalid_argument when a pointer is null, else ozr_success.
 */
/**@{*/
/**
 * Tests for common pixels.
 * @param a, b  rectangles.
 * @return 1 when there are any, else 0 (also for null pointers).
 */
OZR_API int32_t ozr_rect_is_intersecting(const ozr_rect* a, const ozr_rect* b);

/**
 * The intersection, without a test for emptiness: right < left or bottom < top for rectangles
 * that are apart.
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

/**
 * Area of a rectangle.
 * @param r  rectangle.
 * @return (right - left) * (bottom - top), or -3 for a null pointer.
 */
OZR_API int32_t ozr_rect_get_area(const ozr_rect* r);

/**
 * Area of the intersection that ozr_rect_get_intersecting_rect returns: **negative** for
 * rectangles apart in one direction, **positive** again for rectangles apart in both.
 * Ask ozr_rect_is_intersecting first.
 * @param a, b  rectangles.
 * @return the area, or -3 for a null pointer.
 */
OZR_API int32_t ozr_rect_get_intersecting_area(const ozr_rect* a, const ozr_rect* b);

/**
 * Shifts.
 * @param r  in/out: rectangle.
 * @param dx, dy  pixels.
 * @return ozr_success or ozr_err_invalid_argument.
 */
OZR_API ozr_err ozr_rect_move(ozr_rect* r, int32_t dx, int32_t dy);

/**
 * Cuts a rectangle to bounds. One that is wholly outside becomes all zero; one without width or
 * height is kept.
 *
 * @param r       in/out: rectangle.
 * @param bounds  the rest of `r` is inside them.
 * @return ozr_success or ozr_err_invalid_argument.
 */
OZR_API ozr_err ozr_rect_clip(ozr_rect* r, const ozr_rect* bounds);

/**
 * Moves a rectangle by turning its centre as ozr_point_rotate does.
 *
 * The result is a **square**: half its side is (right - left) >> 1 both ways, whatever the height.
 * Nothing happens when a pointer is null.
 * @param out     out: the square.
 * @param r       rectangle.
 * @param centre  what it is turned about.
 * @param deg     degrees.
 */
OZR_API void ozr_rect_rotate(ozr_rect* out, const ozr_rect* r, const ozr_point* centre, int32_t deg);

/**
 * Scales every field by num / den in unsigned 32 bits: coordinates must not be negative, products
 * not exceed 32 bits.
 *
 * Nothing happens when a pointer is null or den is 0.
 * @param out       out: the scaled rectangle.
 * @param r         rectangle.
 * @param num, den  the factor.
 */
OZR_API void ozr_rect_scale(ozr_rect* out, const ozr_rect* r, uint32_t num, uint32_t den);
/**@}*/

/**
 * Tests whether a point is in a rectangle.
 *
 * @param p, r  point and rectangle.
 * @return 1 when left <= x < right and top <= y < bottom, else 0 (also for null pointers).
 */
OZR_API int32_t ozr_point_inside_rect(const ozr_point* p, const ozr_rect* r);

/**
 * Turns a point about a centre, anticlockwise as seen on the screen (y grows downwards); results
 * round down in the turned frame.
 *
 * `out` may be one of the inputs. Products are 32 bits wide: beyond 32767 pixels from the centre
 * they wrap around. Nothing happens when a pointer is null.
 * @param out        out: where the point goes.
 * @param p, centre  the point, and what it is turned about.
 * @param deg        degrees.
 */
OZR_API void ozr_point_rotate(ozr_point* out, const ozr_point* p, const ozr_point* centre, int32_t deg);

/**
 * Distance of two points.
 *
 * @param a, b  points.
 * @return ozr_math_sqrt of the squared distance: **1** for one and the same point; -3 for
 *         a null pointer.
 */
OZR_API int32_t ozr_point_dist(const ozr_point* a, const ozr_point* b);

/**
 * Maps a point of a destination to the source, by the similarity that two pairs of points define.
 *
 * The mapping of ozr_image_warp_by_2points, rounded by adding half before a truncating division: to
 * nearest for positive coordinates. 32-bit products that wrap around.
 * @param x, y                position in the destination, pixels.
 * @param sx1, sy1, sx2, sy2  two points of the source.
 * @param out_x, out_y        out: position in the source.
 * @param dx1, dy1, dx2, dy2  the same points in the destination.
 * @return ozr_success, or ozr_err_invalid_argument when an output is null or the destination points
 *         coincide; the outputs are untouched then.
 */
OZR_API ozr_err ozr_warp_point_by_2points(int32_t x, int32_t y, int32_t sx1, int32_t sy1, int32_t sx2,
                                          int32_t sy2, int32_t* out_x, int32_t* out_y, int32_t dx1,
                                          int32_t dy1, int32_t dx2, int32_t dy2);

/**
 * Moves two points apart or together along their line, symmetrically.
 *
 * @param p1, p2      points.
 * @param out1, out2  out: the moved points; may be the inputs.
 * @param strength    1024 moves nothing; 0 doubles the distance, 2048 makes it 0. Nothing happens
 *                    when a pointer is null.
 */
OZR_API void ozr_warp_strength_by_2points_i(const ozr_point* p1, const ozr_point* p2, ozr_point* out1,
                                            ozr_point* out2, int32_t strength);

/**
 * Turns a point about the origin: x' = (cos x - sin y) >> 16, y' = (cos y + sin x) >> 16, that is
 * clockwise on the screen.
 *
 * `out` may be `p`. Nothing happens when a pointer is null.
 * @param p    point.
 * @param out  out: where it goes.
 * @param deg  degrees.
 */
OZR_API void ozr_warp_rotation_degree(const ozr_point* p, ozr_point* out, int32_t deg);

OZR_END_DECLS

#endif
