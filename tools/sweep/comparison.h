// Joins the pictures of a sweep once more, in the other quality, so that the two can be compared.
#ifndef COMPARISON_H
#define COMPARISON_H

#include "media/image_owner.h"
#include "sweep/session.h"

#include <deque>

namespace ozr_pano
{

class Comparison
{
public:
    // Offsets are in pixels of the last preview; of the pictures where there was none.
    void note_preview(const ozr_image& preview) { preview_width_ = preview.width; }

    // Keeps a copy of a picture. Throws std::bad_alloc.
    void keep(const ozr_image& picture, const PictureEntry& entry);

    // What becomes of the pictures in the quality that `done` does not have. The classic quality,
    // which finds neither, is told the direction and the overlap that `done` ended with. Throws
    // ProgramError when there is no session.
    Counterpart join(const CommonOptions& options, const Journal& done);

private:
    int32_t preview_width_ = 0;
    std::deque<ImageOwner> pictures_;
    std::deque<PictureEntry> entries_;
};

}  // namespace ozr_pano

#endif
