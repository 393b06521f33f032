// Text made of formats, and text of any origin inside JSON and HTML. File names may hold any bytes: what is no UTF-8 becomes U+FFFD.
#ifndef QUOTING_H
#define QUOTING_H

#include <stdarg.h>
#include <string>

namespace ozr_pano
{

/** What vprintf would print, cut at 1023 bytes. */
std::string formatted(const char* format, va_list args) __attribute__((format(printf, 1, 0)));

/** A JSON string, quotes included. */
std::string json_quoted(const std::string& text);

/** Text for HTML content and quoted attributes. */
std::string html_escaped(const std::string& text);

}  // namespace ozr_pano

#endif
