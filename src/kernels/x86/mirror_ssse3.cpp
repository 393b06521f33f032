#include <tmmintrin.h>

#include "kernels/mirror.h"
#include "kernels/x86/mirror_rows.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::ssse3
{

namespace
{

struct MirrorSsse3 : Sse2 {
    static Vector reversed(Vector bytes, __m128i order) { return _mm_shuffle_epi8(bytes, order); }
};

using Rows = MirrorRows<MirrorSsse3>;

}  // namespace

void mirror_bytes_row(uint8_t* row, int32_t count)
{
    Rows::bytes_row(row, count);
}

void mirror_pairs_row(uint8_t* row, int32_t bytes)
{
    Rows::pairs_row(row, bytes);
}

void mirror_quads_row(uint8_t* row, int32_t count)
{
    Rows::quads_row(row, count);
}

}  // namespace ozr::kernels::ssse3
