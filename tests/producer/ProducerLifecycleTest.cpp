#include <cstring>

#include "SimFixture.h"

namespace {

class ProducerLifecycle : public SimFixture {};

constexpr const char* kTwoInterfaces = R"({
  "interfaces": [
    {"id": "GigE0", "tlType": "GEV", "devices": [
      {"id": "CamA", "serial": "A1", "userName": "left"},
      {"id": "CamB", "serial": "B2", "accessStatus": 2}
    ]},
    {"id": "Empty", "tlType": "CXP", "devices": []}
  ]})";

TEST_F(ProducerLifecycle, InitialisationIsStrict) {
    ASSERT_EQ(Load(""), GC_ERR_SUCCESS);
    EXPECT_EQ(p->GCInitLib(), GC_ERR_RESOURCE_IN_USE);
    GC_ERROR code = 1;
    size_t size = 0;
    // A successful call keeps the last error of this thread.
    EXPECT_EQ(p->GCGetLastError(&code, nullptr, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(code, GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(p->GCCloseLib(), GC_ERR_SUCCESS);
    initialised = false;
    EXPECT_EQ(p->GCCloseLib(), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(p->TLOpen(&hTL), GC_ERR_NOT_INITIALIZED);
}

TEST_F(ProducerLifecycle, InvalidConfigurationNamesTheKey) {
    EXPECT_EQ(Load(R"({"interfaces": [{"devices": [{"pixelFormat": "Mono9"}]}]})"),
              GC_ERR_INVALID_PARAMETER);
    GC_ERROR code = 0;
    char text[512];
    size_t size = sizeof text;
    // GCGetLastError works only while initialised; a failed GCInitLib leaves the library closed.
    EXPECT_EQ(p->GCGetLastError(&code, text, &size), GC_ERR_NOT_INITIALIZED);
    ScenarioDir other;
    const auto cfg = other.Write("bad.json", R"({"interfaces": [{"devcies": []}]})");
    setenv("LUMOSIM_CONFIG", cfg.c_str(), 1);
    EXPECT_EQ(p->GCInitLib(), GC_ERR_INVALID_PARAMETER);
    unsetenv("LUMOSIM_CONFIG");
    // The message travels through a library that initialises successfully afterwards.
    ASSERT_EQ(p->GCInitLib(), GC_ERR_INVALID_PARAMETER);  // beside-file config still bad
}

TEST_F(ProducerLifecycle, ErrorTextNamesTheBadKey) {
    // The error text is thread-local and survives into the next successful init.
    EXPECT_EQ(Load(R"({"faults": {"calls": [{"function": "TLOpen", "mode": "sometimes"}]}})"),
              GC_ERR_INVALID_PARAMETER);
    ScenarioDir other;
    setenv("LUMOSIM_CONFIG", other.Write("ok.json", "{}").c_str(), 1);
    ASSERT_EQ(p->GCInitLib(), GC_ERR_SUCCESS);
    unsetenv("LUMOSIM_CONFIG");
    initialised = true;
    EXPECT_NE(LastError().find("faults.calls[0].mode"), std::string::npos) << LastError();
}

TEST_F(ProducerLifecycle, StaleAndForeignHandlesAreRejected) {
    OpenFirstDevice();
    int local = 0;
    EXPECT_EQ(p->TLClose(&local), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(p->IFClose(hDev), GC_ERR_INVALID_HANDLE);  // right producer, wrong kind
    EXPECT_EQ(p->DevClose(hRemote), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(p->DevClose(nullptr), GC_ERR_INVALID_HANDLE);
    DEV_HANDLE old = hDev;
    ASSERT_EQ(p->DevClose(hDev), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DevClose(old), GC_ERR_INVALID_HANDLE);
    uint32_t v = 0;
    size_t size = 4;
    EXPECT_EQ(p->GCReadPort(hRemote, 0x1000, &v, &size), GC_ERR_INVALID_HANDLE);
    // Reopening never hands out the old value again.
    ASSERT_EQ(p->IFOpenDevice(hIF, DeviceId(0).c_str(), DEVICE_ACCESS_EXCLUSIVE, &hDev),
              GC_ERR_SUCCESS);
    EXPECT_NE(hDev, old);
    EXPECT_EQ(p->IFClose(hIF), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DevGetPort(hDev, &hRemote), GC_ERR_INVALID_HANDLE);  // closed with its parent
}

TEST_F(ProducerLifecycle, InfoSizeNegotiationAndTypes) {
    OpenFirstDevice();
    INFO_DATATYPE type = 0;
    size_t size = 0;
    ASSERT_EQ(p->TLGetInfo(hTL, TL_INFO_VENDOR, &type, nullptr, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, std::strlen("Lumo") + 1);
    char small[2];
    size_t smallSize = sizeof small;
    EXPECT_EQ(p->TLGetInfo(hTL, TL_INFO_VENDOR, &type, small, &smallSize), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(p->TLGetInfo(hTL, TL_INFO_VENDOR, &type, small, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(p->TLGetInfo(hTL, 999, &type, nullptr, &size), GC_ERR_NOT_IMPLEMENTED);
    uint32_t minor = 0;
    size = sizeof minor;
    ASSERT_EQ(p->GCGetInfo(TL_INFO_GENTL_VER_MINOR, &type, &minor, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_UINT32);
    EXPECT_EQ(minor, 6u);
    int32_t status = 0;
    size = sizeof status;
    ASSERT_EQ(p->DevGetInfo(hDev, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_INT32);
    EXPECT_EQ(status, DEVICE_ACCESS_STATUS_OPEN_READWRITE);
    uint64_t freq = 0;
    size = sizeof freq;
    ASSERT_EQ(p->DevGetInfo(hDev, DEVICE_INFO_TIMESTAMP_FREQUENCY, &type, &freq, &size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_UINT64);
    EXPECT_EQ(freq, 1000000000u);
}

TEST_F(ProducerLifecycle, EnumerationAndDeviceInformation) {
    ASSERT_EQ(Load(kTwoInterfaces), GC_ERR_SUCCESS);
    ASSERT_EQ(p->TLOpen(&hTL), GC_ERR_SUCCESS);
    uint32_t n = 99;
    ASSERT_EQ(p->TLGetNumInterfaces(hTL, &n), GC_ERR_SUCCESS);
    EXPECT_EQ(n, 0u);  // nothing before the first update
    bool8_t changed = false;
    ASSERT_EQ(p->TLUpdateInterfaceList(hTL, &changed, 100), GC_ERR_SUCCESS);
    EXPECT_TRUE(changed);
    ASSERT_EQ(p->TLUpdateInterfaceList(hTL, &changed, 100), GC_ERR_SUCCESS);
    EXPECT_FALSE(changed);
    ASSERT_EQ(p->TLGetNumInterfaces(hTL, &n), GC_ERR_SUCCESS);
    ASSERT_EQ(n, 2u);
    size_t size = 8;
    EXPECT_EQ(p->TLGetInterfaceID(hTL, 2, nullptr, &size), GC_ERR_INVALID_INDEX);
    char tl[16];
    INFO_DATATYPE type = 0;
    size = sizeof tl;
    ASSERT_EQ(p->TLGetInterfaceInfo(hTL, "Empty", INTERFACE_INFO_TLTYPE, &type, tl, &size),
              GC_ERR_SUCCESS);
    EXPECT_STREQ(tl, "CXP");
    size = sizeof tl;
    EXPECT_EQ(p->TLGetInfo(hTL, TL_INFO_TLTYPE, &type, tl, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(tl, "Mixed");
    EXPECT_EQ(p->TLOpenInterface(hTL, "Nope", &hIF), GC_ERR_INVALID_ID);
    IF_HANDLE empty = nullptr;
    ASSERT_EQ(p->TLOpenInterface(hTL, "Empty", &empty), GC_ERR_SUCCESS);
    ASSERT_EQ(p->IFUpdateDeviceList(empty, nullptr, 100), GC_ERR_SUCCESS);
    ASSERT_EQ(p->IFGetNumDevices(empty, &n), GC_ERR_SUCCESS);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(p->TLOpenInterface(hTL, "Empty", &empty), GC_ERR_RESOURCE_IN_USE);

    ASSERT_EQ(p->TLOpenInterface(hTL, "GigE0", &hIF), GC_ERR_SUCCESS);
    ASSERT_EQ(p->IFUpdateDeviceList(hIF, nullptr, 100), GC_ERR_SUCCESS);
    ASSERT_EQ(p->IFGetNumDevices(hIF, &n), GC_ERR_SUCCESS);
    ASSERT_EQ(n, 2u);
    EXPECT_EQ(DeviceId(1), "CamB");
    // The values of the device information are checked through discovery.
    char text[64];
    size = sizeof text;
    EXPECT_EQ(p->IFGetDeviceInfo(hIF, "CamB", DEVICE_INFO_USER_DEFINED_NAME, &type, text, &size),
              GC_ERR_NOT_AVAILABLE);
    // Read-only camera: control access denied, read-only allowed and reported as such.
    EXPECT_EQ(p->IFOpenDevice(hIF, "CamB", DEVICE_ACCESS_CONTROL, &hDev), GC_ERR_ACCESS_DENIED);
    ASSERT_EQ(p->IFOpenDevice(hIF, "CamB", DEVICE_ACCESS_READONLY, &hDev), GC_ERR_SUCCESS);
    int32_t status = 0;
    size = sizeof status;
    ASSERT_EQ(p->IFGetDeviceInfo(hIF, "CamB", DEVICE_INFO_ACCESS_STATUS, &type, &status, &size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(status, DEVICE_ACCESS_STATUS_OPEN_READONLY);
    ASSERT_EQ(p->DevGetPort(hDev, &hRemote), GC_ERR_SUCCESS);
    EXPECT_EQ(WriteU32(hRemote, 0x1000, 64), GC_ERR_ACCESS_DENIED);
    DEV_HANDLE second = nullptr;
    ASSERT_EQ(p->IFOpenDevice(hIF, "CamA", DEVICE_ACCESS_EXCLUSIVE, &second), GC_ERR_SUCCESS);
    EXPECT_EQ(p->IFOpenDevice(hIF, "CamA", DEVICE_ACCESS_EXCLUSIVE, &second),
              GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(p->IFOpenDevice(hIF, "CamA", 17, &second), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(p->IFOpenDevice(hIF, "Ghost", DEVICE_ACCESS_EXCLUSIVE, &second), GC_ERR_INVALID_ID);
}

// What each variant exports is checked through the library's binding; none leaks internals.
TEST_F(ProducerLifecycle, InternalSymbolsStayHidden) {
    SimProducer full(LibDir() + "/LumoSim.cti");
    EXPECT_TRUE(full.Has("EventFlush"));
    EXPECT_FALSE(full.Has("_ZN7LumoSim6CScene6RenderERKNS_11SceneParamsEmPhm"));
}

}  // namespace
