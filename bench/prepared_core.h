// Projection tables for the benchmarks that only use them: made when first asked for, then kept.
#ifndef PREPARED_CORE_H
#define PREPARED_CORE_H

#include "core/panorama_core.h"
#include "kernels/kernels.h"
#include "sweep_pictures.h"

/** A core that is ready for pictures of this size, whose rows are tightly packed and a multiple of 8 pixels wide. */
const PanoramaCore* prepared_core(Size size);

/** What the luma kernel works from in a row of it. */
ozr::kernels::ProjectionRow projection_row(const PanoramaCore* core, int32_t y);

/** Bytes that the projection of a picture reads and writes by its definition: from the tables of products. Variants that
 *  work from the factors move far less. */
int64_t projected_luma_bytes(Size size);
int64_t projected_chroma_bytes(Size size);

#endif
