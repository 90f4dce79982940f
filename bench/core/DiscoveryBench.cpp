// Discovery over eight producers, each with four devices, against the sum of
// the eight single-producer discoveries, measured in the same run. Each
// simulated producer takes a few milliseconds to update its device list, as
// network transports do; the threads overlap those waits.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "LumoGenICam.h"
#include "BenchScenario.h"

namespace {

constexpr int kProducers = 8;
constexpr int kDevicesEach = 4;

std::string ProducerName(int i) {
    std::string name("sim");
    name += std::to_string(i);
    name += ".cti";
    return name;
}

std::string Config(int producer) {
    std::ostringstream json;
    json << R"({"interfaces": [{"id": "IF0", "tlType": "GEV", "devices": [)";
    for (int d = 0; d < kDevicesEach; ++d) {
        std::ostringstream sn;
        sn << 'P' << producer << 'D' << d;
        json << (d ? "," : "") << R"({"id": ")" << sn.str() << R"(", "serial": ")" << sn.str()
             << R"("})";
    }
    json << R"(]}], "faults": {"delays": {"IFUpdateDeviceList": 5}}})";
    return json.str();
}

void Release(std::list<VEXOGENICAM::ICameraInfo*>& infos) {
    for (auto* info : infos) {
        info->Release();
    }
}

void BM_DiscoveryAllProducers(benchmark::State& state) {
    for (auto _ : state) {
        auto infos = VEXOGENICAM::Discovery(nullptr);
        if (infos.size() != kProducers * kDevicesEach) {
            state.SkipWithError("wrong record count");
        }
        Release(infos);
    }
}
BENCHMARK(BM_DiscoveryAllProducers)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_DiscoveryEachProducerInTurn(benchmark::State& state) {
    for (auto _ : state) {
        for (int i = 0; i < kProducers; ++i) {
            auto infos = VEXOGENICAM::Discovery(ProducerName(i).c_str());
            Release(infos);
        }
    }
}
BENCHMARK(BM_DiscoveryEachProducerInTurn)->Unit(benchmark::kMillisecond)->UseRealTime();

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            const double ms = run.GetAdjustedRealTime();
            if (run.benchmark_name().find("AllProducers") != std::string::npos) {
                m_parallel = ms;
            } else {
                m_serial = ms;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        if (m_parallel > 0 && m_serial > 0) {
            std::printf("\n%-44s %10s\n", "discovery, 8 producers x 4 devices", "ms");
            std::printf("%-44s %10.2f\n", "one discovery over all (threads)", m_parallel);
            std::printf("%-44s %10.2f\n", "eight single-producer discoveries", m_serial);
            std::printf("%-44s %10.2fx\n", "speed-up from the threads", m_serial / m_parallel);
        }
    }

private:
    double m_parallel = 0;
    double m_serial = 0;
};

}  // namespace

int main(int argc, char** argv) {
    // The library finds producers beside its own file: run again from a
    // scenario directory holding a copy of the library and eight producers.
    if (!InBenchScenario()) {
        ScenarioDir dir;
        dir.Copy(std::filesystem::path(LUMO_LIB_DIR) / "libLumoGenICam.so.0");
        for (int i = 0; i < kProducers; ++i) {
            dir.AddProducer(std::filesystem::path(LUMO_LIB_DIR) / "LumoSim.cti", Config(i),
                            ProducerName(i));
        }
        return RunBenchInScenario(dir, argc, argv);
    }
    benchmark::Initialize(&argc, argv);
    VEXOGENICAM::Init();
    auto warmup = VEXOGENICAM::Discovery(nullptr);  // loads every producer once
    Release(warmup);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    VEXOGENICAM::UnInit();
    benchmark::Shutdown();
    return 0;
}
