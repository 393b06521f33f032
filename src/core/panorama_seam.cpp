// Seam finding by the exported name: checks, and a mask for every pixel. Composition masks row
// by row instead.
#include "core/panorama_seam.h"

#include "core/seam_paths.h"
#include "image/pano_result.h"

using namespace ozr::core;

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(SeamRegion) == 20, "five 32-bit words");
#endif

PanoResult ozr::core::check_regions(const SeamRegion* a, const SeamRegion* b)
{
    if (a->img == nullptr || b->img == nullptr || a->width != b->width || a->height != b->height)
        return kPanoBadArgument;
    if (a->width == 0 || a->height == 0)
        return kPanoNotSupported;
    if (a->width < 0 || a->height < 0 || a->img->data == nullptr || b->img->data == nullptr)
        return kPanoBadArgument;
    // A single column has no neighbour to take a cost from.
    return a->width == 1 ? kPanoNotSupported : kPanoSuccess;
}

int32_t panorama_seam_find(int32_t* seam, const uint8_t* mask, const SeamRegion* regionA,
                           const SeamRegion* regionB)
{
    if (seam == nullptr || mask == nullptr || regionA == nullptr || regionB == nullptr)
        return kPanoNullArgument;
    PANO_FORWARD(check_regions(regionA, regionB));
    const SeamWorkspace workspace = make_seam_workspace(seam_workspace_size(regionA->width, regionA->height));
    if (!workspace)
        return kPanoNoMemory;
    SeamPaths paths(workspace.get(), regionA->width);
    for (int32_t y = 0; y < regionA->height; ++y, mask += regionA->width)
        paths.add_row(region_row(regionA, y), region_row(regionB, y), mask);
    paths.trace(seam);
    return kPanoSuccess;
}
