// What lumocam view spends on each frame of a 5 MP Bayer camera: conversion
// to BGR through ConvertPixels and JPEG encoding, on one thread, beside
// OpenCV doing the same two steps (cvtColor, imencode) on the same frame.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <vector>

#include "JpegEncoder.h"
#include "PixelConvert.h"
#include "PixelFormats.h"
#include "ViewPicture.h"

namespace {

constexpr std::uint64_t kWidth = 2448;
constexpr std::uint64_t kHeight = 2048;
constexpr int kQuality = 85;

// A scene a camera might see, not noise (which no JPEG encoder meets in
// practice): eight colour bars over a vertical gradient, with sensor noise,
// sampled through an RGGB mosaic.
const std::vector<unsigned char>& BayerScene() {
    static const std::vector<unsigned char> frame = [] {
        constexpr int kBars[8][3] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                                     {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}};
        std::vector<unsigned char> bytes(kWidth * kHeight);
        std::mt19937 random(7);
        std::uniform_int_distribution<int> noise(-6, 6);
        for (std::uint64_t y = 0; y < kHeight; ++y) {
            for (std::uint64_t x = 0; x < kWidth; ++x) {
                const int channel = (y % 2 == 0) ? (x % 2 == 0 ? 0 : 1) : (x % 2 == 0 ? 1 : 2);
                const int lit = kBars[x * 8 / kWidth][channel];
                const int level = lit ? 60 + static_cast<int>(180 * y / kHeight) : 16;
                bytes[y * kWidth + x] =
                    static_cast<unsigned char>(std::clamp(level + noise(random), 0, 255));
            }
        }
        return bytes;
    }();
    return frame;
}

VEXOGENICAM::ConvertSource Source() {
    VEXOGENICAM::ConvertSource source;
    source.data = BayerScene().data();
    source.size = BayerScene().size();
    source.width = kWidth;
    source.height = kHeight;
    source.pixelFormat = VEXOGENICAM::PF_BayerRG8;
    return source;
}

void SetRate(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kWidth * kHeight));
}

void BM_ViewConvert(benchmark::State& state) {
    VEXOGENICAM::SetConvertThreads(1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(lumocam::ConvertForView(Source()).pixels.data());
    }
    SetRate(state);
}

void BM_ViewJpeg(benchmark::State& state) {
    VEXOGENICAM::SetConvertThreads(1);
    const lumocam::ViewPicture picture = lumocam::ConvertForView(Source());
    lumocam::JpegEncoder encoder;
    std::size_t bytes = 0;
    for (auto _ : state) {
        bytes = encoder
                    .Encode(picture.pixels.data(), picture.width, picture.height, picture.channels,
                            picture.Stride(), kQuality)
                    .size();
    }
    state.counters["jpeg_kB"] = static_cast<double>(bytes) / 1000.0;
    SetRate(state);
}

// The server's work per frame.
void BM_ViewConvertAndJpeg(benchmark::State& state) {
    VEXOGENICAM::SetConvertThreads(1);
    lumocam::JpegEncoder encoder;
    for (auto _ : state) {
        const lumocam::ViewPicture picture = lumocam::ConvertForView(Source());
        benchmark::DoNotOptimize(encoder
                                     .Encode(picture.pixels.data(), picture.width, picture.height,
                                             picture.channels, picture.Stride(), kQuality)
                                     .data());
    }
    SetRate(state);
}

// The reference: OpenCV's demosaicing and JPEG encoder at the same quality.
void BM_OpenCvConvertAndJpeg(benchmark::State& state) {
    cv::setNumThreads(1);
    const cv::Mat bayer(static_cast<int>(kHeight), static_cast<int>(kWidth), CV_8UC1,
                        const_cast<unsigned char*>(BayerScene().data()));
    cv::Mat bgr;
    std::vector<unsigned char> jpeg;
    const std::vector<int> options{cv::IMWRITE_JPEG_QUALITY, kQuality};
    for (auto _ : state) {
        // OpenCV names Bayer patterns by the second line: RGGB is its BayerBG.
        cv::cvtColor(bayer, bgr, cv::COLOR_BayerBG2BGR);
        cv::imencode(".jpg", bgr, jpeg, options);
        benchmark::DoNotOptimize(jpeg.data());
    }
    SetRate(state);
}

}  // namespace

BENCHMARK(BM_ViewConvert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ViewJpeg)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ViewConvertAndJpeg)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCvConvertAndJpeg)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
