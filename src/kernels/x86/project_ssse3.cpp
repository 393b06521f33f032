#include "kernels/project.h"
#include "kernels/x86/projection_rows.h"
#include "kernels/x86/vectors_ssse3.h"

namespace ozr::kernels::ssse3
{

namespace
{

struct ProjectSsse3 : Ssse3 {
    static Vector first_pairs(Vector bytes)
    {
        return _mm_shuffle_epi8(bytes, _mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8));
    }
    static Vector second_pairs(Vector bytes)
    {
        return _mm_shuffle_epi8(bytes, _mm_setr_epi8(2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10));
    }
    static Words absolute(Words words) { return Words(_mm_abs_epi16(Vector(words))); }
};

}  // namespace

void project_luma_row(uint8_t* dst, const ProjectionSource& src, const ProjectionRow& row, int32_t blocks)
{
    ProjectionRows<ProjectSsse3>::project_row(dst, src, row, blocks, scalar::project_luma_row);
}

void project_chroma_row(uint8_t* dst, const uint8_t* src, int64_t src_bytes, const ProjectionChromaRow& row,
                        int32_t blocks)
{
    const int64_t last_offset = src_bytes - Sse2::kBytes;
    const int32_t* const offsets = row.offsets;
    const uint8_t* const order = row.order;
    for (ptrdiff_t b = 0; b < blocks; ++b, dst += kBlock) {
        const int32_t offset = offsets[b];
        if (offset < 0 || offset > last_offset) {
            scalar::project_chroma_block(dst, src, row, static_cast<int32_t>(b));
            continue;
        }
        const __m128i which = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(order + kBlock * b));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm_shuffle_epi8(Sse2::load(src + offset), which));
    }
}

}  // namespace ozr::kernels::ssse3
