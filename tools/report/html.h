// A page that grows.
#ifndef HTML_H
#define HTML_H

#include "media/picture.h"

#include <string>

namespace ozr_pano
{

class Html
{
public:
    /** Appends markup. */
    Html& operator<<(const std::string& markup)
    {
        markup_ += markup;
        return *this;
    }

    /** Appends printf-style markup of at most 1023 bytes; text of unknown length goes through html_escaped and <<. */
    void format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    const std::string& markup() const { return markup_; }

private:
    std::string markup_;
};

/** A picture as the value of href or src, so that the page needs no other file. */
std::string jpeg_uri(const Picture& picture, int quality);

}  // namespace ozr_pano

#endif
