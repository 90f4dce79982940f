#include "NodeMap.h"

#include <libxml/parser.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "BooleanNode.h"
#include "CategoryNode.h"
#include "CommandNode.h"
#include "DependencyCycles.h"
#include "EnumerationNode.h"
#include "FloatT.h"
#include "IntegerT.h"
#include "NamedElements.h"
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

// The engine reports what the XML parser finds wrong on the log domain "XML"
// and still returns what it built up to there; the first report marks the
// load as failed.
class ParseErrorCapture {
public:
    explicit ParseErrorCapture(std::string& firstError)
        : m_handler(g_log_set_handler(
              "XML", static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_FLAG_FATAL),
              &ParseErrorCapture::Keep, &firstError)) {}
    ~ParseErrorCapture() { g_log_remove_handler("XML", m_handler); }
    ParseErrorCapture(const ParseErrorCapture&) = delete;
    ParseErrorCapture& operator=(const ParseErrorCapture&) = delete;

private:
    static void Keep(const gchar*, GLogLevelFlags, const gchar* message, gpointer firstError) {
        auto& first = *static_cast<std::string*>(firstError);
        if (first.empty() && message) {
            first = message;
            while (!first.empty() && (first.back() == '\n' || first.back() == ' ')) {
                first.pop_back();
            }
        }
    }

    guint m_handler;
};

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
    m_slots.clear();
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
    m_device = CreateBridgeDevice(this);
    PortIds servedPorts;
    const std::string served = WithoutPortIds(xml, size, servedPorts);
    if (!served.empty()) {
        xml = served.c_str();
        size = served.size();
    }
    std::string parseError;
    {
        ParseErrorCapture capture(parseError);
        m_gc = arv_gc_new(m_device, xml, size);
    }
    ArvDomElement* root =
        m_gc ? arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(m_gc)) : nullptr;
    const bool rootOk = root && ARV_IS_GC_REGISTER_DESCRIPTION_NODE(root);
    if (!m_gc || !rootOk || !parseError.empty()) {
        // Only a failed load pays for a second parse, for the reason and its line.
        std::string problem = XmlProblem(xml, size);
        if (problem.empty()) {
            problem = !parseError.empty() ? parseError
                                          : std::string("the engine rejected the description");
        }
        throw RUNTIME_EXCEPTION("Cannot create node map: %s", problem.c_str());
    }
    arv_gc_set_register_cache_policy(m_gc, ARV_REGISTER_CACHE_POLICY_ENABLE);
    arv_gc_set_range_check_policy(m_gc, ARV_RANGE_CHECK_POLICY_DISABLE);
    arv_gc_set_access_check_policy(m_gc, ARV_ACCESS_CHECK_POLICY_DISABLE);
    const DescriptionOutline outline = OutlineOf(xml, size);
    CollectNodes(outline.elements);
    m_validValues = ValidValueSetsOf(std::string_view(xml, size), outline.elements);
    std::vector<ArvGcFeatureNode*> nodes;
    nodes.reserve(m_slots.size());
    for (const Slot& slot : m_slots) {
        nodes.push_back(slot.node);
    }
    RefuseDependencyCycles(nodes, m_byName, outline);
    ServeChunkPorts(servedPorts);
}

// Every named node of the document wherever it sits: inside groups, as an
// entry of a struct register, or as a formula written inside the register
// that uses it. The names come from one pass over the text and the engine's
// own index finds their nodes, which is much cheaper than walking its DOM.
// Wrappers are made when a node is first asked for: most nodes of a large
// description never are.
// Node kinds the engine does not know (those of IEEE 1394 descriptions, for
// one) are dropped by its parser with everything inside them; the rest of the
// description still works, but the user learns what is missing.
void CNodeMap::CollectNodes(const std::vector<NamedElement>& elements) {
    m_slots.reserve(elements.size());
    m_byName.reserve(elements.size());
    std::string name;
    std::string leftOut;
    size_t leftOutCount = 0;
    for (const NamedElement& element : elements) {
        name.assign(element.name);
        ArvGcNode* node = arv_gc_get_node(m_gc, name.c_str());
        if (node && ARV_IS_GC_FEATURE_NODE(node) && !ARV_IS_GC_ENUM_ENTRY(node)) {
            // The key views the engine's copy of the name, which lives as long as the map.
            auto* feature = ARV_GC_FEATURE_NODE(node);
            // A name defined twice is one node: the engine keeps one of them.
            if (m_byName.emplace(arv_gc_feature_node_get_name(feature), m_slots.size()).second) {
                m_slots.push_back({feature, nullptr});
            }
            continue;
        }
        leftOut += leftOutCount++ ? ", " : "";
        leftOut.append(element.tag).append(" '").append(element.name).append("'");
    }
    if (leftOutCount > 0) {
        g_log(kLogDomain, G_LOG_LEVEL_MESSAGE,
              "Description of '%s': %zu node(s) left out, the engine does not support their "
              "kind: %s",
              m_deviceName.c_str(), leftOutCount, leftOut.c_str());
    }
}

std::unique_ptr<CNode> CNodeMap::MakeWrapper(ArvGcFeatureNode* node, const std::string& name) {
    ArvDomNode* dom = ARV_DOM_NODE(node);
    const bool isRegister = ARV_IS_GC_REGISTER(node);
    if (ARV_IS_GC_CATEGORY(node)) {
        return std::make_unique<CCategoryNode>(*this, node, name, intfICategory);
    }
    if (ARV_IS_GC_PORT(node)) {
        return std::make_unique<CPortNode>(*this, node, name, intfIPort);
    }
    if (ARV_IS_GC_COMMAND(node)) {
        return std::make_unique<CCommandNode>(*this, node, name, intfICommand);
    }
    if (ARV_IS_GC_BOOLEAN(node)) {
        return std::make_unique<CBooleanNode>(*this, node, name, intfIBoolean);
    }
    if (ARV_IS_GC_ENUMERATION(node)) {
        return MakeEnumeration(node, name);
    }
    if (ARV_IS_GC_INTEGER(node) && !IsTag(dom, {"Register", "StringReg", "FloatReg"})) {
        if (isRegister && IsTag(dom, {"IntReg", "MaskedIntReg", "StructEntry"})) {
            return std::make_unique<CIntRegNode>(*this, node, name, intfIInteger);
        }
        return std::make_unique<CIntegerNode>(*this, node, name, intfIInteger);
    }
    if (ARV_IS_GC_FLOAT(node) && !IsTag(dom, {"Register", "StringReg", "IntReg"})) {
        if (isRegister && IsTag(dom, {"FloatReg"})) {
            return std::make_unique<CFloatRegNode>(*this, node, name, intfIFloat);
        }
        return std::make_unique<CFloatNode>(*this, node, name, intfIFloat);
    }
    if (ARV_IS_GC_STRING(node) && !IsTag(dom, {"Register", "FloatReg", "IntReg"})) {
        if (isRegister && IsTag(dom, {"StringReg"})) {
            return std::make_unique<CStringRegNode>(*this, node, name, intfIString);
        }
        return std::make_unique<CStringNode>(*this, node, name, intfIString);
    }
    if (isRegister) {
        return std::make_unique<CRegisterNode>(*this, node, name, intfIRegister);
    }
    return std::make_unique<CPlainNode>(*this, node, name, intfIBase);
}

// Entries become nodes of the map with their enumeration, under the names
// GenApi gives them.
std::unique_ptr<CNode> CNodeMap::MakeEnumeration(ArvGcFeatureNode* node, const std::string& name) {
    auto enumeration = std::make_unique<CEnumerationNode>(*this, node, name, intfIEnumeration);
    // Document order, the order GenApi lists entries in.
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (!ARV_IS_GC_ENUM_ENTRY(child)) {
            continue;
        }
        auto* entryNode = ARV_GC_FEATURE_NODE(child);
        const char* symbolic = arv_gc_feature_node_get_name(entryNode);
        auto entry =
            std::make_unique<CEnumEntryNode>(*this, entryNode, name, symbolic ? symbolic : "");
        enumeration->AddEntry(entry.get());
        m_byName.emplace(std::string_view(entry->Name()), m_slots.size());
        m_slots.push_back({entryNode, std::move(entry)});
    }
    return enumeration;
}

CNode* CNodeMap::Materialize(size_t index) const {
    if (!m_slots[index].wrapper) {
        ArvGcFeatureNode* node = m_slots[index].node;
        // MakeEnumeration appends entry slots: the reference is taken afterwards.
        std::unique_ptr<CNode> wrapper =
            const_cast<CNodeMap*>(this)->MakeWrapper(node, arv_gc_feature_node_get_name(node));
        m_slots[index].wrapper = std::move(wrapper);
    }
    return m_slots[index].wrapper.get();
}

void CNodeMap::MaterializeAll() const {
    // Entry slots appended on the way are born with their wrappers.
    for (size_t index = 0; index < m_slots.size(); ++index) {
        Materialize(index);
    }
}

void CNodeMap::GetNodes(NodeList_t& Nodes) const {
    std::lock_guard<std::recursive_mutex> guard(Mutex());
    MaterializeAll();
    Nodes.clear();
    Nodes.reserve(m_slots.size());
    for (const Slot& slot : m_slots) {
        Nodes.push_back(slot.wrapper.get());
    }
}

uint64_t CNodeMap::GetNumNodes() const {
    std::lock_guard<std::recursive_mutex> guard(Mutex());
    MaterializeAll();
    return m_slots.size();
}

CNode* CNodeMap::Find(std::string_view name) const {
    std::lock_guard<std::recursive_mutex> guard(Mutex());
    auto it = m_byName.find(name);
    if (it != m_byName.end()) {
        return Materialize(it->second);
    }
    // An entry's name exists once its enumeration has been made; the
    // enumeration's name is a prefix that ends at one of the underscores.
    constexpr std::string_view kPrefix = "EnumEntry_";
    if (name.substr(0, kPrefix.size()) != kPrefix) {
        return nullptr;
    }
    const std::string_view rest = name.substr(kPrefix.size());
    for (size_t cut = rest.find('_'); cut != std::string_view::npos;
         cut = rest.find('_', cut + 1)) {
        const auto owner = m_byName.find(rest.substr(0, cut));
        if (owner != m_byName.end() && ARV_IS_GC_ENUMERATION(m_slots[owner->second].node) &&
            !m_slots[owner->second].wrapper) {
            Materialize(owner->second);
            it = m_byName.find(name);
            if (it != m_byName.end()) {
                return Materialize(it->second);
            }
        }
    }
    return nullptr;
}

INode* CNodeMap::GetNode(const gcstring& Name) const {
    return Find(std::string_view(Name.c_str(), Name.size()));
}

CNode* CNodeMap::Wrap(ArvGcNode* node) const {
    if (!ARV_IS_GC_FEATURE_NODE(node)) {
        return nullptr;
    }
    const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(node));
    CNode* wrapper = name ? Find(name) : nullptr;
    return wrapper && ARV_GC_NODE(wrapper->EngineNode()) == node ? wrapper : nullptr;
}

void CNodeMap::InvalidateNodes() const {
    std::unique_lock<std::recursive_mutex> guard(Mutex());
    ++m_generation;
    const std::vector<CCallbackList::Entry> pending = m_callbacks.All();
    guard.unlock();
    Fire(pending);
}

bool CNodeMap::Connect(IPort* pPort, const gcstring& PortName) const {
    const CNode* node = Find(std::string_view(PortName.c_str(), PortName.size()));
    if (!pPort || !node || node->GetPrincipalInterfaceType() != intfIPort) {
        return false;
    }
    std::lock_guard<std::recursive_mutex> guard(Mutex());
    if (IsChunkPort(PortName.str())) {
        return false;  // served by the layer from the attached chunk data
    }
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
        // A port the description left unnamed still counts as one port.
        const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(node));
        ports.insert(name ? name : "");
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
    // No access reaches past what a port can address, nor moves more than the
    // largest register the layer accepts: the engine reads what it is told.
    if (size > kMaxStaticRegisterLength || address > static_cast<uint64_t>(INT64_MAX) - size) {
        g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TRANSFER_ERROR,
                    "Access of %u bytes at 0x%llx is out of the port's range", size,
                    static_cast<unsigned long long>(address));
        return false;
    }
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
