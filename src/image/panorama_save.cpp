#include "image/panorama_save.h"

namespace
{

struct SaveHooks {
    PanoSaveImg img;
    PanoSaveImgList img_list;
    PanoSaveBuf buf;
};

// Volatile, so that the compiler stores the hooks, for a debugger to find, although nothing reads them.
volatile SaveHooks g_hooks;

}  // namespace

void PanoramaSave_SetCallBacks(PanoSaveImg save_img, PanoSaveImgList save_img_list, PanoSaveBuf save_buf)
{
    g_hooks.img = save_img;
    g_hooks.img_list = save_img_list;
    g_hooks.buf = save_buf;
}
