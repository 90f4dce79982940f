#pragma once

// Shared by the exported entry points: every call runs through Call(), which turns a thrown
// CGentlError into its code and stores the text as this thread's last error.
#include <GenTL/GenTL.h>

#include <new>
#include <string>

#include "GentlError.h"
#include "InfoReply.h"
#include "Producer.h"

namespace LumoGev {

template <typename F>
GenTL::GC_ERROR Call(const char* name, F&& body) {
    try {
        body();
        return GenTL::GC_ERR_SUCCESS;
    } catch (const CGentlError& e) {
        StoreLastError(e.Code(), std::string(name) + ": " + e.what());
        return e.Code();
    } catch (const std::bad_alloc&) {
        StoreLastError(GenTL::GC_ERR_OUT_OF_MEMORY, std::string(name) + ": out of memory");
        return GenTL::GC_ERR_OUT_OF_MEMORY;
    } catch (const std::exception& e) {
        StoreLastError(GenTL::GC_ERR_ERROR, std::string(name) + ": " + e.what());
        return GenTL::GC_ERR_ERROR;
    }
}

// Call() under the library lock, with the initialisation check.
template <typename F>
GenTL::GC_ERROR Locked(const char* name, F&& body) {
    return Call(name, [&] {
        std::unique_lock<std::mutex> lk(LibraryLock());
        CProducer* p = Producer();
        if (p == nullptr)
            Fail(GenTL::GC_ERR_NOT_INITIALIZED, "GCInitLib has not been called");
        body(*p, lk);
    });
}

inline const char* KindName(Kind k) {
    static const char* const names[] = {"system",      "interface", "device", "remote device port",
                                        "data stream", "buffer",    "event"};
    return names[static_cast<size_t>(k)];
}

template <typename T>
std::shared_ptr<T> Lookup(CProducer& p, void* h, Kind kind) {
    auto object = p.handles.Get<T>(h, kind);
    if (!object)
        Fail(GenTL::GC_ERR_INVALID_HANDLE,
             std::string("not an open ") + KindName(kind) + " handle");
    return object;
}

// Closing cascades down the module tree and invalidates every handle below.
void CloseStream(CProducer& p, CDevice& dev);
void CloseDevice(CProducer& p, CInterface& itf, CDevice& dev);
void CloseInterface(CProducer& p, CSystem& sys);
void CloseSystem(CProducer& p);

}  // namespace LumoGev
