#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ScenarioDir.h"
#include "SimProducer.h"

using namespace GenTL;

inline std::string LibDir() {
    return LUMO_LIB_DIR;
}

// A producer copy with its own configuration, initialised and opened down to what a test asks.
class SimFixture : public ::testing::Test {
protected:
    void TearDown() override {
        if (p && initialised) {
            if (hTL)
                p->TLClose(hTL);
            p->GCCloseLib();
        }
    }

    // Loads a copy of `file` with `json` beside it (empty: no configuration) and calls GCInitLib.
    GC_ERROR Load(const std::string& json, const std::string& file = "LumoSim.cti") {
        const auto copy = dir.AddProducer(LibDir() + "/" + file, json);
        p = std::make_unique<SimProducer>(copy.string());
        const GC_ERROR rc = p->GCInitLib();
        initialised = rc == GC_ERR_SUCCESS;
        return rc;
    }

    // Opens system, first interface and its first device (exclusive) and the remote port.
    void OpenFirstDevice(const std::string& json = {}) {
        ASSERT_EQ(Load(json), GC_ERR_SUCCESS);
        ASSERT_EQ(p->TLOpen(&hTL), GC_ERR_SUCCESS);
        ASSERT_EQ(p->TLUpdateInterfaceList(hTL, nullptr, 1000), GC_ERR_SUCCESS);
        ASSERT_EQ(p->TLOpenInterface(hTL, InterfaceId(0).c_str(), &hIF), GC_ERR_SUCCESS);
        ASSERT_EQ(p->IFUpdateDeviceList(hIF, nullptr, 1000), GC_ERR_SUCCESS);
        const std::string devId = DeviceId(0);
        ASSERT_EQ(p->IFOpenDevice(hIF, devId.c_str(), DEVICE_ACCESS_EXCLUSIVE, &hDev),
                  GC_ERR_SUCCESS);
        p->DevGetPort(hDev, &hRemote);
    }

    void OpenStream() { ASSERT_EQ(p->DevOpenDataStream(hDev, "Stream0", &hDS), GC_ERR_SUCCESS); }

    std::string InterfaceId(uint32_t i) {
        size_t size = 0;
        EXPECT_EQ(p->TLGetInterfaceID(hTL, i, nullptr, &size), GC_ERR_SUCCESS);
        std::string s(size, '\0');
        EXPECT_EQ(p->TLGetInterfaceID(hTL, i, s.data(), &size), GC_ERR_SUCCESS);
        return s.c_str();
    }

    std::string DeviceId(uint32_t i) {
        size_t size = 0;
        EXPECT_EQ(p->IFGetDeviceID(hIF, i, nullptr, &size), GC_ERR_SUCCESS);
        std::string s(size, '\0');
        EXPECT_EQ(p->IFGetDeviceID(hIF, i, s.data(), &size), GC_ERR_SUCCESS);
        return s.c_str();
    }

    std::string LastError() {
        GC_ERROR code = 0;
        size_t size = 0;
        p->GCGetLastError(&code, nullptr, &size);
        std::string s(size, '\0');
        p->GCGetLastError(&code, s.data(), &size);
        return s.c_str();
    }

    uint32_t ReadU32(PORT_HANDLE port, uint64_t addr) {
        uint32_t v = 0;
        size_t size = 4;
        EXPECT_EQ(p->GCReadPort(port, addr, &v, &size), GC_ERR_SUCCESS);
        return v;
    }

    GC_ERROR WriteU32(PORT_HANDLE port, uint64_t addr, uint32_t v) {
        size_t size = 4;
        return p->GCWritePort(port, addr, &v, &size);
    }

    template <typename T>
    T BufferInfo(BUFFER_HANDLE b, BUFFER_INFO_CMD cmd) {
        T v{};
        INFO_DATATYPE type = 0;
        size_t size = sizeof v;
        EXPECT_EQ(p->DSGetBufferInfo(hDS, b, cmd, &type, &v, &size), GC_ERR_SUCCESS) << cmd;
        return v;
    }

    template <typename T>
    T StreamInfo(STREAM_INFO_CMD cmd) {
        T v{};
        INFO_DATATYPE type = 0;
        size_t size = sizeof v;
        EXPECT_EQ(p->DSGetInfo(hDS, cmd, &type, &v, &size), GC_ERR_SUCCESS) << cmd;
        return v;
    }

    // Waits for one new buffer; returns null on failure and leaves the code in `rc`.
    BUFFER_HANDLE NextBuffer(EVENT_HANDLE ev, uint64_t timeoutMs = 5000, GC_ERROR* rc = nullptr) {
        EVENT_NEW_BUFFER_DATA d{};
        size_t size = sizeof d;
        const GC_ERROR r = p->EventGetData(ev, &d, &size, timeoutMs);
        if (rc)
            *rc = r;
        return r == GC_ERR_SUCCESS ? d.BufferHandle : nullptr;
    }

    ScenarioDir dir;
    std::unique_ptr<SimProducer> p;
    bool initialised = false;
    TL_HANDLE hTL = nullptr;
    IF_HANDLE hIF = nullptr;
    DEV_HANDLE hDev = nullptr;
    PORT_HANDLE hRemote = nullptr;
    DS_HANDLE hDS = nullptr;
};
