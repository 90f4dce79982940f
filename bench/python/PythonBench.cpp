// Per-frame cost of the Python module's grab loop (grab, .array, release)
// against the same loop written in C++ (GrabImage, the pixel pointer,
// Release), on the simulated camera with 5 MP Mono8 frames, no frame-rate
// limit, one-by-one, eight buffers. The interpreter is embedded, so both loops
// run in one process against one library and producer; they alternate over
// several rounds and the table reports medians.
#include <benchmark/benchmark.h>
#include <pybind11/embed.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "LumoGenICam.h"

namespace py = pybind11;

namespace {

constexpr const char* kSerial = "PB1";
constexpr int kBuffers = 8;
constexpr int kRounds = 15;
constexpr int kFramesPerRound = 300;
constexpr int kWarmUpFrames = 2 * kBuffers;  // no first-touch page faults in a timed round
constexpr const char* kConfig = R"({"interfaces": [{"id": "IF0", "tlType": "U3V", "devices": [
    {"id": "DEV0", "serial": "PB1", "tlType": "U3V", "frameRate": 0, "sensorWidth": 2448,
     "sensorHeight": 2048, "pixelFormats": ["Mono8"], "pixelFormat": "Mono8"}]}]})";

// The Python loop, as a user writes it; frame() is one timed iteration.
constexpr const char* kPythonLoop = R"py(
import lumogenicam

class Loop:
    def __init__(self, buffers):
        self.camera = lumogenicam.Camera("PB1")
        self.camera.open()
        self.camera.buffer_count = buffers
        self.camera.start()
        self.last = 0

    def frame(self):
        image = self.camera.grab(5.0)
        array = image.array
        ok = array.shape == (2048, 2448) and image.frame_id == self.last + 1
        self.last = image.frame_id
        return ok

    def zero_copy(self):
        image = self.camera.grab(5.0)
        array = image.array
        self.last = image.frame_id
        return array.ctypes.data, image.buffer_address + image.image_offset

    def close(self):
        self.camera.stop()
        self.camera.close()
        del self.camera
)py";

struct Times {
    double cpuMs = 0;        // process CPU per frame, the producer's fill thread included
    double threadCpuUs = 0;  // CPU of the grabbing thread per frame
};
std::map<std::string, std::vector<Times>> g_rounds;
std::string g_zeroCopy = "not measured";

double ThreadCpuUs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e6 + static_cast<double>(t.tv_nsec) * 1e-3;
}

template <typename Frame>
void TimedFrames(benchmark::State& state, bool ok, Frame&& frame) {
    for (int i = 0; i < kWarmUpFrames && ok; ++i) {
        ok = frame();
    }
    if (!ok) {
        state.SkipWithError("no frame, or not in order");
    }
    const double before = ThreadCpuUs();
    for (auto _ : state) {
        if (!ok || !(ok = frame())) {
            state.SkipWithError("no frame, or not in order");
            break;
        }
    }
    state.counters["grab_thread_cpu_us"] =
        (ThreadCpuUs() - before) / static_cast<double>(std::max<int64_t>(state.iterations(), 1));
}

void BM_CppLoop(benchmark::State& state) {
    using namespace VEXOGENICAM;
    ICamera* camera = CreateCameraBySN(kSerial);
    bool ok = camera != nullptr && camera->Open(DEVICE_OPEN_MODE_CONTROL) == 0;
    if (ok) {
        camera->SetAnnounceBufCount(kBuffers);
        ok = camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, ~0ULL) == 0;
    }
    unsigned long long last = 0;
    TimedFrames(state, ok, [&] {
        // Waits as the module's grab does: 100 ms slices, up to 5 s in all.
        IImage* image = nullptr;
        int rc = result::grab_image::kTimeout;
        for (int slice = 0; slice < 50 && rc == result::grab_image::kTimeout; ++slice) {
            rc = camera->GrabImage(&image, 100);
        }
        if (image == nullptr) {
            return false;
        }
        // What .array reads: the pixels' address, shape and format.
        benchmark::DoNotOptimize(static_cast<char*>(image->GetPayloadBuf()) +
                                 image->GetImageOffset());
        const bool good = rc == 0 && image->GetImageWidth() == 2448 &&
                          image->GetImageHeight() == 2048 && image->GetPixelFormat() == PF_Mono8 &&
                          image->GetImageFrameId() == last + 1;
        last = image->GetImageFrameId();
        image->Release();
        return good;
    });
    if (camera != nullptr) {
        camera->StopGrab();
        camera->Close();
        camera->Release();
    }
}

void BM_PythonLoop(benchmark::State& state) {
    py::object loop = py::globals()["Loop"](kBuffers);
    py::object frame = loop.attr("frame");
    if (g_zeroCopy == "not measured") {
        const auto addresses = loop.attr("zero_copy")().cast<std::pair<size_t, size_t>>();
        char text[160];
        std::snprintf(text, sizeof text, "array data 0x%zx, image buffer + offset 0x%zx: %s",
                      addresses.first, addresses.second,
                      addresses.first == addresses.second ? "the same (no copy)" : "A COPY");
        g_zeroCopy = text;
    }
    TimedFrames(state, true, [&] { return frame().cast<bool>(); });
    loop.attr("close")();
}

class RoundReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            if (run.iterations > 0 && !run.error_occurred) {
                const std::string name = run.run_name.function_name;
                const auto thread = run.counters.find("grab_thread_cpu_us");
                g_rounds[name.substr(0, name.find('/'))].push_back(
                    {run.cpu_accumulated_time / static_cast<double>(run.iterations) * 1e3,
                     thread != run.counters.end() ? thread->second.value : 0});
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

double Median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Median of the per-round ratios Python / C++: rounds run next to each other
// see the same load of the shared machine.
double PairedRatio(double Times::*field) {
    const auto& cpp = g_rounds["BM_CppLoop"];
    const auto& python = g_rounds["BM_PythonLoop"];
    std::vector<double> ratios;
    for (size_t i = 0; i < cpp.size() && i < python.size(); ++i) {
        ratios.push_back(python[i].*field / cpp[i].*field);
    }
    return Median(ratios);
}

std::vector<double> Values(const std::string& loop, double Times::*field) {
    std::vector<double> values;
    for (const Times& t : g_rounds[loop]) {
        values.push_back(t.*field);
    }
    return values;
}

double MedianOf(const std::string& loop, double Times::*field) {
    return Median(Values(loop, field));
}

// The least disturbed round of a shared machine.
double BestOf(const std::string& loop, double Times::*field) {
    const auto values = Values(loop, field);
    return values.empty() ? 0 : *std::min_element(values.begin(), values.end());
}

int PrintRatios() {
    if (g_rounds["BM_CppLoop"].size() != kRounds || g_rounds["BM_PythonLoop"].size() != kRounds) {
        std::printf("(a round did not run)\n");
        return 1;
    }
    std::printf(
        "\nGrab + pixels + release, 2448 x 2048 Mono8, one-by-one, medians of %d alternating "
        "rounds of %d frames (target: Python <= 1.2 x C++ process CPU per frame)\n",
        kRounds, kFramesPerRound);
    std::printf("%-30s %22s %26s\n", "loop", "process CPU ms/frame", "grab thread CPU us/frame");
    std::printf("%-30s %22.3f %26.1f\n", "C++ (reference)", MedianOf("BM_CppLoop", &Times::cpuMs),
                MedianOf("BM_CppLoop", &Times::threadCpuUs));
    std::printf("%-30s %22.3f %26.1f\n", "Python grab + .array",
                MedianOf("BM_PythonLoop", &Times::cpuMs),
                MedianOf("BM_PythonLoop", &Times::threadCpuUs));
    std::printf("%-30s %21.2fx %25.2fx\n", "Python / C++ (paired medians)",
                PairedRatio(&Times::cpuMs), PairedRatio(&Times::threadCpuUs));
    std::printf(
        "%-30s %21.2fx %25.2fx\n", "Python / C++ (best rounds)",
        BestOf("BM_PythonLoop", &Times::cpuMs) / BestOf("BM_CppLoop", &Times::cpuMs),
        BestOf("BM_PythonLoop", &Times::threadCpuUs) / BestOf("BM_CppLoop", &Times::threadCpuUs));
    std::printf("zero copy: %s\n", g_zeroCopy.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    // The producer beside the library reads this configuration when loaded.
    const auto config = std::filesystem::temp_directory_path() /
                        ("lumo-python-bench-" + std::to_string(getpid()) + ".json");
    std::ofstream(config) << kConfig;
    setenv("LUMOSIM_CONFIG", config.c_str(), 1);
    VEXOGENICAM::Init();

    py::scoped_interpreter interpreter;
    py::module_::import("sys").attr("path").attr("insert")(0, LUMO_PYTHON_MODULE_DIR);
    py::exec(kPythonLoop);

    for (int round = 1; round <= kRounds; ++round) {
        using Loop = void (*)(benchmark::State&);
        const std::pair<const char*, Loop> loops[] = {{"BM_CppLoop", BM_CppLoop},
                                                      {"BM_PythonLoop", BM_PythonLoop}};
        for (const auto& [name, loop] : loops) {
            benchmark::RegisterBenchmark(
                (std::string(name) + "/round" + std::to_string(round)).c_str(), loop)
                ->Iterations(kFramesPerRound)
                ->Unit(benchmark::kMillisecond)
                ->MeasureProcessCPUTime();
        }
    }
    benchmark::Initialize(&argc, argv);
    RoundReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const int rc = PrintRatios();
    benchmark::Shutdown();
    std::filesystem::remove(config);
    // The interpreter's exit gives back the module's objects and uninitialises.
    return rc;
}
