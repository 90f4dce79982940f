// The register port's description fetch: the input's first line is the port
// URL a producer reports, the rest is the producer's register space. The
// port parses the URL, reads the file and loads it, then every feature is
// read through the same producer.
#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Cti.h"
#include "CtiPort.h"
#include "FeatureWalk.h"

namespace {

void Quiet(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

// Binds the fake producer's entry points; opening a transport layer is not
// part of fetching a description.
class CFakeCti : public VEXOGENICAM::CCti {
public:
    CFakeCti() : CCti(LUMO_FAKE_PRODUCER) {}
    int Init() override { return 0; }
};

using SetFn = void (*)(const char*, size_t, const char*, size_t);

struct Producer {
    CFakeCti cti;
    SetFn set = nullptr;
    Producer() {
        if (!cti.Load()) {
            std::abort();
        }
        set = reinterpret_cast<SetFn>(
            cti.GetFunction(cti.LoadLib(LUMO_FAKE_PRODUCER), "FakeProducerSet"));
        if (set == nullptr) {
            std::abort();
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Producer* producer = [] {
        g_log_set_default_handler(Quiet, nullptr);
        return new Producer;
    }();
    const char* text = reinterpret_cast<const char*>(data);
    const char* newline = static_cast<const char*>(std::memchr(text, '\n', size));
    const size_t urlSize = newline ? static_cast<size_t>(newline - text) : size;
    const size_t memoryStart = newline ? urlSize + 1 : size;
    producer->set(text, urlSize, text + memoryStart, size - memoryStart);
    static int handle = 0;
    CCtiPort port(&producer->cti, &handle);
    // The port loads on first demand and keeps what it found, or nothing.
    port.GetFileName();
    port.GetFileSuffix();
    if (GenApi::INodeMap* map = port.GetNodeMap()) {
        lumo_fuzz::WalkEveryFeature(*map);
    }
    return 0;
}
