// The session behind a panorama handle: carries out the calls of the interface as steps of the engine.
#ifndef PANORAMA_H
#define PANORAMA_H

#include <stddef.h>
#include <stdint.h>

#include <new>

#include "ozr_panorama.h"

struct PanoramaInternal;

struct panorama_param_t {
    int32_t strict_mode;
    int32_t max_num_images;
    int32_t overlap_percent;
    ozr_panorama_direction direction;
};

// One session owns one engine. Every method logs its own failure once and returns an ozr_err. The
// destructor and reset() may come from another thread while stitch_one_image or run works, and
// cancel it (docs/architecture.md).
class OZR_API panorama_t
{
public:
    // Cannot return a result: a session whose construction failed has no engine.
    explicit panorama_t(const ozr_config* source);
    panorama_t(const panorama_t&) = delete;
    panorama_t& operator=(const panorama_t&) = delete;

    virtual ~panorama_t();

    // Starts over: cancels the work of another thread, renews the engine, drops the sweep. The parameters cached here are
    // kept: the cached direction is used again, the cached overlap only after set_parameters with another one.
    virtual ozr_err reset();

    // 0, the number of the picture to take now, or a negative ozr_err.
    virtual int32_t detect_frame_to_stitch(const ozr_image* preview, ozr_point* offset,
                                           ozr_panorama_direction& direction);

    // A null offset is derived from the overlap.
    virtual ozr_err stitch_one_image(ozr_image* picture, const ozr_point* offset);

    virtual ozr_err run(ozr_image* output);
    virtual ozr_err set_parameters(const panorama_param_t* p);
    virtual ozr_err get_parameters(panorama_param_t* p);
    virtual void set_direction(ozr_panorama_direction d);
    virtual ozr_panorama_direction get_direction();

    // Asks the working call to stop and waits for it, two seconds at most. Does not log.
    virtual ozr_err cancel_processes();

    // The C library's heap, so that no C++ runtime is needed.
    static void* operator new(size_t size, const std::nothrow_t& tag) noexcept;
    static void operator delete(void* session) noexcept;
    static void operator delete(void* session, const std::nothrow_t& tag) noexcept;

    PanoramaInternal* engine;  // owned
    ozr_config* config;        // private copy, owned, not read again
    panorama_param_t* params;  // the parameters last read or set, owned
    int32_t detected_count;    // pictures announced in this sweep
    int32_t stitched_count;    // pictures taken by the engine; the index of the next one
};

#endif
