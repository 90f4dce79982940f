#include "NamedElements.h"

#include <algorithm>
#include <cstring>

namespace GenApi {

namespace {

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsNodeTag(std::string_view tag) {
    return tag != "EnumEntry" && tag != "pVariable" && tag != "Constant" && tag != "Expression";
}

// Scans one start tag from just after its '<'; returns where scanning goes on.
const char* ScanStartTag(const char* p, const char* end, std::vector<NamedElement>& out) {
    const char* tagBegin = p;
    while (p < end && !IsSpace(*p) && *p != '>' && *p != '/') {
        ++p;
    }
    const std::string_view tag(tagBegin, static_cast<size_t>(p - tagBegin));
    while (p < end) {
        while (p < end && IsSpace(*p)) {
            ++p;
        }
        if (p >= end || *p == '>' || *p == '/') {
            return p;
        }
        const char* attrBegin = p;
        while (p < end && *p != '=' && !IsSpace(*p) && *p != '>') {
            ++p;
        }
        const std::string_view attribute(attrBegin, static_cast<size_t>(p - attrBegin));
        while (p < end && (IsSpace(*p) || *p == '=')) {
            ++p;
        }
        if (p >= end || (*p != '"' && *p != '\'')) {
            return p;
        }
        const char quote = *p++;
        const char* valueEnd = static_cast<const char*>(std::memchr(p, quote, end - p));
        if (!valueEnd) {
            return end;
        }
        if (attribute == "Name" && IsNodeTag(tag)) {
            out.push_back({tag, std::string_view(p, static_cast<size_t>(valueEnd - p))});
        }
        p = valueEnd + 1;
    }
    return p;
}

// Skips what follows "<!" or "<?": a comment, a CDATA section, a declaration
// or a processing instruction.
const char* SkipMarkup(const char* p, const char* end) {
    auto skipPast = [&](std::string_view terminator) {
        const char* found = std::search(p, end, terminator.begin(), terminator.end());
        return found == end ? end : found + terminator.size();
    };
    const std::string_view rest(p, static_cast<size_t>(end - p));
    if (rest.substr(0, 3) == "!--") {
        return skipPast("-->");
    }
    if (rest.substr(0, 8) == "![CDATA[") {
        return skipPast("]]>");
    }
    if (rest.substr(0, 1) == "?") {
        return skipPast("?>");
    }
    return skipPast(">");
}

}  // namespace

std::vector<NamedElement> NamedElements(const char* xml, size_t size) {
    std::vector<NamedElement> out;
    const char* p = xml;
    const char* end = xml + size;
    while (p < end) {
        p = static_cast<const char*>(std::memchr(p, '<', static_cast<size_t>(end - p)));
        if (!p || ++p >= end) {
            break;
        }
        if (*p == '!' || *p == '?') {
            p = SkipMarkup(p, end);
        } else if (*p != '/') {
            p = ScanStartTag(p, end, out);
        }
    }
    return out;
}

}  // namespace GenApi
