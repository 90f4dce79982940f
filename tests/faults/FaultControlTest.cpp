// The simulated producer's fault windows and its test controls, through the GenTL API.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Control.h"
#include "SimFixture.h"

namespace {

// A control of the producer copy `path`, which the caller has loaded.
template <typename F>
F Control(const std::string& path, const char* name) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) {
        return nullptr;
    }
    auto* function = reinterpret_cast<F>(dlsym(handle, name));
    dlclose(handle);
    return function;
}

// Which of the first six calls of a function fail under one call fault.
TEST(FaultControlTest, CallFaultWindows) {
    struct Case {
        const char* fault;
        std::set<int> failing;
    };
    const Case cases[] = {
        {R"("mode": "always")", {1, 2, 3, 4, 5, 6}},
        {R"("mode": "nth", "n": 2)", {2}},
        {R"("mode": "nth", "n": 2, "count": 3)", {2, 3, 4}},
        {R"("mode": "after", "n": 1)", {2, 3, 4, 5, 6}},
        {R"("mode": "after", "n": 1, "count": 2)", {2, 3}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        ScenarioDir dir;
        const auto copy = dir.AddProducer(
            LibDir() + "/LumoSim.cti",
            std::string(R"({"faults": {"calls": [{"function": "TLGetInfo", "error": -1001, )") +
                c.fault + "}]}}");
        SimProducer producer(copy.string());
        ASSERT_EQ(producer.GCInitLib(), GC_ERR_SUCCESS);
        TL_HANDLE tl = nullptr;
        ASSERT_EQ(producer.TLOpen(&tl), GC_ERR_SUCCESS);
        for (int call = 1; call <= 6; ++call) {
            char vendor[64];
            size_t size = sizeof vendor;
            INFO_DATATYPE type = 0;
            const GC_ERROR rc = producer.TLGetInfo(tl, TL_INFO_VENDOR, &type, vendor, &size);
            EXPECT_EQ(rc, c.failing.count(call) != 0 ? GC_ERR_ERROR : GC_ERR_SUCCESS) << call;
        }
        producer.TLClose(tl);
        producer.GCCloseLib();
    }
}

class FaultControl : public SimFixture {};

// Clearing ends call and register faults alike; the calls go on being counted.
TEST_F(FaultControl, ClearEndsEveryFault) {
    OpenFirstDevice(R"({"faults": {"calls": [{"function": "DevGetNumDataStreams", "error": -1001}],
        "registers": [{"module": "remote", "address": 4132, "access": "write", "error": -1005}]}})");
    const std::string path = (dir.Path() / "LumoSim.cti").string();
    auto clear = Control<PLumoSimClearFaults>(path, "LumoSimClearFaults");
    ASSERT_NE(clear, nullptr);
    uint32_t streams = 0;
    EXPECT_EQ(p->DevGetNumDataStreams(hDev, &streams), GC_ERR_ERROR);
    EXPECT_EQ(WriteU32(hRemote, 0x1024, 1), GC_ERR_ACCESS_DENIED);  // AcquisitionStart
    EXPECT_EQ(clear(), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DevGetNumDataStreams(hDev, &streams), GC_ERR_SUCCESS);
    EXPECT_EQ(WriteU32(hRemote, 0x1024, 1), GC_ERR_SUCCESS);
}

// What the consumer holds: devices, streams and the buffers announced on them.
TEST_F(FaultControl, HeldCountsWhatIsOpenAndAnnounced) {
    OpenFirstDevice();
    const std::string path = (dir.Path() / "LumoSim.cti").string();
    auto held = Control<PLumoSimHeld>(path, "LumoSimHeld");
    ASSERT_NE(held, nullptr);
    auto counts = [&] {
        uint64_t devices = 0, streams = 0, buffers = 0;
        EXPECT_EQ(held(&devices, &streams, &buffers), GC_ERR_SUCCESS);
        return std::to_string(devices) + " " + std::to_string(streams) + " " +
               std::to_string(buffers);
    };
    EXPECT_EQ(counts(), "1 0 0");
    OpenStream();
    BUFFER_HANDLE first = nullptr, second = nullptr;
    ASSERT_EQ(p->DSAllocAndAnnounceBuffer(hDS, 64, nullptr, &first), GC_ERR_SUCCESS);
    ASSERT_EQ(p->DSAllocAndAnnounceBuffer(hDS, 64, nullptr, &second), GC_ERR_SUCCESS);
    EXPECT_EQ(counts(), "1 1 2");
    ASSERT_EQ(p->DSRevokeBuffer(hDS, first, nullptr, nullptr), GC_ERR_SUCCESS);
    EXPECT_EQ(counts(), "1 1 1");
    ASSERT_EQ(p->DSClose(hDS), GC_ERR_SUCCESS);
    EXPECT_EQ(counts(), "1 0 0");
    ASSERT_EQ(p->DevClose(hDev), GC_ERR_SUCCESS);
    EXPECT_EQ(counts(), "0 0 0");
    EXPECT_EQ(held(nullptr, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
}

}  // namespace
