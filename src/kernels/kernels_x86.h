// The variants of kernels for the vector instructions of x86, by instruction set. Their meaning is stated in ozr_kernels.h.
#ifndef KERNELS_X86_H
#define KERNELS_X86_H

#include "ozr_kernels.h"

#endif
