#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace LumoSim {

struct DescriptionConfig {
    bool zipped = false;
    std::string padding = "none";  // "none", "nul", "ff", "nulInside" or "ffInside"
    std::string urlOverride;       // reported verbatim instead of the generated URL
    bool readFails = false;        // reading the file through the port fails with GC_ERR_IO
};

struct DeviceConfig {
    std::string id, tlType = "GEV", vendor = "Lumo", model = "SimCam", serial, userName,
                    displayName, version = "1.0.0";
    int32_t accessStatus = 1;
    uint64_t timestampFrequency = 1000000000;
    std::array<uint8_t, 6> mac{0x10, 0x32, 0x54, 0x76, 0x98, 0x02};
    std::array<std::string, 6> gevAddr{"192.168.10.2",   "255.255.255.0", "192.168.10.1", "",
                                       "192.168.10.255", "0.0.0.0"};  // 1101..1106 but 1104
    std::string gevText = "LumoSim GEV";                              // 1104
    uint32_t sensorWidth = 640, sensorHeight = 480;
    std::vector<uint32_t> pixelFormats;
    uint32_t pixelFormat = 0;
    double frameRate = 30.0;  // 0: as fast as possible
    bool remotePort = true;
    uint32_t streams = 1;
    std::optional<bool> pgrPixelBigEndian;
    bool payloadSize = true;
    bool freeRun = false;  // frames flow without AcquisitionStart
    // Chunk trailers: "GEV" (big-endian id and length) or "U3V" (little-endian);
    // empty until parsed, then U3V for a USB3 Vision device and GEV otherwise.
    std::string chunkLayout;
    int64_t packetMin = 576, packetMax = 9000, packetInc = 4, packetSize = 1500;
    std::set<std::string> omitStreamFeatures, omitDeviceFeatures, omitRemoteFeatures;
    DescriptionConfig deviceXml, remoteXml, streamXml;
};

struct InterfaceConfig {
    std::string id, displayName, tlType = "GEV";
    DescriptionConfig xml;
    std::vector<DeviceConfig> devices;
};

struct CallFault {
    std::string function;
    int32_t error = -1001;
    std::string mode = "always";  // "always", "nth", "after"
    uint64_t n = 0;
    // How many calls in a row fail from the first failing one; 0: one call for "nth", every
    // later call for "after".
    uint64_t count = 0;
};

struct RegisterFault {
    std::string module;  // system, interface, device, remote, stream
    uint64_t address = 0;
    std::string access = "both";  // read, write, both
    int32_t error = -1005;
};

struct FeatureEvent {
    std::string feature;
    int32_t type = 3;  // EVENT_FEATURE_CHANGE or EVENT_FEATURE_INVALIDATE
    std::string value;
};

struct Config {
    std::string vendor = "Lumo", model = "LumoSim", version = "1.0.0", tlType;
    DescriptionConfig systemXml;
    std::vector<InterfaceConfig> interfaces;
    std::vector<CallFault> callFaults;
    std::vector<RegisterFault> registerFaults;
    std::map<std::string, uint32_t> delaysMs;
    uint64_t incompleteEvery = 0;
    uint64_t maxAllocBuffers = UINT64_MAX;
    bool chunkOverrun = false;
    std::map<int32_t, uint64_t> bufferInfo;  // BUFFER_INFO command -> value every buffer reports
    uint64_t dropAfterFrames = 0;
    std::string dropOnCall;
    std::vector<FeatureEvent> featureEvents;
    uint64_t remoteEventEvery = 0;
    uint64_t moduleEventEvery = 0;
    // Every n-th frame raises EventExposureEnd while its notification is on; 0 never.
    uint64_t exposureEndEvery = 1;
    bool errorOnIncomplete = false;
    std::string stateFile;  // settings kept across processes; empty: none (LUMOSIM_STATE wins)

    // The built-in camera: one interface with one GigE Vision colour camera.
    static Config Default();
    // Parses JSON text; on error returns false and names the offending key in `error`.
    static bool Parse(const std::string& text, Config& out, std::string& error);
};

}  // namespace LumoSim
