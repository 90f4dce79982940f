#include "Producer.h"

#include <dlfcn.h>

namespace LumoGev {
namespace {

std::unique_ptr<CProducer> g_producer;

}  // namespace

std::mutex& LibraryLock() {
    static std::mutex lock;
    return lock;
}

CProducer* Producer() {
    return g_producer.get();
}

void SetProducer(std::unique_ptr<CProducer> p) {
    g_producer = std::move(p);
}

std::string ModulePath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&ModulePath), &info) == 0 || info.dli_fname == nullptr)
        return {};
    return info.dli_fname;
}

void* CHandleTable::Add(Kind kind, std::shared_ptr<void> object) {
    void* h = reinterpret_cast<void*>(next_);
    next_ += 0x10;
    map_[h] = Entry{kind, std::move(object)};
    return h;
}

bool CHandleTable::Has(void* handle, Kind& kind) const {
    const auto it = map_.find(handle);
    if (it == map_.end())
        return false;
    kind = it->second.kind;
    return true;
}

CSystem::CSystem() {
    auto& f = features;
    f.String("TLID", [] { return std::string("LumoGev"); });
    f.String("TLVendorName", [] { return std::string("Lumo"); });
    f.String("TLModelName", [] { return std::string("LumoGev GigE Vision producer"); });
    f.String("TLVersion", [] { return std::string("0.1.0"); });
    f.String(
        "TLPath", [] { return ModulePath(); }, 512);
    f.Enumeration("TLType", {{"GigEVision", 0}}, [] { return int64_t{0}; });
    f.Integer("GenTLVersionMajor", [] { return int64_t{1}; });
    f.Integer("GenTLVersionMinor", [] { return int64_t{5}; });
    f.Command("InterfaceUpdateList", [this] { listed = true; });
    f.Integer(
        "InterfaceSelector", [this] { return int64_t{selector_}; },
        [this](int64_t v) {
            if (v != 0)
                Fail(GenTL::GC_ERR_INVALID_VALUE, "there is one interface");
            selector_ = 0;
        });
    f.String("InterfaceID", [] { return std::string(CInterface::kId); });
    f.Finish("LumoGevSystem.xml", "LumoGevSystem");
}

}  // namespace LumoGev
