// ConvertPixels against the plain model on every instruction set, its size
// checks, and the thread split.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "CImgTool.h"
#include "ConvertModel.h"
#include "PixelConvert.h"
#include "TargetSweep.h"

namespace {

using namespace VEXOGENICAM;
using cmodel::Bytes;

constexpr std::uint8_t kGap = 0xA5;
constexpr PixelTarget kTargets[] = {PixelTarget::BGR8, PixelTarget::RGB8, PixelTarget::Mono8,
                                    PixelTarget::Mono16};

std::vector<std::uint64_t> AllFormats() {
    std::vector<std::uint64_t> codes;
    for (std::uint64_t code = 0x01040000; code < 0x02190000; ++code) {
        cmodel::Format f;
        if ((code & 0xFF00) <= 0x0100 && cmodel::Describe(code, f)) {
            codes.push_back(code);
        }
    }
    return codes;
}

Bytes RandomBytes(std::mt19937& rng, std::uint64_t n) {
    Bytes b(static_cast<std::size_t>(n));
    for (auto& x : b) {
        x = static_cast<std::uint8_t>(rng());
    }
    return b;
}

std::uint64_t SourceSize(std::uint64_t code, long w, long h, long padding) {
    if (padding == 0) {
        return SourceFrameBytes(w, h, code);
    }
    return (h - 1) * (SourceLineBytes(w, code) + padding) + SourceLineBytes(w, code);
}

struct Outcome {
    Bytes out;
    ConvertResult result;
};

// Destination exactly as large as the lines need, gaps pre-filled.
Outcome Convert(const Bytes& frame, std::uint64_t code, long w, long h, long padding,
                bool bigEndian, PixelTarget target, long stride,
                DemosaicMethod method = DemosaicMethod::Bilinear) {
    Outcome run;
    run.out.assign(static_cast<std::size_t>((h - 1) * stride + ConvertedLineBytes(w, target)),
                   kGap);
    ConvertSource src;
    src.data = frame.data();
    src.size = frame.size();
    src.width = w;
    src.height = h;
    src.pixelFormat = code;
    src.linePadding = padding;
    src.bigEndian16 = bigEndian;
    ConvertDestination dst;
    dst.data = run.out.data();
    dst.size = run.out.size();
    dst.stride = stride;
    dst.target = target;
    run.result = ConvertPixels(src, dst, method);
    return run;
}

struct Shape {
    long w, h, padding;
};
constexpr Shape kShapes[] = {{1, 1, 0},  {2, 2, 0},  {3, 5, 0},   {5, 3, 2},  {7, 4, 0},
                             {33, 9, 3}, {64, 3, 0}, {130, 5, 1}, {67, 6, 0}, {19, 7, 5}};

void EveryFormatMatchesTheModel() {
    std::mt19937 rng(23);
    for (const std::uint64_t code : AllFormats()) {
        for (const Shape& s : kShapes) {
            const bool bigEndian = s.w % 2 == 1;
            if (SourceSize(code, s.w, s.h, s.padding) == 0) {
                continue;  // a 4-bit pixel alone fills no byte
            }
            const Bytes frame = RandomBytes(rng, SourceSize(code, s.w, s.h, s.padding));
            const cmodel::Frame fr{&frame, s.w, s.h, s.padding, bigEndian};
            for (const PixelTarget target : kTargets) {
                SCOPED_TRACE(testing::Message()
                             << std::hex << "format 0x" << code << std::dec << " " << s.w << "x"
                             << s.h << " padding " << s.padding << " target "
                             << static_cast<int>(target));
                // An odd stride on every other shape: lines land unaligned.
                const long stride = static_cast<long>(ConvertedLineBytes(s.w, target)) + s.h % 2;
                const Outcome run =
                    Convert(frame, code, s.w, s.h, s.padding, bigEndian, target, stride);
                ASSERT_EQ(run.result.status, ConvertStatus::Ok);
                ASSERT_EQ(run.out, cmodel::Expected(code, fr, target, stride, kGap));
            }
        }
    }
}

TEST(ConvertPixels, EveryFormatAndTargetMatchesTheModelOnEveryInstructionSet) {
    ForEachCompiledTarget([] { EveryFormatMatchesTheModel(); });
}

// The gradient-corrected method is checked for its colours by the colour-truth
// test; here it must not depend on the instruction set its input was decoded with.
TEST(ConvertPixels, GradientCorrectedIsTheSameOnEveryInstructionSet) {
    std::mt19937 rng(5);
    const Bytes frame = RandomBytes(rng, SourceFrameBytes(61, 17, PF_BayerGB12p));
    std::vector<Bytes> results;
    ForEachCompiledTarget([&] {
        const Outcome run = Convert(frame, PF_BayerGB12p, 61, 17, 0, false, PixelTarget::RGB8, 183,
                                    DemosaicMethod::GradientCorrected);
        ASSERT_EQ(run.result.status, ConvertStatus::Ok);
        results.push_back(run.out);
    });
    ASSERT_FALSE(results.empty());
    for (const Bytes& r : results) {
        EXPECT_EQ(r, results.front());
    }
}

TEST(ConvertPixels, SizeChecksNameTheFaultAndWriteNothing) {
    std::vector<std::uint8_t> frame(SourceFrameBytes(8, 4, PF_Mono12p));
    ConvertSource good;
    good.data = frame.data();
    good.size = frame.size();
    good.width = 8;
    good.height = 4;
    good.pixelFormat = PF_Mono12p;
    std::vector<std::uint8_t> out(3 * 8 * 4, kGap);
    ConvertDestination to;
    to.data = out.data();
    to.size = out.size();
    to.target = PixelTarget::BGR8;

    struct Case {
        const char* what;
        ConvertSource src;
        ConvertDestination dst;
        DemosaicMethod method;
        ConvertStatus expected;
    };
    auto src = [&](auto change) {
        ConvertSource s = good;
        change(s);
        return s;
    };
    auto dst = [&](auto change) {
        ConvertDestination d = to;
        change(d);
        return d;
    };
    const auto bilinear = DemosaicMethod::Bilinear;
    const Case cases[] = {
        {"null source", src([](auto& s) { s.data = nullptr; }), to, bilinear,
         ConvertStatus::NullSource},
        {"null destination", good, dst([](auto& d) { d.data = nullptr; }), bilinear,
         ConvertStatus::NullDestination},
        {"zero width", src([](auto& s) { s.width = 0; }), to, bilinear, ConvertStatus::EmptyFrame},
        {"zero height", src([](auto& s) { s.height = 0; }), to, bilinear,
         ConvertStatus::EmptyFrame},
        {"unknown format", src([](auto& s) { s.pixelFormat = 0x01080003; }), to, bilinear,
         ConvertStatus::UnknownFormat},
        {"unknown target", good, dst([](auto& d) { d.target = static_cast<PixelTarget>(4); }),
         bilinear, ConvertStatus::UnknownTarget},
        {"unknown method", good, to, static_cast<DemosaicMethod>(2), ConvertStatus::UnknownTarget},
        {"source one byte short", src([](auto& s) { s.size -= 1; }), to, bilinear,
         ConvertStatus::SourceTooSmall},
        {"padding without room", src([](auto& s) { s.linePadding = 1; }), to, bilinear,
         ConvertStatus::SourceTooSmall},
        {"stride under a line", good, dst([](auto& d) { d.stride = 3 * 8 - 1; }), bilinear,
         ConvertStatus::StrideTooSmall},
        {"destination one byte short", good, dst([](auto& d) { d.size -= 1; }), bilinear,
         ConvertStatus::DestinationTooSmall},
        {"odd stride, last line short", good, dst([](auto& d) { d.stride = 3 * 8 + 1; }), bilinear,
         ConvertStatus::DestinationTooSmall},
        {"width overflows", src([](auto& s) { s.width = UINT64_MAX / 2; }), to, bilinear,
         ConvertStatus::FrameTooLarge},
        {"padding overflows", src([](auto& s) { s.linePadding = UINT64_MAX - 3; }), to, bilinear,
         ConvertStatus::FrameTooLarge},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(ConvertPixels(c.src, c.dst, c.method).status, c.expected);
        EXPECT_EQ(out, std::vector<std::uint8_t>(out.size(), kGap));
        EXPECT_STRNE(ConvertStatusText(c.expected), ConvertStatusText(ConvertStatus::Ok));
    }
    EXPECT_EQ(ConvertPixels(good, to).status, ConvertStatus::Ok);
}

TEST(ConvertPixels, Mono16KeepsSampleValuesAndReportsTheirDepth) {
    struct Case {
        std::uint64_t code;
        Bytes bytes;  // one frame of 2 x 1 pixels
        unsigned first, second, depth;
    };
    const Case cases[] = {
        {PF_Mono12, {0xFF, 0x0F, 0x34, 0x02}, 4095, 0x234, 12},
        {PF_Mono16, {0xFF, 0xFF, 0x01, 0x00}, 65535, 1, 16},
        {PF_Mono12p, {0xFF, 0x4F, 0x23}, 4095, 0x234, 12},
        {PF_Mono10Packed, {0xFF, 0x23, 0x40}, 1023, 0x102, 10},
        {PF_Mono12Packed, {0xFF, 0x4F, 0x23}, 4095, 0x234, 12},
        {PF_Mono8, {200, 7}, 200, 7, 8},
        {PF_RGB8, {255, 255, 255, 0, 0, 0}, 255, 0, 8},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.code);
        const Outcome run = Convert(c.bytes, c.code, 2, 1, 0, false, PixelTarget::Mono16, 4);
        ASSERT_EQ(run.result.status, ConvertStatus::Ok);
        EXPECT_EQ(run.result.bitDepth, c.depth);
        std::uint16_t v[2];
        std::memcpy(v, run.out.data(), sizeof v);
        EXPECT_EQ(v[0], c.first);
        EXPECT_EQ(v[1], c.second);
    }
}

// Frames large enough to be split give the same bytes with any thread count,
// through both this entry point and the camera's tool.
TEST(ConvertPixels, ThreadCountDoesNotChangeTheResult) {
    constexpr long kW = 701, kH = 403;
    std::mt19937 rng(11);
    const std::uint64_t formats[] = {PF_BayerRG8, PF_BayerGB10p, PF_YUV422_8_UYVY, PF_Mono12Packed,
                                     PF_RGB8};
    for (const std::uint64_t code : formats) {
        SCOPED_TRACE(testing::Message() << std::hex << code);
        Bytes frame = RandomBytes(rng, SourceFrameBytes(kW, kH, code));
        std::vector<Bytes> ours, camera;
        for (const unsigned threads : {1u, 2u, 3u}) {
            SetConvertThreads(threads);
            EXPECT_EQ(GetConvertThreads(), threads);
            for (const auto method :
                 {DemosaicMethod::Bilinear, DemosaicMethod::GradientCorrected}) {
                ours.push_back(
                    Convert(frame, code, kW, kH, 0, false, PixelTarget::BGR8, 3 * kW, method).out);
            }
            CImgTool tool(true);
            char* result =
                tool.TransImage(reinterpret_cast<char*>(frame.data()), kW, kH, code, false, true);
            ASSERT_NE(result, nullptr);
            const std::size_t bytes = code == PF_Mono12Packed ? kW * kH : 3 * kW * kH;
            camera.emplace_back(result, result + bytes);
            delete[] result;
        }
        SetConvertThreads(0);
        for (std::size_t i = 2; i < ours.size(); ++i) {
            EXPECT_EQ(ours[i], ours[i % 2]);
        }
        for (const Bytes& c : camera) {
            EXPECT_EQ(c, camera.front());
        }
    }
}

}  // namespace
