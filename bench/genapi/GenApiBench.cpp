// Integer feature reads through the GenApi layer against the same reads made
// directly on the engine, over the same description and the same in-memory
// register space.
#include <GenApi/GenApi.h>
#include <arv.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "TestDescription.h"
#include "TestPort.h"

namespace {

std::vector<uint8_t> g_engineMemory(0x800, 0);

struct BenchDevice {
    ArvDevice parent;
};
struct BenchDeviceClass {
    ArvDeviceClass parent_class;
};

GType bench_device_get_type();
G_DEFINE_TYPE(BenchDevice, bench_device, ARV_TYPE_DEVICE)

gboolean BenchRead(ArvDevice*, guint64 address, guint32 size, void* buffer, GError**) {
    std::memcpy(buffer, g_engineMemory.data() + address, size);
    return TRUE;
}
gboolean BenchWrite(ArvDevice*, guint64 address, guint32 size, void* buffer, GError**) {
    std::memcpy(g_engineMemory.data() + address, buffer, size);
    return TRUE;
}
void bench_device_init(BenchDevice*) {}
void bench_device_class_init(BenchDeviceClass* klass) {
    ARV_DEVICE_CLASS(klass)->read_memory = BenchRead;
    ARV_DEVICE_CLASS(klass)->write_memory = BenchWrite;
}

// The engine driven directly, the way the layer drives it.
class EngineFixture {
public:
    explicit EngineFixture(ArvRegisterCachePolicy policy) {
        g_engineMemory[0] = 0x80;
        g_engineMemory[1] = 0x02;
        m_device = ARV_DEVICE(g_object_new(bench_device_get_type(), nullptr));
        m_gc = arv_gc_new(m_device, kTestDescription, std::strlen(kTestDescription));
        arv_gc_set_register_cache_policy(m_gc, policy);
        m_width = ARV_GC_INTEGER(arv_gc_get_node(m_gc, "Width"));
    }
    ~EngineFixture() {
        g_object_unref(m_gc);
        g_object_unref(m_device);
    }
    ArvGcInteger* Width() const { return m_width; }

private:
    ArvDevice* m_device;
    ArvGc* m_gc;
    ArvGcInteger* m_width;
};

class LayerFixture {
public:
    LayerFixture() {
        m_port.Poke32(0x00, 640);
        m_map._LoadXMLFromString(kTestDescription);
        m_map._Connect(&m_port, "Device");
        m_width = m_map._GetNode("Width");
    }
    GenApi::CIntegerPtr& Width() { return m_width; }

private:
    CTestPort m_port;
    GenApi::CNodeMapRef m_map;
    GenApi::CIntegerPtr m_width;
};

void BM_EngineCached(benchmark::State& state) {
    EngineFixture engine(ARV_REGISTER_CACHE_POLICY_ENABLE);
    for (auto _ : state) {
        benchmark::DoNotOptimize(arv_gc_integer_get_value(engine.Width(), nullptr));
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_LayerCached(benchmark::State& state) {
    LayerFixture layer;
    for (auto _ : state) {
        benchmark::DoNotOptimize(layer.Width()->GetValue());
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_EngineUncached(benchmark::State& state) {
    EngineFixture engine(ARV_REGISTER_CACHE_POLICY_DISABLE);
    for (auto _ : state) {
        benchmark::DoNotOptimize(arv_gc_integer_get_value(engine.Width(), nullptr));
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_LayerIgnoreCache(benchmark::State& state) {
    LayerFixture layer;
    for (auto _ : state) {
        benchmark::DoNotOptimize(layer.Width()->GetValue(false, true));
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_EngineCached);
BENCHMARK(BM_LayerCached);
BENCHMARK(BM_EngineUncached);
BENCHMARK(BM_LayerIgnoreCache);

// Keeps each run's CPU time per read (steadier than wall time on a shared
// machine) so the ratios can be printed after the table.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
                m_nsPerRead[run.benchmark_name()] = run.GetAdjustedCPUTime() * 1e9 /
                                                    benchmark::GetTimeUnitMultiplier(run.time_unit);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    double Ns(const std::string& name) const {
        const auto it = m_nsPerRead.find(name);
        return it == m_nsPerRead.end() ? 0.0 : it->second;
    }

private:
    std::map<std::string, double> m_nsPerRead;
};

void PrintRatio(const RatioReporter& reporter, const char* label, const char* layer,
                const char* engine) {
    const double layerNs = reporter.Ns(layer);
    const double engineNs = reporter.Ns(engine);
    if (layerNs <= 0.0 || engineNs <= 0.0) {
        std::printf("%-28s  (not run)\n", label);
        return;
    }
    const double overhead = (layerNs / engineNs - 1.0) * 100.0;
    std::printf("%-28s %10.1f %10.1f %9.3f %+9.1f%%  %s\n", label, layerNs, engineNs,
                layerNs / engineNs, overhead, overhead < 25.0 ? "ok" : "OVER 25%");
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nGenApi layer vs. engine, integer reads (target: overhead < 25%%)\n");
    std::printf("%-28s %10s %10s %9s %10s\n", "read", "layer ns", "engine ns", "ratio", "overhead");
    PrintRatio(reporter, "cached GetValue()", "BM_LayerCached", "BM_EngineCached");
    PrintRatio(reporter, "GetValue(false, true)", "BM_LayerIgnoreCache", "BM_EngineUncached");
    benchmark::Shutdown();
    return 0;
}
