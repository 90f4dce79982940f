// Both front doors against the reference model on random frames of every
// convertible format, odd and even sizes.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "CImgTool.h"
#include "ImageTool.h"
#include "ReferenceModel.h"
#include "TargetSweep.h"

namespace {

struct Size {
    long w, h;
};

std::vector<Size> Sizes(std::mt19937& rng) {
    std::vector<Size> s = {{1, 1}, {2, 2}, {3, 3},   {2, 5},   {5, 4},
                           {7, 1}, {1, 6}, {130, 3}, {67, 66}, {257, 9}};
    std::uniform_int_distribution<long> dim(1, 300);
    for (int i = 0; i < 4; ++i) {
        s.push_back({dim(rng), dim(rng) / 4 + 1});
    }
    return s;
}

model::Bytes RandomFrame(std::mt19937& rng, std::uint64_t bytes) {
    model::Bytes b(bytes);
    std::uniform_int_distribution<int> byte(0, 255);
    for (auto& x : b) {
        x = static_cast<std::uint8_t>(byte(rng));
    }
    return b;
}

std::uint64_t Payload(std::uint64_t code, long w, long h) {
    std::uint64_t bits = 0, channels = 0, payload = 0;
    VEXOGENICAM::PayloadCalc(w, h, code, bits, channels, payload);
    return payload;
}

bool SameBytes(const char* result, const model::Bytes& expected) {
    return std::equal(expected.begin(), expected.end(),
                      reinterpret_cast<const std::uint8_t*>(result));
}

void EveryFormatBothDoorsMatchTheModel() {
    std::mt19937 rng(20261123);
    const auto sizes = Sizes(rng);
    for (const auto& f : model::AllConvertible()) {
        for (const auto& s : sizes) {
            for (bool native : {true, false}) {
                SCOPED_TRACE(testing::Message()
                             << std::hex << "format 0x" << f.code << std::dec << " " << s.w << "x"
                             << s.h << " native " << native);
                // Exactly the payload, so that any read past the frame shows up under ASan.
                model::Bytes frame = RandomFrame(rng, Payload(f.code, s.w, s.h));
                ASSERT_FALSE(frame.empty());
                char* input = reinterpret_cast<char*>(frame.data());

                CImgTool tool(true);
                std::unique_ptr<char[]> owned;
                char* camera = tool.TransImage(input, s.w, s.h, f.code, false, native);
                const bool cameraFails =
                    f.kind != model::Kind::Mono8 && f.kind != model::Kind::Bgr8 &&
                    (s.w < 2 || s.h < 2) &&
                    (f.kind == model::Kind::Bayer8 || f.kind == model::Kind::BayerP ||
                     f.kind == model::Kind::BayerPacked || f.kind == model::Kind::DualBayer);
                if (cameraFails) {
                    EXPECT_EQ(camera, nullptr);
                } else {
                    ASSERT_NE(camera, nullptr);
                    if (camera != input) {
                        owned.reset(camera);
                    }
                    EXPECT_TRUE(
                        SameBytes(camera, model::Expected(f, frame, s.w, s.h, native, false)));
                }

                char* loose = VEXOGENICAM::TransImage(input, s.w, s.h, f.code, native);
                ASSERT_NE(loose, nullptr);
                std::unique_ptr<char[]> ownedLoose(loose == input ? nullptr : loose);
                EXPECT_TRUE(SameBytes(loose, model::Expected(f, frame, s.w, s.h, native, true)));
            }
        }
    }
}

// Every instruction set the build compiled, the one-lane fallback included.
TEST(ImgToolExactness, EveryFormatBothDoorsMatchTheModelOnEveryTarget) {
    ForEachCompiledTarget([] { EveryFormatBothDoorsMatchTheModel(); });
}

TEST(ImgToolExactness, ReuseModeMatchesAllocatingModeOnAStream) {
    std::mt19937 rng(7);
    CImgTool reuse(false);
    for (const auto& f : model::AllConvertible()) {
        for (Size s : {Size{64, 32}, Size{33, 17}}) {
            model::Bytes frame = RandomFrame(rng, Payload(f.code, s.w, s.h));
            char* input = reinterpret_cast<char*>(frame.data());
            // The kept buffers still hold the previous format's output; only
            // frames without a partial final group are fully rewritten.
            const model::Bytes expected = model::Expected(f, frame, s.w, s.h, true, false);
            char* result = reuse.TransImage(input, s.w, s.h, f.code, false, true);
            ASSERT_NE(result, nullptr);
            if ((s.w * s.h) % 4 == 0) {
                EXPECT_TRUE(SameBytes(result, expected)) << std::hex << f.code;
            }
        }
    }
}

}  // namespace
