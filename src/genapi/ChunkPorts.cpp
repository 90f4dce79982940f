#include "ChunkPorts.h"

#include <cstring>
#include <string_view>

#include "GenApi/GCException.h"
#include "Node.h"

namespace GenApi {

namespace {

// Value of Name="..." in the start tag that begins at tagStart.
std::string NameOf(std::string_view text, size_t tagStart) {
    const size_t tagEnd = text.find('>', tagStart);
    const std::string_view tag = text.substr(tagStart, tagEnd - tagStart);
    const size_t name = tag.find("Name=\"");
    if (name == std::string_view::npos) {
        return {};
    }
    const size_t begin = name + 6;
    const size_t end = tag.find('"', begin);
    return end == std::string_view::npos ? std::string()
                                         : std::string(tag.substr(begin, end - begin));
}

}  // namespace

std::string WithoutChunkIds(const char* xml, size_t size, std::map<std::string, uint64_t>& ports) {
    const std::string_view text(xml, size);
    static constexpr std::string_view kOpen = "<ChunkID>";
    static constexpr std::string_view kClose = "</ChunkID>";
    if (text.find(kOpen) == std::string_view::npos) {
        return {};
    }
    std::string out;
    out.reserve(size);
    size_t copied = 0;
    for (size_t at = text.find(kOpen); at != std::string_view::npos; at = text.find(kOpen, at)) {
        const size_t close = text.find(kClose, at);
        const size_t port = text.rfind("<Port", at);
        if (close == std::string_view::npos || port == std::string_view::npos) {
            break;  // malformed: the engine's parser reports it
        }
        const std::string value(text.substr(at + kOpen.size(), close - at - kOpen.size()));
        const std::string name = NameOf(text, port);
        char* end = nullptr;
        const unsigned long long id = std::strtoull(value.c_str(), &end, 16);
        if (!name.empty() && end != value.c_str() && *end == '\0') {
            ports[name] = id;
            out.append(text.substr(copied, at - copied));
            copied = close + kClose.size();
        }
        at = close + kClose.size();
    }
    out.append(text.substr(copied));
    return out;
}

uint8_t* CChunkPort::Span(int64_t address, int64_t length) const {
    if (!m_data) {
        throw ACCESS_EXCEPTION("Port '%s': no buffer with chunk 0x%llX is attached",
                               m_portName.c_str(), static_cast<unsigned long long>(m_chunkId));
    }
    if (address < 0 || length < 0 || address > m_length || length > m_length - address) {
        throw OUT_OF_RANGE_EXCEPTION(
            "Port '%s': %lld bytes at %lld lie outside chunk 0x%llX of %lld bytes",
            m_portName.c_str(), static_cast<long long>(length), static_cast<long long>(address),
            static_cast<unsigned long long>(m_chunkId), static_cast<long long>(m_length));
    }
    return m_data + address;
}

void CChunkPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
    std::memcpy(pBuffer, Span(Address, Length), static_cast<size_t>(Length));
}

void CChunkPort::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    std::memcpy(Span(Address, Length), pBuffer, static_cast<size_t>(Length));
}

// Connected without becoming the port connected last: the device port stays
// the one that ports without a connection of their own fall back to.
void CNodeMap::ServeChunkPorts(const std::map<std::string, uint64_t>& chunkIds) {
    for (const auto& [name, id] : chunkIds) {
        const CNode* node = Find(name);
        if (node && node->GetPrincipalInterfaceType() == intfIPort) {
            m_chunkPorts.push_back(std::make_unique<CChunkPort>(name, id));
            m_ports[name] = m_chunkPorts.back().get();
        }
    }
}

bool CNodeMap::IsChunkPort(const std::string& name) const {
    for (const auto& port : m_chunkPorts) {
        if (port->PortName() == name) {
            return true;
        }
    }
    return false;
}

}  // namespace GenApi
