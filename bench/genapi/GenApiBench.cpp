// The GenApi layer against the engine alone: integer feature reads over the
// same description and the same in-memory register space, and building a
// node map from the large corpus description.
#include <GenApi/GenApi.h>
#include <arv.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "LargeDescription.h"
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

// Thread CPU time: steadier than wall time on a machine shared with builds.
struct Clock {
    using time_point = double;
    static double now() {
        timespec ts{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
        return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
    }
};

double SecondsSince(Clock::time_point start, int operations = 1) {
    return (Clock::now() - start) / operations;
}

// Both sides get the text as their interface takes it, made before the clock starts.
const GenICam::gcstring& Large() {
    static const GenICam::gcstring text(lumo_test::LargeDescription());
    return text;
}

// Only the build is timed: both sides free their maps the same way.
void BM_EngineBuild(benchmark::State& state) {
    ArvDevice* device = ARV_DEVICE(g_object_new(bench_device_get_type(), nullptr));
    for (auto _ : state) {
        const double start = Clock::now();
        ArvGc* gc = arv_gc_new(device, Large().c_str(), Large().size());
        state.SetIterationTime(SecondsSince(start));
        g_object_unref(gc);
    }
    g_object_unref(device);
}

void BM_LayerBuild(benchmark::State& state) {
    for (auto _ : state) {
        GenApi::CNodeMapRef map;
        const double start = Clock::now();
        map._LoadXMLFromString(Large());
        state.SetIterationTime(SecondsSince(start));
    }
}

BENCHMARK(BM_EngineBuild)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LayerBuild)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EngineCached);
BENCHMARK(BM_LayerCached);
BENCHMARK(BM_EngineUncached);
BENCHMARK(BM_LayerIgnoreCache);

// Each side of a comparison times itself and returns seconds per operation,
// so that set-up and clean-up stay outside. The sides run alternately, round
// by round, so that a disturbance of the shared machine hits both; the
// medians are compared.
struct Comparison {
    const char* label;
    std::function<double()> layer;
    std::function<double()> engine;
    double limit;  // the layer may take at most this times the engine's time
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void RunComparison(const Comparison& c, int rounds) {
    std::vector<double> layer;
    std::vector<double> engine;
    for (int round = 0; round < rounds; ++round) {
        layer.push_back(c.layer());
        engine.push_back(c.engine());
    }
    const double layerMedian = Median(layer);
    const double engineMedian = Median(engine);
    const double ratio = layerMedian / engineMedian;
    std::printf("%-24s %14.1f %14.1f %8.3f  %s (limit %.2f)\n", c.label, layerMedian * 1e9,
                engineMedian * 1e9, ratio, ratio <= c.limit ? "ok" : "OVER", c.limit);
}

template <class F>
double TimeReads(F&& read) {
    constexpr int kReads = 100000;
    const auto start = Clock::now();
    for (int i = 0; i < kReads; ++i) {
        benchmark::DoNotOptimize(read());
    }
    return SecondsSince(start, kReads);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();

    EngineFixture cachedEngine(ARV_REGISTER_CACHE_POLICY_ENABLE);
    EngineFixture uncachedEngine(ARV_REGISTER_CACHE_POLICY_DISABLE);
    LayerFixture layer;
    ArvDevice* device = ARV_DEVICE(g_object_new(bench_device_get_type(), nullptr));
    const Comparison comparisons[] = {
        {"build map, 1.1 MB",
         [] {
             GenApi::CNodeMapRef map;
             const auto start = Clock::now();
             map._LoadXMLFromString(Large());
             return SecondsSince(start);
         },
         [device] {
             const auto start = Clock::now();
             ArvGc* gc = arv_gc_new(device, Large().c_str(), Large().size());
             const double seconds = SecondsSince(start);
             g_object_unref(gc);
             return seconds;
         },
         1.10},
        {"cached GetValue()",
         [&layer] { return TimeReads([&] { return layer.Width()->GetValue(); }); },
         [&cachedEngine] {
             return TimeReads(
                 [&] { return arv_gc_integer_get_value(cachedEngine.Width(), nullptr); });
         },
         1.10},
        {"GetValue(false, true)",
         [&layer] { return TimeReads([&] { return layer.Width()->GetValue(false, true); }); },
         [&uncachedEngine] {
             return TimeReads(
                 [&] { return arv_gc_integer_get_value(uncachedEngine.Width(), nullptr); });
         },
         1.10},
    };
    std::printf("\nGenApi layer vs. engine: medians of 15 alternating rounds\n");
    std::printf("%-24s %14s %14s %8s\n", "operation", "layer ns", "engine ns", "ratio");
    for (const Comparison& comparison : comparisons) {
        RunComparison(comparison, 15);
    }
    g_object_unref(device);
    benchmark::Shutdown();
    return 0;
}
