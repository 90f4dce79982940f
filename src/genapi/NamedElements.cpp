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

bool IsValueLinkTag(std::string_view tag) {
    // Ranges and access (pMin, pIsAvailable, ...) are read apart from the
    // value: a node's maximum may depend on its own value without a loop.
    static constexpr std::string_view kTags[] = {"pValue",        "pAddress",      "pIndex",
                                                 "pLength",       "pPort",         "pVariable",
                                                 "pCommandValue", "pValueIndexed", "pValueDefault"};
    if (tag.size() < 4 || tag[0] != 'p') {
        return false;
    }
    for (std::string_view candidate : kTags) {
        if (tag == candidate) {
            return true;
        }
    }
    return false;
}

std::string_view TagAt(const char* p, const char* end) {
    const char* tagBegin = p;
    while (p < end && !IsSpace(*p) && *p != '>' && *p != '/') {
        ++p;
    }
    return std::string_view(tagBegin, static_cast<size_t>(p - tagBegin));
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
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

namespace {

// Follows the nesting of the elements to tell which node a link belongs to.
class LinkTracker {
public:
    explicit LinkTracker(DescriptionOutline& outline) : m_outline(outline) {}

    // After a start tag: `named` says whether it added an element.
    void Open(std::string_view tag, bool named, bool selfClosed, const char* text,
              const char* end) {
        const size_t owner = named ? m_outline.elements.size() - 1
                                   : (m_stack.empty() ? kNone : m_stack.back().owner);
        if (IsValueLinkTag(tag) && !selfClosed) {
            AddLink(owner, text, end);
        }
        if (selfClosed) {
            return;
        }
        if (tag == "StructReg" && m_struct == kNone) {
            m_struct = m_stack.size();
            m_structElements = m_outline.elements.size();
            m_structTargets.clear();
        }
        m_stack.push_back({tag, owner});
    }

    void Close(std::string_view tag) {
        for (size_t depth = m_stack.size(); depth > 0; --depth) {
            if (m_stack[depth - 1].tag != tag) {
                continue;
            }
            if (m_struct != kNone && depth - 1 <= m_struct) {
                CloseStruct();
            }
            m_stack.resize(depth - 1);
            return;
        }
    }

private:
    static constexpr size_t kNone = static_cast<size_t>(-1);
    struct Frame {
        std::string_view tag;
        size_t owner;
    };

    void AddLink(size_t owner, const char* text, const char* end) {
        const char* stop = static_cast<const char*>(std::memchr(text, '<', end - text));
        if (!stop) {
            return;
        }
        const std::string_view target = Trim(std::string_view(text, stop - text));
        if (target.find('&') != std::string_view::npos ||
            (target.empty() && stop + 1 < end && stop[1] == '!')) {
            m_outline.linksComplete = false;
            return;
        }
        const bool structLevel =
            m_struct != kNone && owner == (m_struct == 0 ? kNone : m_stack[m_struct].owner);
        if (structLevel) {
            m_structTargets.push_back(target);
        } else if (owner != kNone) {
            m_outline.links.push_back({owner, target});
        }
    }

    // What the register says about address, length and port holds for each entry.
    void CloseStruct() {
        for (size_t e = m_structElements; e < m_outline.elements.size(); ++e) {
            if (m_outline.elements[e].tag != "StructEntry") {
                continue;
            }
            for (std::string_view target : m_structTargets) {
                m_outline.links.push_back({e, target});
            }
        }
        m_struct = kNone;
    }

    DescriptionOutline& m_outline;
    std::vector<Frame> m_stack;
    size_t m_struct = kNone;
    size_t m_structElements = 0;
    std::vector<std::string_view> m_structTargets;
};

}  // namespace

DescriptionOutline OutlineOf(const char* xml, size_t size) {
    DescriptionOutline outline;
    LinkTracker tracker(outline);
    const char* p = xml;
    const char* end = xml + size;
    while (p < end) {
        p = static_cast<const char*>(std::memchr(p, '<', static_cast<size_t>(end - p)));
        if (!p || ++p >= end) {
            break;
        }
        if (*p == '!' || *p == '?') {
            p = SkipMarkup(p, end);
        } else if (*p == '/') {
            tracker.Close(TagAt(p + 1, end));
        } else {
            const std::string_view tag = TagAt(p, end);
            const size_t before = outline.elements.size();
            p = ScanStartTag(p, end, outline.elements);
            const bool selfClosed = p < end && *p == '/';
            const char* text =
                p < end
                    ? static_cast<const char*>(std::memchr(p, '>', static_cast<size_t>(end - p)))
                    : nullptr;
            tracker.Open(tag, outline.elements.size() > before, selfClosed, text ? text + 1 : end,
                         end);
        }
    }
    return outline;
}

}  // namespace GenApi
