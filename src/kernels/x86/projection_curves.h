// The curves of a projection, in vectors of any width. `V` is Sse2 or Avx2 with what
// else they need.
#ifndef OZR_PROJECTION_CURVES_H
#define OZR_PROJECTION_CURVES_H

#include <stddef.h>

#include "kernels/project.h"
#include "kernels/projection_block.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

template <class V>
struct ProjectionCurveRows {
    static constexpr size_t kLanes = V::kBytes / 4;
    static constexpr size_t kVectors = kBlock / kLanes;  // of a block
    using Vector = typename V::Vector;
    using Ints = typename V::Ints;

    static Ints load(const int32_t* src) { return Ints(V::load(src)); }

    // Columns i and following.
    static void advance(ProjectionCurves* curves, size_t i, Ints values, Ints farthest)
    {
        const Ints divisors = load(curves->divisors + i);
        const Ints rests = load(curves->rests + i) + load(curves->step_rests + i);
        const Ints carried = rests >= divisors;  // -1 where so
        V::store(curves->rests + i, Vector(rests - (divisors & carried)));
        V::store(curves->values + i, V::lesser_ints(values + load(curves->steps + i) - carried, farthest));
    }

    static void store_offsets(const ProjectionRowOut& out, int32_t line_offset, const int32_t* bases,
                              ptrdiff_t right, ptrdiff_t left)
    {
        out.offsets[right] = line_offset + bases[right];
        out.offsets[left] = line_offset + bases[left];
    }

    // The pair is a copy, which nothing that is stored can change.
    static void make_rows(ProjectionRowPair out, ProjectionCurves* curves, int32_t blocks)
    {
        const Ints farthest = V::all_ints(out.farthest);
        for (ptrdiff_t right = blocks / 2, left = (blocks - 1) / 2; right < blocks;
             ++right, --left, ++curves) {
            const int32_t* v = curves->values;
            const int32_t least = (v[0] < v[kBlock / 2] ? v[0] : v[kBlock / 2]) >> kFracBits;
            const int32_t most = (v[kBlock - 1] + kPixel - 1) >> kFracBits;
            store_offsets(out.below, (out.centre + least) * out.stride, out.bases, right, left);
            store_offsets(out.above, (out.centre - 1 - most) * out.stride, out.bases, right, left);
            Ints values[kVectors];
            for (size_t i = 0; i < kVectors; ++i)
                values[i] = load(v + kLanes * i);
            V::store_rows(out, right, left, V::limited_rows(values, kPixel * least, kPixel * most));
            for (size_t i = 0; i < kVectors; ++i)
                advance(curves, kLanes * i, values[i], farthest);
        }
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
