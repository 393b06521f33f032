#ifndef WARM_MEMORY_H
#define WARM_MEMORY_H

#include "sweep_pictures.h"

// Touches and releases more memory than a sweep of pictures of this size needs.
//
// The host of a virtual machine takes back large pages that stay free for some seconds. Touching
// them again then costs many times as much, which would be charged to whatever asks for large pages
// next. Call it right before what is timed.
void warm_memory(Size size);

#endif
