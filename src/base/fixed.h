// Fixed-point formats that several layers share.
#ifndef OZR_BASE_FIXED_H
#define OZR_BASE_FIXED_H

#include <stdint.h>

namespace ozr
{

constexpr uint32_t kTrigFracBits = 16;  // sines and cosines: Q16

// Source positions of the resamplers: Q22.10, 1024 steps to a pixel.
constexpr int32_t kResampleFracBits = 10;
constexpr uint32_t kResampleOne = 1U << kResampleFracBits;
constexpr uint32_t kResampleFracMask = kResampleOne - 1;

}  // namespace ozr

#endif
