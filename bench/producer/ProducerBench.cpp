// How fast the simulated producer fills 5 MP Mono8 frames with no frame-rate limit, compared
// with memcpy of the same frame size measured in the same run.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

#include "FrameRenderer.h"
#include "ScenarioDir.h"
#include "SimProducer.h"

using namespace GenTL;

namespace {

constexpr size_t kWidth = 2448, kHeight = 2048, kFrame = kWidth * kHeight;
std::map<std::string, double> g_secondsPerFrame;

void BM_Memcpy(benchmark::State& state) {
    std::vector<uint8_t> src(kFrame, 7), dst(kFrame);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), kFrame);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFrame));
}

// The same copy into a ring of four frame buffers, as the producer writes into the consumer's
// four queued buffers: the destination is no longer cache-resident.
void BM_MemcpyRing(benchmark::State& state) {
    std::vector<uint8_t> src(kFrame, 7);
    std::vector<std::vector<uint8_t>> ring(4, std::vector<uint8_t>(kFrame));
    size_t i = 0;
    for (auto _ : state) {
        std::memcpy(ring[i].data(), src.data(), kFrame);
        benchmark::DoNotOptimize(ring[i].data());
        benchmark::ClobberMemory();
        i = (i + 1) % ring.size();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFrame));
}

// The producer's frame fill alone, without the acquisition engine's thread hand-over.
void BM_RenderMono8(benchmark::State& state) {
    LumoSim::SceneParams p{kWidth, kHeight, 0, 0, kWidth, kHeight, 0x01080001, false};
    LumoSim::CFrameRenderer renderer;
    std::vector<std::vector<uint8_t>> ring(4, std::vector<uint8_t>(kFrame));
    uint64_t frame = 0;
    for (auto _ : state) {
        auto& dst = ring[frame % ring.size()];
        renderer.Render(p, ++frame, dst.data(), dst.size());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFrame));
}

// Grabs frames as a consumer would: wait for the new-buffer event, queue the buffer again.
void BM_ProducerMono8(benchmark::State& state) {
    ScenarioDir dir;
    const auto cti =
        dir.AddProducer(std::string(LUMO_LIB_DIR) + "/LumoSim.cti",
                        R"({"interfaces": [{"devices": [{"frameRate": 0, "sensorWidth": 2448,
                                         "sensorHeight": 2048, "pixelFormats": ["Mono8"]}]}]})");
    SimProducer p(cti.string());
    TL_HANDLE tl = nullptr;
    IF_HANDLE itf = nullptr;
    DEV_HANDLE dev = nullptr;
    PORT_HANDLE remote = nullptr;
    DS_HANDLE ds = nullptr;
    EVENT_HANDLE ev = nullptr;
    char id[64];
    size_t size = sizeof id;
    if (p.GCInitLib() || p.TLOpen(&tl) || p.TLUpdateInterfaceList(tl, nullptr, 0) ||
        p.TLGetInterfaceID(tl, 0, id, &size) || p.TLOpenInterface(tl, id, &itf) ||
        p.IFUpdateDeviceList(itf, nullptr, 0) ||
        (size = sizeof id, p.IFGetDeviceID(itf, 0, id, &size)) ||
        p.IFOpenDevice(itf, id, DEVICE_ACCESS_EXCLUSIVE, &dev) || p.DevGetPort(dev, &remote) ||
        p.DevOpenDataStream(dev, "Stream0", &ds)) {
        state.SkipWithError("cannot open the simulated camera");
        return;
    }
    for (int i = 0; i < 4; ++i) {
        BUFFER_HANDLE b = nullptr;
        p.DSAllocAndAnnounceBuffer(ds, kFrame, nullptr, &b);
        p.DSQueueBuffer(ds, b);
    }
    p.GCRegisterEvent(ds, EVENT_NEW_BUFFER, &ev);
    p.DSStartAcquisition(ds, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    uint32_t one = 1;
    size = 4;
    p.GCWritePort(remote, 0x1024, &one, &size);  // AcquisitionStart
    for (auto _ : state) {
        EVENT_NEW_BUFFER_DATA d{};
        size_t n = sizeof d;
        if (p.EventGetData(ev, &d, &n, 5000) != GC_ERR_SUCCESS) {
            state.SkipWithError("no frame");
            break;
        }
        p.DSQueueBuffer(ds, d.BufferHandle);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFrame));
    p.DSStopAcquisition(ds, ACQ_STOP_FLAGS_DEFAULT);
    p.TLClose(tl);
    p.GCCloseLib();
}

BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MemcpyRing)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RenderMono8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ProducerMono8)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

class RecordingReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& r : runs) {
            if (r.iterations > 0 && !r.error_occurred) {
                g_secondsPerFrame[r.benchmark_name()] =
                    r.real_accumulated_time / static_cast<double>(r.iterations);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RecordingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const double copy = g_secondsPerFrame["BM_Memcpy/real_time"];
    const double ring = g_secondsPerFrame["BM_MemcpyRing/real_time"];
    const double sim = g_secondsPerFrame["BM_ProducerMono8/min_time:2.000/real_time"];
    std::printf("\nProducer fill rate, 2448 x 2048 Mono8 (higher is better, target >= 0.50)\n");
    std::printf("%-28s %12s %12s\n", "measure", "frames/s", "ratio");
    if (copy > 0 && sim > 0) {
        std::printf("%-28s %12.1f %12.2f\n", "memcpy (reference)", 1.0 / copy, 1.0);
        if (ring > 0)
            std::printf("%-28s %12.1f %12.2f\n", "memcpy into 4-buffer ring", 1.0 / ring,
                        copy / ring);
        std::printf("%-28s %12.1f %12.2f\n", "LumoSim frames delivered", 1.0 / sim, copy / sim);
        if (ring > 0)
            std::printf("%-28s %12s %12.2f\n", "LumoSim vs ring memcpy", "", ring / sim);
        const double render = g_secondsPerFrame["BM_RenderMono8/real_time"];
        if (render > 0) {
            std::printf("%-28s %12.1f %12.2f\n", "frame fill alone", 1.0 / render, copy / render);
        }
    } else {
        std::printf("(a benchmark did not run)\n");
    }
    benchmark::Shutdown();
    return 0;
}
