// A library image that releases itself.
#ifndef IMAGE_OWNER_H
#define IMAGE_OWNER_H

#include "media/picture.h"

#include <ozr_image.h>

namespace ozr_pano
{

class ImageOwner
{
public:
    ImageOwner() = default;
    /** Allocates an NV12 image of an even size. Throws std::bad_alloc. */
    ImageOwner(int32_t width, int32_t height);
    ImageOwner(const ImageOwner&) = delete;
    ImageOwner& operator=(const ImageOwner&) = delete;
    ~ImageOwner() { ozr_image_destroy(&image_); }

    ozr_image* get() { return &image_; }

private:
    ozr_image image_ = {};
};

/** Converts a picture to NV12, without its last column or row where their number is odd. Throws ProgramError. */
void convert_to_nv12(const Picture& picture, ozr_image* nv12);

/** Converts an NV12 image to a picture, likewise. Throws ProgramError. */
Picture convert_to_picture(const ozr_image& nv12);

}  // namespace ozr_pano

#endif
