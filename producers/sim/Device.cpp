#include "Device.h"

#include <GenTL/GenTL.h>

#include <arpa/inet.h>

#include <cstring>

#include "EventFeatures.h"
#include "Producer.h"
#include "SettingsMemory.h"
#include "XmlBuilder.h"

namespace LumoSim {
namespace {

const char* SfncType(const std::string& tl) {
    if (tl == "GEV")
        return "GigEVision";
    if (tl == "U3V")
        return "USB3Vision";
    if (tl == "CL")
        return "CameraLink";
    if (tl == "CLHS")
        return "CameraLinkHS";
    if (tl == "CXP")
        return "CoaXPress";
    return "Custom";
}

uint32_t Ipv4(const std::string& dotted) {
    in_addr a{};
    return inet_pton(AF_INET, dotted.c_str(), &a) == 1 ? ntohl(a.s_addr) : 0;
}

CSettingsMemory Memory() {
    const CProducer* prod = Current();
    return CSettingsMemory(CSettingsMemory::Path(prod != nullptr ? prod->config.stateFile : ""));
}

// Settings are remembered per serial number, or per ID for a camera without one.
std::string MemoryKey(const DeviceConfig& cfg) {
    return cfg.serial.empty() ? cfg.id : cfg.serial;
}

}  // namespace

CDevice::CDevice(CInterface& p, const DeviceConfig& c) : parent(p), cfg(c) {
    kind = Kind::Device;
    device = this;
    id = cfg.id;
    tlType = cfg.tlType;
    vendor = cfg.vendor;
    model = cfg.model;
    moduleName = "TLDevice";
    portName = "DevicePort";
    faultName = "device";
    desc = cfg.deviceXml;
    if (cfg.remotePort) {
        remote = std::make_unique<CModule>();
        remote->kind = Kind::RemoteDevice;
        remote->device = this;
        remote->id = cfg.id;
        remote->tlType = cfg.tlType;
        remote->vendor = cfg.vendor;
        remote->model = cfg.model;
        remote->moduleName = "Device";
        remote->portName = "Device";
        remote->faultName = "remote";
        remote->desc = cfg.remoteXml;
        camera = remote.get();
    } else {
        camera = this;
    }
    BuildDeviceModule();
    if (remote) {
        CXmlBuilder x(remote->regs, remote->portName, cfg.omitRemoteFeatures);
        BuildCamera(*remote, x, false);
        remote->InstallXml(x.Finish(cfg.vendor, cfg.model), "LumoSim_" + cfg.serial + "_Camera");
    }
    for (uint32_t i = 0; i < cfg.streams; ++i) {
        streams.push_back(nullptr);
    }
    Memory().Restore(MemoryKey(cfg), camera->regs);
}

CDevice::~CDevice() {
    // A read-only open cannot have changed anything, and a dropped device
    // answers nothing more.
    if (openFlags != GenTL::DEVICE_ACCESS_READONLY && !dropped)
        Memory().Store(MemoryKey(cfg), camera->regs);
}

std::vector<std::string> CDevice::StreamIds() const {
    std::vector<std::string> ids;
    for (uint32_t i = 0; i < cfg.streams; ++i)
        ids.push_back("Stream" + std::to_string(i));
    return ids;
}

void CDevice::BuildDeviceModule() {
    CXmlBuilder x(regs, portName, cfg.omitDeviceFeatures);
    x.String("DeviceID", 0x00, 64, cfg.id);
    x.String("DeviceVendorName", 0x40, 64, cfg.vendor);
    x.String("DeviceModelName", 0x80, 64, cfg.model);
    x.String("DeviceSerialNumber", 0xC0, 64, cfg.serial);
    x.String("DeviceUserID", 0x100, 64, cfg.userName);
    x.String("DeviceVersion", 0x140, 64, cfg.version);
    x.String("DeviceDisplayName", 0x180, 128, cfg.displayName);
    const std::vector<std::pair<std::string, int64_t>> types{{"GigEVision", 0}, {"USB3Vision", 1},
                                                             {"CameraLink", 2}, {"CameraLinkHS", 3},
                                                             {"CoaXPress", 4},  {"Custom", 5}};
    int64_t typeValue = 5;
    for (const auto& [n, v] : types) {
        if (n == SfncType(cfg.tlType))
            typeValue = v;
    }
    x.Enum("DeviceType", 0x200, types, typeValue, false);
    x.Enum("DeviceAccessStatus", 0x204,
           {{"Unknown", 0},
            {"ReadWrite", 1},
            {"ReadOnly", 2},
            {"NoAccess", 3},
            {"Busy", 4},
            {"OpenReadWrite", 5},
            {"OpenReadOnly", 6}},
           5, false, {}, {}, [this](std::vector<uint8_t>& b) {
               CRegisterSpace::FromInt(b, openFlags == GenTL::DEVICE_ACCESS_READONLY ? 6 : 5);
           });
    x.Int("DeviceTimestampFrequency", 0x208, 8, static_cast<int64_t>(cfg.timestampFrequency), false,
          {0, INT64_MAX, 1, {}});
    const auto ids = StreamIds();
    x.Selector("StreamSelector", 0x300, static_cast<int64_t>(ids.size()) - 1, {"StreamID"});
    x.IndexedString("StreamID", 0x400, 64, "StreamSelector", ids);
    if (cfg.tlType == "GEV") {
        x.Enum("DeviceEndianessMechanism", 0x210, {{"Legacy", 1}, {"Standard", 2}}, 1, true,
               [](std::vector<uint8_t>& b) {
                   const auto v = CRegisterSpace::ToInt(b);
                   return v == 1 || v == 2 ? 0 : GenTL::GC_ERR_INVALID_VALUE;
               });
        uint64_t mac = 0;
        for (uint8_t byte : cfg.mac)
            mac = (mac << 8) | byte;
        x.Int("GevDeviceMACAddress", 0x218, 8, static_cast<int64_t>(mac), false,
              {0, INT64_MAX, 1, {}});
        x.Int("GevDeviceIPAddress", 0x220, 4, Ipv4(cfg.gevAddr[0]), false, {0, UINT32_MAX, 1, {}});
        x.Int("GevDeviceSubnetMask", 0x224, 4, Ipv4(cfg.gevAddr[1]), false, {0, UINT32_MAX, 1, {}});
        x.Int("GevDeviceGateway", 0x228, 4, Ipv4(cfg.gevAddr[2]), false, {0, UINT32_MAX, 1, {}});
    }
    x.Category("DeviceInformation",
               {"DeviceID", "DeviceVendorName", "DeviceModelName", "DeviceSerialNumber",
                "DeviceUserID", "DeviceVersion", "DeviceDisplayName", "DeviceType",
                "DeviceAccessStatus", "DeviceTimestampFrequency", "DeviceEndianessMechanism"});
    x.Category("StreamEnumeration", {"StreamSelector", "StreamID"});
    x.Category("DeviceNetworkInformation", {"GevDeviceMACAddress", "GevDeviceIPAddress",
                                            "GevDeviceSubnetMask", "GevDeviceGateway"});
    if (!remote) {
        BuildCamera(*this, x, true);
    }
    InstallXml(x.Finish(cfg.vendor, cfg.model), "LumoSim_" + cfg.serial + "_Device");
}

int32_t CDevice::CheckUnlocked() const {
    return camera->regs.Get(CamReg::kTLParamsLocked) != 0 ? GenTL::GC_ERR_ACCESS_DENIED : 0;
}

uint64_t CDevice::PayloadSizeLocked() const {
    SceneParams p;
    const CRegisterSpace& r = camera->regs;
    p.width = static_cast<uint32_t>(r.Get(CamReg::kWidth));
    p.height = static_cast<uint32_t>(r.Get(CamReg::kHeight));
    p.pixelFormat = static_cast<uint32_t>(r.Get(CamReg::kPixelFormat));
    uint64_t size = CScene::FrameSize(p);
    if (r.Get(CamReg::kChunkModeActive) != 0) {
        size += 8;  // trailer of the image chunk
        for (int i = 0; i < CamReg::kChunkCount; ++i) {
            if (r.Get(CamReg::kChunkEnable + 4 * i) != 0)
                size += 16;
        }
    }
    return size;
}

void CDevice::FeatureWritten(const std::string& name) {
    CProducer* prod = Current();
    if (!prod)
        return;
    for (const auto& fe : prod->config.featureEvents) {
        if (fe.feature != name)
            continue;
        const std::vector<uint8_t> idBytes(name.c_str(), name.c_str() + name.size() + 1);
        std::vector<uint8_t> value(fe.value.c_str(), fe.value.c_str() + fe.value.size() + 1);
        auto entry = CEvent::Encode(idBytes, value);
        RaiseEvent(fe.type, entry);
        if (remote)
            remote->RaiseEvent(fe.type, entry);
    }
}

// A camera without remote port (Camera Link) shows its head's features in the device module.
void CDevice::BuildCamera(CModule& m, CXmlBuilder& x, bool inDeviceModule) {
    if (!cfg.payloadSize)
        x.Omit("PayloadSize");
    if (!cfg.pgrPixelBigEndian)
        x.Omit("pgrPixelBigEndian");
    auto& r = m.regs;
    auto refreshPayload = [this, &r] { r.Set(CamReg::kPayloadSize, PayloadSizeLocked()); };
    auto geometry = [this, &r, refreshPayload](uint64_t addr, const std::string& name) {
        return [this, &r, addr, name, refreshPayload](std::vector<uint8_t>& b) -> int32_t {
            if (int32_t rc = CheckUnlocked())
                return rc;
            const auto v = CRegisterSpace::ToInt(b);
            const uint64_t w = addr == CamReg::kWidth ? v : r.Get(CamReg::kWidth);
            const uint64_t h = addr == CamReg::kHeight ? v : r.Get(CamReg::kHeight);
            const uint64_t ox = addr == CamReg::kOffsetX ? v : r.Get(CamReg::kOffsetX);
            const uint64_t oy = addr == CamReg::kOffsetY ? v : r.Get(CamReg::kOffsetY);
            if (w == 0 || h == 0 || w + ox > cfg.sensorWidth || h + oy > cfg.sensorHeight) {
                return GenTL::GC_ERR_INVALID_VALUE;
            }
            r.Set(addr, v);
            refreshPayload();
            FeatureWritten(name);
            return 0;
        };
    };
    if (!inDeviceModule) {
        x.String("DeviceVendorName", 0x48, 32, cfg.vendor);
        x.String("DeviceModelName", 0x68, 32, cfg.model);
        x.String("DeviceVersion", 0x88, 32, cfg.version);
        x.String("DeviceSerialNumber", 0xD8, 16, cfg.serial);
        x.String("DeviceUserID", CamReg::kUserId, CamReg::kUserIdLength, cfg.userName, true);
    }
    x.Int("SensorWidth", CamReg::kSensorWidth, 4, cfg.sensorWidth, false);
    x.Int("SensorHeight", CamReg::kSensorHeight, 4, cfg.sensorHeight, false);
    x.SwissKnife("WidthMaxCalc", {{"SW", "SensorWidth"}, {"OX", "OffsetX"}}, "SW - OX");
    x.SwissKnife("HeightMaxCalc", {{"SH", "SensorHeight"}, {"OY", "OffsetY"}}, "SH - OY");
    x.SwissKnife("OffsetXMaxCalc", {{"SW", "SensorWidth"}, {"W", "Width"}}, "SW - W");
    x.SwissKnife("OffsetYMaxCalc", {{"SH", "SensorHeight"}, {"H", "Height"}}, "SH - H");
    x.Int("Width", CamReg::kWidth, 4, cfg.sensorWidth, true, {1, 0, 1, "WidthMaxCalc"},
          geometry(CamReg::kWidth, "Width"), {}, "TLParamsLocked");
    x.Int("Height", CamReg::kHeight, 4, cfg.sensorHeight, true, {1, 0, 1, "HeightMaxCalc"},
          geometry(CamReg::kHeight, "Height"), {}, "TLParamsLocked");
    x.Int("OffsetX", CamReg::kOffsetX, 4, 0, true, {0, 0, 1, "OffsetXMaxCalc"},
          geometry(CamReg::kOffsetX, "OffsetX"), {}, "TLParamsLocked");
    x.Int("OffsetY", CamReg::kOffsetY, 4, 0, true, {0, 0, 1, "OffsetYMaxCalc"},
          geometry(CamReg::kOffsetY, "OffsetY"), {}, "TLParamsLocked");
    CXmlBuilder::Entries formats;
    for (uint32_t code : cfg.pixelFormats) {
        formats.emplace_back(FindPixelFormat(code)->name, code);
    }
    x.Enum(
        "PixelFormat", CamReg::kPixelFormat, formats, cfg.pixelFormat, true,
        [this, &r, refreshPayload](std::vector<uint8_t>& b) -> int32_t {
            if (int32_t rc = CheckUnlocked())
                return rc;
            const auto v = CRegisterSpace::ToInt(b);
            bool offered = false;
            for (uint32_t code : cfg.pixelFormats)
                offered = offered || code == v;
            if (!offered)
                return GenTL::GC_ERR_INVALID_VALUE;
            r.Set(CamReg::kPixelFormat, v);
            refreshPayload();
            FeatureWritten("PixelFormat");
            return 0;
        },
        "TLParamsLocked");
    x.Int("PayloadSize", CamReg::kPayloadSize, 4, 0, false);
    x.Enum("AcquisitionMode", CamReg::kAcqMode,
           {{"Continuous", 0}, {"SingleFrame", 1}, {"MultiFrame", 2}}, 0, true,
           [](std::vector<uint8_t>& b) {
               return CRegisterSpace::ToInt(b) <= 2 ? 0 : GenTL::GC_ERR_INVALID_VALUE;
           });
    x.Command("AcquisitionStart", CamReg::kAcqStart, [this](std::vector<uint8_t>&) {
        armed = true;
        FeatureWritten("AcquisitionStart");
        return 0;
    });
    x.Command("AcquisitionStop", CamReg::kAcqStop, [this](std::vector<uint8_t>&) {
        armed = false;
        FeatureWritten("AcquisitionStop");
        return 0;
    });
    x.Float("AcquisitionFrameRate", CamReg::kFrameRate, cfg.frameRate, 0.0, 10000.0,
            [](std::vector<uint8_t>& b) {
                double v = 0;
                std::memcpy(&v, b.data(), 8);
                return v >= 0 && v <= 10000 ? 0 : GenTL::GC_ERR_INVALID_VALUE;
            });
    const auto floatIn = [](double min, double max) {
        return [min, max](std::vector<uint8_t>& b) {
            double v = 0;
            std::memcpy(&v, b.data(), 8);
            return v >= min && v <= max ? 0 : GenTL::GC_ERR_INVALID_VALUE;
        };
    };
    x.Float("ExposureTime", CamReg::kExposureTime, 10000.0, 10.0, 1000000.0,
            floatIn(10.0, 1000000.0));
    x.Float("Gain", CamReg::kGain, 0.0, 0.0, 24.0, floatIn(0.0, 24.0));
    x.Int("TLParamsLocked", CamReg::kTLParamsLocked, 4, 0, true, {0, 1, 1, {}},
          [](std::vector<uint8_t>& b) {
              return CRegisterSpace::ToInt(b) <= 1 ? 0 : GenTL::GC_ERR_INVALID_VALUE;
          });
    x.Enum("TriggerMode", CamReg::kTriggerMode, {{"Off", 0}, {"On", 1}}, 0, true,
           [](std::vector<uint8_t>& b) {
               return CRegisterSpace::ToInt(b) <= 1 ? 0 : GenTL::GC_ERR_INVALID_VALUE;
           });
    x.Command("TriggerSoftware", CamReg::kTriggerSoftware, [this](std::vector<uint8_t>&) {
        ++pendingTriggers;
        return 0;
    });
    x.Bool("ChunkModeActive", CamReg::kChunkModeActive, false, true,
           [this, &r, refreshPayload](std::vector<uint8_t>& b) -> int32_t {
               if (int32_t rc = CheckUnlocked())
                   return rc;
               r.Set(CamReg::kChunkModeActive, CRegisterSpace::ToInt(b) != 0);
               refreshPayload();
               return 0;
           });
    const char* chunkNames[CamReg::kChunkCount] = {"FrameID", "Timestamp", "Width", "Height",
                                                   "PixelFormat"};
    CXmlBuilder::Entries chunkEntries;
    for (int i = 0; i < CamReg::kChunkCount; ++i)
        chunkEntries.emplace_back(chunkNames[i], i);
    x.Enum("ChunkSelector", CamReg::kChunkSelector, chunkEntries, 0, true,
           [](std::vector<uint8_t>& b) {
               return CRegisterSpace::ToInt(b) < CamReg::kChunkCount ? 0
                                                                     : GenTL::GC_ERR_INVALID_VALUE;
           });
    for (int i = 0; i < CamReg::kChunkCount; ++i) {
        const uint64_t addr = CamReg::kChunkEnable + 4 * static_cast<uint64_t>(i);
        r.AddInt(addr, 4, 0, true,
                 [this, &r, addr, refreshPayload](std::vector<uint8_t>& b) -> int32_t {
                     if (int32_t rc = CheckUnlocked())
                         return rc;
                     r.Set(addr, CRegisterSpace::ToInt(b) != 0);
                     refreshPayload();
                     return 0;
                 });
    }
    x.Raw(
        "ChunkEnable",
        "<Boolean Name=\"ChunkEnable\" NameSpace=\"Standard\">\n  <pValue>ChunkEnableReg</pValue>\n"
        "</Boolean>\n<IntReg Name=\"ChunkEnableReg\">\n  <Address>0x1100</Address>\n  "
        "<pIndex Offset=\"4\">ChunkSelector</pIndex>\n  <Length>4</Length>\n  "
        "<AccessMode>RW</AccessMode>\n  <pPort>" +
            m.portName +
            "</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>Unsigned</Sign>\n  "
            "<Endianess>LittleEndian</Endianess>\n</IntReg>\n");
    for (int i = 0; i < CamReg::kChunkCount; ++i) {
        x.ChunkInt(std::string("Chunk") + chunkNames[i],
                   CamReg::kChunkIdBase + static_cast<uint64_t>(i));
    }
    AddEventFeatures(m, x);
    if (cfg.pgrPixelBigEndian) {
        x.Bool("pgrPixelBigEndian", CamReg::kPixelBigEndian, *cfg.pgrPixelBigEndian, true);
    }
    if (cfg.tlType == "GEV") {
        x.Int(
            "GevSCPSPacketSize", CamReg::kPacketSize, 4, cfg.packetSize, true,
            {cfg.packetMin, cfg.packetMax, cfg.packetInc, {}},
            [this](std::vector<uint8_t>& b) -> int32_t {
                if (int32_t rc = CheckUnlocked())
                    return rc;
                const auto v = static_cast<int64_t>(static_cast<int32_t>(CRegisterSpace::ToInt(b)));
                if ((cfg.packetMin != -1 && v < cfg.packetMin) ||
                    (cfg.packetMax != -1 && v > cfg.packetMax)) {
                    return GenTL::GC_ERR_INVALID_VALUE;
                }
                return 0;
            },
            {}, "TLParamsLocked");
    }
    r.Set(CamReg::kPayloadSize, PayloadSizeLocked());
    // The tree a viewer shows: SFNC categories, nested where the standard nests them.
    if (!inDeviceModule) {
        x.Category("DeviceControl", {"DeviceVendorName", "DeviceModelName", "DeviceVersion",
                                     "DeviceSerialNumber", "DeviceUserID"});
    }
    x.Category("ImageFormatControl", {"SensorWidth", "SensorHeight", "Width", "Height", "OffsetX",
                                      "OffsetY", "PixelFormat", "pgrPixelBigEndian"});
    x.Category("AcquisitionControl",
               {"AcquisitionMode", "AcquisitionStart", "AcquisitionStop", "AcquisitionFrameRate",
                "ExposureTime", "TriggerMode", "TriggerSoftware"});
    x.Category("AnalogControl", {"Gain"});
    x.Category("ChunkDataControl",
               {"ChunkModeActive", "ChunkSelector", "ChunkEnable", "ChunkFrameID", "ChunkTimestamp",
                "ChunkWidth", "ChunkHeight", "ChunkPixelFormat"});
    x.Category("GigEVision", {"GevSCPSPacketSize"});
    x.Category("TransportLayerControl", {"PayloadSize", "TLParamsLocked", "GigEVision"});
}

FrameSettings CDevice::Snapshot() {
    std::lock_guard<std::mutex> g(camLock);
    const CRegisterSpace& r = camera->regs;
    FrameSettings s;
    s.scene.sensorWidth = cfg.sensorWidth;
    s.scene.sensorHeight = cfg.sensorHeight;
    s.scene.width = static_cast<uint32_t>(r.Get(CamReg::kWidth));
    s.scene.height = static_cast<uint32_t>(r.Get(CamReg::kHeight));
    s.scene.offsetX = static_cast<uint32_t>(r.Get(CamReg::kOffsetX));
    s.scene.offsetY = static_cast<uint32_t>(r.Get(CamReg::kOffsetY));
    s.scene.pixelFormat = static_cast<uint32_t>(r.Get(CamReg::kPixelFormat));
    s.scene.bigEndian16 = cfg.pgrPixelBigEndian && s.scene.pixelFormat == 0x01100007 &&
                          r.Get(CamReg::kPixelBigEndian) != 0;
    s.chunks = r.Get(CamReg::kChunkModeActive) != 0;
    for (int i = 0; i < CamReg::kChunkCount; ++i) {
        s.chunkEnabled[i] = r.Get(CamReg::kChunkEnable + 4 * static_cast<uint64_t>(i)) != 0;
    }
    const uint64_t bits = r.Get(CamReg::kFrameRate);
    std::memcpy(&s.frameRate, &bits, 8);
    s.triggered = r.Get(CamReg::kTriggerMode) != 0;
    return s;
}

bool CDevice::ConsumeFrameSlotLocked() {
    if (!armed && !(cfg.freeRun || !remote)) {
        return false;
    }
    if (camera->regs.Get(CamReg::kTriggerMode) != 0) {
        if (pendingTriggers == 0)
            return false;
        --pendingTriggers;
    }
    return true;
}

}  // namespace LumoSim
