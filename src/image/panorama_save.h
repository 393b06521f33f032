// Hooks through which a debug build of an application may save intermediate pictures.
#ifndef PANORAMA_SAVE_H
#define PANORAMA_SAVE_H

#include <stdint.h>

#include "image/panorama_img.h"

OZR_BEGIN_DECLS

typedef void (*PanoSaveImg)(const char* name, const PanoImg* img);
typedef void (*PanoSaveImgList)(const char* name, const PanoImg* list, int32_t count);
typedef void (*PanoSaveBuf)(const char* name, const uint8_t* data, int32_t size);

// Stores the three hooks for the whole library. Nothing calls them: they have no effect on any
// result.
OZR_API void PanoramaSave_SetCallBacks(PanoSaveImg save_img, PanoSaveImgList save_img_list,
                                       PanoSaveBuf save_buf);

OZR_END_DECLS

#endif
