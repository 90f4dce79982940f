#include "Cti.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "CallLog.h"
#include "CtiPort.h"
#include "LumoEntry.h"
#include "ScenarioRun.h"

using namespace VEXOGENICAM;
using lumo_test::InScenarioChild;
using lumo_test::LibraryScenario;
using lumo_test::RunInChild;
using lumo_test::SimCti;

namespace {

// Records the result of Init, which Load only reports as a boolean.
class RecordingCti : public CCti {
public:
    using CCti::CCti;
    int Init() override {
        lastInit = CCti::Init();
        return lastInit;
    }
    int lastInit = 1;
};

std::string CallFault(const std::string& function) {
    return R"({"faults": {"calls": [{"function": ")" + function +
           R"(", "error": -1010, "mode": "always"}]}})";
}

}  // namespace

TEST(CCtiTest, LoadsAFullProducerAndOpensItsInterfaces) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), R"({"interfaces": [
            {"id": "IF0", "tlType": "U3V", "devices": [{"id": "D0", "serial": "S0", "tlType": "U3V"}]},
            {"id": "IF1", "tlType": "GEV", "devices": [{"id": "D1", "serial": "S1"}]}]})");
        return RunInChild(dir);
    }
    // The process really uses the scenario's copy of the library.
    EXPECT_EQ(lumo_test::LoadedLibraryDir(reinterpret_cast<void*>(&Init)),
              lumo_test::ScenarioPath());

    CCti cti("LumoSim.cti");
    EXPECT_EQ(cti.GetPortTL(), nullptr);
    ASSERT_TRUE(cti.Load());
    ASSERT_NE(cti.GetPortTL(), nullptr);
    ASSERT_NE(cti.GetPortIF(), nullptr);
    EXPECT_NE(cti.GetPortTL()->GetPort(), nullptr);
    EXPECT_EQ(cti.GetIFTLType(), TL_U3V);  // the first interface decides, not the last

    uint32_t interfaces = 0;
    ASSERT_EQ(cti.TLGetNumInterfaces(cti.GetPortTL()->GetPort(), &interfaces), 0);
    EXPECT_EQ(interfaces, 2u);
}

// Producers that leave out optional entry points load; the wrappers of the missing ones answer
// GC_ERR_ERROR without calling anything, the others reach the producer (which refuses the null
// arguments with a code of its own).
TEST(CCtiTest, MissingOptionalEntryPointsAnswerError) {
    using Call = int (*)(CCti&);
    const std::pair<const char*, Call> optional[] = {
        {"GCGetInfo", [](CCti& c) { return c.GCGetInfo(0, nullptr, nullptr, nullptr); }},
        {"GCGetLastError", [](CCti& c) { return c.GCGetLastError(nullptr, nullptr, nullptr); }},
        {"GCGetPortInfo",
         [](CCti& c) { return c.GCGetPortInfo(nullptr, 0, nullptr, nullptr, nullptr); }},
        {"EventGetDataInfo",
         [](CCti& c) {
             return c.EventGetDataInfo(nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr);
         }},
        {"EventGetInfo",
         [](CCti& c) { return c.EventGetInfo(nullptr, 0, nullptr, nullptr, nullptr); }},
        {"GCGetNumPortURLs", [](CCti& c) { return c.GCGetNumPortURLs(nullptr, nullptr); }},
        {"GCGetPortURLInfo",
         [](CCti& c) { return c.GCGetPortURLInfo(nullptr, 0, 0, nullptr, nullptr, nullptr); }},
        {"GCReadPortStacked",
         [](CCti& c) { return c.GCReadPortStacked(nullptr, nullptr, nullptr); }},
        {"GCWritePortStacked",
         [](CCti& c) { return c.GCWritePortStacked(nullptr, nullptr, nullptr); }},
        {"DSGetBufferChunkData",
         [](CCti& c) { return c.DSGetBufferChunkData(nullptr, nullptr, nullptr, nullptr); }},
        {"IFGetParentTL", [](CCti& c) { return c.IFGetParentTL(nullptr, nullptr); }},
        {"DevGetParentIF", [](CCti& c) { return c.DevGetParentIF(nullptr, nullptr); }},
        {"DSGetParentDev", [](CCti& c) { return c.DSGetParentDev(nullptr, nullptr); }},
        {"DSGetNumBufferParts",
         [](CCti& c) { return c.DSGetNumBufferParts(nullptr, nullptr, nullptr); }},
        {"DSGetBufferPartInfo",
         [](CCti& c) {
             return c.DSGetBufferPartInfo(nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr);
         }},
    };
    // Each producer and how many of the optional entry points above it exports (the first ones).
    const std::pair<const char*, size_t> producers[] = {
        {"LumoSim.cti", 15}, {"LumoSim10.cti", 5}, {"LumoSimRequired.cti", 0}};
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        for (const auto& [file, exported] : producers) {
            dir.AddProducer(SimCti(file), "");
        }
        return RunInChild(dir);
    }
    for (const auto& [file, exported] : producers) {
        CCti cti(file);
        ASSERT_TRUE(cti.Load()) << file;
        for (size_t i = 0; i < std::size(optional); ++i) {
            const auto& [name, call] = optional[i];
            if (i < exported) {
                EXPECT_NE(call(cti), GenTL::GC_ERR_ERROR) << file << " " << name;
            } else {
                EXPECT_EQ(call(cti), GenTL::GC_ERR_ERROR) << file << " " << name;
            }
        }
    }
}

// A failed load reports its step through Init's code (1: Init never ran), and deleting the binding
// still tears the producer down: TLClose when TLOpen had worked, GCCloseLib whenever it was bound.
TEST(CCtiTest, FailedLoadsGiveTheirStepAndStillTearDown) {
    struct Case {
        const char* file;
        const char* variant;
        const char* failing;  // a call fault, or none
        int initCode;
        std::vector<std::string> teardown;
    };
    const std::vector<std::string> both = {"TLClose", "GCCloseLib"};
    const std::vector<std::string> closeLib = {"GCCloseLib"};
    const Case cases[] = {
        {"noflush.cti", "LumoSimNoFlush.cti", nullptr, 1, closeLib},
        {"empty.cti", "LumoSimEmpty.cti", nullptr, -5, both},
        {"initlib.cti", "LumoSim.cti", "GCInitLib", -1, closeLib},
        {"tlopen.cti", "LumoSim.cti", "TLOpen", -2, closeLib},
        {"update.cti", "LumoSim.cti", "TLUpdateInterfaceList", -3, both},
        {"count.cti", "LumoSim.cti", "TLGetNumInterfaces", -4, both},
        {"ifid.cti", "LumoSim.cti", "TLGetInterfaceID", -6, both},
        {"ifopen.cti", "LumoSim.cti", "TLOpenInterface", -7, both},
    };
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        for (const auto& c : cases) {
            dir.AddProducer(SimCti(c.variant), c.failing ? CallFault(c.failing) : "", c.file);
        }
        dir.Write("notaproducer.cti", "plain text, not a shared library");
        return RunInChild(dir);
    }
    lumo_test::CallLog log(lumo_test::ScenarioPath() / "calls.log");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        log.Clear();
        {
            RecordingCti cti(c.file);
            EXPECT_FALSE(cti.Load());
            EXPECT_EQ(cti.lastInit, c.initCode);
            EXPECT_TRUE(log.Calls("TLClose").empty());
            EXPECT_TRUE(log.Calls("GCCloseLib").empty());
            log.Clear();
        }
        EXPECT_EQ(log.Lines(), c.teardown);
    }
    for (const char* file : {"notaproducer.cti", "missing.cti"}) {
        CCti cti(file);
        EXPECT_FALSE(cti.Load()) << file;
    }
}

TEST(CCtiTest, SecondInitRebuildsThePorts) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), "");
        return RunInChild(dir);
    }
    CCti cti("LumoSim.cti");
    ASSERT_TRUE(cti.Load());
    void* firstTL = cti.GetPortTL()->GetPort();
    // Close the producer behind the binding's back, then initialise again:
    // the new ports must wrap the newly opened handles.
    ASSERT_EQ(cti.TLClose(firstTL), 0);
    ASSERT_EQ(cti.GCCloseLib(), 0);
    ASSERT_EQ(cti.Init(), 0);
    void* secondTL = cti.GetPortTL()->GetPort();
    uint32_t count = 0;
    EXPECT_EQ(cti.TLGetNumInterfaces(secondTL, &count), 0);
    EXPECT_EQ(count, 1u);
    ASSERT_NE(cti.GetPortIF(), nullptr);
    int type = 0;
    char name[64] = {};
    size_t size = sizeof name;
    EXPECT_EQ(
        cti.IFGetInfo(cti.GetPortIF()->GetPort(), GenTL::INTERFACE_INFO_TLTYPE, &type, name, &size),
        0);
}

TEST(CCtiTest, TransportLayerNamesMapToTheirBits) {
    EXPECT_EQ(CCti::GetTLType("GEV"), TL_GEV);
    EXPECT_EQ(CCti::GetTLType("CL"), TL_CL);
    EXPECT_EQ(CCti::GetTLType("IIDC"), TL_IIDC);
    EXPECT_EQ(CCti::GetTLType("UVC"), TL_UVC);
    EXPECT_EQ(CCti::GetTLType("CXP"), TL_CXP);
    EXPECT_EQ(CCti::GetTLType("CLHS"), TL_CLHS);
    EXPECT_EQ(CCti::GetTLType("U3V"), TL_U3V);
    EXPECT_EQ(CCti::GetTLType("Ethernet"), TL_ETHERNET);
    EXPECT_EQ(CCti::GetTLType("PCI"), TL_PCI);
    EXPECT_EQ(CCti::GetTLType("gev"), TL_UNKNOWN);
    EXPECT_EQ(CCti::GetTLType("GEV "), TL_UNKNOWN);
    EXPECT_EQ(CCti::GetTLType(""), TL_UNKNOWN);
}

TEST(CCtiTest, UnloadedProducerAnswersErrorFromEveryWrapper) {
    CCti cti("never-loaded.cti");
    size_t size = 0;
    uint32_t count = 0;
    void* handle = nullptr;
    EXPECT_EQ(cti.GCInitLib(), GenTL::GC_ERR_ERROR);
    EXPECT_EQ(cti.TLOpen(&handle), GenTL::GC_ERR_ERROR);
    EXPECT_EQ(cti.TLGetNumInterfaces(nullptr, &count), GenTL::GC_ERR_ERROR);
    EXPECT_EQ(cti.GCReadPort(nullptr, 0, nullptr, &size), GenTL::GC_ERR_ERROR);
    EXPECT_EQ(cti.GetFunction(nullptr, "GCInitLib"), nullptr);
    EXPECT_EQ(cti.GetPortIF(), nullptr);
    EXPECT_EQ(cti.GetIFTLType(), TL_UNKNOWN);
}
