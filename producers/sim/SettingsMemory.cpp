#include "SettingsMemory.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "CameraRegisters.h"

namespace LumoSim {

namespace {

using json = nlohmann::json;

enum class Kind { Integer, Double, Text };

struct Setting {
    const char* name;
    uint64_t address;
    size_t length;
    Kind kind;
};

// In the order they are restored: the region of interest grows before it moves.
const Setting kSettings[] = {
    {"Width", CamReg::kWidth, 4, Kind::Integer},
    {"Height", CamReg::kHeight, 4, Kind::Integer},
    {"OffsetX", CamReg::kOffsetX, 4, Kind::Integer},
    {"OffsetY", CamReg::kOffsetY, 4, Kind::Integer},
    {"PixelFormat", CamReg::kPixelFormat, 4, Kind::Integer},
    {"pgrPixelBigEndian", CamReg::kPixelBigEndian, 4, Kind::Integer},
    {"AcquisitionMode", CamReg::kAcqMode, 4, Kind::Integer},
    {"AcquisitionFrameRate", CamReg::kFrameRate, 8, Kind::Double},
    {"ExposureTime", CamReg::kExposureTime, 8, Kind::Double},
    {"Gain", CamReg::kGain, 8, Kind::Double},
    {"TriggerMode", CamReg::kTriggerMode, 4, Kind::Integer},
    {"ChunkModeActive", CamReg::kChunkModeActive, 4, Kind::Integer},
    {"ChunkSelector", CamReg::kChunkSelector, 4, Kind::Integer},
    {"ChunkEnableFrameID", CamReg::kChunkEnable + 0, 4, Kind::Integer},
    {"ChunkEnableTimestamp", CamReg::kChunkEnable + 4, 4, Kind::Integer},
    {"ChunkEnableWidth", CamReg::kChunkEnable + 8, 4, Kind::Integer},
    {"ChunkEnableHeight", CamReg::kChunkEnable + 12, 4, Kind::Integer},
    {"ChunkEnablePixelFormat", CamReg::kChunkEnable + 16, 4, Kind::Integer},
    {"GevSCPSPacketSize", CamReg::kPacketSize, 4, Kind::Integer},
    {"DeviceUserID", CamReg::kUserId, CamReg::kUserIdLength, Kind::Text},
};

json ReadState(const std::string& path) {
    std::ifstream in(path);
    if (!in)
        return json::object();
    std::stringstream text;
    text << in.rdbuf();
    // A damaged file is started afresh rather than failing every open.
    json state = json::parse(text.str(), nullptr, false);
    return state.is_object() ? state : json::object();
}

json Encode(const Setting& s, const std::vector<uint8_t>& bytes) {
    switch (s.kind) {
        case Kind::Double: {
            double v = 0;
            std::memcpy(&v, bytes.data(), sizeof v);
            return v;
        }
        case Kind::Text:
            return std::string(reinterpret_cast<const char*>(bytes.data()),
                               strnlen(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        case Kind::Integer:
            break;
    }
    return CRegisterSpace::ToInt(bytes);
}

// The register bytes of a remembered value; false when it has the wrong type.
bool Decode(const Setting& s, const json& value, std::vector<uint8_t>& bytes) {
    bytes.assign(s.length, 0);
    if (s.kind == Kind::Double && value.is_number()) {
        const double v = value.get<double>();
        std::memcpy(bytes.data(), &v, sizeof v);
        return true;
    }
    if (s.kind == Kind::Text && value.is_string()) {
        const std::string text = value.get<std::string>();
        std::memcpy(bytes.data(), text.data(), std::min(text.size(), s.length - 1));
        return true;
    }
    if (s.kind == Kind::Integer && value.is_number_unsigned()) {
        CRegisterSpace::FromInt(bytes, value.get<uint64_t>());
        return true;
    }
    return false;
}

}  // namespace

std::string CSettingsMemory::Path(const std::string& configured) {
    const char* env = std::getenv("LUMOSIM_STATE");
    return env != nullptr && *env != '\0' ? std::string(env) : configured;
}

void CSettingsMemory::Restore(const std::string& serial, CRegisterSpace& camera) const {
    if (path_.empty())
        return;
    const json state = ReadState(path_);
    if (!state.contains(serial) || !state.at(serial).is_object())
        return;
    const json& saved = state.at(serial);
    // Offsets first to 0, so that any remembered size fits while it is restored.
    uint8_t zero[4] = {};
    camera.Write(CamReg::kOffsetX, zero, sizeof zero);
    camera.Write(CamReg::kOffsetY, zero, sizeof zero);
    std::vector<uint8_t> bytes;
    for (const Setting& s : kSettings) {
        if (saved.contains(s.name) && Decode(s, saved.at(s.name), bytes)) {
            camera.Write(s.address, bytes.data(), bytes.size());  // refused: stays default
        }
    }
}

void CSettingsMemory::Store(const std::string& serial, CRegisterSpace& camera) const {
    if (path_.empty())
        return;
    try {
        json state = ReadState(path_);
        json values = json::object();
        std::vector<uint8_t> bytes;
        for (const Setting& s : kSettings) {
            bytes.assign(s.length, 0);
            if (camera.Read(s.address, bytes.data(), bytes.size()) == 0)
                values[s.name] = Encode(s, bytes);
        }
        state[serial] = values;
        // Written beside and renamed, so that a reader never sees half a file.
        const std::string temporary = path_ + ".tmp";
        {
            std::ofstream out(temporary, std::ios::trunc);
            out << state.dump(2) << "\n";
            if (!out)
                return;
        }
        std::rename(temporary.c_str(), path_.c_str());
    } catch (...) {
        // The settings are lost, the close goes on.
    }
}

}  // namespace LumoSim
