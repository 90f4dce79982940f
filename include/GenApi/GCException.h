#pragma once

#include <exception>
#include <string>

#include "GCString.h"
#include "GenApiDll.h"

namespace GenICam {

class GENAPI_DECL GenericException : public std::exception {
public:
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine);
    ~GenericException() noexcept override;

    virtual const char* GetDescription() const noexcept;
    virtual const char* GetSourceFileName() const noexcept;
    virtual unsigned int GetSourceLine() const noexcept;
    const char* what() const noexcept override;

protected:
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                     const char* exceptionType);

private:
    std::string m_description;
    std::string m_sourceFileName;
    unsigned int m_sourceLine;
    std::string m_what;
};

#define LUMO_GENICAM_DECLARE_EXCEPTION(Name)                                          \
    class GENAPI_DECL Name : public GenericException {                                \
    public:                                                                           \
        Name(const char* description, const char* sourceFileName, unsigned int line); \
        ~Name() noexcept override;                                                    \
    };

LUMO_GENICAM_DECLARE_EXCEPTION(BadAllocException)
LUMO_GENICAM_DECLARE_EXCEPTION(InvalidArgumentException)
LUMO_GENICAM_DECLARE_EXCEPTION(OutOfRangeException)
LUMO_GENICAM_DECLARE_EXCEPTION(PropertyException)
LUMO_GENICAM_DECLARE_EXCEPTION(RuntimeException)
LUMO_GENICAM_DECLARE_EXCEPTION(LogicalErrorException)
LUMO_GENICAM_DECLARE_EXCEPTION(AccessException)
LUMO_GENICAM_DECLARE_EXCEPTION(TimeoutException)
LUMO_GENICAM_DECLARE_EXCEPTION(DynamicCastException)

#undef LUMO_GENICAM_DECLARE_EXCEPTION

// printf-style reporting, as the GenApi exception macros offer it.
GENAPI_DECL std::string FormatExceptionText(const char* format, ...)
    __attribute__((format(printf, 1, 2)));

template <class E>
class ExceptionReporter {
public:
    ExceptionReporter(const char* file, unsigned int line) : m_file(file), m_line(line) {}
    template <class... Args>
    E Report(const char* format, Args... args) const {
        return E(FormatExceptionText(format, args...).c_str(), m_file, m_line);
    }
    E Report(const char* text) const { return E(text, m_file, m_line); }

private:
    const char* m_file;
    unsigned int m_line;
};

}  // namespace GenICam

#define LUMO_GENICAM_REPORT(E) GenICam::ExceptionReporter<GenICam::E>(__FILE__, __LINE__).Report
#define GENERIC_EXCEPTION LUMO_GENICAM_REPORT(GenericException)
#define BAD_ALLOC_EXCEPTION LUMO_GENICAM_REPORT(BadAllocException)
#define INVALID_ARGUMENT_EXCEPTION LUMO_GENICAM_REPORT(InvalidArgumentException)
#define OUT_OF_RANGE_EXCEPTION LUMO_GENICAM_REPORT(OutOfRangeException)
#define PROPERTY_EXCEPTION LUMO_GENICAM_REPORT(PropertyException)
#define RUNTIME_EXCEPTION LUMO_GENICAM_REPORT(RuntimeException)
#define LOGICAL_ERROR_EXCEPTION LUMO_GENICAM_REPORT(LogicalErrorException)
#define ACCESS_EXCEPTION LUMO_GENICAM_REPORT(AccessException)
#define TIMEOUT_EXCEPTION LUMO_GENICAM_REPORT(TimeoutException)
#define DYNAMICCAST_EXCEPTION LUMO_GENICAM_REPORT(DynamicCastException)
