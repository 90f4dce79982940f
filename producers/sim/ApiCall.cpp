#include "ApiCall.h"

#include <chrono>
#include <thread>
#include <unordered_map>

using namespace GenTL;

namespace LumoSim {
namespace {

std::mutex g_lock;
std::unique_ptr<CProducer> g_producer;  // guarded by g_lock

// The last error of each thread. Kept in a map rather than in thread_local storage: a consumer
// may unload the producer while its threads live on, and dynamic TLS of an unloaded module is
// left dangling.
std::mutex g_errorLock;
std::unordered_map<std::thread::id, LastError> g_lastErrors;  // guarded by g_errorLock

}  // namespace

void Fail(GC_ERROR code, std::string text) {
    throw CApiError(code, std::move(text));
}

GC_ERROR SetLastError(GC_ERROR code, const std::string& text) {
    if (code != GC_ERR_SUCCESS) {
        std::lock_guard<std::mutex> lk(g_errorLock);
        g_lastErrors[std::this_thread::get_id()] = LastError{code, text};
    }
    return code;
}

LastError LastErrorOfThisThread() {
    std::lock_guard<std::mutex> lk(g_errorLock);
    const auto it = g_lastErrors.find(std::this_thread::get_id());
    return it == g_lastErrors.end() ? LastError{} : it->second;
}

std::mutex& ApiLock() {
    return g_lock;
}

std::unique_ptr<CProducer>& LoadedProducer() {
    return g_producer;
}

CProducer* Current() {
    return g_producer.get();
}

CProducer& EnterCall(const char* name) {
    CProducer* p = g_producer.get();
    if (!p)
        Fail(GC_ERR_NOT_INITIALIZED, std::string(name) + ": GCInitLib has not been called");
    if (const uint32_t ms = p->faults.DelayMs(name))
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    if (const int32_t rc = p->faults.OnCall(name))
        Fail(rc, std::string(name) + ": injected failure");
    if (p->config.dropOnCall == name && p->system) {
        for (auto& itf : p->system->open) {
            for (auto& dev : itf->open)
                dev->dropped = true;
        }
    }
    return *p;
}

const char* HandleKindName(Kind k) {
    static const char* const kNames[] = {"system",      "interface", "device", "remote device port",
                                         "data stream", "buffer",    "event"};
    return kNames[static_cast<size_t>(k)];
}

void RequireReachable(const CModule* m) {
    Expect(!m || !m->device || !m->device->dropped, GC_ERR_IO, "the device is no longer reachable");
}

GC_ERROR Out(const InfoValue& v, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    Require(piSize && piType, "piType and piSize are required");
    Expect(v.CopyOut(piType, pBuffer, piSize) == GC_ERR_SUCCESS, GC_ERR_BUFFER_TOO_SMALL,
           "buffer too small for the value");
    return Ok();
}

GC_ERROR OutString(const std::string& s, char* buf, size_t* piSize) {
    Require(piSize, "piSize is required");
    INFO_DATATYPE t = 0;
    Expect(InfoValue::String(s).CopyOut(&t, buf, piSize) == GC_ERR_SUCCESS, GC_ERR_BUFFER_TOO_SMALL,
           "buffer too small for the string");
    return Ok();
}

GC_ERROR OutListEntry(const std::vector<std::string>& list, uint32_t index, const char* rangeText,
                      char* buf, size_t* piSize) {
    Expect(index < list.size(), GC_ERR_INVALID_INDEX, rangeText);
    return OutString(list[index], buf, piSize);
}

}  // namespace LumoSim
