// PNG in and out of memory.
#ifndef PNG_CODEC_H
#define PNG_CODEC_H

#include "media/picture.h"

namespace ozr_pano
{

/** Whether bytes begin like a PNG file. */
bool looks_like_png(const std::vector<uint8_t>& file);

/**
 * Decodes a PNG file of any kind and turns it upright by its Exif orientation.
 *
 * Throws ProgramError with the reason alone: broken or cut off, too large.
 */
Picture decode_png(const std::vector<uint8_t>& file);

/** Encodes as 8-bit RGB; A is left out. Throws ProgramError with the reason alone. */
std::vector<uint8_t> encode_png(const Picture& picture);

}  // namespace ozr_pano

#endif
