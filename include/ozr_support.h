/**
 * @file
 * The support toolkit, gathered: each of these headers stands alone.
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
