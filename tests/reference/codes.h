// The codes that engine and images return, by number.
#ifndef REFERENCE_CODES_H
#define REFERENCE_CODES_H

#include <cstdint>

namespace ozr_reference
{

enum : int32_t {
    kUnsupported = -2,
    kNull = -3,
    kBad = -4,
    kCancelled = -5,
    kWrongState = -7,
    kOutOfMemory = -8,
    kNotThere = -101,
    kStillRunning = -102,
    kFull = -103,
    kNoEnd = -104,
};

}  // namespace ozr_reference

#endif
