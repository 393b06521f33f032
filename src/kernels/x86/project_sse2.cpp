#include <emmintrin.h>

#include "kernels/project.h"
#include "kernels/x86/projection_rows.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

struct ProjectSse2 : Sse2 {
    static Vector first_pairs(Vector bytes) { return _mm_unpacklo_epi8(bytes, _mm_srli_si128(bytes, 1)); }
    static Vector second_pairs(Vector bytes) { return first_pairs(_mm_srli_si128(bytes, 2)); }
    static Words multiply_add_bytes(Vector a, Words b)
    {
        return low_bytes(a) * low_bytes(Vector(b)) + high_bytes(a) * high_bytes(Vector(b));
    }
    static Words absolute(Words words)
    {
        return Words(_mm_max_epi16(Vector(words), Vector(all_words(0) - words)));
    }
};

}  // namespace

void project_luma_row(uint8_t* dst, const ProjectionSource& src, const ProjectionRow& row, int32_t blocks)
{
    ProjectionRows<ProjectSse2>::project_row(dst, src, row, blocks, scalar::project_luma_row);
}

}  // namespace ozr::kernels::sse2
