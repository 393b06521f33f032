// Pictures made smaller for a page.
#ifndef THUMBNAIL_H
#define THUMBNAIL_H

#include "media/picture.h"

namespace ozr_pano
{

/** Reduces a picture until neither side has more than `longest` pixels, each the mean of what it stands for. */
Picture shrink(const Picture& picture, int32_t longest);

}  // namespace ozr_pano

#endif
