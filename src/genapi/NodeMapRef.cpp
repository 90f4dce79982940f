#include "GenApi/NodeMapRef.h"

#include <arv.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>
#include <strings.h>
#include <vector>

#include "NodeMap.h"
#include "ZipLayout.h"

namespace GenApi {

namespace {

std::string ReadWholeFile(const gcstring& fileName) {
    std::ifstream file(fileName.c_str(), std::ios::binary);
    if (!file) {
        throw RUNTIME_EXCEPTION("Cannot open file '%s'", fileName.c_str());
    }
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool EndsWithXml(std::string_view name) {
    return name.size() > 4 && strncasecmp(name.data() + name.size() - 4, ".xml", 4) == 0;
}

// What archiving tools add beside the real files: the resource fork folder
// and AppleDouble files of macOS, whose names end in ".xml" too.
bool IsArchiverExtra(std::string_view path) {
    if (path.substr(0, 9) == "__MACOSX/" || path.find("/__MACOSX/") != std::string_view::npos) {
        return true;
    }
    const size_t slash = path.rfind('/');
    const std::string_view base = slash == std::string_view::npos ? path : path.substr(slash + 1);
    return base.substr(0, 2) == "._";
}

struct ZipDeleter {
    void operator()(ArvZip* zip) const { arv_zip_free(zip); }
};

// The one real entry whose name ends in ".xml" is the description; folders,
// notes and archiver extras around it are ignored.
std::string XmlFromZip(const void* data, size_t size) {
    if (!data || size == 0) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the ZIP data is empty");
    }
    // The engine's reader follows the archive's offsets and sizes unchecked.
    const std::string problem = ZipLayoutProblem(static_cast<const unsigned char*>(data), size);
    if (!problem.empty()) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the ZIP data cannot be read: %s",
                                problem.c_str());
    }
    std::unique_ptr<ArvZip, ZipDeleter> zip(arv_zip_new(data, size));
    if (!zip) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the ZIP data cannot be read");
    }
    const GSList* entries = arv_zip_get_file_list(zip.get());
    if (!entries) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the ZIP data cannot be read");
    }
    std::vector<std::string> candidates;
    for (const GSList* it = entries; it; it = it->next) {
        const char* name = arv_zip_file_get_name(static_cast<ArvZipFile*>(it->data));
        if (name && EndsWithXml(name) && !IsArchiverExtra(name)) {
            candidates.push_back(name);
        }
    }
    if (candidates.empty()) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the ZIP data holds no XML file");
    }
    if (candidates.size() > 1) {
        std::sort(candidates.begin(), candidates.end());
        std::string names;
        for (const std::string& name : candidates) {
            names += (names.empty() ? "'" : ", '") + name + "'";
        }
        throw RUNTIME_EXCEPTION(
            "Cannot create node map: the ZIP data holds %zu XML files, not one: %s",
            candidates.size(), names.c_str());
    }
    size_t xmlSize = 0;
    void* xml = arv_zip_get_file(zip.get(), candidates.front().c_str(), &xmlSize);
    if (!xml) {
        throw RUNTIME_EXCEPTION(
            "Cannot create node map: '%s' cannot be extracted from the ZIP data",
            candidates.front().c_str());
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
