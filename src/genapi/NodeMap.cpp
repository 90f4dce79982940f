#include "NodeMap.h"

#include <libxml/parser.h>

#include <cstring>
#include <set>

#include "BooleanNode.h"
#include "CategoryNode.h"
#include "CommandNode.h"
#include "EnumerationNode.h"
#include "FloatT.h"
#include "IntegerT.h"
#include "PortNode.h"
#include "RegisterT.h"
#include "StringT.h"

namespace GenApi {

namespace {

using CIntegerNode = CIntegerT<CNode>;
using CIntRegNode = CIntegerT<CRegisterT<CNode>>;
using CFloatNode = CFloatT<CNode>;
using CFloatRegNode = CFloatT<CRegisterT<CNode>>;
using CStringNode = CStringT<CNode>;
using CStringRegNode = CStringT<CRegisterT<CNode>>;
using CRegisterNode = CRegisterT<CNode>;

// The engine reports a broken document only on its log; libxml2, the parser it
// is built on, gives the reason.
std::string XmlProblem(const char* xml, size_t size) {
    xmlParserCtxtPtr context = xmlNewParserCtxt();
    if (!context) {
        return "out of memory";
    }
    std::string problem;
    xmlDocPtr doc = xmlCtxtReadMemory(context, xml, static_cast<int>(size), nullptr, nullptr,
                                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!doc) {
        const xmlError* error = xmlCtxtGetLastError(context);
        problem = error && error->message ? error->message : "not well-formed";
        while (!problem.empty() && (problem.back() == '\n' || problem.back() == ' ')) {
            problem.pop_back();
        }
        if (error) {
            problem += " (line " + std::to_string(error->line) + ")";
        }
    } else {
        xmlNodePtr root = xmlDocGetRootElement(doc);
        if (!root ||
            std::strcmp(reinterpret_cast<const char*>(root->name), "RegisterDescription") != 0) {
            problem = "root element is not RegisterDescription";
        }
        xmlFreeDoc(doc);
    }
    xmlFreeParserCtxt(context);
    return problem;
}

bool IsTag(ArvDomNode* node, std::initializer_list<const char*> tags) {
    const char* tag = arv_dom_node_get_node_name(node);
    for (const char* candidate : tags) {
        if (tag && std::strcmp(tag, candidate) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

CNodeMap::CacheSwitch::CacheSwitch(const CNodeMap& map, bool ignoreCache)
    : m_map(map), m_switched(ignoreCache && map.m_cacheEnabled) {
    if (m_switched) {
        arv_gc_set_register_cache_policy(m_map.m_gc, ARV_REGISTER_CACHE_POLICY_DISABLE);
        m_map.m_cacheEnabled = false;
    }
}

CNodeMap::CacheSwitch::~CacheSwitch() {
    if (m_switched) {
        arv_gc_set_register_cache_policy(m_map.m_gc, ARV_REGISTER_CACHE_POLICY_ENABLE);
        m_map.m_cacheEnabled = true;
    }
}

CNodeMap::CNodeMap(const gcstring& deviceName) : m_deviceName(deviceName) {}

CNodeMap::~CNodeMap() {
    m_nodes.clear();
    if (m_gc) {
        g_object_unref(m_gc);
    }
    if (m_device) {
        g_object_unref(m_device);
    }
}

std::shared_ptr<CNodeMap> CNodeMap::Create(const gcstring& deviceName, const char* xml,
                                           size_t size) {
    std::shared_ptr<CNodeMap> map(new CNodeMap(deviceName));
    map->Load(xml, size);
    return map;
}

void CNodeMap::Load(const char* xml, size_t size) {
    if (!xml || size == 0) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the description is empty");
    }
    // Parser set-up inside libxml2 and the engine is process-wide; loads from
    // several discovery threads take turns.
    static std::mutex loadMutex;
    std::lock_guard<std::mutex> loadGuard(loadMutex);
    const std::string problem = XmlProblem(xml, size);
    if (!problem.empty()) {
        throw RUNTIME_EXCEPTION("Cannot create node map: %s", problem.c_str());
    }
    m_device = CreateBridgeDevice(this);
    m_gc = arv_gc_new(m_device, xml, size);
    if (!m_gc) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the engine rejected the description");
    }
    arv_gc_set_register_cache_policy(m_gc, ARV_REGISTER_CACHE_POLICY_ENABLE);
    arv_gc_set_range_check_policy(m_gc, ARV_RANGE_CHECK_POLICY_DISABLE);
    arv_gc_set_access_check_policy(m_gc, ARV_ACCESS_CHECK_POLICY_DISABLE);
    ArvDomElement* root = arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(m_gc));
    if (!root) {
        throw RUNTIME_EXCEPTION("Cannot create node map: the description has no root element");
    }
    CollectNodes(ARV_DOM_NODE(root));
}

void CNodeMap::CollectNodes(ArvDomNode* parent) {
    for (ArvDomNode* child = arv_dom_node_get_first_child(parent); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_GC_GROUP_NODE(child)) {
            CollectNodes(child);
            continue;
        }
        if (!ARV_IS_GC_FEATURE_NODE(child) || ARV_IS_GC_ENUM_ENTRY(child)) {
            continue;
        }
        const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(child));
        if (name && *name && !m_byName.count(name)) {
            AddNode(ARV_GC_FEATURE_NODE(child), name);
        }
    }
}

void CNodeMap::AddNode(ArvGcFeatureNode* node, const std::string& name) {
    ArvDomNode* dom = ARV_DOM_NODE(node);
    std::unique_ptr<CNode> wrapper;
    const bool isRegister = ARV_IS_GC_REGISTER(node);
    if (ARV_IS_GC_CATEGORY(node)) {
        wrapper = std::make_unique<CCategoryNode>(*this, node, name, intfICategory);
    } else if (ARV_IS_GC_PORT(node)) {
        wrapper = std::make_unique<CPortNode>(*this, node, name, intfIPort);
    } else if (ARV_IS_GC_COMMAND(node)) {
        wrapper = std::make_unique<CCommandNode>(*this, node, name, intfICommand);
    } else if (ARV_IS_GC_BOOLEAN(node)) {
        wrapper = std::make_unique<CBooleanNode>(*this, node, name, intfIBoolean);
    } else if (ARV_IS_GC_ENUMERATION(node)) {
        auto enumeration = std::make_unique<CEnumerationNode>(*this, node, name, intfIEnumeration);
        // Document order, the order GenApi lists entries in.
        for (ArvDomNode* child = arv_dom_node_get_first_child(dom); child;
             child = arv_dom_node_get_next_sibling(child)) {
            if (!ARV_IS_GC_ENUM_ENTRY(child)) {
                continue;
            }
            auto* entryNode = ARV_GC_FEATURE_NODE(child);
            const char* symbolic = arv_gc_feature_node_get_name(entryNode);
            auto entry =
                std::make_unique<CEnumEntryNode>(*this, entryNode, name, symbolic ? symbolic : "");
            enumeration->AddEntry(entry.get());
            m_byName.emplace(entry->Name(), entry.get());
            m_byEngineNode.emplace(ARV_GC_NODE(entryNode), entry.get());
            m_nodes.push_back(std::move(entry));
        }
        wrapper = std::move(enumeration);
    } else if (ARV_IS_GC_INTEGER(node) && !IsTag(dom, {"Register", "StringReg", "FloatReg"})) {
        if (isRegister && IsTag(dom, {"IntReg", "MaskedIntReg", "StructEntry"})) {
            wrapper = std::make_unique<CIntRegNode>(*this, node, name, intfIInteger);
        } else {
            wrapper = std::make_unique<CIntegerNode>(*this, node, name, intfIInteger);
        }
    } else if (ARV_IS_GC_FLOAT(node) && !IsTag(dom, {"Register", "StringReg", "IntReg"})) {
        if (isRegister && IsTag(dom, {"FloatReg"})) {
            wrapper = std::make_unique<CFloatRegNode>(*this, node, name, intfIFloat);
        } else {
            wrapper = std::make_unique<CFloatNode>(*this, node, name, intfIFloat);
        }
    } else if (ARV_IS_GC_STRING(node) && !IsTag(dom, {"Register", "FloatReg", "IntReg"})) {
        if (isRegister && IsTag(dom, {"StringReg"})) {
            wrapper = std::make_unique<CStringRegNode>(*this, node, name, intfIString);
        } else {
            wrapper = std::make_unique<CStringNode>(*this, node, name, intfIString);
        }
    } else if (isRegister) {
        wrapper = std::make_unique<CRegisterNode>(*this, node, name, intfIRegister);
    } else {
        wrapper = std::make_unique<CPlainNode>(*this, node, name, intfIBase);
    }
    m_byName.emplace(name, wrapper.get());
    m_byEngineNode.emplace(ARV_GC_NODE(node), wrapper.get());
    m_nodes.push_back(std::move(wrapper));
}

void CNodeMap::GetNodes(NodeList_t& Nodes) const {
    Nodes.clear();
    Nodes.reserve(m_nodes.size());
    for (const auto& node : m_nodes) {
        Nodes.push_back(node.get());
    }
}

INode* CNodeMap::GetNode(const gcstring& Name) const {
    const auto it = m_byName.find(Name.str());
    return it == m_byName.end() ? nullptr : it->second;
}

CNode* CNodeMap::Wrap(ArvGcNode* node) const {
    const auto it = m_byEngineNode.find(node);
    return it == m_byEngineNode.end() ? nullptr : it->second;
}

void CNodeMap::InvalidateNodes() const {
    std::lock_guard<std::recursive_mutex> guard(Mutex());
    ++m_generation;
}

bool CNodeMap::Connect(IPort* pPort, const gcstring& PortName) const {
    const auto it = m_byName.find(PortName.str());
    if (!pPort || it == m_byName.end() || it->second->GetPrincipalInterfaceType() != intfIPort) {
        return false;
    }
    std::lock_guard<std::recursive_mutex> guard(Mutex());
    m_ports[PortName.str()] = pPort;
    m_lastPort = pPort;
    ++m_generation;
    return true;
}

bool CNodeMap::Connect(IPort* pPort) const {
    return Connect(pPort, "Device");
}

IPort* CNodeMap::PortFor() const {
    if (m_portHint && !m_portHint->empty()) {
        const auto it = m_ports.find(*m_portHint);
        if (it != m_ports.end()) {
            return it->second;
        }
    }
    return m_lastPort;
}

namespace {

void CollectPorts(ArvDomNode* node, std::set<ArvDomNode*>& visited, std::set<std::string>& ports) {
    if (!visited.insert(node).second) {
        return;
    }
    if (ARV_IS_GC_PORT(node)) {
        ports.insert(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(node)));
        return;
    }
    for (ArvDomNode* child = arv_dom_node_get_first_child(node); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_GC_FEATURE_NODE(child)) {
            CollectPorts(child, visited, ports);
            continue;
        }
        if (!ARV_IS_GC_PROPERTY_NODE(child)) {
            continue;
        }
        const ArvGcPropertyNodeType type =
            arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(child));
        if (type <= ARV_GC_PROPERTY_NODE_TYPE_P_UNKNONW ||
            type == ARV_GC_PROPERTY_NODE_TYPE_P_SELECTED ||
            type == ARV_GC_PROPERTY_NODE_TYPE_P_INVALIDATOR) {
            continue;
        }
        if (ArvGcNode* linked = arv_gc_property_node_get_linked_node(ARV_GC_PROPERTY_NODE(child))) {
            CollectPorts(ARV_DOM_NODE(linked), visited, ports);
        }
    }
}

}  // namespace

std::string CNodeMap::SolePort(ArvGcFeatureNode* node) {
    std::set<ArvDomNode*> visited;
    std::set<std::string> ports;
    CollectPorts(ARV_DOM_NODE(node), visited, ports);
    return ports.size() == 1 ? *ports.begin() : std::string();
}

bool CNodeMap::BridgeRead(uint64_t address, uint32_t size, void* buffer, GError** error) {
    return Transfer(address, size, buffer, nullptr, error);
}

bool CNodeMap::BridgeWrite(uint64_t address, uint32_t size, const void* buffer, GError** error) {
    return Transfer(address, size, nullptr, buffer, error);
}

// Runs inside the engine's C frames: nothing may unwind from here. A port
// failure is kept and rethrown once the engine call has returned.
bool CNodeMap::Transfer(uint64_t address, uint32_t size, void* readBuffer, const void* writeBuffer,
                        GError** error) {
    IPort* port = PortFor();
    if (!port) {
        g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_NOT_CONNECTED, "Port not connected");
        return false;
    }
    try {
        if (readBuffer) {
            port->Read(readBuffer, static_cast<int64_t>(address), size);
        } else {
            port->Write(writeBuffer, static_cast<int64_t>(address), size);
        }
        return true;
    } catch (...) {
        if (!m_portFailure) {
            m_portFailure = std::current_exception();
        }
        g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TRANSFER_ERROR,
                    "Port access failed at 0x%llx", static_cast<unsigned long long>(address));
        return false;
    }
}

void CNodeMap::Raise(const std::string& feature, GError* error) const {
    if (m_portFailure) {
        std::exception_ptr failure = std::move(m_portFailure);
        m_portFailure = nullptr;
        g_clear_error(&error);
        std::rethrow_exception(failure);
    }
    if (!error) {
        return;
    }
    const std::string message = error->message ? error->message : "engine error";
    const bool notConnected =
        error->domain == ARV_DEVICE_ERROR && error->code == ARV_DEVICE_ERROR_NOT_CONNECTED;
    const bool gcError = error->domain == ARV_GC_ERROR;
    const int code = error->code;
    g_error_free(error);
    const char* name = feature.c_str();
    if (notConnected || message.find("Port not connected") != std::string::npos) {
        throw ACCESS_EXCEPTION("Feature '%s': port not connected", name);
    }
    if (gcError && code == ARV_GC_ERROR_OUT_OF_RANGE) {
        throw OUT_OF_RANGE_EXCEPTION("Feature '%s': %s", name, message.c_str());
    }
    if (gcError && code == ARV_GC_ERROR_READ_ONLY) {
        throw ACCESS_EXCEPTION("Feature '%s': %s", name, message.c_str());
    }
    if (gcError && (code == ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND ||
                    code == ARV_GC_ERROR_INVALID_LENGTH || code == ARV_GC_ERROR_INVALID_SYNTAX)) {
        throw INVALID_ARGUMENT_EXCEPTION("Feature '%s': %s", name, message.c_str());
    }
    if (gcError &&
        (code == ARV_GC_ERROR_PROPERTY_NOT_DEFINED || code == ARV_GC_ERROR_PVALUE_NOT_DEFINED ||
         code == ARV_GC_ERROR_INVALID_PVALUE || code == ARV_GC_ERROR_NODE_NOT_FOUND)) {
        throw PROPERTY_EXCEPTION("Feature '%s': %s", name, message.c_str());
    }
    throw RUNTIME_EXCEPTION("Feature '%s': %s", name, message.c_str());
}

}  // namespace GenApi
