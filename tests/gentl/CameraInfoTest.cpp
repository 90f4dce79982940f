#include "gentl/CameraInfo.h"

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <string>

#include "CallLog.h"
#include "Cti.h"
#include "CtiPort.h"
#include "ScenarioRun.h"

using namespace VEXOGENICAM;
using lumo_test::InScenarioChild;
using lumo_test::LibraryScenario;
using lumo_test::RunInChild;
using lumo_test::SimCti;

namespace {

// A record as discovery makes it for a GigE Vision device.
CCameraInfo* GevRecord(CCti* cti) {
    auto* info = new CCameraInfo(cti);
    info->SetTLType(TL_GEV);
    info->SetID("DEV0");
    info->SetSN("SN0");
    info->SetManufacture("Acme");
    info->SetModel("M1");
    info->SetDisplayName("Acme M1");
    info->SetExInfo(EX_INFO_IP, "10.0.0.7");
    info->SetExInfo(EX_INFO_MAC, "00:11:22:33:44:55");
    return info;
}

// The record whose serial number is `serial` in `infos`, or null.
ICameraInfo* BySerial(const std::list<ICameraInfo*>& infos, const std::string& serial) {
    for (ICameraInfo* info : infos) {
        if (serial == info->GetSN()) {
            return info;
        }
    }
    return nullptr;
}

void ReleaseAll(std::list<ICameraInfo*>& infos) {
    for (ICameraInfo* info : infos) {
        info->Release();
    }
    infos.clear();
}

}  // namespace

// Equal decides whether a discovered record is a camera the registry already has: producer, TL
// type, ID, serial, vendor and model, and for GigE Vision the IP and MAC, present on both sides
// or on neither.
TEST(CameraInfoTest, EqualComparesIdentityNotDescription) {
    CCti producer("a.cti");
    CCti otherProducer("b.cti");
    struct Case {
        const char* change;
        std::function<void(CCameraInfo&)> apply;
        bool equal;
    };
    const Case cases[] = {
        {"nothing", [](CCameraInfo&) {}, true},
        {"display name", [](CCameraInfo& i) { i.SetDisplayName("other"); }, true},
        {"user name", [](CCameraInfo& i) { i.SetUserDefineName("left"); }, true},
        {"version", [](CCameraInfo& i) { i.SetVersion("9"); }, true},
        {"access status", [](CCameraInfo& i) { i.SetAccessStatus(DEVICE_STATUS_BUSY); }, true},
        {"timestamp frequency", [](CCameraInfo& i) { i.SetTimestampFrequency(5); }, true},
        {"subnet", [](CCameraInfo& i) { i.SetExInfo(EX_INFO_NET_ADDR_3, "255.0.0.0"); }, true},
        {"TL type", [](CCameraInfo& i) { i.SetTLType(TL_U3V); }, false},
        {"ID", [](CCameraInfo& i) { i.SetID("DEV1"); }, false},
        {"serial", [](CCameraInfo& i) { i.SetSN("SN1"); }, false},
        {"vendor", [](CCameraInfo& i) { i.SetManufacture("acme"); }, false},
        {"model", [](CCameraInfo& i) { i.SetModel("M2"); }, false},
        {"IP", [](CCameraInfo& i) { i.SetExInfo(EX_INFO_IP, "10.0.0.8"); }, false},
        {"MAC", [](CCameraInfo& i) { i.SetExInfo(EX_INFO_MAC, "00:11:22:33:44:56"); }, false},
    };
    for (const auto& c : cases) {
        CCameraInfo* base = GevRecord(&producer);
        CCameraInfo* other = GevRecord(&producer);
        c.apply(*other);
        EXPECT_EQ(base->Equal(other), c.equal) << c.change;
        EXPECT_EQ(other->Equal(base), c.equal) << c.change;
        base->Release();
        other->Release();
    }

    CCameraInfo* base = GevRecord(&producer);
    EXPECT_FALSE(base->Equal(nullptr));
    CCameraInfo* sameDeviceElsewhere = GevRecord(&otherProducer);
    EXPECT_FALSE(base->Equal(sameDeviceElsewhere)) << "another producer";
    sameDeviceElsewhere->Release();

    // IP and MAC: absent on both sides matches, on one side only does not.
    auto* noAddresses = new CCameraInfo(&producer);
    auto* alsoNone = new CCameraInfo(&producer);
    auto* withIp = new CCameraInfo(&producer);
    auto* withMac = new CCameraInfo(&producer);
    for (CCameraInfo* info : {noAddresses, alsoNone, withIp, withMac}) {
        info->SetTLType(TL_GEV);
        info->SetSN("SN0");
    }
    withIp->SetExInfo(EX_INFO_IP, "10.0.0.7");
    withMac->SetExInfo(EX_INFO_MAC, "00:11:22:33:44:55");
    EXPECT_TRUE(noAddresses->Equal(alsoNone));
    for (CCameraInfo* oneSided : {withIp, withMac}) {
        EXPECT_FALSE(noAddresses->Equal(oneSided));
        EXPECT_FALSE(oneSided->Equal(noAddresses));
    }
    // Other transport layers do not compare network addresses.
    withIp->SetTLType(TL_U3V);
    noAddresses->SetTLType(TL_U3V);
    EXPECT_TRUE(noAddresses->Equal(withIp));
    for (CCameraInfo* info : {base, noAddresses, alsoNone, withIp, withMac}) {
        info->Release();
    }
}

// Look-up by serial number is exact, and an empty serial finds the record of a device whose
// serial number could not be read.
TEST(CameraInfoTest, QueryBySerialIsExactAndFindsTheEmptySerial) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        // Discovery asks 9 questions per USB3 device, the serial number sixth: the 15th call is
        // the second device's serial number.
        dir.AddProducer(SimCti(), R"({"interfaces": [{"id": "IF0", "tlType": "U3V", "devices": [
            {"id": "D0", "serial": "S1", "tlType": "U3V"}, {"id": "D1", "serial": "S2", "tlType": "U3V"}]}],
            "faults": {"calls": [{"function": "IFGetDeviceInfo", "error": -1010, "mode": "nth", "n": 15}]}})");
        return RunInChild(dir);
    }
    CCti cti("LumoSim.cti");
    ASSERT_TRUE(cti.Load());
    EXPECT_EQ(cti.QueryCameraInfo("S1"), nullptr) << "nothing stored before a discovery";
    cti.DiscoveryDevices(nullptr);
    ICameraInfo* unnamed = cti.QueryCameraInfo("");
    ASSERT_NE(unnamed, nullptr);
    EXPECT_STREQ(unnamed->GetID(), "D1");
    ICameraInfo* named = cti.QueryCameraInfo("S1");
    ASSERT_NE(named, nullptr);
    EXPECT_STREQ(named->GetID(), "D0");
    EXPECT_EQ(cti.QueryCameraInfo("S2"), nullptr);
    EXPECT_EQ(cti.QueryCameraInfo("S"), nullptr);
    EXPECT_EQ(cti.QueryCameraInfo("S1 "), nullptr);
    unnamed->Release();
    named->Release();
}

// An interface that has lost its devices ends the whole walk: the discovery yields nothing, and
// the producer keeps the records of the last discovery that worked.
TEST(CameraInfoTest, AnInterfaceWithoutDevicesKeepsTheEarlierRecords) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        // Opening a device and asking for its information drops it from its interface.
        dir.AddProducer(SimCti(), R"({"interfaces": [
            {"id": "IF0", "tlType": "U3V", "devices": [{"id": "DA", "serial": "A", "tlType": "U3V"}]},
            {"id": "IF1", "tlType": "U3V", "devices": [{"id": "DB", "serial": "B", "tlType": "U3V"}]}],
            "faults": {"dropDeviceOnCall": "DevGetInfo"}})");
        return RunInChild(dir);
    }
    CCti cti("LumoSim.cti");
    ASSERT_TRUE(cti.Load());
    std::list<ICameraInfo*> first;
    cti.DiscoveryDevices(&first);
    ASSERT_EQ(first.size(), 2u);
    ICameraInfo* a = BySerial(first, "A");
    auto* b = static_cast<CCameraInfo*>(BySerial(first, "B"));
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);

    void* device = nullptr;
    ASSERT_EQ(cti.IFOpenDevice(b->GetIFPort()->GetPort(), b->GetID(), GenTL::DEVICE_ACCESS_CONTROL,
                               &device),
              0);
    int type = 0;
    char text[64] = {};
    size_t size = sizeof text;
    cti.DevGetInfo(device, GenTL::DEVICE_INFO_ID, &type, text, &size);  // drops B

    std::list<ICameraInfo*> second;
    cti.DiscoveryDevices(&second);
    EXPECT_TRUE(second.empty());
    ICameraInfo* kept = cti.QueryCameraInfo("A");
    EXPECT_EQ(kept, a) << "the records of the first discovery stay stored";
    if (kept != nullptr) {
        kept->Release();
    }
    cti.DevClose(device);
    ReleaseAll(first);
}
