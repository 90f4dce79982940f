#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Builds a ZIP archive in memory (deflated entries, no extras), enough to
// feed the description loader the shapes that archiving tools produce.
class CZipBuilder {
public:
    void Add(const std::string& name, const std::string& content) {
        m_entries.emplace_back(name, content);
    }

    std::string Build() const {
        std::string archive;
        std::string central;
        for (const auto& [name, content] : m_entries) {
            const std::string packed = Deflate(content);
            const uint32_t crc =
                static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(content.data()),
                                            static_cast<uInt>(content.size())));
            const uint32_t offset = static_cast<uint32_t>(archive.size());
            Put32(archive, 0x04034b50);
            Put16(archive, 20);
            Put16(archive, 0);
            Put16(archive, 8);
            Put32(archive, 0);
            Put32(archive, crc);
            Put32(archive, static_cast<uint32_t>(packed.size()));
            Put32(archive, static_cast<uint32_t>(content.size()));
            Put16(archive, static_cast<uint16_t>(name.size()));
            Put16(archive, 0);
            archive += name + packed;

            Put32(central, 0x02014b50);
            Put16(central, 20);
            Put16(central, 20);
            Put16(central, 0);
            Put16(central, 8);
            Put32(central, 0);
            Put32(central, crc);
            Put32(central, static_cast<uint32_t>(packed.size()));
            Put32(central, static_cast<uint32_t>(content.size()));
            Put16(central, static_cast<uint16_t>(name.size()));
            Put16(central, 0);
            Put16(central, 0);
            Put16(central, 0);
            Put16(central, 0);
            Put32(central, 0);
            Put32(central, offset);
            central += name;
        }
        const uint32_t centralOffset = static_cast<uint32_t>(archive.size());
        archive += central;
        Put32(archive, 0x06054b50);
        Put16(archive, 0);
        Put16(archive, 0);
        Put16(archive, static_cast<uint16_t>(m_entries.size()));
        Put16(archive, static_cast<uint16_t>(m_entries.size()));
        Put32(archive, static_cast<uint32_t>(central.size()));
        Put32(archive, centralOffset);
        Put16(archive, 0);
        return archive;
    }

private:
    static void Put16(std::string& out, uint16_t v) {
        out += static_cast<char>(v & 0xFF);
        out += static_cast<char>(v >> 8);
    }
    static void Put32(std::string& out, uint32_t v) {
        Put16(out, static_cast<uint16_t>(v & 0xFFFF));
        Put16(out, static_cast<uint16_t>(v >> 16));
    }
    static std::string Deflate(const std::string& content) {
        z_stream stream{};
        deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
        std::string out(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
        stream.avail_in = static_cast<uInt>(content.size());
        stream.next_out = reinterpret_cast<Bytef*>(out.data());
        stream.avail_out = static_cast<uInt>(out.size());
        deflate(&stream, Z_FINISH);
        out.resize(stream.total_out);
        deflateEnd(&stream);
        return out;
    }

    std::vector<std::pair<std::string, std::string>> m_entries;
};
