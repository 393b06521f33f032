#include "kernels/mirror.h"
#include "kernels/x86/mirror_rows.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

namespace
{

struct MirrorAvx2 : Avx2 {
    static Vector reversed(Vector bytes, __m128i order)
    {
        const Vector halves = _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(order));
        return _mm256_permute2x128_si256(halves, halves, 1);
    }
};

using Rows = MirrorRows<MirrorAvx2>;

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

}  // namespace ozr::kernels::avx2
