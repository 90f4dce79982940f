#include <dirent.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "LumoGenICam.h"
#include "ScenarioRun.h"

using namespace VEXOGENICAM;
using lumo_test::InScenarioChild;
using lumo_test::LibraryScenario;
using lumo_test::RunInChild;
using lumo_test::SimCti;

namespace {

// One interface of the given TL type with one device per serial number.
std::string Producer(const std::string& tlType, const std::vector<std::string>& serials,
                     const std::string& extra = "") {
    std::string devices;
    for (const auto& sn : serials) {
        if (!devices.empty()) {
            devices += ",";
        }
        devices += R"({"id": "DEV_)" + sn + R"(", "serial": ")" + sn + R"(", "tlType": ")" +
                   tlType + R"("})";
    }
    return R"({"interfaces": [{"id": "IF0", "tlType": ")" + tlType + R"(", "devices": [)" +
           devices + "]}]" + extra + "}";
}

std::vector<std::string> Serials(const std::list<ICameraInfo*>& infos) {
    std::vector<std::string> out;
    for (ICameraInfo* info : infos) {
        out.emplace_back(info->GetSN());
    }
    return out;
}

void ReleaseAll(std::list<ICameraInfo*>& infos) {
    for (ICameraInfo* info : infos) {
        info->Release();
    }
    infos.clear();
}

// Producer files of the working (scenario) directory in the order readdir gives.
std::vector<std::string> ProducersInDirectoryOrder() {
    std::vector<std::string> names;
    DIR* dir = opendir(".");
    while (const dirent* e = readdir(dir)) {
        const std::string name = e->d_name;
        if (e->d_type == DT_REG && name.size() > 4 && name.substr(name.size() - 4) == ".cti") {
            names.push_back(name);
        }
    }
    closedir(dir);
    return names;
}

}  // namespace

TEST(DiscoveryTest, EveryEntryFunctionIsSafeWithoutInit) {
    EXPECT_TRUE(Discovery(nullptr).empty());
    EXPECT_TRUE(Discovery("LumoSim.cti").empty());
    EXPECT_TRUE(DiscoveryByTLType(TL_TYPE_ALL).empty());
    EXPECT_EQ(CreateCamera(nullptr), nullptr);
    EXPECT_EQ(CreateCameraBySN("S0"), nullptr);
    EXPECT_EQ(CreateCameraBySN(nullptr), nullptr);
    EXPECT_TRUE(GetCLProtocols().empty());
    EXPECT_TRUE(GetCLSerials().empty());
    EXPECT_EQ(CreateCameraWithCLCamOnly(), nullptr);
    EXPECT_EQ(g_pCtiManager, nullptr);
    UnInit();  // harmless without Init
    EXPECT_EQ(g_pCtiManager, nullptr);
}

TEST(DiscoveryTest, InitUnInitCyclesAndRecordsOfTheDefaultCamera) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), "");
        return RunInChild(dir);
    }
    for (int cycle = 0; cycle < 3; ++cycle) {
        Init();
        CCtiManager* manager = g_pCtiManager;
        ASSERT_NE(manager, nullptr);
        Init();  // a second Init keeps the manager
        EXPECT_EQ(g_pCtiManager, manager);

        auto infos = Discovery(nullptr);
        ASSERT_EQ(infos.size(), 1u);
        ICameraInfo* info = infos.front();
        EXPECT_EQ(info->GetTLType(), TL_GEV);
        EXPECT_STRNE(info->GetSN(), "");
        EXPECT_STRNE(info->GetID(), "");
        EXPECT_STRNE(info->GetManufacture(), "");
        EXPECT_STRNE(info->GetModel(), "");
        EXPECT_NE(info->GetExInfo(EX_INFO_IP), nullptr);
        EXPECT_NE(info->GetExInfo(EX_INFO_MAC), nullptr);
        EXPECT_EQ(CreateCameraBySN(nullptr), nullptr);
        EXPECT_TRUE(GetCLSerials().empty());
        // Records released before UnInit: nothing may leak (the sanitizer run checks).
        ReleaseAll(infos);
        UnInit();
        EXPECT_EQ(g_pCtiManager, nullptr);
        EXPECT_TRUE(Discovery(nullptr).empty());
    }
    // The rolling log was started in the working directory.
    EXPECT_TRUE(std::filesystem::exists("VEXOGenICamLog.txt"));
}

TEST(DiscoveryTest, RecordsComeGroupedByProducerInDirectoryOrderFromParallelThreads) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        // Each producer takes 400 ms to update its device list.
        const std::string slow = R"(, "faults": {"delays": {"IFUpdateDeviceList": 400}})";
        dir.AddProducer(SimCti(), Producer("GEV", {"A1", "A2"}, slow), "alpha.cti");
        dir.AddProducer(SimCti(), Producer("U3V", {"B1"}, slow), "beta.cti");
        dir.AddProducer(SimCti(), Producer("GEV", {"C1", "C2", "C3"}, slow), "gamma.cti");
        return RunInChild(dir);
    }
    Init();
    std::vector<std::string> expected;
    for (const auto& name : ProducersInDirectoryOrder()) {
        const char first = name == "alpha.cti" ? 'A' : name == "beta.cti" ? 'B' : 'C';
        const int count = first == 'A' ? 2 : first == 'B' ? 1 : 3;
        for (int i = 1; i <= count; ++i) {
            expected.push_back(std::string(1, first) + std::to_string(i));
        }
    }
    // Load the producers first so that only the discovery itself is timed.
    auto warmup = Discovery(nullptr);
    ReleaseAll(warmup);

    const auto start = std::chrono::steady_clock::now();
    auto infos = Discovery(nullptr);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(Serials(infos), expected);
    // Three producers in turn would need 1.2 s at least.
    EXPECT_LT(elapsed, std::chrono::milliseconds(1100));
    ReleaseAll(infos);

    // A single named producer runs on the calling thread.
    infos = Discovery("beta.cti");
    EXPECT_EQ(Serials(infos), std::vector<std::string>{"B1"});
    ReleaseAll(infos);
    UnInit();
}

TEST(DiscoveryTest, OnlyRegularFilesWithTheProducerSuffixInAnyCaseAreLoaded) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), Producer("GEV", {"KEPT"}), "cam.CtI");
        dir.AddProducer(SimCti(), Producer("GEV", {"BAK"}), "x.cti.bak");
        dir.Copy(SimCti(), ".cti");  // only the suffix: not a producer name
        std::filesystem::create_symlink(dir.Path() / "cam.CtI", dir.Path() / "link.cti");
        std::filesystem::create_directory(dir.Path() / "folder.cti");
        return RunInChild(dir);
    }
    Init();
    auto infos = Discovery(nullptr);
    EXPECT_EQ(Serials(infos), std::vector<std::string>{"KEPT"});
    ReleaseAll(infos);
    UnInit();
}

TEST(DiscoveryTest, AProducerThatFailsIsNeverTriedAgain) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), Producer("GEV", {"GOOD"}), "good.cti");
        dir.AddProducer(SimCti(), Producer("GEV", {"BAD"}, R"(, "faults": {"calls": [
            {"function": "GCInitLib", "error": -1001, "mode": "always"}]})"),
                        "broken.cti");
        return RunInChild(dir);
    }
    Init();
    auto infos = Discovery(nullptr);
    EXPECT_EQ(Serials(infos), std::vector<std::string>{"GOOD"});
    ReleaseAll(infos);

    // A missing file is remembered as failed: creating it later changes nothing.
    EXPECT_TRUE(Discovery("late.cti").empty());
    std::filesystem::copy_file("good.cti", "late.cti");
    std::filesystem::copy_file("good.json", "late.json");
    EXPECT_TRUE(Discovery("late.cti").empty());
    UnInit();

    // A new manager tries again.
    Init();
    infos = Discovery("late.cti");
    EXPECT_EQ(Serials(infos), std::vector<std::string>{"GOOD"});
    ReleaseAll(infos);
    UnInit();
}

TEST(DiscoveryTest, TransportLayerMasksSelectProducersByTheirFirstInterface) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), Producer("GEV", {"G"}), "gev.cti");
        dir.AddProducer(SimCti(), Producer("U3V", {"U"}), "u3v.cti");
        dir.AddProducer(SimCti(), Producer("Custom", {"X"}), "custom.cti");
        // Two interfaces: only the first one's type counts.
        dir.AddProducer(SimCti(), R"({"interfaces": [
            {"id": "IF0", "tlType": "CXP", "devices": [{"id": "D0", "serial": "M0", "tlType": "CXP"}]},
            {"id": "IF1", "tlType": "GEV", "devices": [{"id": "D1", "serial": "M1"}]}]})",
                        "mixed.cti");
        return RunInChild(dir);
    }
    Init();
    auto sorted = [](std::list<ICameraInfo*> infos) {
        auto serials = Serials(infos);
        ReleaseAll(infos);
        std::sort(serials.begin(), serials.end());
        return serials;
    };
    using V = std::vector<std::string>;
    EXPECT_EQ(sorted(DiscoveryByTLType(TL_GEV)), V{"G"});
    EXPECT_EQ(sorted(DiscoveryByTLType(TL_CXP)), (V{"M0", "M1"}));
    EXPECT_EQ(sorted(DiscoveryByTLType(TL_GEV | TL_U3V)), (V{"G", "U"}));
    EXPECT_EQ(sorted(DiscoveryByTLType(TL_CL)), V{});
    EXPECT_EQ(sorted(DiscoveryByTLType(TL_TYPE_ALL)), (V{"G", "M0", "M1", "U", "X"}));
    EXPECT_EQ(sorted(DiscoveryByTLType(TL_TYPE_ALL | 1024)), (V{"G", "M0", "M1", "U", "X"}));
    // Every bit but one set is not "all": the unknown type is left out.
    EXPECT_EQ(sorted(DiscoveryByTLType(TL_TYPE_ALL & ~TL_PCI)), (V{"G", "M0", "M1", "U"}));
    UnInit();
}

TEST(DiscoveryTest, GigEVisionExtrasAreFormattedAndOtherTypesHaveNone) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), R"({"interfaces": [{"id": "IF0", "tlType": "GEV", "devices": [
            {"id": "D0", "serial": "GEV0", "tlType": "GEV", "vendor": "Acme", "model": "M1",
             "userName": "left", "version": "2.1", "accessStatus": 1,
             "timestampFrequency": 125000000,
             "gev": {"mac": [17, 34, 51, 68, 85, 102], "ip": "192.168.7.20",
                     "subnet": "255.255.255.0", "gateway": "192.168.7.1", "text": "eth1",
                     "addr5": "192.168.7.255", "addr6": "10.1.2.3"}},
            {"id": "D1", "serial": "USB0", "tlType": "U3V"}]}]})");
        return RunInChild(dir);
    }
    Init();
    auto infos = Discovery(nullptr);
    ASSERT_EQ(infos.size(), 2u);
    ICameraInfo* gev = infos.front();
    EXPECT_STREQ(gev->GetSN(), "GEV0");
    EXPECT_STREQ(gev->GetManufacture(), "Acme");
    EXPECT_STREQ(gev->GetModel(), "M1");
    EXPECT_STREQ(gev->GetUserDefineName(), "left");
    EXPECT_STREQ(gev->GetVersion(), "2.1");
    EXPECT_EQ(gev->GetAccessStatus(), DEVICE_STATUS_READWRITE);
    EXPECT_EQ(gev->GetTimestampFrequency(), 125000000);
    EXPECT_STREQ(gev->GetExInfo(EX_INFO_MAC), "11:22:33:44:55:66");
    EXPECT_STREQ(gev->GetExInfo(EX_INFO_IP), "192.168.7.20");
    EXPECT_STREQ(gev->GetExInfo(EX_INFO_NET_ADDR_3), "255.255.255.0");
    EXPECT_STREQ(gev->GetExInfo(EX_INFO_NET_ADDR_4), "192.168.7.1");
    EXPECT_STREQ(gev->GetExInfo(EX_INFO_NET_TEXT_5), "eth1");
    EXPECT_STREQ(gev->GetExInfo(EX_INFO_NET_ADDR_6), "192.168.7.255");
    EXPECT_STREQ(gev->GetExInfo(EX_INFO_NET_ADDR_7), "10.1.2.3");

    ICameraInfo* usb = infos.back();
    EXPECT_EQ(usb->GetTLType(), TL_U3V);
    for (EX_INFOID id : {EX_INFO_IP, EX_INFO_MAC, EX_INFO_NET_ADDR_3, EX_INFO_NET_TEXT_5}) {
        EXPECT_EQ(usb->GetExInfo(id), nullptr);
    }
    ReleaseAll(infos);
    UnInit();
}

TEST(DiscoveryTest, UnknownSerialTriggersExactlyOneFullDiscovery) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        // The third device-list update fails: discovery number three comes back empty.
        dir.AddProducer(SimCti(), Producer("U3V", {"S1"}, R"(, "faults": {"calls": [
            {"function": "IFUpdateDeviceList", "error": -1010, "mode": "nth", "n": 3}]})"));
        return RunInChild(dir);
    }
    Init();
    auto infos = Discovery(nullptr);  // update 1
    ASSERT_EQ(infos.size(), 1u);
    ReleaseAll(infos);
    // A known serial needs no discovery, and asking twice gives the same camera.
    ICamera* camera = CreateCameraBySN("S1");
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(CreateCameraBySN("S1"), camera);
    EXPECT_STREQ(camera->GetCameraInfo()->GetSN(), "S1");
    camera->Release();
    EXPECT_EQ(CreateCameraBySN(""), nullptr);         // empty: no look-up at all
    EXPECT_EQ(CreateCameraBySN("UNKNOWN"), nullptr);  // update 2
    infos = Discovery(nullptr);                       // update 3 fails
    EXPECT_TRUE(infos.empty());
    infos = Discovery(nullptr);  // update 4 works again
    EXPECT_EQ(infos.size(), 1u);
    ReleaseAll(infos);
    UnInit();
}

TEST(DiscoveryTest, ConcurrentDiscoveryAndLookUpAreSafe) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), Producer("GEV", {"P1", "P2"}), "p.cti");
        dir.AddProducer(SimCti(), Producer("U3V", {"Q1"}), "q.cti");
        return RunInChild(dir);
    }
    Init();
    std::atomic<int> bad{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20; ++i) {
                auto infos = Discovery(nullptr);
                if (infos.size() != 3) {
                    ++bad;
                }
                for (ICameraInfo* info : infos) {
                    if (std::string(info->GetSN()).empty()) {
                        ++bad;
                    }
                    info->Release();
                }
            }
        });
    }
    threads.emplace_back([&] {
        for (int i = 0; i < 20; ++i) {
            CreateCameraBySN(i % 2 ? "P2" : "NOPE");
        }
    });
    for (auto& t : threads) {
        t.join();
    }
    EXPECT_EQ(bad, 0);
    UnInit();
}
