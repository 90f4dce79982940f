#pragma once

// A raw GenTL session on a copy of LumoGev.cti: the module handles down to one camera.
#include <GenTL/GenTL.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "FakeCamera.h"
#include "ScenarioDir.h"
#include "SimProducer.h"

namespace lumo_gev {

using namespace GenTL;

// A raw GenTL session on LumoGev.cti. Its Open() runs GigE Vision discovery, so
// make one only after LUMO_REQUIRE_LOOPBACK_ONLY() passed, inside the private
// network namespace that run-in-netns.sh makes (loopback only).
class GevSession {
    ScenarioDir dir_;  // first: the copy of the producer must exist before it is loaded

public:
    GevSession() : gentl(dir_.Copy(LUMO_GEV_CTI).string()) {}
    ~GevSession() {
        if (initialised_)
            gentl.GCCloseLib();
    }

    // GCInitLib, TLOpen, the interface and its device list.
    void Open() {
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.GCInitLib());
        initialised_ = true;
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.TLOpen(&tl));
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.TLUpdateInterfaceList(tl, nullptr, 1000));
        char id[64] = {};
        size_t size = sizeof id;
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.TLGetInterfaceID(tl, 0, id, &size));
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.TLOpenInterface(tl, id, &itf));
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.IFUpdateDeviceList(itf, nullptr, 1000));
        uint32_t n = 0;
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.IFGetNumDevices(itf, &n));
        ASSERT_EQ(1u, n);
        size = sizeof id;
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.IFGetDeviceID(itf, 0, id, &size));
        deviceId = id;
    }
    GC_ERROR OpenDevice(DEVICE_ACCESS_FLAGS flags = DEVICE_ACCESS_CONTROL) {
        const GC_ERROR rc = gentl.IFOpenDevice(itf, deviceId.c_str(), flags, &dev);
        if (rc == GC_ERR_SUCCESS)
            gentl.DevGetPort(dev, &remote);
        return rc;
    }
    void OpenStream() {
        char id[128] = {};
        size_t size = sizeof id;
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.DevGetDataStreamID(dev, 0, id, &size));
        ASSERT_EQ(GC_ERR_SUCCESS, gentl.DevOpenDataStream(dev, id, &ds));
    }

    // GigE Vision registers are big-endian.
    GC_ERROR ReadBe32(PORT_HANDLE port, uint64_t address, uint32_t& value) {
        uint8_t b[4] = {};
        size_t size = 4;
        const GC_ERROR rc = gentl.GCReadPort(port, address, b, &size);
        value = uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 | b[3];
        return rc;
    }
    GC_ERROR WriteBe32(PORT_HANDLE port, uint64_t address, uint32_t value) {
        const uint8_t b[4] = {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8),
                              uint8_t(value)};
        size_t size = 4;
        return gentl.GCWritePort(port, address, b, &size);
    }
    // The producer's own modules are little-endian.
    GC_ERROR ReadLe32(PORT_HANDLE port, uint64_t address, uint32_t& value) {
        size_t size = 4;
        return gentl.GCReadPort(port, address, &value, &size);
    }
    GC_ERROR WriteLe(PORT_HANDLE port, uint64_t address, uint32_t value, size_t size) {
        return gentl.GCWritePort(port, address, &value, &size);
    }

    template <typename T>
    T BufferInfo(BUFFER_HANDLE b, BUFFER_INFO_CMD cmd) {
        T v{};
        INFO_DATATYPE type = 0;
        size_t size = sizeof v;
        EXPECT_EQ(GC_ERR_SUCCESS, gentl.DSGetBufferInfo(ds, b, cmd, &type, &v, &size)) << cmd;
        return v;
    }
    std::vector<uint8_t> DeviceInfoBytes(DEVICE_INFO_CMD cmd) {
        std::vector<uint8_t> v(256);
        INFO_DATATYPE type = 0;
        size_t size = v.size();
        EXPECT_EQ(GC_ERR_SUCCESS,
                  gentl.IFGetDeviceInfo(itf, deviceId.c_str(), cmd, &type, v.data(), &size))
            << "command " << cmd;
        v.resize(size);
        return v;
    }
    std::string DeviceInfoText(DEVICE_INFO_CMD cmd) {
        const auto v = DeviceInfoBytes(cmd);
        return std::string(reinterpret_cast<const char*>(v.data()));
    }
    std::string LastError() {
        GC_ERROR code = 0;
        char text[512] = {};
        size_t size = sizeof text;
        gentl.GCGetLastError(&code, text, &size);
        return text;
    }

    SimProducer gentl;
    TL_HANDLE tl = nullptr;
    IF_HANDLE itf = nullptr;
    DEV_HANDLE dev = nullptr;
    PORT_HANDLE remote = nullptr;
    DS_HANDLE ds = nullptr;
    std::string deviceId;

private:
    bool initialised_ = false;
};

}  // namespace lumo_gev
