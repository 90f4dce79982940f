// ConvertPixels on 2448 x 2048 frames with one and with two threads, beside
// OpenCV cvtColor given the same number of threads. The runs alternate
// (ours 1, ours 2, peer 1, peer 2, ...) so that load on the shared machine
// falls on all of them alike; the table reports medians.
#include <benchmark/benchmark.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "PixelConvert.h"
#include "PixelFormats.h"

namespace {

using namespace VEXOGENICAM;

constexpr int kWidth = 2448;
constexpr int kHeight = 2048;
constexpr double kPixels = double{kWidth} * kHeight;

struct Case {
    std::string name;
    std::uint64_t format;
    PixelTarget target;
    DemosaicMethod method;
    int peerType;  // OpenCV type of the input
    int peerCode;  // cvtColor code, or -1 for no peer
};

const std::vector<Case>& Cases() {
    static const std::vector<Case> cases = {
        {"Bayer8 to BGR8", PF_BayerRG8, PixelTarget::BGR8, DemosaicMethod::Bilinear, CV_8UC1,
         cv::COLOR_BayerRG2BGR},
        {"Bayer8 to RGB8", PF_BayerRG8, PixelTarget::RGB8, DemosaicMethod::Bilinear, CV_8UC1,
         cv::COLOR_BayerRG2RGB},
        {"YUYV to RGB8", PF_YUV422_8, PixelTarget::RGB8, DemosaicMethod::Bilinear, CV_8UC2,
         cv::COLOR_YUV2RGB_YUYV},
        {"RGB8 to Mono8", PF_RGB8, PixelTarget::Mono8, DemosaicMethod::Bilinear, CV_8UC3,
         cv::COLOR_RGB2GRAY},
        {"Mono12p to Mono16", PF_Mono12p, PixelTarget::Mono16, DemosaicMethod::Bilinear, 0, -1},
        {"Mono12Packed to Mono16", PF_Mono12Packed, PixelTarget::Mono16, DemosaicMethod::Bilinear,
         0, -1},
        {"Bayer8 to BGR8 edge-aware", PF_BayerRG8, PixelTarget::BGR8,
         DemosaicMethod::GradientCorrected, CV_8UC1, cv::COLOR_BayerRG2BGR_EA},
    };
    return cases;
}

struct Buffers {
    std::vector<unsigned char> in;
    std::vector<unsigned char> out;
    cv::Mat peerOut;
};

Buffers MakeBuffers(const Case& c) {
    Buffers b;
    b.in.resize(SourceFrameBytes(kWidth, kHeight, c.format));
    std::mt19937 rng(1);
    for (auto& x : b.in) {
        x = static_cast<unsigned char>(rng());
    }
    b.out.resize(ConvertedLineBytes(kWidth, c.target) * kHeight);
    return b;
}

void Ours(const Case& c, Buffers& b) {
    ConvertSource src;
    src.data = b.in.data();
    src.size = b.in.size();
    src.width = kWidth;
    src.height = kHeight;
    src.pixelFormat = c.format;
    ConvertDestination dst;
    dst.data = b.out.data();
    dst.size = b.out.size();
    dst.target = c.target;
    benchmark::DoNotOptimize(ConvertPixels(src, dst, c.method));
    benchmark::ClobberMemory();
}

void Peer(const Case& c, Buffers& b) {
    cv::cvtColor(cv::Mat(kHeight, kWidth, c.peerType, b.in.data()), b.peerOut, c.peerCode);
    benchmark::ClobberMemory();
}

void SetThreads(int threads) {
    SetConvertThreads(static_cast<unsigned>(threads));
    cv::setNumThreads(threads);
}

void OursBench(benchmark::State& state, const Case& c, int threads) {
    SetThreads(threads);
    Buffers b = MakeBuffers(c);
    for (auto _ : state) {
        Ours(c, b);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPixels));
}

void PeerBench(benchmark::State& state, const Case& c, int threads) {
    SetThreads(threads);
    Buffers b = MakeBuffers(c);
    for (auto _ : state) {
        Peer(c, b);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPixels));
}

double Seconds(const std::function<void()>& f) {
    const auto t0 = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

void PrintRatioTable(int rounds) {
    std::printf("\n%-26s %9s %9s %9s %9s %9s %9s %9s\n", "conversion (medians)", "1T Mpix/s",
                "2T Mpix/s", "2T/1T", "cv1T", "cv2T", "1T/cv1T", "2T/cv2T");
    for (const Case& c : Cases()) {
        Buffers b = MakeBuffers(c);
        const bool peer = c.peerCode >= 0;
        std::vector<double> ours[2], theirs[2];
        for (int r = 0; r < rounds; ++r) {
            for (int t = 0; t < 2; ++t) {
                SetThreads(t + 1);
                ours[t].push_back(Seconds([&] { Ours(c, b); }));
            }
            for (int t = 0; peer && t < 2; ++t) {
                SetThreads(t + 1);
                theirs[t].push_back(Seconds([&] { Peer(c, b); }));
            }
        }
        const double o1 = Median(ours[0]), o2 = Median(ours[1]);
        std::printf("%-26s %9.0f %9.0f %9.2f", c.name.c_str(), kPixels / o1 / 1e6,
                    kPixels / o2 / 1e6, o1 / o2);
        if (peer) {
            const double p1 = Median(theirs[0]), p2 = Median(theirs[1]);
            std::printf(" %9.0f %9.0f %9.2f %9.2f\n", kPixels / p1 / 1e6, kPixels / p2 / 1e6,
                        p1 / o1, p2 / o2);
        } else {
            std::printf(" %9s %9s %9s %9s\n", "-", "-", "-", "-");
        }
    }
    SetThreads(1);
}

std::string Name(const char* who, const Case& c, int threads) {
    char name[128];
    std::snprintf(name, sizeof name, "%s/%s/%dT", who, c.name.c_str(), threads);
    return name;
}

}  // namespace

int main(int argc, char** argv) {
    for (const Case& c : Cases()) {
        for (int threads : {1, 2}) {
            benchmark::RegisterBenchmark(Name("ConvertPixels", c, threads).c_str(), OursBench, c,
                                         threads)
                ->Unit(benchmark::kMillisecond);
            if (c.peerCode >= 0) {
                benchmark::RegisterBenchmark(Name("cvtColor", c, threads).c_str(), PeerBench, c,
                                             threads)
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    PrintRatioTable(31);
    return 0;
}
