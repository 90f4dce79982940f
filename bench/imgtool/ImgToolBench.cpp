// Conversion kernels on 2448 x 2048 frames, single thread, each beside memcpy
// of its input and the nearest reference peer on the same input.
#include <benchmark/benchmark.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "CImgTool.h"
#include "PixelConvert.h"
#include "PixelFormats.h"

namespace {

using namespace VEXOGENICAM;

constexpr int kWidth = 2448;
constexpr int kHeight = 2048;
constexpr std::uint64_t kPixels = std::uint64_t{kWidth} * kHeight;

std::vector<unsigned char> RandomBytes(std::size_t n) {
    std::vector<unsigned char> v(n);
    std::mt19937 rng(1);
    for (auto& b : v) {
        b = static_cast<unsigned char>(rng());
    }
    return v;
}

// The plain per-group rule, as a reader would write it; the peer of the
// unpacking kernels.
void PlainUnpackP(const unsigned char* src, unsigned char* dst, std::uint64_t pixels, int bits) {
    const int groupBytes = bits == 10 ? 5 : bits == 12 ? 3 : 7;
    const int groupPixels = bits == 12 ? 2 : 4;
    for (std::uint64_t d = 0; d + groupPixels <= pixels; d += groupPixels, src += groupBytes) {
        std::uint64_t value = 0;
        for (int k = 0; k < groupBytes; ++k) {
            value |= std::uint64_t{src[k]} << (8 * k);
        }
        for (int k = 0; k < groupPixels; ++k) {
            dst[d + k] = static_cast<unsigned char>((value & ((1u << bits) - 1)) >> (bits - 8));
            value >>= bits;
        }
    }
}

void PlainUnpackPacked(const unsigned char* src, unsigned char* dst, std::uint64_t pixels) {
    for (std::uint64_t j = 0; j < pixels / 2; ++j) {
        dst[2 * j] = src[3 * j];
        dst[2 * j + 1] = src[3 * j + 2];
    }
}

struct Case {
    std::string name;
    std::uint64_t format;
    std::size_t inputBytes;
    std::function<void(unsigned char* in)> peer;
};

std::vector<Case> Cases() {
    static cv::Mat out8(kHeight, kWidth, CV_8UC3), out16(kHeight, kWidth, CV_16UC3),
        mono8(kHeight, kWidth, CV_8UC1);
    static std::vector<unsigned char> plain(kPixels);
    return {
        {"Bayer8 to BGR", PF_BayerRG8, kPixels,
         [](unsigned char* in) {
             cv::cvtColor(cv::Mat(kHeight, kWidth, CV_8UC1, in), out8, cv::COLOR_BayerRG2BGR);
         }},
        {"Bayer12 to BGR", PF_BayerRG12, 2 * kPixels,
         [](unsigned char* in) {
             cv::cvtColor(cv::Mat(kHeight, kWidth, CV_16UC1, in), out16, cv::COLOR_BayerRG2BGR);
             out16.convertTo(out8, CV_8UC3, 1.0 / 16);
         }},
        {"UYVY to BGR", PF_YUV422_8_UYVY, 2 * kPixels,
         [](unsigned char* in) {
             cv::cvtColor(cv::Mat(kHeight, kWidth, CV_8UC2, in), out8, cv::COLOR_YUV2BGR_UYVY);
         }},
        {"YUYV to BGR", PF_YUV422_8, 2 * kPixels,
         [](unsigned char* in) {
             cv::cvtColor(cv::Mat(kHeight, kWidth, CV_8UC2, in), out8, cv::COLOR_YUV2BGR_YUYV);
         }},
        {"RGB8 to BGR8", PF_RGB8, 3 * kPixels,
         [](unsigned char* in) {
             cv::cvtColor(cv::Mat(kHeight, kWidth, CV_8UC3, in), out8, cv::COLOR_RGB2BGR);
         }},
        {"Mono16 to Mono8", PF_Mono16, 2 * kPixels,
         [](unsigned char* in) {
             cv::Mat(kHeight, kWidth, CV_16UC1, in).convertTo(mono8, CV_8U, 1.0 / 256);
         }},
        {"Mono10p to Mono8", PF_Mono10p, kPixels * 10 / 8,
         [](unsigned char* in) { PlainUnpackP(in, plain.data(), kPixels, 10); }},
        {"Mono12p to Mono8", PF_Mono12p, kPixels * 12 / 8,
         [](unsigned char* in) { PlainUnpackP(in, plain.data(), kPixels, 12); }},
        {"Mono12Packed to Mono8", PF_Mono12Packed, kPixels * 3 / 2,
         [](unsigned char* in) { PlainUnpackPacked(in, plain.data(), kPixels); }},
    };
}

void Ours(benchmark::State& state, const Case& c) {
    auto input = RandomBytes(c.inputBytes);
    CImgTool tool(false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tool.TransImage(reinterpret_cast<char*>(input.data()), kWidth,
                                                 kHeight, c.format, false, true));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPixels));
}

void Peer(benchmark::State& state, const Case& c) {
    auto input = RandomBytes(c.inputBytes);
    for (auto _ : state) {
        c.peer(input.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPixels));
}

void Memcpy(benchmark::State& state, std::size_t bytes) {
    auto input = RandomBytes(bytes);
    std::vector<unsigned char> copy(bytes);
    for (auto _ : state) {
        std::memcpy(copy.data(), input.data(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

// Best of several runs: the machine is shared, the fastest run is the one
// least disturbed.
double BestSeconds(const std::function<void()>& f, int runs) {
    double best = 1e9;
    for (int i = 0; i < runs; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        f();
        const std::chrono::duration<double> dt = std::chrono::steady_clock::now() - t0;
        best = std::min(best, dt.count());
    }
    return best;
}

void PrintRatioTable(int runs) {
    std::printf("\n%-24s %10s %10s %14s %14s\n", "kernel", "Mpix/s", "peer Mpix/s", "ratio to peer",
                "input/memcpy");
    for (const Case& c : Cases()) {
        auto input = RandomBytes(c.inputBytes);
        std::vector<unsigned char> copy(c.inputBytes);
        CImgTool tool(false);
        char* in = reinterpret_cast<char*>(input.data());
        tool.TransImage(in, kWidth, kHeight, c.format, false, true);  // allocate once
        const double ours = BestSeconds(
            [&] {
                benchmark::DoNotOptimize(
                    tool.TransImage(in, kWidth, kHeight, c.format, false, true));
            },
            runs);
        const double peer = BestSeconds([&] { c.peer(input.data()); }, runs);
        const double copySeconds = BestSeconds(
            [&] {
                std::memcpy(copy.data(), input.data(), c.inputBytes);
                benchmark::ClobberMemory();
            },
            runs);
        std::printf("%-24s %10.0f %10.0f %14.2f %14.2f\n", c.name.c_str(), kPixels / ours / 1e6,
                    kPixels / peer / 1e6, peer / ours, copySeconds / ours);
    }
}

}  // namespace

int main(int argc, char** argv) {
    cv::setNumThreads(1);
    VEXOGENICAM::SetConvertThreads(1);  // the camera path shares large frames out otherwise
    for (const Case& c : Cases()) {
        benchmark::RegisterBenchmark(("ours/" + c.name).c_str(), Ours, c)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("peer/" + c.name).c_str(), Peer, c)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("memcpy/" + c.name).c_str(), Memcpy, c.inputBytes)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    PrintRatioTable(15);
    return 0;
}
