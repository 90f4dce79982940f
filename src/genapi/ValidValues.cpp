#include "ValidValues.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace GenApi {

namespace {

constexpr std::string_view kOpen = "<ValidValueSet>";
constexpr std::string_view kClose = "</ValidValueSet>";

bool IsSeparator(char c) {
    return c == ';' || c == ',' || c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::vector<std::string> Split(std::string_view list) {
    std::vector<std::string> values;
    size_t at = 0;
    while (at < list.size()) {
        while (at < list.size() && IsSeparator(list[at])) {
            ++at;
        }
        const size_t begin = at;
        while (at < list.size() && !IsSeparator(list[at])) {
            ++at;
        }
        if (at > begin) {
            values.emplace_back(list.substr(begin, at - begin));
        }
    }
    return values;
}

// The named element whose start tag comes last before position: the node the
// element at position belongs to (its properties carry no Name).
const NamedElement* OwnerAt(const char* position, const std::vector<NamedElement>& elements) {
    const auto after =
        std::upper_bound(elements.begin(), elements.end(), position,
                         [](const char* p, const NamedElement& e) { return p < e.tag.data(); });
    return after == elements.begin() ? nullptr : &*(after - 1);
}

bool Parse(const std::string& text, int64_t& value) {
    char* end = nullptr;
    value = std::strtoll(text.c_str(), &end, 0);
    return end != text.c_str() && *end == '\0';
}

bool Parse(const std::string& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return end != text.c_str() && *end == '\0';
}

}  // namespace

ValidValueSets ValidValueSetsOf(std::string_view text, const std::vector<NamedElement>& elements) {
    ValidValueSets sets;
    for (size_t at = text.find(kOpen); at != std::string_view::npos; at = text.find(kOpen, at)) {
        const size_t begin = at + kOpen.size();
        const size_t end = text.find(kClose, begin);
        if (end == std::string_view::npos) {
            break;
        }
        if (const NamedElement* owner = OwnerAt(text.data() + at, elements)) {
            sets[std::string(owner->name)] = Split(text.substr(begin, end - begin));
        }
        at = end + kClose.size();
    }
    return sets;
}

template <class T>
std::vector<T> ValidValuesWithin(const std::vector<std::string>& set, T min, T max) {
    std::vector<T> values;
    for (const std::string& text : set) {
        T value{};
        if (Parse(text, value) && value >= min && value <= max) {
            values.push_back(value);
        }
    }
    return values;
}

template std::vector<int64_t> ValidValuesWithin(const std::vector<std::string>&, int64_t, int64_t);
template std::vector<double> ValidValuesWithin(const std::vector<std::string>&, double, double);

}  // namespace GenApi
