#pragma once

// End-to-end helpers of the camera suites. The parent test prepares a scenario
// directory with the library and LumoSim.cti; the child runs the checks and
// points the producer at a configuration of its own through LUMOSIM_CONFIG,
// so that one test can open several sessions with different devices.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "Cti.h"
#include "CtiPort.h"
#include "GenApi/GenApi.h"
#include "LumoGenICam.h"
#include "ScenarioRun.h"

namespace camera_test {

inline void RunInScenario() {
    lumo_test::LibraryScenario dir;
    dir.AddLibrary();
    dir.Copy(lumo_test::SimCti());
    lumo_test::RunInChild(dir);
}

// The first statement of every camera test: the parent only runs the child.
#define CAMERA_SCENARIO()                \
    if (!lumo_test::InScenarioChild()) { \
        camera_test::RunInScenario();    \
        return;                          \
    }

struct Device {
    std::string serial = "S1";
    std::string tlType = "U3V";
    std::string pixelFormat = "Mono8";
    int width = 64;
    int height = 48;
    double frameRate = 0;
    std::string extra;  // more device keys, each with a leading comma

    std::string Json() const {
        return R"({"id": "DEV_)" + serial + R"(", "serial": ")" + serial + R"(", "tlType": ")" +
               tlType + R"(", "sensorWidth": )" + std::to_string(width) + R"(, "sensorHeight": )" +
               std::to_string(height) + R"(, "pixelFormats": "all", )" + R"("pixelFormat": ")" +
               pixelFormat + R"(", "frameRate": )" + std::to_string(frameRate) +
               R"(, "pgrPixelBigEndian": false)" + extra + "}";
    }
};

// One interface holding `devices`; `more` adds top-level keys ("faults", "events").
inline std::string Config(const std::vector<Device>& devices, const std::string& more = "") {
    std::string list;
    for (const auto& d : devices) {
        list += (list.empty() ? "" : ",") + d.Json();
    }
    const std::string tl = devices.empty() ? "U3V" : devices.front().tlType;
    return R"({"interfaces": [{"id": "IF0", "tlType": ")" + tl + R"(", "devices": [)" + list +
           "]}]" + more + "}";
}

inline std::string Config(const Device& device, const std::string& more = "") {
    return Config(std::vector<Device>{device}, more);
}

// Init, discovery and UnInit around one producer configuration.
class Session {
public:
    explicit Session(const std::string& json) {
        const auto path = lumo_test::ScenarioPath() / "session.json";
        std::ofstream(path, std::ios::trunc) << json;
        setenv("LUMOSIM_CONFIG", path.c_str(), 1);
        VEXOGENICAM::Init();
        infos = VEXOGENICAM::Discovery(nullptr);
    }
    ~Session() {
        for (auto* info : infos) {
            info->Release();
        }
        VEXOGENICAM::UnInit();  // releases the cameras a test left alive
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    VEXOGENICAM::ICameraInfo* Info(const std::string& serial = "S1") const {
        for (auto* info : infos) {
            if (serial == info->GetSN()) {
                return info;
            }
        }
        return nullptr;
    }
    VEXOGENICAM::ICamera* Camera(const std::string& serial = "S1") const {
        return VEXOGENICAM::CreateCamera(Info(serial));
    }

    std::list<VEXOGENICAM::ICameraInfo*> infos;
};

// The session's camera, opened for control (a failed open fails the test).
inline VEXOGENICAM::ICamera* OpenCamera(const Session& session) {
    VEXOGENICAM::ICamera* camera = session.Camera();
    EXPECT_EQ(camera->Open(VEXOGENICAM::DEVICE_OPEN_MODE_CONTROL), 0);
    return camera;
}

inline GenApi::INodeMap* RemoteMap(VEXOGENICAM::ICamera* camera) {
    auto* xml = camera->GetRMXml();
    return xml != nullptr ? xml->GetNodeMap() : nullptr;
}

inline void SetFeature(VEXOGENICAM::ICamera* camera, const char* name, const char* value) {
    GenApi::CValuePtr node = RemoteMap(camera)->GetNode(name);
    ASSERT_TRUE(node.IsValid()) << name;
    node->FromString(value);
}

// Buffers the producer holds announced on the camera's stream; -1 when unknown.
inline long long AnnouncedBuffers(VEXOGENICAM::ICamera* camera) {
    auto* port = dynamic_cast<CCtiPort*>(camera->GetDSXml());
    if (port == nullptr) {
        return -1;
    }
    size_t count = 0;
    size_t size = sizeof count;
    int type = 0;
    if (port->GetCti()->DSGetInfo(port->GetPort(), GenTL::STREAM_INFO_NUM_ANNOUNCED, &type, &count,
                                  &size) != 0) {
        return -1;
    }
    return static_cast<long long>(count);
}

}  // namespace camera_test
