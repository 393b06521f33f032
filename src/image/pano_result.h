// Result codes of the engine, the core and the image toolkit. They log no errors; the session maps their codes to
// ozr_err and logs.
#ifndef PANO_RESULT_H
#define PANO_RESULT_H

#include <stdint.h>

enum PanoResult : int32_t {
    kPanoSuccess = 0,
    kPanoNotSupported = -2,
    kPanoNullArgument = -3,
    kPanoBadArgument = -4,
    kPanoCancelled = -5,
    kPanoOutOfBound = -6,
    kPanoWrongState = -7,
    kPanoTablesNoMemory =
        -7,  // kept: the core reports its projection tables under the number of a wrong state
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

// Passes a failure on; every negative number is one.
#define PANO_FORWARD(call)                                                                                   \
    do {                                                                                                     \
        const int32_t pano_result_ = (call);                                                                 \
        if (pano_result_ < 0)                                                                                \
            return pano_result_;                                                                             \
    } while (0)

#endif
