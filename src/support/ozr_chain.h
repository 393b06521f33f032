// The chain of failure lines. A function that detects a failure logs it once and returns its code;
// every caller that passes the code on logs a line of its own with the source text of the call. The
// argument of OZR_FORWARD,
// OZR_FORWARD_AS and OZR_REQUIRE is therefore output: never reformat it and never wrap these macros
// in another one.
#ifndef OZR_CHAIN_H
#define OZR_CHAIN_H

#include "ozr_types.h"

namespace ozr
{

// Logs "OZR_EXCEPTION(%s) %s @ %s():%d" at error level and returns err.
ozr_err raise(ozr_err err, const char* text, const char* function, int line);

// Logs "OZR_ASSERT%s FAILED @ %s():%d" at error level and returns ozr_err_general.
ozr_err raise_assert(const char* condition, const char* function, int line);

}  // namespace ozr

// The function itself found the fault.
#define OZR_RAISE(err) return ozr::raise((err), "", __func__, __LINE__)
#define OZR_RAISE_IF(cond, err)                                                                              \
    do {                                                                                                     \
        if (cond)                                                                                            \
            OZR_RAISE(err);                                                                                  \
    } while (0)

// Passes a result code on.
#define OZR_FORWARD(call)                                                                                    \
    do {                                                                                                     \
        const ozr_err ozr_e_ = (call);                                                                       \
        if (ozr_e_ != ozr_success)                                                                           \
            return ozr::raise(ozr_e_, "from " #call, __func__, __LINE__);                                    \
    } while (0)

// Turns a null result into a code.
#define OZR_FORWARD_AS(call, err)                                                                            \
    do {                                                                                                     \
        if (!(call))                                                                                         \
            return ozr::raise((err), "from " #call, __func__, __LINE__);                                     \
    } while (0)

// An internal condition that must hold.
#define OZR_REQUIRE(cond)                                                                                    \
    do {                                                                                                     \
        if (!(cond))                                                                                         \
            return ozr::raise_assert(#cond, __func__, __LINE__);                                             \
    } while (0)

#endif
