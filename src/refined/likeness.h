// How alike two pictures are over their overlap.
#ifndef REFINED_LIKENESS_H
#define REFINED_LIKENESS_H

#include "refined/lens_pair.h"
#include "refined/sight.h"

namespace ozr::refined
{

// The mean correlation of small patches over the whole overlap, seen through `lenses`; those with
// little in them count for less. 1: the same; around 0: nothing to do with each other, or no
// overlap.
double likeness_of_overlap(const SightPair& sights, const LensPair& lenses);

}  // namespace ozr::refined

#endif
