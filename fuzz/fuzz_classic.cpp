// What the fuzzers have of their own where the library below them is a shared one, whose place
// an older one may take (scripts/compare-builds --against): what is not exported, and what the
// first releases did not have.
#include "core/panorama_core.h"
#include "fuzz_process.h"
#include "ozr_panorama.h"

// The library chooses; the byte is read, so that the rest of the input means what it means
// elsewhere.
void fuzz_choose_kernels(FuzzInput* input)
{
    input->byte();
}

PanoResult ozr::core::prepare(PanoramaCore* pi, int32_t forward, int32_t width, int32_t height,
                              int32_t stride)
{
    return static_cast<PanoResult>(panorama_core_init(pi, forward, width, height, stride));
}

// The process ends with the input.
void ozr::core::free_projection(ProjectionInfo* info)
{
    *info = {};
}

// Every sweep is a classic one.
ozr_err ozr_panorama_set_quality(ozr_panorama*, ozr_panorama_quality)
{
    return ozr_err_not_supported;
}

ozr_err ozr_panorama_get_joint(ozr_panorama*, int32_t, ozr_panorama_joint*)
{
    return ozr_err_not_supported;
}

ozr_err ozr_panorama_get_camera(ozr_panorama*, int32_t, ozr_panorama_camera*)
{
    return ozr_err_not_supported;
}
