// Fixed-point formats that more than one source of the toolkit uses.
#ifndef OZR_FIXED_H
#define OZR_FIXED_H

#include <stdint.h>

constexpr uint32_t kTrigFracBits = 16;  // sines and cosines: Q16

#endif
