/**
 * @file
 * The whole support toolkit. Each of these headers may also be included alone.
 */
#ifndef OZR_SUPPORT_H
#define OZR_SUPPORT_H

#include "ozr_geometry.h"
#include "ozr_gray.h"
#include "ozr_memory.h"
#include "ozr_platform.h"
#include "ozr_prof.h"
#include "ozr_version.h"

#endif
