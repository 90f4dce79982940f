#pragma once

// What every exported GenTL call shares: the API lock, the injected call faults, the thread's last
// error, typed handle lookup, and the mapping of failures and exceptions to GenTL codes. A call
// body reports a failure by throwing CApiError (through Fail, Expect, Require, Handle, ...);
// Guarded turns it into the returned code and the thread's last error.
#include <GenTL/GenTL.h>

#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "CallLog.h"
#include "InfoValue.h"
#include "Producer.h"

namespace LumoSim {

class CApiError : public std::exception {
public:
    CApiError(GenTL::GC_ERROR code, std::string text) : code_(code), text_(std::move(text)) {}
    GenTL::GC_ERROR Code() const { return code_; }
    const char* what() const noexcept override { return text_.c_str(); }

private:
    GenTL::GC_ERROR code_;
    std::string text_;
};

[[noreturn]] void Fail(GenTL::GC_ERROR code, std::string text);
inline void Expect(bool ok, GenTL::GC_ERROR code, const char* text) {
    if (!ok)
        Fail(code, text);
}
// A missing or malformed argument.
inline void Require(bool ok, const char* text) {
    Expect(ok, GenTL::GC_ERR_INVALID_PARAMETER, text);
}

// --- the thread's last error ---------------------------------------------------------------------

struct LastError {
    GenTL::GC_ERROR code = GenTL::GC_ERR_SUCCESS;
    std::string text = "No Error";
};
// Records a failure as the calling thread's last error; success leaves it as it was.
GenTL::GC_ERROR SetLastError(GenTL::GC_ERROR code, const std::string& text);
LastError LastErrorOfThisThread();

// --- the producer and its lock -----------------------------------------------------------------

// Held for the whole of every call, except the waits of EventGetData.
std::mutex& ApiLock();
// The producer between GCInitLib and GCCloseLib; only under ApiLock().
std::unique_ptr<CProducer>& LoadedProducer();

// Under ApiLock(): the initialisation check and the configured delays, failures and device drops
// of the call `name`.
CProducer& EnterCall(const char* name);

// Runs the body of the call `name` (a callable taking CProducer&, returning GC_ERROR) under the API
// lock and turns whatever it throws into a GenTL code and the thread's last error. The call is
// recorded first, with `detail` (see CallLog.h).
template <typename Body>
GenTL::GC_ERROR Guarded(const char* name, const std::string& detail, Body&& body) {
    std::lock_guard<std::mutex> lk(ApiLock());
    RecordCall(name, detail);
    try {
        return body(EnterCall(name));
    } catch (const CApiError& e) {
        return SetLastError(e.Code(), e.what());
    } catch (const std::bad_alloc&) {
        return SetLastError(GenTL::GC_ERR_OUT_OF_MEMORY, std::string(name) + ": out of memory");
    } catch (const std::exception& e) {
        return SetLastError(GenTL::GC_ERR_ERROR, std::string(name) + ": " + e.what());
    }
}

template <typename Body>
GenTL::GC_ERROR Guarded(const char* name, Body&& body) {
    return Guarded(name, std::string(), std::forward<Body>(body));
}

inline GenTL::GC_ERROR Ok() {
    return GenTL::GC_ERR_SUCCESS;
}

// --- handles -----------------------------------------------------------------------------------

const char* HandleKindName(Kind k);

// The module behind `h`, or GC_ERR_INVALID_HANDLE.
template <typename T>
T& Handle(CProducer& p, void* h) {
    T* object = p.handles.Get<T>(h, T::kHandleKind);
    if (!object)
        Fail(GenTL::GC_ERR_INVALID_HANDLE,
             std::string("not a valid ") + HandleKindName(T::kHandleKind) + " handle");
    return *object;
}

// GC_ERR_IO once the device `m` belongs to was dropped.
void RequireReachable(const CModule* m);

// --- results -----------------------------------------------------------------------------------

// Copies an info value out with the size negotiation of the *GetInfo family.
GenTL::GC_ERROR Out(const InfoValue& v, GenTL::INFO_DATATYPE* piType, void* pBuffer,
                    size_t* piSize);
GenTL::GC_ERROR OutString(const std::string& s, char* buf, size_t* piSize);
// Entry `index` of an enumeration of IDs, or GC_ERR_INVALID_INDEX with `rangeText`.
GenTL::GC_ERROR OutListEntry(const std::vector<std::string>& list, uint32_t index,
                             const char* rangeText, char* buf, size_t* piSize);

// Stores `value` through `out`, which must not be null.
template <typename T>
GenTL::GC_ERROR Store(T* out, std::type_identity_t<T> value, const char* nullText) {
    Require(out, nullText);
    *out = value;
    return Ok();
}

// Takes `list` as the enumeration of `module` (its interfaces or devices), rebuilding the
// module's registers when it changed, and tells whether it did through `pbChanged`, if given.
template <typename M>
GenTL::GC_ERROR UpdateList(M& module, std::vector<std::string>& current,
                           std::vector<std::string> list, bool8_t* pbChanged) {
    const bool changed = list != current;
    if (changed) {
        current = std::move(list);
        module.Rebuild();
    }
    if (pbChanged)
        *pbChanged = changed;
    return Ok();
}

}  // namespace LumoSim
