// A small alphabet for the signs of the scene.
#ifndef LETTERING_H
#define LETTERING_H

#include <stdint.h>

namespace ozr_pano
{

constexpr int kLetterRows = 7, kLetterColumns = 5;

/** Seven rows of a capital or a digit, five dots each, the leftmost in bit 4; null for what has no dots. */
const uint8_t* letter_rows(char letter);

}  // namespace ozr_pano

#endif
