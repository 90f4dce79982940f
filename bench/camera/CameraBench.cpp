// The library's grab path against the same producer driven through raw GenTL
// calls, measured in the same run: 5 MP Mono8 frames, no frame-rate limit,
// one-by-one, eight buffers. Both loops do the same work per frame: wait on
// the new-buffer event, read the buffer facts that the library's image reads,
// and queue the buffer again. The two alternate over several rounds, each after
// the same warm-up, and the table reports the medians of the rounds.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "LumoGenICam.h"
#include "BenchScenario.h"
#include "SimProducer.h"

using namespace GenTL;

namespace {

constexpr size_t kWidth = 2448, kHeight = 2048;
constexpr int kBuffers = 8;
constexpr unsigned kTimeoutMs = 5000;
constexpr int kRounds = 15;
constexpr int kFramesPerRound = 500;
// Every buffer is filled twice before timing starts, so that no round pays
// for first-touch page faults of fresh buffer memory.
constexpr int kWarmUpFrames = 2 * kBuffers;
constexpr const char* kConfig = R"({"interfaces": [{"id": "IF0", "tlType": "U3V", "devices": [
    {"id": "DEV0", "serial": "B1", "tlType": "U3V", "frameRate": 0, "sensorWidth": 2448,
     "sensorHeight": 2048, "pixelFormats": ["Mono8"], "pixelFormat": "Mono8"}]}]})";

struct Times {
    double real = 0;
    double cpu = 0;
    double grabThreadCpu = 0;  // microseconds
};
// Per-frame times of every round, by loop.
std::map<std::string, std::vector<Times>> g_rounds;

double ThreadCpuUs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e6 + static_cast<double>(t.tv_nsec) * 1e-3;
}

// The timed frames of a round; the CPU time of this (the grabbing) thread per
// frame is reported beside the process's, which includes the producer's fill
// thread.
template <typename Frame>
void TimedFrames(benchmark::State& state, bool ok, Frame& frame) {
    const double before = ThreadCpuUs();
    for (auto _ : state) {
        if (!ok || !(ok = frame())) {
            return;
        }
    }
    state.counters["grab_thread_cpu_us"] =
        (ThreadCpuUs() - before) / static_cast<double>(state.iterations());
}

// What the library's image reads of every buffer.
struct BufferFacts {
    bool8_t incomplete = 0, imagePresent = 0, chunks = 0;
    size_t width = 0, height = 0, size = 0, filled = 0, offsetX = 0, offsetY = 0, paddingX = 0,
           paddingY = 0, imageOffset = 0, payloadType = 0;
    void* base = nullptr;
    uint64_t frameId = 0, pixelFormat = 0, timestamp = 0;
};

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
    p.GCWritePort(remote, 0x1038, &one, &size);  // TLParamsLocked, as the library sets it
    size = sizeof one;
    p.GCWritePort(remote, 0x1024, &one, &size);  // AcquisitionStart
    uint64_t lastFrame = 0;
    // One frame: the same facts, in the same order, as the library's image.
    auto frame = [&]() -> bool {
        EVENT_NEW_BUFFER_DATA data{};
        size_t n = sizeof data;
        if (p.EventGetData(ev, &data, &n, kTimeoutMs) != GC_ERR_SUCCESS) {
            state.SkipWithError("no frame");
            return false;
        }
        const BUFFER_HANDLE b = data.BufferHandle;
        BufferFacts f;
        const bool read = BufferInfo(p, ds, b, BUFFER_INFO_IS_INCOMPLETE, f.incomplete) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_WIDTH, f.width) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_HEIGHT, f.height) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_BASE, f.base) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_SIZE, f.size) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_SIZE_FILLED, f.filled) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_FRAMEID, f.frameId) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_PIXELFORMAT, f.pixelFormat) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_XOFFSET, f.offsetX) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_YOFFSET, f.offsetY) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_XPADDING, f.paddingX) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_YPADDING, f.paddingY) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_TIMESTAMP, f.timestamp) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_IMAGEPRESENT, f.imagePresent) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_IMAGEOFFSET, f.imageOffset) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_PAYLOADTYPE, f.payloadType) &&
                          BufferInfo(p, ds, b, BUFFER_INFO_CONTAINS_CHUNKDATA, f.chunks);
        benchmark::DoNotOptimize(f);
        const bool inOrder = read && !f.incomplete && f.frameId == lastFrame + 1;
        lastFrame = f.frameId;
        p.DSQueueBuffer(ds, b);
        if (!inOrder) {
            state.SkipWithError("incomplete or skipped frame");
        }
        return inOrder;
    };
    bool ok = true;
    for (int i = 0; i < kWarmUpFrames && ok; ++i) {
        ok = frame();
    }
    TimedFrames(state, ok, frame);
    size = sizeof one;
    p.GCWritePort(remote, 0x1028, &one, &size);  // AcquisitionStop
    uint32_t zero = 0;
    size = sizeof zero;
    p.GCWritePort(remote, 0x1038, &zero, &size);
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
    auto frame = [&]() -> bool {
        IImage* image = nullptr;
        if (camera == nullptr || camera->GrabImage(&image, kTimeoutMs) != 0) {
            state.SkipWithError("no frame");
            if (image != nullptr) {
                image->Release();
            }
            return false;
        }
        benchmark::DoNotOptimize(image->GetPayloadBuf());
        const unsigned long long id = image->GetImageFrameId();
        const bool inOrder = image->IsComplete() && id == lastFrame + 1;
        lastFrame = id;
        image->Release();
        if (!inOrder) {
            state.SkipWithError("incomplete or skipped frame");
        }
        return inOrder;
    };
    bool ok = camera != nullptr;
    for (int i = 0; i < kWarmUpFrames && ok; ++i) {
        ok = frame();
    }
    TimedFrames(state, ok, frame);
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

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            if (run.iterations > 0 && !run.error_occurred) {
                const double n = static_cast<double>(run.iterations);
                const std::string name = run.run_name.function_name;
                const auto thread = run.counters.find("grab_thread_cpu_us");
                g_rounds[name.substr(0, name.find('/'))].push_back(
                    {run.real_accumulated_time / n, run.cpu_accumulated_time / n,
                     thread != run.counters.end() ? thread->second.value : 0});
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Median per-frame times of a loop's rounds; zero when a round is missing.
Times MedianOf(const std::string& loop) {
    const auto& rounds = g_rounds[loop];
    if (rounds.size() != static_cast<size_t>(kRounds)) {
        return {};
    }
    std::vector<double> real, cpu, thread;
    for (const auto& t : rounds) {
        real.push_back(t.real);
        cpu.push_back(t.cpu);
        thread.push_back(t.grabThreadCpu);
    }
    return {Median(real), Median(cpu), Median(thread)};
}

// The median over rounds of the library's time against the raw loop's in the
// same round: pairs taken close together cancel the drift of the machine's load.
double MedianOverhead(double Times::*field) {
    const auto& raw = g_rounds["BM_RawGenTL"];
    const auto& lib = g_rounds["BM_LibraryGrabRelease"];
    std::vector<double> ratios;
    for (size_t i = 0; i < raw.size() && i < lib.size(); ++i) {
        ratios.push_back(lib[i].*field / raw[i].*field);
    }
    return (Median(ratios) - 1) * 100;
}

void PrintRatios() {
    const Times raw = MedianOf("BM_RawGenTL");
    const Times lib = MedianOf("BM_LibraryGrabRelease");
    if (raw.real <= 0 || lib.real <= 0) {
        std::printf("(a round did not run)\n");
        return;
    }
    std::printf(
        "\nGrab and release, 2448 x 2048 Mono8, one-by-one, medians of %d alternating "
        "rounds of %d frames (overhead target < 10 %%)\n",
        kRounds, kFramesPerRound);
    std::printf("%-24s %10s %18s %22s\n", "loop", "frames/s", "process CPU ms/frame",
                "grab thread CPU us/frame");
    for (const auto& [name, t] :
         {std::pair{"raw GenTL (reference)", raw}, std::pair{"GrabImage + Release", lib}}) {
        std::printf("%-24s %10.1f %18.3f %22.1f\n", name, 1.0 / t.real, t.cpu * 1e3,
                    t.grabThreadCpu);
    }
    std::printf("%-24s %9.1f%% %17.1f%% %21.1f%%\n", "library overhead (paired)",
                MedianOverhead(&Times::real), MedianOverhead(&Times::cpu),
                MedianOverhead(&Times::grabThreadCpu));
}

}  // namespace

int main(int argc, char** argv) {
    // The library finds producers beside its own file: run again from a
    // scenario directory holding a copy of the library and the producer.
    if (!InBenchScenario()) {
        return RunBenchWithSimulator(LUMO_LIB_DIR, kConfig, argc, argv);
    }
    // Alternating rounds: a drift of the machine's load hits both loops alike.
    for (int round = 1; round <= kRounds; ++round) {
        using Loop = void (*)(benchmark::State&);
        const std::pair<const char*, Loop> loops[] = {
            {"BM_RawGenTL", BM_RawGenTL}, {"BM_LibraryGrabRelease", BM_LibraryGrabRelease}};
        for (const auto& [name, loop] : loops) {
            benchmark::RegisterBenchmark(
                (std::string(name) + "/round" + std::to_string(round)).c_str(), loop)
                ->Iterations(kFramesPerRound)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime()
                ->MeasureProcessCPUTime();
        }
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    PrintRatios();
    benchmark::Shutdown();
    return 0;
}
