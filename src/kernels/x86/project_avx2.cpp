#include "kernels/project.h"
#include "kernels/x86/projection_rows.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

namespace
{

struct ProjectAvx2 : Avx2 {
    static Vector shuffled(Vector bytes, __m128i order)
    {
        return _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(order));
    }
    static Vector first_pairs(Vector bytes)
    {
        return shuffled(bytes, _mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8));
    }
    static Vector second_pairs(Vector bytes)
    {
        return shuffled(bytes, _mm_setr_epi8(2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10));
    }
    static Words multiply_add_bytes(Vector a, Vector b) { return Words(_mm256_maddubs_epi16(a, b)); }
    static Words absolute(Words words) { return Words(_mm256_abs_epi16(Vector(words))); }
    static Words subtract_limited(Words a, Words b) { return Words(_mm256_subs_epu16(Vector(a), Vector(b))); }
    static bool any(Words mask) { return _mm256_movemask_epi8(Vector(mask)) != 0; }

    static Vector load_at(const uint8_t* src, const int32_t* offsets)
    {
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + offsets[0]));
        const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + offsets[1]));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
    }
    static void store_blocks(uint8_t* dst, Words pixels)
    {
        const Vector bytes = in_order(pack(pixels, pixels));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(bytes));
    }
};

}  // namespace

void project_luma_row(uint8_t* dst, const ProjectionSource& src, const ProjectionRow& row, int32_t blocks)
{
    ProjectionRows<ProjectAvx2>::project_row(dst, src, row, blocks, ssse3::project_luma_row);
}

}  // namespace ozr::kernels::avx2
