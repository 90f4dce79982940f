#include "JsonWriter.h"

#include <charconv>
#include <cmath>

#include "Json.h"

namespace lumocam {

void JsonWriter::Separate() {
    if (m_keyed) {
        m_keyed = false;
        return;
    }
    if (!m_first) {
        m_out << ',';
    }
    m_first = false;
}

JsonWriter& JsonWriter::BeginObject() {
    Separate();
    m_out << '{';
    m_first = true;
    return *this;
}

JsonWriter& JsonWriter::EndObject() {
    m_out << '}';
    m_first = false;
    return *this;
}

JsonWriter& JsonWriter::BeginArray() {
    Separate();
    m_out << '[';
    m_first = true;
    return *this;
}

JsonWriter& JsonWriter::EndArray() {
    m_out << ']';
    m_first = false;
    return *this;
}

JsonWriter& JsonWriter::Key(std::string_view name) {
    Separate();
    m_out << JsonString(name) << ':';
    m_keyed = true;
    return *this;
}

JsonWriter& JsonWriter::String(std::string_view text) {
    Separate();
    m_out << JsonString(text);
    return *this;
}

JsonWriter& JsonWriter::Int(std::int64_t value) {
    Separate();
    m_out << value;
    return *this;
}

JsonWriter& JsonWriter::Uint(std::uint64_t value) {
    Separate();
    m_out << value;
    return *this;
}

JsonWriter& JsonWriter::Double(double value) {
    Separate();
    if (std::isfinite(value)) {
        // The shortest text that reads back as the same double: 0.1, not 0.10000000000000001.
        char number[32];
        const auto end = std::to_chars(number, number + sizeof number, value).ptr;
        m_out << std::string_view(number, static_cast<std::size_t>(end - number));
    } else {
        m_out << "null";
    }
    return *this;
}

JsonWriter& JsonWriter::Bool(bool value) {
    Separate();
    m_out << (value ? "true" : "false");
    return *this;
}

JsonWriter& JsonWriter::Null() {
    Separate();
    m_out << "null";
    return *this;
}

std::string JsonError(std::string_view message) {
    return JsonWriter().BeginObject().Field("error", message).EndObject().Text();
}

}  // namespace lumocam
