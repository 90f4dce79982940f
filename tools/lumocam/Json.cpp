#include "Json.h"

#include <cstdio>

namespace lumocam {

std::string JsonString(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (byte < 0x20 || byte >= 0x80) {
                    // Producers do not promise UTF-8; escaping every
                    // non-ASCII byte keeps the document valid regardless.
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
                    out += escaped;
                } else {
                    out += c;
                }
        }
    }
    out += '"';
    return out;
}

}  // namespace lumocam
