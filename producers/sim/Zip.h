#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace LumoSim {

// A one-entry ZIP archive with the entry stored uncompressed.
class CZip {
public:
    static std::vector<uint8_t> StoreSingle(const std::string& entryName, const std::string& data);
};

}  // namespace LumoSim
