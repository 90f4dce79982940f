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

namespace {

// Takes every <tag>hex</tag> inside a Port element out of text.
std::string Without(std::string_view text, std::string_view open, std::string_view close,
                    std::map<std::string, uint64_t>& ports) {
    std::string out;
    out.reserve(text.size());
    size_t copied = 0;
    for (size_t at = text.find(open); at != std::string_view::npos; at = text.find(open, at)) {
        const size_t end = text.find(close, at);
        const size_t port = text.rfind("<Port", at);
        if (end == std::string_view::npos || port == std::string_view::npos) {
            break;  // malformed: the engine's parser reports it
        }
        const std::string value(text.substr(at + open.size(), end - at - open.size()));
        const std::string name = NameOf(text, port);
        char* last = nullptr;
        const unsigned long long id = std::strtoull(value.c_str(), &last, 16);
        if (!name.empty() && last != value.c_str() && *last == '\0') {
            ports[name] = id;
            out.append(text.substr(copied, at - copied));
            copied = end + close.size();
        }
        at = end + close.size();
    }
    out.append(text.substr(copied));
    return out;
}

}  // namespace

std::string WithoutPortIds(const char* xml, size_t size, PortIds& ids) {
    const std::string_view text(xml, size);
    const bool chunks = text.find("<ChunkID>") != std::string_view::npos;
    const bool events = text.find("<EventID>") != std::string_view::npos;
    if (!chunks && !events) {
        return {};
    }
    std::string out(text);
    if (chunks) {
        out = Without(out, "<ChunkID>", "</ChunkID>", ids.chunks);
    }
    if (events) {
        out = Without(out, "<EventID>", "</EventID>", ids.events);
    }
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
void CNodeMap::ServeChunkPorts(const PortIds& ids) {
    for (const auto* source : {&ids.chunks, &ids.events}) {
        auto& ports = source == &ids.chunks ? m_chunkPorts : m_eventPorts;
        for (const auto& [name, id] : *source) {
            const CNode* node = Find(name);
            if (node && node->GetPrincipalInterfaceType() == intfIPort) {
                ports.push_back(std::make_unique<CChunkPort>(name, id));
                m_ports[name] = ports.back().get();
            }
        }
    }
}

bool CNodeMap::IsChunkPort(const std::string& name) const {
    for (const auto* ports : {&m_chunkPorts, &m_eventPorts}) {
        for (const auto& port : *ports) {
            if (port->PortName() == name) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace GenApi
