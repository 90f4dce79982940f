#include "CtiPort.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Cti.h"

namespace {

std::string UpperCase(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

// Register-held files are padded with NUL or 0xFF up to their declared length.
bool IsPaddingByte(char c) {
    const signed char s = static_cast<signed char>(c);
    return s < 10 || s > 126;
}

}  // namespace

CCtiPort::CCtiPort(VEXOGENICAM::CCti* pCti, void* hPort)
    : m_pCti(pCti), m_hPort(hPort), m_NodeMap("Device") {}

CCtiPort::~CCtiPort() = default;

GenApi::EAccessMode CCtiPort::GetAccessMode() const {
    return GenApi::RW;
}

void CCtiPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
    if (m_pCti == nullptr || m_hPort == nullptr) {
        return;
    }
    size_t size = static_cast<size_t>(Length);
    if (m_pCti->GCReadPort(m_hPort, static_cast<uint64_t>(Address), pBuffer, &size) != 0) {
        throw GenICam::GenericException("Read address failed", "CtiPort", 48);
    }
}

void CCtiPort::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    if (m_pCti == nullptr || m_hPort == nullptr) {
        return;
    }
    size_t size = static_cast<size_t>(Length);
    if (m_pCti->GCWritePort(m_hPort, static_cast<uint64_t>(Address), pBuffer, &size) != 0) {
        throw GenICam::GenericException("Write address failed", "CtiPort", 62);
    }
}

void CCtiPort::init() {
    if (m_bInit.load(std::memory_order_acquire)) {
        return;
    }
    std::lock_guard<std::mutex> guard(m_initLock);
    if (m_bInit.load(std::memory_order_relaxed)) {
        return;
    }
    try {
        SetXml();
    } catch (...) {
        // A description that cannot be loaded leaves the port without node map.
    }
    // Marked only after the load: a second caller waits for it above instead
    // of taking a half-loaded port for one without description.
    m_bInit.store(true, std::memory_order_release);
}

std::string CCtiPort::GetFileName() {
    init();
    return m_strFileName;
}

std::string CCtiPort::GetFileSuffix() {
    init();
    return m_strFileSuffix;
}

std::string CCtiPort::GetFileContent() {
    init();
    return m_strFileContent;
}

GenApi::INodeMap* CCtiPort::GetNodeMap() {
    init();
    if (m_strFileContent.empty()) {
        return nullptr;
    }
    return m_NodeMap._Ptr();
}

bool CCtiPort::SetXml() {
    if (m_pCti == nullptr) {
        return false;
    }
    size_t size = 0;
    if (m_pCti->GCGetPortURL(m_hPort, nullptr, &size) != 0) {
        return false;
    }
    std::string url(size, '\0');
    if (m_pCti->GCGetPortURL(m_hPort, url.data(), &size) != 0) {
        return false;
    }
    url.resize(std::strlen(url.c_str()));  // the reported size counts the terminating zero

    // Only files in the module's own register space are supported.
    if (UpperCase(url.substr(0, 5)) != "LOCAL") {
        return false;
    }
    const size_t first = url.find(';', 6);
    if (first == std::string::npos) {
        return false;
    }
    const size_t second = url.find(';', first + 1);
    if (second == std::string::npos) {
        return false;
    }
    const std::string fileName = url.substr(6, first - 6);
    const std::string addressText = url.substr(first + 1, second - first - 1);
    const std::string lengthText = url.substr(second + 1);

    const size_t dot = fileName.rfind('.');
    if (dot != std::string::npos) {
        m_strFileName = fileName.substr(0, dot);
        m_strFileSuffix = UpperCase(fileName.substr(dot + 1));
    }

    // A schema-version query after the length simply ends the number.
    const long long address = std::strtoll(addressText.c_str(), nullptr, 16);
    const long long length = std::strtoll(lengthText.c_str(), nullptr, 16);
    // No description comes near this; a larger length is a broken URL, not a
    // reason to allocate what it claims.
    constexpr long long kMaxDescriptionSize = 64LL * 1024 * 1024;
    if (length < 0 || length > kMaxDescriptionSize) {
        return false;
    }
    std::vector<char> buffer(static_cast<size_t>(length) + 1, '\0');
    size_t readSize = static_cast<size_t>(length);
    if (m_pCti->GCReadPort(m_hPort, static_cast<uint64_t>(address), buffer.data(), &readSize) !=
        0) {
        return false;
    }
    // The producer may report more than it was asked for; never trust it past
    // the buffer.
    readSize = std::min(readSize, static_cast<size_t>(length));
    buffer[readSize] = '\0';

    if (m_strFileSuffix == "ZIP") {
        m_NodeMap._LoadXMLFromZIPData(buffer.data(), readSize);
    } else {
        while (readSize > 0 && IsPaddingByte(buffer[readSize - 1])) {
            --readSize;
        }
        buffer[readSize] = '\0';
        m_NodeMap._LoadXMLFromString(GenICam::gcstring(buffer.data(), readSize));
    }
    m_strFileContent.assign(buffer.data(), readSize);

    GenApi::NodeList_t nodes;
    m_NodeMap._GetNodes(nodes);
    for (GenApi::INode* node : nodes) {
        if (node != nullptr && node->GetPrincipalInterfaceType() == GenApi::intfIPort) {
            m_NodeMap._Connect(static_cast<GenApi::IPort*>(this), node->GetName());
        }
    }
    return true;
}
