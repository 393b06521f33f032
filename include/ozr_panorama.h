/**
 * @file
 * The panorama interface: from preview frames and pictures of a camera sweep to one panorama.
 *
 * Order of calls: create; set_parameters and set_quality if the defaults do not fit;
 * stitch_one_image with the first picture; then detect_frame_to_stitch with every preview frame and
 * stitch_one_image with each picture that it announces; run; get_joint and get_camera for those who
 * want to know; then reset for another sweep, or destroy. A handle is used by one thread; reset and
 * destroy may come from another thread and cancel a stitch_one_image or a run that works at that
 * time. No other call may begin until they return.
 *
 * Pictures are NV12; previews may be grey, YV12, NV12 or YUY2. All pictures of a sweep have one
 * size and stride.
 *
 * No call can detect a violation of these rules, so the caller has to keep them:
 * - that a handle came from ozr_panorama_create and was not destroyed, and that two threads are in
 *   it only as above;
 * - that the memory behind `data` is as large as the record says, and that nobody changes it during
 *   the call: of a picture stride * height bytes and half as many again, of a preview the luma
 *   alone (stride * height bytes), of a result nothing. A preview's `size` is not read; of a
 *   picture's bytes at most `size` are taken;
 * - that hooks return, and do not call the handle that is logging.
 *
 * Faults that a record itself shows are refused with a code: no pixels, sizes below 1 or so large
 * that their products exceed 32 bits, strides shorter than a row, formats that the call does not
 * take, a second picture of another geometry, a first picture so narrow or so flat that its copy of
 * 320 pixels on the longer side would have no rows or columns, offsets that exceed 32 bits when
 * they are scaled. Any bytes are allowed as pixels.
 *
 * @code
 * ozr_panorama* pano = NULL;
 * ozr_panorama_create(NULL, &pano);
 * ozr_panorama_set_quality(pano, ozr_panorama_quality_refined);
 * take_picture(&picture);
 * ozr_panorama_stitch_one_image(pano, &picture, NULL);
 * while (next_preview(&preview)) {
 *     ozr_point offset;
 *     ozr_panorama_direction direction;
 *     if (ozr_panorama_detect_frame_to_stitch(pano, &preview, &offset, &direction) > 0) {
 *         take_picture(&picture);
 *         ozr_panorama_stitch_one_image(pano, &picture, &offset);
 *     }
 * }
 * ozr_image panorama;
 * if (ozr_panorama_run(pano, &panorama) == ozr_success)
 *     save(&panorama);
 * ozr_panorama_destroy(pano);
 * @endcode
 */
#ifndef OZR_PANORAMA_H
#define OZR_PANORAMA_H

#include "ozr_image.h"
#include "ozr_types.h"

OZR_BEGIN_DECLS

/** Where the camera pans. Any other value means auto. */
typedef enum ozr_panorama_direction OZR_INT32_ENUM {
    ozr_panorama_direction_auto = 0,  /**< decided from the motion of the preview frames */
    ozr_panorama_direction_right = 1, /**< towards positive x */
    ozr_panorama_direction_left = 2,  /**< towards negative x */
    ozr_panorama_direction_down = 3,  /**< towards positive y */
    ozr_panorama_direction_up = 4     /**< towards negative y */
} ozr_panorama_direction;

/** What a caller may set between two sweeps. */
typedef struct ozr_panorama_parameters {
    /** Overlap of neighbouring pictures in percent of their width, or of their height in vertical
        sweeps; within the range that the handle shows. It sets how many pictures make a sweep: 6 at
        50 percent, 7 from 51, 8 from 58, 9 from 64, 10 from 68. */
    int32_t overlapping_ratio;
    ozr_panorama_direction direction; /**< of the sweep; auto lets the previews decide */
} ozr_panorama_parameters;

/**
 * How the pictures of a sweep are joined: refined for what people look at; classic for the
 * smallest memory, and where results are compared with recorded ones, as its bytes are the same
 * in every release.
 */
typedef enum ozr_panorama_quality OZR_INT32_ENUM {
    /** whole-pixel shifts on an assumed camera; the least memory */
    ozr_panorama_quality_classic = 0,
    /** the camera is found and every picture turned, bent and evened out to fit */
    ozr_panorama_quality_refined = 1
} ozr_panorama_quality;

/** How two pictures of a sweep were joined. */
typedef struct ozr_panorama_joint {
    int32_t first;    /**< a picture, in order of capture, from 0 */
    int32_t second;   /**< the one that was joined to it */
    float offset_x;   /**< the second's middle against the first's, pixels of the panorama */
    float offset_y;   /**< the same, downwards */
    float residual;   /**< rms distance of matched points, panorama pixels; negative: unknown */
    float confidence; /**< 0 to 1; below 0.5 the joint is not to be trusted */
    float gain;       /**< brightness of the second over the first, evened out; 1: left alone */
    int32_t used;     /**< 1 when both pictures are in the panorama, else 0 */
} ozr_panorama_joint;

/** Where a picture of a refined sweep looked, and through what. */
typedef struct ozr_panorama_camera {
    float yaw;          /**< degrees to the right of the picture in the middle of the sweep */
    float pitch;        /**< degrees below the horizon; in vertical sweeps, the middle picture */
    float roll;         /**< degrees clockwise about the line of sight, before the other two */
    float focal_length; /**< in pixels of the picture */
    float radial;       /**< k: r focal lengths aside are seen r (1 + k r^2) off the axis */
    float gain;         /**< what the picture's brightness was multiplied by */
    int32_t used;       /**< 1 when the picture is in the panorama, else 0 */
} ozr_panorama_camera;

/** The public part of a handle, filled at creation and constant afterwards. */
typedef struct ozr_panorama {
    ozr_version version;               /**< of the configuration used */
    const char* description;           /**< of the configuration used */
    int32_t max_supported_num_images;  /**< pictures in one sweep at the default overlap: 10 */
    int32_t min_overlapping_ratio;     /**< percent: 50 */
    int32_t max_overlapping_ratio;     /**< percent: 90 */
    int32_t default_overlapping_ratio; /**< percent: 70 */
} ozr_panorama;

/**
 * Copies the default configuration: version 1.0.1, the library's banner as description, no hooks.
 *
 * @param config  out.
 * @return ozr_success, or ozr_err_invalid_argument (not logged) when config is null.
 */
OZR_API ozr_err ozr_panorama_get_default_config(ozr_config* config);

/**
 * Creates a session, ready for its first sweep.
 *
 * Installs the configuration's log hooks for the whole library; they stay, also after a failure.
 * @param config  configuration, only read; null takes the default one.
 * @param handle  out: the new handle, null after every failure.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  handle is null
 *         ozr_err_not_supported     the version is not 1.0.1, engine_type is neither 0 nor 1, or a
 *                                   selected resource is missing
 *         ozr_err_nomem             memory is out
 * @note Ownership: the handle is the caller's until ozr_panorama_destroy.
 */
OZR_API ozr_err ozr_panorama_create(const ozr_config* config, ozr_panorama** handle);

/**
 * Cancels what another thread may be running in the session, waits for it at most about two
 * seconds, and releases everything, the panorama's pixels included.
 *
 * @param handle  session; null is ignored. The caller's pointer is not cleared.
 */
OZR_API void ozr_panorama_destroy(ozr_panorama* handle);

/**
 * Sets overlap and direction for the next sweep; call it again after every reset.
 *
 * @param handle  session in which no picture was added since creation or reset.
 * @param params  the parameters.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null
 *         ozr_err_not_supported     the overlap is outside the range that the handle shows
 *         ozr_err_invalid_status    a sweep has begun
 */
OZR_API ozr_err ozr_panorama_set_parameters(ozr_panorama* handle, const ozr_panorama_parameters* params);

/**
 * Reads overlap and direction as the session uses them now.
 *
 * After ozr_panorama_reset the overlap reads 70 and the direction auto, whatever was set before;
 * and what was read counts from then on, also for later sweeps: during a sweep that is the
 * direction found in the previews. An overlap of 53 or 59 reads one percent less, by a rounding.
 * @param handle  session.
 * @param params  out.
 * @return ozr_success, or ozr_err_invalid_argument when a pointer is null.
 */
OZR_API ozr_err ozr_panorama_get_parameters(ozr_panorama* handle, ozr_panorama_parameters* params);

/**
 * Follows the camera with one preview frame and says whether the next picture is due.
 *
 * To be called for every frame after the first picture; it measures the motion between two frames,
 * up to about 21 pixels of a copy scaled to 320 pixels on its longer side.
 * @param handle     session whose first picture was added.
 * @param preview    frame: grey, YV12, NV12 or YUY2; all of one size.
 * @param offset     out: motion since the last announced picture, in pixels of the preview (of
 *                   the first picture while the sizes are equal). Pass the value of an
 *                   announcement to ozr_panorama_stitch_one_image.
 * @param direction  out: direction of the sweep, auto while undecided.
 * @return 0 not now; k >= 1 take picture k now (the first picture of a sweep is number 0 and
 *         never announced); or
 *         ozr_err_invalid_argument  a pointer is null, the frame has no pixels, its geometry is
 *                                   impossible, or its stride is shorter than a row
 *         ozr_err_invalid_status    no picture was added yet, or the capture has ended: a full
 *                                   sweep ends with the next frame, which still returns 0
 *         ozr_err_not_supported     the frame is NV21 or RGBA
 *         ozr_err_nomem             memory is out
 */
OZR_API ozr_err ozr_panorama_detect_frame_to_stitch(ozr_panorama* handle, const ozr_image* preview,
                                                    ozr_point* offset, ozr_panorama_direction* direction);

/**
 * Adds the next picture of the sweep: copies, projects and aligns it.
 *
 * The first call of a sweep opens it and only copies. From the second picture on the work grows
 * with the pixels; the second itself takes about twice as long as those after it, for it takes the
 * first one in as well. Can be cancelled.
 * @param handle   session.
 * @param picture  NV12, of the size and stride of the sweep's other pictures; only read, not kept.
 * @param offset   the camera's motion since the last picture, as announced by
 *                 ozr_panorama_detect_frame_to_stitch; null derives it from the overlap. Ignored
 *                 for the first picture.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  handle or picture is null, the picture has no pixels, its
 *                                   geometry is impossible or differs from the sweep's
 *         ozr_err_not_supported     the picture is not NV12
 *         ozr_err_invalid_status    the direction is still unknown for the second picture, the
 *                                   sweep has ended, an earlier picture failed, the work was
 *                                   cancelled, or the projection could not be prepared at the
 *                                   second picture: it is narrower than 32 pixels along the sweep,
 *                                   too large for 32-bit sizes, or memory is out
 *         ozr_err_out_of_bound      the sweep is full
 *         ozr_err_nomem             memory is out
 *         A failed picture is lost: the sweep goes no further than to
 *         ozr_panorama_run or ozr_panorama_reset.
 */
OZR_API ozr_err ozr_panorama_stitch_one_image(ozr_panorama* handle, ozr_image* picture,
                                              const ozr_point* offset);

/**
 * Ends the sweep, cancelling what another thread may be running, and makes the session ready for
 * a new one.
 *
 * Overlap and number of pictures return to their defaults. The direction set last is used again,
 * and the overlap set last where ozr_panorama_stitch_one_image derives an offset, unless
 * ozr_panorama_get_parameters is called in between: set the parameters anew after a reset, so
 * that all agree.
 * @param handle  session.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  handle is null
 *         ozr_err_invalid_status    the running work did not stop within about a second, or a full
 *                                   sweep was ended by a preview and not run: call
 *                                   ozr_panorama_run, whatever it returns, and reset again
 *         ozr_err_nomem             memory is out; a later reset may succeed
 * @note Ownership: the pixels of the last panorama are released.
 */
OZR_API ozr_err ozr_panorama_reset(ozr_panorama* handle);

/**
 * Composes the panorama of the sweep.
 *
 * Ends the capture if it still runs, finds the seams, blends, and describes the result in `output`.
 * The longest call of a sweep; allocates the result; can be cancelled. Going from left to right
 * (from bottom to top in vertical sweeps), a picture whose offset leaves nothing to search for,
 * about a picture and more, or that leaves less than half a picture's height in common, ends the
 * panorama: it and those beyond it are left out. In sweeps to the left and down these are the
 * pictures taken first.
 * @param handle  session from ozr_panorama_create.
 * @param output  out: NV12 (the first picture's format), width, height in pixels; stride, size in
 *                bytes; rotation 0. Every field is overwritten and nothing freed: pass a record
 *                that owns no pixels.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  handle or output is null, or neighbours were placed beyond
 *                                   each other's edges
 *         ozr_err_invalid_status    no picture was added, a picture is missing, the sweep was run
 *                                   already, or the work was cancelled
 *         ozr_err_not_supported     fewer than 16 rows in common, or an overlap of less
 *                                   than two columns
 *         ozr_err_nomem             a buffer could not be allocated
 * @note Ownership: the pixels stay the session's, valid until its reset or destroy;
 *       never ozr_image_destroy them.
 * @note Threads: one thread per handle; reset and destroy may come from another and
 *       cancel this call.
 */
OZR_API ozr_err ozr_panorama_run(ozr_panorama* handle, ozr_image* output);

/**
 * Chooses the quality of the next sweep; call it again after every reset, which brings the
 * classic one back.
 *
 * Classic is the default: its results are the same, byte for byte, in every release. In the refined
 * quality all calls keep their order and meaning, with these differences:
 * ozr_panorama_stitch_one_image keeps the whole picture, and needs no direction, offset or overlap
 * (they are hints that save time where they are right); ozr_panorama_run finds the cameras, leaves
 * out pictures that do not belong, and gives an NV12 picture with even sides.
 * @param handle   session in which no picture was added since creation or reset.
 * @param quality  one of the two.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  handle is null
 *         ozr_err_not_supported     no such quality
 *         ozr_err_invalid_status    a sweep has begun
 */
OZR_API ozr_err ozr_panorama_set_quality(ozr_panorama* handle, ozr_panorama_quality quality);

/**
 * Tells how two pictures of the panorama were joined.
 *
 * Joint k is that of pictures k and k + 1. In the refined quality those of pictures further apart
 * may follow, which were compared where neighbours did not fit.
 * @param handle  session whose sweep was run.
 * @param index   of the joint, from 0.
 * @param joint   out; left alone after a failure.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null
 *         ozr_err_invalid_status    no panorama was made since creation or reset
 *         ozr_err_out_of_bound      beyond the last joint (not logged)
 */
OZR_API ozr_err ozr_panorama_get_joint(ozr_panorama* handle, int32_t index, ozr_panorama_joint* joint);

/**
 * Tells where a picture of a refined sweep looked.
 *
 * @param handle  session whose refined sweep was run.
 * @param index   of the picture, in order of capture, from 0.
 * @param camera  out; left alone after a failure. Of a picture that is not used only `used` is
 *                to be trusted.
 * @return ozr_success, or
 *         ozr_err_invalid_argument  a pointer is null
 *         ozr_err_invalid_status    no panorama was made since creation or reset
 *         ozr_err_not_supported     the sweep was a classic one
 *         ozr_err_out_of_bound      beyond the last picture (not logged)
 */
OZR_API ozr_err ozr_panorama_get_camera(ozr_panorama* handle, int32_t index, ozr_panorama_camera* camera);

OZR_END_DECLS

#endif
