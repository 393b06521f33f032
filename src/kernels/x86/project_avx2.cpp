#include "kernels/project.h"
#include "kernels/x86/projection_rows.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

namespace
{

struct ProjectAvx2 : Avx2 {
    static Vector first_pairs(Vector bytes)
    {
        return reordered(bytes, _mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8));
    }
    static Vector second_pairs(Vector bytes)
    {
        return reordered(bytes, _mm_setr_epi8(2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10));
    }
    static Vector reordered(Vector bytes, __m128i order)
    {
        return Vector(shuffled(bytes, Words(twice(order))));
    }
    static Words absolute(Words words) { return Words(_mm256_abs_epi16(Vector(words))); }
};

}  // namespace

void project_luma_row(uint8_t* dst, const ProjectionSource& src, const ProjectionRow& row, int32_t blocks)
{
    ProjectionRows<ProjectAvx2>::project_row(dst, src, row, blocks, ssse3::project_luma_row);
}

}  // namespace ozr::kernels::avx2
