// Projections for the benchmarks that only use them: made when first asked for, then kept.
#ifndef PREPARED_CORE_H
#define PREPARED_CORE_H

#include <vector>

#include "core/panorama_core.h"
#include "core/projection.h"
#include "kernels/kernels.h"
#include "sweep_pictures.h"

// A core that is ready for pictures of this size, whose rows are tightly packed and a multiple of 8
// pixels wide, as a sweep prepares it.
const PanoramaCore* prepared_core(Size size);

// The tables of all rows of a projection.
class PreparedRows
{
public:
    explicit PreparedRows(Size size);

    ozr::kernels::ProjectionRow luma(int32_t y) const;
    ozr::kernels::ProjectionChromaRow chroma(int32_t y) const;

private:
    void keep(const ozr::core::ProjectedRow& row, int32_t y, bool has_chroma);

    const PanoramaCore* core_;
    size_t blocks_;
    std::vector<int32_t> offsets_, chroma_offsets_, chroma_maps_;
    std::vector<uint8_t> rows_;
};

const PreparedRows& prepared_rows(Size size);

// Bytes of the picture that a projection reads and writes.
int64_t projected_luma_bytes(Size size);
int64_t projected_chroma_bytes(Size size);

#endif
