// The loops over pixels: one table of function pointers for each level, that is, for
// each instruction set.
//
// The scalar function of a kernel is its meaning; a variant is right when it writes the same bytes
// for every input. Callers fetch the table once per image with active(). No kernel reads or writes
// outside the ranges that its stage's header states, and none needs alignment. Source and
// destination do not overlap unless the kernel says so.
//
// Kernels take plain pointers, strides and sizes, or small records of them: the arguments of a call
// for one row stay in registers, and a test can place each operand by itself between pages that
// must not be touched.
//
// A stage's header states each kernel as the type of its functions, declares the variants of every
// level by that type, and fills the level's table by name.
#ifndef OZR_KERNELS_H
#define OZR_KERNELS_H

#include <stdint.h>

#include "kernels/align.h"
#include "kernels/blend.h"
#include "kernels/census.h"
#include "kernels/colour.h"
#include "kernels/cpu.h"
#include "kernels/draw.h"
#include "kernels/match.h"
#include "kernels/mirror.h"
#include "kernels/motion.h"
#include "kernels/project.h"
#include "kernels/resample.h"
#include "kernels/rotate.h"
#include "kernels/seam.h"
#include "kernels/warp.h"

namespace ozr::kernels
{

struct Kernels {
    const char* level;
    uint32_t features;  // the kCpu bits of cpu.h that the level needs
    ResampleKernels resample;
    MotionKernels motion;
    AlignKernels align;
    ProjectKernels project;
    SeamKernels seam;
    BlendKernels blend;
    RotateKernels rotate;
    ColourKernels colour;
    MirrorKernels mirror;
    WarpKernels warp;
    CensusKernels census;
    DrawKernels draw;
    MatchKernels match;
};

extern const Kernels kScalarKernels;
#if defined(__i386__) || defined(__x86_64__)
extern const Kernels kSse2Kernels;
extern const Kernels kSsse3Kernels;
extern const Kernels kAvx2Kernels;
#elif defined(OZR_IS_ARM)
extern const Kernels kNeonKernels;
#endif

// All levels of this build, including those that this machine cannot run: the lowest first, then
// a null pointer.
extern const Kernels* const kLevels[];

// The highest level that needs no more than these features.
const Kernels* best_for(uint32_t features);

// The table to use on this machine; the same one for the life of the process.
const Kernels* active();

// Makes active() return this table, or the machine's own again for null. No other thread may
// use kernels meanwhile.
void set_for_test(const Kernels* kernels);

}  // namespace ozr::kernels

#endif
