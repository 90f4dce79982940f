#include "Config.h"

#include <nlohmann/json.hpp>

#include <arpa/inet.h>

#include "PixelFormats.h"

namespace LumoSim {
namespace {

using json = nlohmann::json;

struct BadKey {
    std::string message;
};

[[noreturn]] void Fail(const std::string& path, const std::string& why) {
    throw BadKey{path + ": " + why};
}

// Every object is checked for unknown keys so that a typo never silently falls back to a default.
void CheckKeys(const json& j, const std::string& path, std::initializer_list<const char*> known) {
    if (!j.is_object()) {
        Fail(path, "must be an object");
    }
    for (const auto& [key, value] : j.items()) {
        bool ok = false;
        for (const char* k : known) {
            ok = ok || key == k;
        }
        if (!ok) {
            Fail(path.empty() ? key : path + "." + key, "unknown key");
        }
    }
}

template <typename T>
void Get(const json& j, const char* key, const std::string& path, T& out) {
    if (!j.contains(key)) {
        return;
    }
    try {
        out = j.at(key).get<T>();
    } catch (const json::exception&) {
        Fail(path.empty() ? key : path + "." + key, "wrong type");
    }
}

uint32_t ParseFormat(const json& j, const std::string& path) {
    if (!j.is_string() || !FindPixelFormat(j.get<std::string>())) {
        Fail(path, "unknown pixel format");
    }
    return FindPixelFormat(j.get<std::string>())->code;
}

void ParseDescription(const json& j, const std::string& path, DescriptionConfig& d) {
    CheckKeys(j, path, {"zipped", "padding", "url", "readFails"});
    Get(j, "zipped", path, d.zipped);
    Get(j, "padding", path, d.padding);
    Get(j, "url", path, d.urlOverride);
    Get(j, "readFails", path, d.readFails);
    const std::set<std::string> paddings{"none", "nul", "ff", "nulInside", "ffInside"};
    if (!paddings.count(d.padding)) {
        Fail(path + ".padding", "must be none, nul, ff, nulInside or ffInside");
    }
}

// "bufferInfo": {"<BUFFER_INFO command>": value, ...}; JSON keys are text, commands numbers.
void ParseBufferInfo(const json& faults, std::map<int32_t, uint64_t>& out) {
    std::map<std::string, uint64_t> byText;
    Get(faults, "bufferInfo", "faults", byText);
    for (const auto& [key, value] : byText) {
        size_t used = 0;
        int command = -1;
        try {
            command = std::stoi(key, &used);
        } catch (const std::exception&) {
            used = 0;
        }
        if (used != key.size() || command < 0) {
            Fail("faults.bufferInfo." + key, "must be a BUFFER_INFO command number");
        }
        out[command] = value;
    }
}

std::set<std::string> NameSet(const json& j, const char* key, const std::string& path) {
    std::vector<std::string> v;
    Get(j, key, path, v);
    return {v.begin(), v.end()};
}

void ParseDevice(const json& j, const std::string& path, DeviceConfig& d) {
    CheckKeys(j, path,
              {"id",
               "tlType",
               "vendor",
               "model",
               "serial",
               "userName",
               "displayName",
               "version",
               "accessStatus",
               "timestampFrequency",
               "gev",
               "sensorWidth",
               "sensorHeight",
               "pixelFormats",
               "pixelFormat",
               "frameRate",
               "remotePort",
               "streams",
               "pgrPixelBigEndian",
               "payloadSize",
               "freeRun",
               "packetSize",
               "omitStreamFeatures",
               "omitDeviceFeatures",
               "omitRemoteFeatures",
               "deviceXml",
               "remoteXml",
               "streamXml",
               "chunkLayout"});
    Get(j, "id", path, d.id);
    Get(j, "tlType", path, d.tlType);
    Get(j, "chunkLayout", path, d.chunkLayout);
    if (!d.chunkLayout.empty() && d.chunkLayout != "GEV" && d.chunkLayout != "U3V")
        Fail(path + ".chunkLayout", "must be GEV or U3V");
    Get(j, "vendor", path, d.vendor);
    Get(j, "model", path, d.model);
    Get(j, "serial", path, d.serial);
    Get(j, "userName", path, d.userName);
    Get(j, "displayName", path, d.displayName);
    Get(j, "version", path, d.version);
    Get(j, "accessStatus", path, d.accessStatus);
    Get(j, "timestampFrequency", path, d.timestampFrequency);
    Get(j, "sensorWidth", path, d.sensorWidth);
    Get(j, "sensorHeight", path, d.sensorHeight);
    Get(j, "frameRate", path, d.frameRate);
    Get(j, "remotePort", path, d.remotePort);
    Get(j, "streams", path, d.streams);
    Get(j, "payloadSize", path, d.payloadSize);
    Get(j, "freeRun", path, d.freeRun);
    if (j.contains("pgrPixelBigEndian")) {
        bool v = false;
        Get(j, "pgrPixelBigEndian", path, v);
        d.pgrPixelBigEndian = v;
    }
    if (d.sensorWidth == 0 || d.sensorWidth > 16384)
        Fail(path + ".sensorWidth", "out of range");
    if (d.sensorHeight == 0 || d.sensorHeight > 16384)
        Fail(path + ".sensorHeight", "out of range");
    if (d.frameRate < 0)
        Fail(path + ".frameRate", "must not be negative");
    if (d.streams > 4)
        Fail(path + ".streams", "at most 4");
    if (d.accessStatus < 0 || d.accessStatus > 6)
        Fail(path + ".accessStatus", "out of range");
    if (j.contains("gev")) {
        const std::string p = path + ".gev";
        const json& g = j.at("gev");
        CheckKeys(g, p, {"mac", "ip", "subnet", "gateway", "text", "addr5", "addr6", "addr3"});
        if (g.contains("mac")) {
            std::vector<int> mac;
            Get(g, "mac", p, mac);
            if (mac.size() != 6)
                Fail(p + ".mac", "needs 6 bytes");
            for (size_t i = 0; i < 6; ++i)
                d.mac[i] = static_cast<uint8_t>(mac[i]);
        }
        const char* keys[] = {"ip", "subnet", "gateway", "", "addr5", "addr6"};
        for (size_t i = 0; i < 6; ++i) {
            if (*keys[i] && g.contains(keys[i])) {
                Get(g, keys[i], p, d.gevAddr[i]);
                in_addr a{};
                if (inet_pton(AF_INET, d.gevAddr[i].c_str(), &a) != 1) {
                    Fail(p + "." + keys[i], "not a dotted IPv4 address");
                }
            }
        }
        Get(g, "text", p, d.gevText);
    }
    if (j.contains("pixelFormats")) {
        const json& list = j.at("pixelFormats");
        if (list.is_string() && list.get<std::string>() == "all") {
            size_t n = 0;
            const PixelFormatInfo* t = PixelFormatTable(n);
            for (size_t i = 0; i < n; ++i)
                d.pixelFormats.push_back(t[i].code);
        } else if (list.is_array() && !list.empty()) {
            for (size_t i = 0; i < list.size(); ++i) {
                d.pixelFormats.push_back(
                    ParseFormat(list[i], path + ".pixelFormats[" + std::to_string(i) + "]"));
            }
        } else {
            Fail(path + ".pixelFormats", "must be \"all\" or a non-empty list");
        }
    }
    if (j.contains("pixelFormat")) {
        d.pixelFormat = ParseFormat(j.at("pixelFormat"), path + ".pixelFormat");
    }
    if (j.contains("packetSize")) {
        const std::string p = path + ".packetSize";
        CheckKeys(j.at("packetSize"), p, {"min", "max", "inc", "value"});
        Get(j.at("packetSize"), "min", p, d.packetMin);
        Get(j.at("packetSize"), "max", p, d.packetMax);
        Get(j.at("packetSize"), "inc", p, d.packetInc);
        Get(j.at("packetSize"), "value", p, d.packetSize);
        if (d.packetInc <= 0)
            Fail(p + ".inc", "must be positive");
    }
    d.omitStreamFeatures = NameSet(j, "omitStreamFeatures", path);
    d.omitDeviceFeatures = NameSet(j, "omitDeviceFeatures", path);
    d.omitRemoteFeatures = NameSet(j, "omitRemoteFeatures", path);
    if (j.contains("deviceXml"))
        ParseDescription(j.at("deviceXml"), path + ".deviceXml", d.deviceXml);
    if (j.contains("remoteXml"))
        ParseDescription(j.at("remoteXml"), path + ".remoteXml", d.remoteXml);
    if (j.contains("streamXml"))
        ParseDescription(j.at("streamXml"), path + ".streamXml", d.streamXml);
}

void Finish(Config& c) {
    for (size_t i = 0; i < c.interfaces.size(); ++i) {
        auto& itf = c.interfaces[i];
        if (itf.id.empty())
            itf.id = "IF" + std::to_string(i);
        if (itf.displayName.empty())
            itf.displayName = "LumoSim " + itf.tlType + " interface " + std::to_string(i);
        for (size_t k = 0; k < itf.devices.size(); ++k) {
            auto& d = itf.devices[k];
            if (d.serial.empty())
                d.serial = "SIM" + std::to_string(i) + std::to_string(k) + "0001";
            if (d.id.empty())
                d.id = "DEV_" + d.serial;
            if (d.displayName.empty())
                d.displayName = d.vendor + " " + d.model + " (" + d.id + ")";
            if (d.pixelFormats.empty()) {
                d.pixelFormats = {0x01080001};
            }
            if (d.pixelFormat == 0)
                d.pixelFormat = d.pixelFormats.front();
            if (d.chunkLayout.empty())
                d.chunkLayout = d.tlType == "U3V" ? "U3V" : "GEV";
        }
    }
    if (c.tlType.empty()) {
        c.tlType = c.interfaces.empty() ? "Custom" : c.interfaces.front().tlType;
        for (const auto& itf : c.interfaces) {
            if (itf.tlType != c.tlType)
                c.tlType = "Mixed";
        }
    }
}

}  // namespace

Config Config::Default() {
    Config c;
    InterfaceConfig itf;
    DeviceConfig d;
    d.serial = "LS0000001";
    d.pixelFormats = {0x01080009, 0x01080001, 0x02180014, 0x02180015, 0x01100007, 0x0210001F};
    d.pixelFormat = 0x01080009;
    itf.devices.push_back(d);
    c.interfaces.push_back(itf);
    Finish(c);
    return c;
}

bool Config::Parse(const std::string& text, Config& out, std::string& error) {
    try {
        const json j = json::parse(text);
        Config c;
        CheckKeys(j, "",
                  {"vendor", "model", "version", "tlType", "systemXml", "interfaces", "faults",
                   "events", "stateFile"});
        Get(j, "vendor", "", c.vendor);
        Get(j, "model", "", c.model);
        Get(j, "version", "", c.version);
        Get(j, "tlType", "", c.tlType);
        Get(j, "stateFile", "", c.stateFile);
        if (j.contains("systemXml"))
            ParseDescription(j.at("systemXml"), "systemXml", c.systemXml);
        if (j.contains("interfaces")) {
            if (!j.at("interfaces").is_array())
                Fail("interfaces", "must be a list");
            for (size_t i = 0; i < j.at("interfaces").size(); ++i) {
                const json& ji = j.at("interfaces")[i];
                const std::string p = "interfaces[" + std::to_string(i) + "]";
                CheckKeys(ji, p, {"id", "displayName", "tlType", "xml", "devices"});
                InterfaceConfig itf;
                Get(ji, "id", p, itf.id);
                Get(ji, "displayName", p, itf.displayName);
                Get(ji, "tlType", p, itf.tlType);
                if (ji.contains("xml"))
                    ParseDescription(ji.at("xml"), p + ".xml", itf.xml);
                if (ji.contains("devices")) {
                    if (!ji.at("devices").is_array())
                        Fail(p + ".devices", "must be a list");
                    for (size_t k = 0; k < ji.at("devices").size(); ++k) {
                        DeviceConfig d;
                        d.tlType = itf.tlType;
                        ParseDevice(ji.at("devices")[k], p + ".devices[" + std::to_string(k) + "]",
                                    d);
                        itf.devices.push_back(std::move(d));
                    }
                }
                c.interfaces.push_back(std::move(itf));
            }
        }
        if (!j.contains("interfaces")) {
            c.interfaces = Default().interfaces;  // only faults or events given: the default camera
        }
        if (j.contains("faults")) {
            const json& f = j.at("faults");
            CheckKeys(f, "faults",
                      {"calls", "registers", "delays", "incompleteEvery", "maxAllocBuffers",
                       "chunkOverrun", "dropDeviceAfterFrames", "dropDeviceOnCall", "bufferInfo"});
            if (f.contains("calls")) {
                for (size_t i = 0; i < f.at("calls").size(); ++i) {
                    const std::string p = "faults.calls[" + std::to_string(i) + "]";
                    const json& e = f.at("calls")[i];
                    CheckKeys(e, p, {"function", "error", "mode", "n", "count"});
                    CallFault cf;
                    Get(e, "function", p, cf.function);
                    Get(e, "error", p, cf.error);
                    Get(e, "mode", p, cf.mode);
                    Get(e, "n", p, cf.n);
                    Get(e, "count", p, cf.count);
                    if (cf.function.empty())
                        Fail(p + ".function", "missing");
                    if (cf.mode != "always" && cf.mode != "nth" && cf.mode != "after") {
                        Fail(p + ".mode", "must be always, nth or after");
                    }
                    c.callFaults.push_back(cf);
                }
            }
            if (f.contains("registers")) {
                for (size_t i = 0; i < f.at("registers").size(); ++i) {
                    const std::string p = "faults.registers[" + std::to_string(i) + "]";
                    const json& e = f.at("registers")[i];
                    CheckKeys(e, p, {"module", "address", "access", "error"});
                    RegisterFault rf;
                    Get(e, "module", p, rf.module);
                    Get(e, "address", p, rf.address);
                    Get(e, "access", p, rf.access);
                    Get(e, "error", p, rf.error);
                    const std::set<std::string> modules{"system", "interface", "device", "remote",
                                                        "stream"};
                    if (!modules.count(rf.module))
                        Fail(p + ".module", "unknown module");
                    c.registerFaults.push_back(rf);
                }
            }
            Get(f, "delays", "faults", c.delaysMs);
            Get(f, "incompleteEvery", "faults", c.incompleteEvery);
            Get(f, "maxAllocBuffers", "faults", c.maxAllocBuffers);
            Get(f, "chunkOverrun", "faults", c.chunkOverrun);
            Get(f, "dropDeviceAfterFrames", "faults", c.dropAfterFrames);
            Get(f, "dropDeviceOnCall", "faults", c.dropOnCall);
            ParseBufferInfo(f, c.bufferInfo);
        }
        if (j.contains("events")) {
            const json& e = j.at("events");
            CheckKeys(e, "events",
                      {"onFeatureWrite", "remoteDeviceEvery", "moduleEvery", "errorOnIncomplete",
                       "exposureEndEvery"});
            if (e.contains("onFeatureWrite")) {
                for (size_t i = 0; i < e.at("onFeatureWrite").size(); ++i) {
                    const std::string p = "events.onFeatureWrite[" + std::to_string(i) + "]";
                    const json& fe = e.at("onFeatureWrite")[i];
                    CheckKeys(fe, p, {"feature", "type", "value"});
                    FeatureEvent ev;
                    std::string type = "change";
                    Get(fe, "feature", p, ev.feature);
                    Get(fe, "type", p, type);
                    Get(fe, "value", p, ev.value);
                    if (type != "change" && type != "invalidate")
                        Fail(p + ".type", "must be change or invalidate");
                    ev.type = type == "change" ? 3 : 2;
                    c.featureEvents.push_back(ev);
                }
            }
            Get(e, "remoteDeviceEvery", "events", c.remoteEventEvery);
            Get(e, "moduleEvery", "events", c.moduleEventEvery);
            Get(e, "exposureEndEvery", "events", c.exposureEndEvery);
            Get(e, "errorOnIncomplete", "events", c.errorOnIncomplete);
        }
        Finish(c);
        out = std::move(c);
        return true;
    } catch (const BadKey& e) {
        error = e.message;
    } catch (const json::exception& e) {
        error = std::string("configuration is not valid JSON: ") + e.what();
    }
    return false;
}

}  // namespace LumoSim
