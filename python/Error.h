#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace pybind11 {
class module_;
}

namespace lumopy {

// What kind of failure an Error is; each kind is its own Python exception
// class, all derived from lumogenicam.Error.
enum class ErrorKind {
    General,     // lumogenicam.Error
    Timeout,     // lumogenicam.GrabTimeout (also a TimeoutError)
    Feature,     // lumogenicam.FeatureError: the node map refused
    Conversion,  // lumogenicam.ConversionError: ConvertPixels refused
};

// A failure of the library, carrying its result code when it gave one.
class Error : public std::runtime_error {
public:
    explicit Error(const std::string& message, std::optional<int> code = std::nullopt,
                   ErrorKind kind = ErrorKind::General)
        : std::runtime_error(message), m_code(code), m_kind(kind) {}

    std::optional<int> Code() const { return m_code; }
    ErrorKind Kind() const { return m_kind; }

private:
    std::optional<int> m_code;
    ErrorKind m_kind;
};

// Creates the exception classes in the module and translates Error (and the
// GenApi layer's exceptions) into them.
void RegisterErrors(pybind11::module_& module);

}  // namespace lumopy
