// The layout of a refined panorama, by the library's window.
#ifndef REFINED_READER_H
#define REFINED_READER_H

#include "report/layout.h"

#include <ozr_panorama.h>

namespace ozr_pano
{

// Whether the session has a refined panorama.
bool has_refined(const ozr_panorama& session);

// Its layout; parameters as those of read_layout.
Layout read_refined(const ozr_panorama& session, const ozr_image& panorama,
                    const std::vector<ozr_panorama_joint>& joints);

}  // namespace ozr_pano

#endif
