// Latency of each grab strategy: from the moment the simulated producer
// delivers a frame (its delivery stamp, read back as a buffer info) to
// GrabImage returning that frame, at 30 and 200 frames/s, with a client that
// asks for the next frame as soon as it released the last one.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "BenchScenario.h"
#include "Cti.h"
#include "CtiPort.h"
#include "CustomInfo.h"
#include "LumoGenICam.h"
#include "camera/GenImage.h"

using namespace VEXOGENICAM;

namespace {

constexpr unsigned long long kTimeoutMs = 2000;
constexpr int kWarmUpFrames = 3;
// Two cameras that differ only in their rate; the serial names the rate.
constexpr const char* kConfig = R"({"interfaces": [{"id": "IF0", "tlType": "U3V", "devices": [
    {"id": "DEV30", "serial": "R30", "tlType": "U3V", "frameRate": 30, "sensorWidth": 640,
     "sensorHeight": 480, "pixelFormats": ["Mono8"], "pixelFormat": "Mono8"},
    {"id": "DEV200", "serial": "R200", "tlType": "U3V", "frameRate": 200, "sensorWidth": 640,
     "sensorHeight": 480, "pixelFormats": ["Mono8"], "pixelFormat": "Mono8"}]}]})";

const std::pair<GRAB_STRATEGY, const char*> kStrategies[] = {
    {GRAB_STRATEGY_ONE_BY_ONE, "one-by-one"},
    {GRAB_STRATEGY_LATEST_IMAGE, "latest"},
    {GRAB_STRATEGY_UPCOMING_IMAGE, "upcoming"}};

struct Latency {
    double medianUs = 0;
    double p99Us = 0;
};
// (frame rate, strategy) -> figures of the last run
std::map<std::pair<int, int>, Latency> g_results;

std::uint64_t MonotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000ULL +
           static_cast<std::uint64_t>(now.tv_nsec);
}

// When the producer delivered the image's buffer; 0 when it cannot say.
std::uint64_t DeliveredNs(ICamera* camera, IImage* image) {
    auto* port = dynamic_cast<CCtiPort*>(camera->GetDSXml());
    auto* genImage = dynamic_cast<CGenImage*>(image);
    if (port == nullptr || genImage == nullptr) {
        return 0;
    }
    std::uint64_t stamp = 0;
    size_t size = sizeof stamp;
    int type = 0;
    const int rc =
        port->GetCti()->DSGetBufferInfo(port->GetPort(), genImage->GetBufferHandle(),
                                        LumoSim::kBufferInfoDeliveredNs, &type, &stamp, &size);
    return rc == 0 ? stamp : 0;
}

double Percentile(std::vector<double> values, double fraction) {
    std::sort(values.begin(), values.end());
    const auto index = static_cast<size_t>(fraction * static_cast<double>(values.size() - 1));
    return values[index];
}

// The library's camera with the given serial, open and grabbing.
class Acquisition {
public:
    Acquisition(const char* serial, GRAB_STRATEGY strategy) {
        Init();
        m_infos = Discovery(nullptr);
        m_camera = CreateCameraBySN(serial);
        if (m_camera != nullptr && (m_camera->Open(DEVICE_OPEN_MODE_CONTROL) != 0 ||
                                    m_camera->StartGrab(strategy, GENTL_INFINITE) != 0)) {
            m_camera->Release();
            m_camera = nullptr;
        }
    }
    ~Acquisition() {
        if (m_camera != nullptr) {
            m_camera->StopGrab();
            m_camera->Close();
            m_camera->Release();
        }
        for (auto* info : m_infos) {
            info->Release();
        }
        UnInit();
    }
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    ICamera* Camera() const { return m_camera; }

private:
    std::list<ICameraInfo*> m_infos;
    ICamera* m_camera = nullptr;
};

void BM_Latency(benchmark::State& state, int rate, int strategyIndex) {
    const GRAB_STRATEGY strategy = kStrategies[strategyIndex].first;
    Acquisition acquisition(rate == 30 ? "R30" : "R200", strategy);
    ICamera* camera = acquisition.Camera();
    if (camera == nullptr) {
        state.SkipWithError("cannot start the simulated camera");
        return;
    }
    for (int i = 0; i < kWarmUpFrames; ++i) {
        IImage* image = nullptr;
        camera->GrabImage(&image, kTimeoutMs);
        if (image != nullptr) {
            image->Release();
        }
    }
    std::vector<double> samples;
    samples.reserve(static_cast<size_t>(state.max_iterations));
    for (auto _ : state) {
        IImage* image = nullptr;
        const int rc = camera->GrabImage(&image, kTimeoutMs);
        const std::uint64_t returned = MonotonicNs();
        if (rc != 0 || image == nullptr) {
            if (image != nullptr) {
                image->Release();
            }
            state.SkipWithError("no frame");
            break;
        }
        const std::uint64_t delivered = DeliveredNs(camera, image);
        image->Release();
        if (delivered == 0 || delivered > returned) {
            state.SkipWithError("no delivery stamp");
            break;
        }
        const double latency = static_cast<double>(returned - delivered) * 1e-9;
        state.SetIterationTime(latency);
        samples.push_back(latency * 1e6);
    }
    if (samples.empty()) {
        return;
    }
    const Latency figures{Percentile(samples, 0.5), Percentile(samples, 0.99)};
    state.counters["median_us"] = figures.medianUs;
    state.counters["p99_us"] = figures.p99Us;
    g_results[{rate, strategyIndex}] = figures;
}

void PrintTable() {
    std::printf(
        "\nLatency from delivery to GrabImage returning, 640 x 480 Mono8 "
        "(target: latest and upcoming within 1.5 x one-by-one)\n");
    std::printf("%-6s %-12s %12s %12s %14s %12s\n", "fps", "strategy", "median us", "p99 us",
                "median ratio", "p99 ratio");
    for (int rate : {30, 200}) {
        const auto reference = g_results.find({rate, 0});
        for (int s = 0; s < 3; ++s) {
            const auto it = g_results.find({rate, s});
            if (it == g_results.end() || reference == g_results.end()) {
                std::printf("%-6d %-12s (did not run)\n", rate, kStrategies[s].second);
                continue;
            }
            const Latency& l = it->second;
            const Latency& r = reference->second;
            std::printf("%-6d %-12s %12.1f %12.1f %14.2f %12.2f\n", rate, kStrategies[s].second,
                        l.medianUs, l.p99Us, l.medianUs / r.medianUs, l.p99Us / r.p99Us);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    // The library finds producers beside its own file: run again from a
    // scenario directory holding a copy of the library and the producer.
    if (!InBenchScenario()) {
        return RunBenchWithSimulator(LUMO_LIB_DIR, kConfig, argc, argv);
    }
    // About four seconds of frames per strategy and rate.
    for (const auto& [rate, frames] : {std::pair{30, 120}, std::pair{200, 800}}) {
        for (int s = 0; s < 3; ++s) {
            const std::string name =
                std::string("BM_Latency/") + std::to_string(rate) + "fps/" + kStrategies[s].second;
            benchmark::RegisterBenchmark(name.c_str(), BM_Latency, rate, s)
                ->Iterations(frames)
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    PrintTable();
    benchmark::Shutdown();
    return 0;
}
