#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "TestDescription.h"
#include "TestPort.h"

using namespace GenApi;

// The engine is single-threaded; the map's lock must make mixed readers and
// writers on one map safe (run under ThreadSanitizer as well).
TEST(NodeMapConcurrencyTest, ConcurrentReadsAndWritesOnOneMap) {
    CTestPort port;
    port.Poke32(0x00, 640);
    CNodeMapRef map;
    map._LoadXMLFromString(kTestDescription);
    ASSERT_TRUE(map._Connect(&port, "Device"));

    constexpr int kThreads = 4;
    constexpr int kIterations = 300;
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            CIntegerPtr width = map._GetNode("Width");
            CEnumerationPtr format = map._GetNode("PixelFormat");
            CIntegerPtr gain = map._GetNode("Gain");
            for (int i = 0; i < kIterations; ++i) {
                try {
                    width->SetValue(16 + 8 * ((t * kIterations + i) % 500));
                    const int64_t w = width->GetValue(true, (i & 1) != 0);
                    if (w < 16 || w > 4096 || (w - 16) % 8 != 0) {
                        ++failures;
                    }
                    format->SetIntValue((i & 1) ? 17301505 : 17825799);
                    gain->SetValue(i);
                    (void)format->GetCurrentEntry();
                } catch (const GenICam::GenericException&) {
                    ++failures;
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

// Discovery builds the maps of several producers on several threads at once.
TEST(NodeMapConcurrencyTest, SeparateMapsLoadAndRunInParallel) {
    constexpr int kMaps = 3;
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int m = 0; m < kMaps; ++m) {
        threads.emplace_back([&, m] {
            try {
                CTestPort port;
                port.Poke32(0x00, static_cast<uint32_t>(16 + 8 * m));
                CNodeMapRef map;
                map._LoadXMLFromString(kTestDescription);
                map._Connect(&port, "Device");
                CIntegerPtr width = map._GetNode("Width");
                for (int i = 0; i < 200; ++i) {
                    if (width->GetValue(false, true) != 16 + 8 * m) {
                        ++failures;
                    }
                    CFloatPtr(map._GetNode("FrameRateLimit"))->GetValue();
                }
            } catch (const GenICam::GenericException&) {
                ++failures;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}
