#include "GenApi/GCException.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace GenICam {

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine)
    : GenericException(description, sourceFileName, sourceLine, "GenericException") {}

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine, const char* exceptionType)
    : m_description(description ? description : ""),
      m_sourceFileName(sourceFileName ? sourceFileName : ""),
      m_sourceLine(sourceLine) {
    m_what = m_description + " : " + exceptionType + " thrown (file '" + m_sourceFileName +
             "', line " + std::to_string(m_sourceLine) + ")";
}

GenericException::~GenericException() noexcept = default;

const char* GenericException::GetDescription() const noexcept {
    return m_description.c_str();
}
const char* GenericException::GetSourceFileName() const noexcept {
    return m_sourceFileName.c_str();
}
unsigned int GenericException::GetSourceLine() const noexcept {
    return m_sourceLine;
}
const char* GenericException::what() const noexcept {
    return m_what.c_str();
}

#define LUMO_GENICAM_DEFINE_EXCEPTION(Name)                                            \
    Name::Name(const char* description, const char* sourceFileName, unsigned int line) \
        : GenericException(description, sourceFileName, line, #Name) {}                \
    Name::~Name() noexcept = default;

LUMO_GENICAM_DEFINE_EXCEPTION(BadAllocException)
LUMO_GENICAM_DEFINE_EXCEPTION(InvalidArgumentException)
LUMO_GENICAM_DEFINE_EXCEPTION(OutOfRangeException)
LUMO_GENICAM_DEFINE_EXCEPTION(PropertyException)
LUMO_GENICAM_DEFINE_EXCEPTION(RuntimeException)
LUMO_GENICAM_DEFINE_EXCEPTION(LogicalErrorException)
LUMO_GENICAM_DEFINE_EXCEPTION(AccessException)
LUMO_GENICAM_DEFINE_EXCEPTION(TimeoutException)
LUMO_GENICAM_DEFINE_EXCEPTION(DynamicCastException)

std::string FormatExceptionText(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text;
    if (needed > 0) {
        std::vector<char> buffer(static_cast<size_t>(needed) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        text.assign(buffer.data(), static_cast<size_t>(needed));
    }
    va_end(args);
    return text;
}

}  // namespace GenICam
