// A scene in the form in which the camera samples it: luma and chroma in several sizes.
#ifndef TEXTURE_H
#define TEXTURE_H

#include "scene/canvas.h"

namespace ozr_pano
{

// One size of a texture: a luma plane, and chroma pairs U V at half its resolution.
struct TextureLevel {
    int32_t width, height;  // of the luma plane, both even
    std::vector<uint8_t> luma, chroma;
};

// A colour as pictures hold it.
struct Yuv {
    uint8_t y, u, v;
};
Yuv yuv_of(Rgb colour);

// The painted scene, and the same at a half, a quarter ... of the resolution, for cameras with
// fewer pixels.
class Texture
{
public:
    explicit Texture(const Canvas& canvas);

    // Level 0 has the canvas' resolution, each next one half of it.
    const std::vector<TextureLevel>& levels() const { return levels_; }

private:
    std::vector<TextureLevel> levels_;
};

}  // namespace ozr_pano

#endif
