// Text made of formats, and text of any origin inside JSON and HTML.
#include "base/quoting.h"

#include <stdio.h>

namespace ozr_pano
{

namespace
{

/** Length of the well-formed UTF-8 sequence at text[i], 0 if there is none. */
size_t _utf8_length(const std::string& text, size_t i)
{
    const auto byte = [&](size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
    // Ranges of the first and of the second byte: no overlong forms, no surrogates, nothing beyond the last plane.
    static constexpr struct {
        unsigned first_low, first_high, second_low, second_high;
        size_t length;
    } kForms[] = {
        {0x00, 0x7F, 0x00, 0xFF, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
        {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
        {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
    };
    for (const auto& form : kForms) {
        if (byte(i) < form.first_low || byte(i) > form.first_high)
            continue;
        if (byte(i + 1) < form.second_low || byte(i + 1) > form.second_high)
            return 0;
        for (size_t k = 2; k < form.length; ++k) {
            if ((byte(i + k) & 0xC0) != 0x80)
                return 0;
        }
        return form.length;
    }
    return 0;
}

/** Joins what `escape` makes of each character; an ill-formed byte becomes U+FFFD in UTF-8. */
template <class Escape>
std::string _escaped(const std::string& text, const Escape& escape)
{
    std::string out;
    for (size_t i = 0; i < text.size();) {
        const size_t length = _utf8_length(text, i);
        if (length == 0)
            out += "\xEF\xBF\xBD";
        else if (length == 1)
            out += escape(text[i]);
        else
            out += text.substr(i, length);
        i += length == 0 ? 1 : length;
    }
    return out;
}

std::string _json_character(char c)
{
    if (c == '"' || c == '\\')
        return std::string("\\") + c;
    if (static_cast<unsigned char>(c) >= 0x20)
        return {c};
    char escape[8];
    snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
    return escape;
}

std::string _html_character(char c)
{
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    default:
        return {static_cast<unsigned char>(c) < 0x20 && c != '\n' ? '?' : c};
    }
}

}  // namespace

std::string formatted(const char* format, va_list args)
{
    char text[1024];
    vsnprintf(text, sizeof(text), format, args);
    return text;
}

std::string json_quoted(const std::string& text)
{
    return '"' + _escaped(text, _json_character) + '"';
}

std::string html_escaped(const std::string& text)
{
    return _escaped(text, _html_character);
}

}  // namespace ozr_pano
