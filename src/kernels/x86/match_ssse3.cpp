#include "kernels/match.h"
#include "kernels/x86/patch_rows.h"
#include "kernels/x86/vectors_ssse3.h"

namespace ozr::kernels::ssse3
{

namespace
{

struct PatchSsse3 : Ssse3 {
    static Ints spread(const int32_t* blocks) { return Ints(_mm_set1_epi32(blocks[0])); }
    static Ints repeated(const int32_t* ints) { return Ints(load(ints)); }
    static void store_blocks(int16_t* dst, const int32_t* to, Words words)
    {
        store(dst + to[0], Vector(words));
    }
};

}  // namespace

void sample_patch(int16_t* dst, const PatchPlane& plane, const PatchPlaces& places)
{
    PatchRows<PatchSsse3>::sample(dst, plane, places, scalar::sample_patch);
}

}  // namespace ozr::kernels::ssse3
