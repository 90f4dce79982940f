#include "GenApi/NodeMapRef.h"

#include <arv.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <strings.h>

#include "NodeMap.h"

namespace GenApi {

namespace {

std::string ReadWholeFile(const gcstring& fileName) {
    std::ifstream file(fileName.c_str(), std::ios::binary);
    if (!file) {
        throw RUNTIME_EXCEPTION("Cannot open file '%s'", fileName.c_str());
    }
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool EndsWithXml(const char* name) {
    const size_t length = name ? std::strlen(name) : 0;
    return length > 4 && strcasecmp(name + length - 4, ".xml") == 0;
}

struct ZipDeleter {
    void operator()(ArvZip* zip) const { arv_zip_free(zip); }
};

// Archives often carry folder entries and notes beside the description; the
// one entry whose name ends in ".xml" is the description.
std::string XmlFromZip(const void* data, size_t size) {
    if (!data || size == 0) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the ZIP data is empty");
    }
    std::unique_ptr<ArvZip, ZipDeleter> zip(arv_zip_new(data, size));
    if (!zip) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the ZIP data cannot be read");
    }
    const char* xmlName = nullptr;
    int xmlCount = 0;
    for (const GSList* it = arv_zip_get_file_list(zip.get()); it; it = it->next) {
        const char* name = arv_zip_file_get_name(static_cast<ArvZipFile*>(it->data));
        if (EndsWithXml(name)) {
            xmlName = name;
            ++xmlCount;
        }
    }
    if (xmlCount != 1) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the ZIP data holds %d XML files, not one",
                                xmlCount);
    }
    size_t xmlSize = 0;
    void* xml = arv_zip_get_file(zip.get(), xmlName, &xmlSize);
    if (!xml) {
        throw RUNTIME_EXCEPTION(
            "Cannot create node map: '%s' cannot be extracted from the ZIP data", xmlName);
    }
    std::string text(static_cast<const char*>(xml), xmlSize);
    g_free(xml);
    return text;
}

}  // namespace

CNodeMapRef::CNodeMapRef(const gcstring& DeviceName) : m_deviceName(DeviceName) {}
CNodeMapRef::CNodeMapRef(const CNodeMapRef& other) = default;
CNodeMapRef& CNodeMapRef::operator=(const CNodeMapRef& other) = default;
CNodeMapRef::~CNodeMapRef() = default;

void CNodeMapRef::RequireEmpty() const {
    if (m_pMap) {
        throw RUNTIME_EXCEPTION("Node map already created");
    }
}

void CNodeMapRef::RequireMap() const {
    if (!m_pMap) {
        throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
    }
}

void CNodeMapRef::Adopt(std::shared_ptr<INodeMap> map) {
    m_pMap = std::move(map);
}

void CNodeMapRef::_LoadXMLFromFile(const gcstring& FileName) {
    RequireEmpty();
    const std::string xml = ReadWholeFile(FileName);
    Adopt(CNodeMap::Create(m_deviceName, xml.data(), xml.size()));
}

void CNodeMapRef::_LoadXMLFromString(const gcstring& XMLData) {
    RequireEmpty();
    Adopt(CNodeMap::Create(m_deviceName, XMLData.c_str(), XMLData.size()));
}

void CNodeMapRef::_LoadXMLFromZIPData(const void* zipData, size_t zipSize) {
    RequireEmpty();
    const std::string xml = XmlFromZip(zipData, zipSize);
    Adopt(CNodeMap::Create(m_deviceName, xml.data(), xml.size()));
}

void CNodeMapRef::_LoadXMLFromZIPFile(const gcstring& ZipFileName) {
    RequireEmpty();
    const std::string zip = ReadWholeFile(ZipFileName);
    _LoadXMLFromZIPData(zip.data(), zip.size());
}

void CNodeMapRef::_GetNodes(NodeList_t& Nodes) const {
    RequireMap();
    m_pMap->GetNodes(Nodes);
}

INode* CNodeMapRef::_GetNode(const gcstring& Name) const {
    RequireMap();
    return m_pMap->GetNode(Name);
}

bool CNodeMapRef::_Connect(IPort* pPort, const gcstring& PortName) const {
    RequireMap();
    return m_pMap->Connect(pPort, PortName);
}

bool CNodeMapRef::_Connect(IPort* pPort) const {
    RequireMap();
    return m_pMap->Connect(pPort);
}

void CNodeMapRef::_InvalidateNodes() const {
    RequireMap();
    m_pMap->InvalidateNodes();
}

void CNodeMapRef::_Poll(int64_t ElapsedTime) {
    RequireMap();
    m_pMap->Poll(ElapsedTime);
}

void CNodeMapRef::_Destroy() {
    m_pMap.reset();
}

gcstring CNodeMapRef::_GetDeviceName() const {
    return m_deviceName;
}

INodeMap* CNodeMapRef::operator->() const {
    RequireMap();
    return m_pMap.get();
}

}  // namespace GenApi
