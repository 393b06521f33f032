// What a panorama's file says beside its pixels.
#ifndef METADATA_H
#define METADATA_H

#include "media/jpeg_codec.h"
#include "report/journal.h"

namespace ozr_pano
{

// The first picture's camera, time and place, and how the panorama lies around the camera.
// `session`: that made the panorama.
Metadata panorama_metadata(const Journal& journal, const ozr_panorama& session);

}  // namespace ozr_pano

#endif
