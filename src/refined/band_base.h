// What bands are made of: each picture, and the share that it has of the panorama, as level 0 of
// a pyramid.
//
// Level 0 has the means of 2 x 2 points of the lattice, as chroma pairs are; what is finer is left
// to the feather along the seams. Its first point is that of the panorama.
#ifndef REFINED_BAND_BASE_H
#define REFINED_BAND_BASE_H

#include "refined/crop.h"
#include "refined/grid.h"
#include "refined/interval.h"
#include "refined/layers.h"
#include "refined/seams.h"

namespace ozr::refined
{

constexpr int32_t kBaseBits = 1;       // a point of level 0 is 2^kBaseBits of the lattice each way
constexpr int32_t kMaskOne = 1 << 14;  // a picture's whole share

// Everything that pictures and their shares are read from.
struct BandSource {
    const Layers& layers;
    const Seams& seams;
    const Crop& crop;
};

// The points of level 0 that a picture contributes to: these columns of all rows.
struct BandPart {
    int32_t picture;
    Interval columns;
};

// The picture's share of each point, from 0 to kMaskOne.
void make_mask(const BandSource& source, const BandPart& part, const Grid& base);

// The picture's own numbers, in Q5 levels. Beyond its ends it goes on as it ends.
void make_channel(const BandSource& source, const BandPart& part, int32_t channel, const Grid& base);

}  // namespace ozr::refined

#endif
