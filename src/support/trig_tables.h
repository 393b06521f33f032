// Trigonometric tables for 0 to 90 degrees.
#ifndef OZR_TRIG_TABLES_H
#define OZR_TRIG_TABLES_H

#include <stdint.h>

namespace ozr
{

// Cosines in Q16 (65536 is 1), truncated from single precision: that of 60 degrees is 32767.
extern const int32_t ozr_math_cosi16_d_table[91];

// Tangents in Q10 (1024 is 1), rounded to nearest; that of 90 degrees is the largest number.
extern const int32_t ozr_math_tan_d_table[91];

}  // namespace ozr

#endif
