#include "Zip.h"

#include <zlib.h>

namespace LumoSim {
namespace {

void Put16(std::vector<uint8_t>& v, uint32_t x) {
    v.push_back(static_cast<uint8_t>(x));
    v.push_back(static_cast<uint8_t>(x >> 8));
}

void Put32(std::vector<uint8_t>& v, uint32_t x) {
    Put16(v, x & 0xFFFF);
    Put16(v, x >> 16);
}

}  // namespace

std::vector<uint8_t> CZip::StoreSingle(const std::string& entryName, const std::string& data) {
    const auto crc = static_cast<uint32_t>(
        crc32(0L, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
    const auto size = static_cast<uint32_t>(data.size());
    const auto nameLen = static_cast<uint32_t>(entryName.size());
    std::vector<uint8_t> z;
    auto header = [&](bool central) {
        Put32(z, central ? 0x02014b50 : 0x04034b50);
        if (central)
            Put16(z, 20);  // made by
        Put16(z, 20);      // version needed
        Put16(z, 0);       // flags
        Put16(z, 0);       // method: stored
        Put16(z, 0);       // time
        Put16(z, 0x21);    // date: 1980-01-01
        Put32(z, crc);
        Put32(z, size);
        Put32(z, size);
        Put16(z, nameLen);
        Put16(z, 0);  // extra
        if (central) {
            Put16(z, 0);  // comment
            Put16(z, 0);  // disk
            Put16(z, 0);  // internal attributes
            Put32(z, 0);  // external attributes
            Put32(z, 0);  // local header offset
        }
        z.insert(z.end(), entryName.begin(), entryName.end());
    };
    header(false);
    z.insert(z.end(), data.begin(), data.end());
    const auto centralStart = static_cast<uint32_t>(z.size());
    header(true);
    const auto centralSize = static_cast<uint32_t>(z.size()) - centralStart;
    Put32(z, 0x06054b50);
    Put16(z, 0);
    Put16(z, 0);
    Put16(z, 1);
    Put16(z, 1);
    Put32(z, centralSize);
    Put32(z, centralStart);
    Put16(z, 0);
    return z;
}

}  // namespace LumoSim
