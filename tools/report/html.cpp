// A page that grows, and pictures inside it.
#include "report/html.h"

#include "base/quoting.h"
#include "media/jpeg_codec.h"

namespace ozr_pano
{

namespace
{

std::string _base64(const std::vector<uint8_t>& bytes)
{
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t count = bytes.size() - i;  // of this group, at least 1
        const uint32_t group = static_cast<uint32_t>(bytes[i] << 16 | (count > 1 ? bytes[i + 1] << 8 : 0) |
                                                     (count > 2 ? bytes[i + 2] : 0));
        text += kDigits[group >> 18];
        text += kDigits[group >> 12 & 63];
        text += count > 1 ? kDigits[group >> 6 & 63] : '=';
        text += count > 2 ? kDigits[group & 63] : '=';
    }
    return text;
}

}  // namespace

void Html::format(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    markup_ += formatted(format, args);
    va_end(args);
}

std::string jpeg_uri(const Picture& picture, int quality)
{
    return "data:image/jpeg;base64," + _base64(encode_jpeg(picture, quality));
}

}  // namespace ozr_pano
