#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

namespace lumocam {

// Builds one JSON document in order: the caller opens objects and arrays,
// names keys inside objects, and the writer places the commas.
class JsonWriter {
public:
    JsonWriter& BeginObject();
    JsonWriter& EndObject();
    JsonWriter& BeginArray();
    JsonWriter& EndArray();
    JsonWriter& Key(std::string_view name);
    JsonWriter& String(std::string_view text);
    JsonWriter& Int(std::int64_t value);
    JsonWriter& Uint(std::uint64_t value);
    // Non-finite numbers have no JSON form and are written as null.
    JsonWriter& Double(double value);
    JsonWriter& Bool(bool value);
    JsonWriter& Null();

    // Key and value in one call.
    template <class Value>
    JsonWriter& Field(std::string_view name, const Value& value);

    std::string Text() const { return m_out.str(); }

private:
    void Separate();

    std::ostringstream m_out;
    bool m_first = true;   // no value yet in the current object or array
    bool m_keyed = false;  // a key was just written; its value follows without a comma
};

template <class Value>
JsonWriter& JsonWriter::Field(std::string_view name, const Value& value) {
    Key(name);
    if constexpr (std::is_same_v<Value, bool>) {
        return Bool(value);
    } else if constexpr (std::is_floating_point_v<Value>) {
        return Double(value);
    } else if constexpr (std::is_integral_v<Value> && std::is_signed_v<Value>) {
        return Int(value);
    } else if constexpr (std::is_integral_v<Value>) {
        return Uint(value);
    } else {
        return String(value);
    }
}

// {"error": message}, the body of every refused request.
std::string JsonError(std::string_view message);

}  // namespace lumocam
