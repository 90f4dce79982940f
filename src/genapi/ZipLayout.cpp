#include "ZipLayout.h"

#include <cstdint>
#include <cstring>

namespace GenApi {

namespace {

uint32_t Le16(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8;
}

uint32_t Le32(const unsigned char* p) {
    return Le16(p) | Le16(p + 2) << 16;
}

bool HasSignature(const unsigned char* p, unsigned char third, unsigned char fourth) {
    return p[0] == 'P' && p[1] == 'K' && p[2] == third && p[3] == fourth;
}

constexpr size_t kEndRecordSize = 22;
constexpr size_t kCentralEntrySize = 46;
constexpr size_t kLocalHeaderSize = 30;
constexpr unsigned kStored = 0;

}  // namespace

std::string ZipLayoutProblem(const unsigned char* data, size_t size) {
    if (!data || size < kEndRecordSize) {
        return "too short for a ZIP archive";
    }
    // The end record sits before a comment of at most 64 KiB.
    size_t end = size - kEndRecordSize + 1;
    const size_t lowest = size - kEndRecordSize > 0xFFFF ? size - kEndRecordSize - 0xFFFF : 0;
    do {
        --end;
    } while (end > lowest && !HasSignature(data + end, 5, 6));
    if (!HasSignature(data + end, 5, 6)) {
        return "no end of central directory record";
    }
    const size_t count = Le16(data + end + 10);
    const size_t directorySize = Le32(data + end + 12);
    const size_t directory = Le32(data + end + 16);
    if (directory > end || directorySize > end - directory) {
        return "central directory outside the data";
    }
    const size_t directoryEnd = directory + directorySize;
    size_t p = directory;
    for (size_t i = 0; i < count; ++i) {
        if (directoryEnd - p < kCentralEntrySize || !HasSignature(data + p, 1, 2)) {
            return "central directory entry " + std::to_string(i) + " is cut or broken";
        }
        const unsigned char* entry = data + p;
        const unsigned method = Le16(entry + 10);
        const size_t packed = Le32(entry + 20);
        const size_t unpacked = Le32(entry + 24);
        const size_t recordSize =
            kCentralEntrySize + Le16(entry + 28) + Le16(entry + 30) + Le16(entry + 32);
        const size_t local = Le32(entry + 42);
        if (recordSize > directoryEnd - p) {
            return "central directory entry " + std::to_string(i) + " is cut";
        }
        if (unpacked > kMaxZipEntrySize) {
            return "entry " + std::to_string(i) + " claims " + std::to_string(unpacked) + " bytes";
        }
        if (local > size || size - local < kLocalHeaderSize || !HasSignature(data + local, 3, 4)) {
            return "local header of entry " + std::to_string(i) + " outside the data";
        }
        const size_t start =
            local + kLocalHeaderSize + Le16(data + local + 26) + Le16(data + local + 28);
        const size_t stored = method == kStored && unpacked > packed ? unpacked : packed;
        if (start > size || stored > size - start) {
            return "data of entry " + std::to_string(i) + " outside the data";
        }
        p += recordSize;
    }
    return {};
}

}  // namespace GenApi
