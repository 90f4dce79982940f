// Working-buffer rules of the tool: reuse by exact size, pass-through, and the
// kept buffer coming back after a failed conversion.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>
#include <vector>

#include "CImgTool.h"
#include "ImageTool.h"
#include "PixelFormats.h"

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define LUMO_COUNT_ALLOCATIONS 1
namespace {
std::atomic<long> g_arrayAllocations{0};
}
void* operator new[](std::size_t size) {
    ++g_arrayAllocations;
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
#endif

namespace {

using namespace VEXOGENICAM;

TEST(ImgToolBuffers, PassThroughAndUnknownFormats) {
    std::vector<char> frame(64 * 3, 7);
    CImgTool tool(false);
    for (std::uint64_t pf : {PF_Mono8, PF_Mono8s, PF_BGR8}) {
        EXPECT_EQ(tool.TransImage(frame.data(), 8, 8, pf, false, true), frame.data());
        EXPECT_EQ(TransImage(frame.data(), 8, 8, pf, true), frame.data());
    }
    for (std::uint64_t pf : {PF_BayerRG4p, std::uint64_t{0x01080003}}) {
        EXPECT_EQ(tool.TransImage(frame.data(), 8, 8, pf, false, true), nullptr);
        EXPECT_EQ(TransImage(frame.data(), 8, 8, pf, true), nullptr);
    }
    EXPECT_EQ(tool.TransImage(frame.data(), 0, 8, PF_RGB8, false, true), nullptr);
    EXPECT_EQ(tool.TransImage(nullptr, 8, 8, PF_RGB8, false, true), nullptr);
    EXPECT_EQ(TransImage(nullptr, 8, 8, PF_RGB8, true), nullptr);
    EXPECT_EQ(tool.TransImage(frame.data(), 1ull << 40, 1ull << 40, PF_RGB8, false, true), nullptr);
    // The free door has no size guard: width 0 reaches the routine and yields
    // an empty block of its own.
    char* empty = TransImage(frame.data(), 0, 8, PF_RGB8, true);
    ASSERT_NE(empty, nullptr);
    EXPECT_NE(empty, frame.data());
    delete[] empty;
}

TEST(ImgToolBuffers, ReuseModeReallocatesOnlyWhenTheSizeChanges) {
    std::vector<char> frame(32 * 32 * 2, 3);
    CImgTool tool(false);
    char* first = tool.TransImage(frame.data(), 32, 32, PF_BayerRG12, false, true);
    ASSERT_NE(first, nullptr);
#ifdef LUMO_COUNT_ALLOCATIONS
    const long before = g_arrayAllocations.load();
#endif
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(tool.TransImage(frame.data(), 32, 32, PF_BayerRG12, false, true), first);
    }
#ifdef LUMO_COUNT_ALLOCATIONS
    EXPECT_EQ(g_arrayAllocations.load(), before);
#endif
    // Both kinds are kept after a two-step conversion: the P-byte single buffer
    // is what GetSingleBuf hands back for the same size.
    char* single = tool.GetSingleBuf(32 * 32);
    EXPECT_EQ(tool.GetSingleBuf(32 * 32), single);
    EXPECT_EQ(tool.GetRgbBuf(32 * 32 * 3), first);
    // A smaller frame is a different size: a new block.
    char* smaller = tool.TransImage(frame.data(), 16, 16, PF_BayerRG12, false, true);
    ASSERT_NE(smaller, nullptr);
    EXPECT_EQ(tool.GetRgbBuf(16 * 16 * 3), smaller);
    // ReleaseBuf leaves kept buffers and their callers' pointers alone.
    char* kept = smaller;
    tool.ReleaseBuf(kept);
    EXPECT_EQ(kept, smaller);
    char* none = nullptr;
    tool.ReleaseBuf(none);
    EXPECT_EQ(none, nullptr);
}

TEST(ImgToolBuffers, FailedConversionDiffersBetweenModes) {
    std::vector<char> frame(16, 1);
    CImgTool reuse(false);
    CImgTool allocate(true);
    // Width 1 is refused by the demosaic: reuse mode still hands back its kept
    // buffer, allocating mode frees the block and returns null.
    char* kept = reuse.TransImage(frame.data(), 1, 16, PF_BayerGR8, false, true);
    EXPECT_NE(kept, nullptr);
    EXPECT_EQ(reuse.GetRgbBuf(48), kept);
    EXPECT_EQ(allocate.TransImage(frame.data(), 1, 16, PF_BayerGR8, false, true), nullptr);
    EXPECT_EQ(reuse.TransBayer(0x12345678, frame.data(), 4, 4), reuse.GetRgbBuf(48));
    EXPECT_EQ(allocate.TransBayer(0x12345678, frame.data(), 4, 4), nullptr);
    EXPECT_EQ(allocate.TransDualBayer(PF_BayerGR8, frame.data(), 2, 2, 8), nullptr);

    char* owned = allocate.GetSingleBuf(10);
    ASSERT_NE(owned, nullptr);
    allocate.ReleaseBuf(owned);
    EXPECT_EQ(owned, nullptr);
}

TEST(ImgToolBuffers, AllocatingModeLeavesOnlyTheResult) {
    std::vector<char> frame(8 * 8 * 2, 9);
    CImgTool tool(true);
#ifdef LUMO_COUNT_ALLOCATIONS
    const long before = g_arrayAllocations.load();
#endif
    char* result = tool.TransImage(frame.data(), 8, 8, PF_BayerRG12, false, true);
    ASSERT_NE(result, nullptr);
#ifdef LUMO_COUNT_ALLOCATIONS
    EXPECT_EQ(g_arrayAllocations.load() - before, 2);  // single block (freed) + result
#endif
    delete[] result;
}

}  // namespace

namespace {

TEST(ImgToolBuffers, ToolsOnSeveralThreadsShareOnlyReadOnlyState) {
    // The first 4:2:2 conversion fits the chroma constants; several threads
    // racing into it, each with its own tool, must all get the same result.
    std::vector<char> frame(64 * 16 * 2);
    for (std::size_t i = 0; i < frame.size(); ++i) {
        frame[i] = static_cast<char>(i * 37);
    }
    std::vector<std::vector<char>> results(4);
    std::vector<std::thread> threads;
    for (auto& result : results) {
        threads.emplace_back([&frame, &result] {
            CImgTool tool(false);
            const char* out = tool.TransImage(frame.data(), 64, 16, PF_YCbCr709_422_8, false, true);
            if (out != nullptr) {
                result.assign(out, out + 64 * 16 * 3);
            }
            char* loose = TransImage(frame.data(), 64, 16, PF_YUV422_8_UYVY, true);
            delete[] loose;
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    for (const auto& result : results) {
        ASSERT_EQ(result.size(), 64u * 16 * 3);
        EXPECT_EQ(result, results[0]);
    }
}

}  // namespace
