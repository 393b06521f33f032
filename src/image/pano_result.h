// Result codes of the engine, the core and the image toolkit. They log no errors; the session maps their codes to
// ozr_err and logs.
#ifndef PANO_RESULT_H
#define PANO_RESULT_H

#include <stdint.h>

enum [[nodiscard]] PanoResult : int32_t{
    kPanoSuccess = 0,
    kPanoNotSupported = -2,
    kPanoNullArgument = -3,
    kPanoBadArgument = -4,
    kPanoCancelled = -5,
    kPanoOutOfBound = -6,
    kPanoWrongState = -7,
    // Kept: when memory for the projection tables is out, callers of the core see the number of a wrong state.
    kPanoTablesNoMemory = -7,
    kPanoNoMemory = -8,
    // engine
    kPanoPictureBusy = -101,  // the first picture is missing, or a picture is still being added
    kPanoSynthesisRunning = -102,
    kPanoTooManyPictures = -103,
    kPanoCancelTimeout = -104,
    // core
    kPanoCoreNotInitialised = -201,
    kPanoPreviousMissing = -202,
    kPanoPictureMissing = -203,
};

namespace ozr
{

// The result of an exported function, which has a plain number in its signature.
constexpr PanoResult as_result(int32_t code)
{
    return static_cast<PanoResult>(code);
}

// Drops a result that has no effect on what follows; each use says why.
inline void ignore(PanoResult /*result*/) {}

}  // namespace ozr

// Passes a failure on; every negative number is one.
#define PANO_FORWARD(call)                                                                                   \
    do {                                                                                                     \
        const PanoResult pano_result_ = ::ozr::as_result(call);                                              \
        if (pano_result_ < 0)                                                                                \
            return static_cast<PanoResult>(pano_result_);                                                    \
    } while (0)

#endif
