// The library's grab path against the same producer driven through raw GenTL
// calls, measured in the same run: 5 MP Mono8 frames, no frame-rate limit,
// one-by-one, eight buffers. Both loops touch what an application reads of a
// frame (base, frame ID, filled size, completeness) and give the buffer back.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "LumoGenICam.h"
#include "BenchScenario.h"
#include "SimProducer.h"

using namespace GenTL;

namespace {

constexpr size_t kWidth = 2448, kHeight = 2048;
constexpr int kBuffers = 8;
constexpr unsigned kTimeoutMs = 5000;
constexpr const char* kConfig = R"({"interfaces": [{"id": "IF0", "tlType": "U3V", "devices": [
    {"id": "DEV0", "serial": "B1", "tlType": "U3V", "frameRate": 0, "sensorWidth": 2448,
     "sensorHeight": 2048, "pixelFormats": ["Mono8"], "pixelFormat": "Mono8"}]}]})";

struct Times {
    double real = 0;
    double cpu = 0;
};
std::map<std::string, Times> g_perFrame;

template <typename T>
bool BufferInfo(SimProducer& p, DS_HANDLE ds, BUFFER_HANDLE b, BUFFER_INFO_CMD cmd, T& out) {
    INFO_DATATYPE type = 0;
    size_t size = sizeof out;
    return p.DSGetBufferInfo(ds, b, cmd, &type, &out, &size) == GC_ERR_SUCCESS;
}

// What an application would write with nothing but a GenTL producer.
void BM_RawGenTL(benchmark::State& state) {
    SimProducer p((std::filesystem::current_path() / "LumoSim.cti").string());
    TL_HANDLE tl = nullptr;
    IF_HANDLE itf = nullptr;
    DEV_HANDLE dev = nullptr;
    PORT_HANDLE remote = nullptr;
    DS_HANDLE ds = nullptr;
    EVENT_HANDLE ev = nullptr;
    char id[256];
    size_t size = sizeof id;
    if (p.GCInitLib() || p.TLOpen(&tl) || p.TLUpdateInterfaceList(tl, nullptr, 0) ||
        p.TLGetInterfaceID(tl, 0, id, &size) || p.TLOpenInterface(tl, id, &itf) ||
        p.IFUpdateDeviceList(itf, nullptr, 0) ||
        (size = sizeof id, p.IFGetDeviceID(itf, 0, id, &size)) ||
        p.IFOpenDevice(itf, id, DEVICE_ACCESS_CONTROL, &dev) || p.DevGetPort(dev, &remote) ||
        (size = sizeof id, p.DevGetDataStreamID(dev, 0, id, &size)) ||
        p.DevOpenDataStream(dev, id, &ds)) {
        state.SkipWithError("cannot open the simulated camera");
        return;
    }
    for (int i = 0; i < kBuffers; ++i) {
        BUFFER_HANDLE b = nullptr;
        p.DSAllocAndAnnounceBuffer(ds, kWidth * kHeight, nullptr, &b);
        p.DSQueueBuffer(ds, b);
    }
    p.GCRegisterEvent(ds, EVENT_NEW_BUFFER, &ev);
    p.DSStartAcquisition(ds, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    uint32_t one = 1;
    size = sizeof one;
    p.GCWritePort(remote, 0x1024, &one, &size);  // AcquisitionStart
    uint64_t lastFrame = 0;
    for (auto _ : state) {
        EVENT_NEW_BUFFER_DATA data{};
        size_t n = sizeof data;
        if (p.EventGetData(ev, &data, &n, kTimeoutMs) != GC_ERR_SUCCESS) {
            state.SkipWithError("no frame");
            break;
        }
        void* base = nullptr;
        uint64_t frame = 0;
        size_t filled = 0;
        bool8_t incomplete = 0;
        BufferInfo(p, ds, data.BufferHandle, BUFFER_INFO_BASE, base);
        BufferInfo(p, ds, data.BufferHandle, BUFFER_INFO_FRAMEID, frame);
        BufferInfo(p, ds, data.BufferHandle, BUFFER_INFO_SIZE_FILLED, filled);
        BufferInfo(p, ds, data.BufferHandle, BUFFER_INFO_IS_INCOMPLETE, incomplete);
        benchmark::DoNotOptimize(base);
        if (incomplete || frame != lastFrame + 1) {
            state.SkipWithError("incomplete or skipped frame");
            break;
        }
        lastFrame = frame;
        p.DSQueueBuffer(ds, data.BufferHandle);
    }
    size = sizeof one;
    p.GCWritePort(remote, 0x1028, &one, &size);  // AcquisitionStop
    p.DSStopAcquisition(ds, ACQ_STOP_FLAGS_DEFAULT);
    p.GCUnregisterEvent(ds, EVENT_NEW_BUFFER);
    p.DSFlushQueue(ds, ACQ_QUEUE_INPUT_TO_OUTPUT);
    p.DSFlushQueue(ds, ACQ_QUEUE_OUTPUT_DISCARD);
    p.DSClose(ds);
    p.DevClose(dev);
    p.IFClose(itf);
    p.TLClose(tl);
    p.GCCloseLib();
}

void BM_LibraryGrabRelease(benchmark::State& state) {
    using namespace VEXOGENICAM;
    Init();
    auto infos = Discovery(nullptr);
    ICamera* camera = infos.empty() ? nullptr : CreateCamera(infos.front());
    if (camera == nullptr || camera->Open(DEVICE_OPEN_MODE_CONTROL) != 0) {
        state.SkipWithError("cannot open the simulated camera");
    } else {
        camera->SetAnnounceBufCount(kBuffers);
        if (camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE) != 0) {
            state.SkipWithError("cannot start");
        }
    }
    unsigned long long lastFrame = 0;
    for (auto _ : state) {
        IImage* image = nullptr;
        if (camera == nullptr || camera->GrabImage(&image, kTimeoutMs) != 0) {
            state.SkipWithError("no frame");
            if (image != nullptr) {
                image->Release();
            }
            break;
        }
        benchmark::DoNotOptimize(image->GetPayloadBuf());
        const unsigned long long frame = image->GetImageFrameId();
        if (!image->IsComplete() || frame != lastFrame + 1) {
            image->Release();
            state.SkipWithError("incomplete or skipped frame");
            break;
        }
        lastFrame = frame;
        image->Release();
    }
    if (camera != nullptr) {
        camera->StopGrab();
        camera->Close();
        camera->Release();
    }
    for (auto* info : infos) {
        info->Release();
    }
    UnInit();
}

BENCHMARK(BM_RawGenTL)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(BM_LibraryGrabRelease)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            if (run.iterations > 0 && !run.error_occurred) {
                const double n = static_cast<double>(run.iterations);
                g_perFrame[run.run_name.function_name] = {run.real_accumulated_time / n,
                                                          run.cpu_accumulated_time / n};
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

void PrintRatios() {
    const Times raw = g_perFrame["BM_RawGenTL"];
    const Times lib = g_perFrame["BM_LibraryGrabRelease"];
    if (raw.real <= 0 || lib.real <= 0) {
        std::printf("(a benchmark did not run)\n");
        return;
    }
    std::printf("\nGrab and release, 2448 x 2048 Mono8, one-by-one (overhead target < 10 %%)\n");
    std::printf("%-30s %12s %16s\n", "loop", "frames/s", "CPU ms/frame");
    std::printf("%-30s %12.1f %16.3f\n", "raw GenTL (reference)", 1.0 / raw.real, raw.cpu * 1e3);
    std::printf("%-30s %12.1f %16.3f\n", "GrabImage + Release", 1.0 / lib.real, lib.cpu * 1e3);
    std::printf("%-30s %11.1f%% %15.1f%%\n", "library overhead", (lib.real / raw.real - 1) * 100,
                (lib.cpu / raw.cpu - 1) * 100);
}

}  // namespace

int main(int argc, char** argv) {
    // The library finds producers beside its own file: run again from a
    // scenario directory holding a copy of the library and the producer.
    if (!InBenchScenario()) {
        ScenarioDir dir;
        dir.Copy(std::filesystem::path(LUMO_LIB_DIR) / "libLumoGenICam.so.0");
        dir.AddProducer(std::filesystem::path(LUMO_LIB_DIR) / "LumoSim.cti", kConfig);
        return RunBenchInScenario(dir, argc, argv);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    PrintRatios();
    benchmark::Shutdown();
    return 0;
}
