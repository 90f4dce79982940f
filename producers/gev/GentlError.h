#pragma once

#include <GenTL/GenTL.h>

#include <stdexcept>
#include <string>

namespace LumoGev {

// A GenTL failure on its way out of an entry point: the code the caller gets and the text that
// GCGetLastError hands out for this thread.
class CGentlError : public std::runtime_error {
public:
    CGentlError(GenTL::GC_ERROR code, const std::string& text)
        : std::runtime_error(text), code_(code) {}
    GenTL::GC_ERROR Code() const { return code_; }

private:
    GenTL::GC_ERROR code_;
};

[[noreturn]] inline void Fail(GenTL::GC_ERROR code, const std::string& text) {
    throw CGentlError(code, text);
}

// Required output pointers: GenTL answers a missing one with INVALID_PARAMETER.
template <typename T>
void Require(T* p, const char* what) {
    if (p == nullptr)
        Fail(GenTL::GC_ERR_INVALID_PARAMETER, std::string(what) + " must not be NULL");
}

// Per-thread last error. Kept in a map, not in thread_local storage, because a consumer may
// unload the producer while its threads live on.
void StoreLastError(GenTL::GC_ERROR code, const std::string& text);
GenTL::GC_ERROR LastErrorCode(std::string& text);
void ForgetLastErrors();

}  // namespace LumoGev
