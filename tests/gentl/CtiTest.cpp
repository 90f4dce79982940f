#include "Cti.h"

#include <gtest/gtest.h>

#include <string>

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
            {"id": "IF0", "tlType": "GEV", "devices": [{"id": "D0", "serial": "S0"}]},
            {"id": "IF1", "tlType": "U3V", "devices": [{"id": "D1", "serial": "S1", "tlType": "U3V"}]}]})");
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
    EXPECT_EQ(cti.GetIFTLType(), TL_GEV);  // the first interface decides

    uint32_t interfaces = 0;
    ASSERT_EQ(cti.TLGetNumInterfaces(cti.GetPortTL()->GetPort(), &interfaces), 0);
    EXPECT_EQ(interfaces, 2u);
    // Optional entry points of GenTL 1.1 and later are bound for a full producer.
    uint32_t urls = 0;
    EXPECT_EQ(cti.GCGetNumPortURLs(cti.GetPortTL()->GetPort(), &urls), 0);
    EXPECT_GE(urls, 1u);
}

TEST(CCtiTest, GenTL10ProducerLoadsAndMissingOptionalEntryPointsAnswerError) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti("LumoSim10.cti"), "");
        return RunInChild(dir);
    }
    CCti cti("LumoSim10.cti");
    ASSERT_TRUE(cti.Load());
    void* port = cti.GetPortTL()->GetPort();
    int type = 0;
    size_t size = 0;
    uint32_t count = 0;
    // GenTL 1.0 functions stay bound and answer the producer's own codes.
    EXPECT_EQ(cti.GCGetPortInfo(port, GenTL::PORT_INFO_MODULE, &type, nullptr, &size), 0);
    EXPECT_EQ(cti.EventGetInfo(nullptr, 0, &type, nullptr, &size), GenTL::GC_ERR_INVALID_HANDLE);
    // Those added after 1.0 are missing and answer GC_ERR_ERROR without a call.
    EXPECT_EQ(cti.GCGetNumPortURLs(port, &count), GenTL::GC_ERR_ERROR);
    EXPECT_EQ(cti.DSGetBufferChunkData(nullptr, nullptr, nullptr, &size), GenTL::GC_ERR_ERROR);
    EXPECT_EQ(cti.DSGetNumBufferParts(nullptr, nullptr, &count), GenTL::GC_ERR_ERROR);
}

TEST(CCtiTest, ProducersThatCannotServeFailToLoad) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti("LumoSimNoFlush.cti"), "");
        dir.AddProducer(SimCti("LumoSimEmpty.cti"), "");
        dir.Write("notaproducer.cti", "plain text, not a shared library");
        return RunInChild(dir);
    }
    {
        // A required entry point is missing: Init is never reached.
        RecordingCti cti("LumoSimNoFlush.cti");
        EXPECT_FALSE(cti.Load());
        EXPECT_EQ(cti.lastInit, 1);
    }
    {
        RecordingCti cti("LumoSimEmpty.cti");
        EXPECT_FALSE(cti.Load());
        EXPECT_EQ(cti.lastInit, -5);
        EXPECT_NE(cti.GetPortTL(), nullptr);  // the transport layer was open; teardown closes it
    }
    {
        CCti cti("notaproducer.cti");
        EXPECT_FALSE(cti.Load());
    }
    {
        CCti cti("missing.cti");
        EXPECT_FALSE(cti.Load());
    }
}

TEST(CCtiTest, EachFailingInitStepGivesItsCode) {
    const std::pair<const char*, int> steps[] = {
        {"GCInitLib", -1},          {"TLOpen", -2},           {"TLUpdateInterfaceList", -3},
        {"TLGetNumInterfaces", -4}, {"TLGetInterfaceID", -6}, {"TLOpenInterface", -7}};
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        for (const auto& [function, code] : steps) {
            dir.AddProducer(SimCti(), CallFault(function), std::string(function) + ".cti");
        }
        return RunInChild(dir);
    }
    for (const auto& [function, code] : steps) {
        RecordingCti cti(std::string(function) + ".cti");
        EXPECT_FALSE(cti.Load()) << function;
        EXPECT_EQ(cti.lastInit, code) << function;
        // Deleting the failed producer runs the whole teardown (checked by the
        // sanitizers and by the reload below, which needs a closed library).
    }
    RecordingCti again("TLGetInterfaceID.cti");
    EXPECT_FALSE(again.Load());
    EXPECT_EQ(again.lastInit, -6);
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
