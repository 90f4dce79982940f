#include "CameraHub.h"

#include "ExitCodes.h"
#include "Features.h"
#include "GenApi/FeatureBag.h"
#include "Grabber.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

std::string Text(const char* value) {
    return value != nullptr ? value : "";
}

constexpr Module kWatchedModules[] = {Module::System, Module::Interface, Module::Device,
                                      Module::Remote, Module::Stream};

void WriteProducers(JsonWriter& json) {
    json.Key("producers").BeginArray();
    for (const ProducerReport& report : GetProducerReports()) {
        json.BeginObject()
            .Field("path", report.path)
            .Field("origin", report.origin)
            .Field("state", ProducerStateName(report.state))
            .Field("reason", report.reason)
            .Field("failedStep", report.failedStep)
            .Field("errorCode", report.errorCode)
            .Field("producerError", report.producerError)
            .Field("tlType", report.tlType)
            .Field("vendor", report.vendor)
            .Field("model", report.model)
            .Field("version", report.version)
            .Field("interfaceCount", static_cast<std::uint64_t>(report.interfaceCount))
            .EndObject();
    }
    json.EndArray();
}

void WriteStats(JsonWriter& json, const PumpStats& stats) {
    json.Key("stats")
        .BeginObject()
        .Field("received", stats.received)
        .Field("incomplete", stats.incomplete)
        .Field("dropped", stats.dropped)
        .Field("unconverted", stats.unconverted)
        .Field("frameId", stats.lastFrameId)
        .Field("timestamp", stats.lastTimestamp)
        .Field("fps", stats.framesPerSecond)
        .Field("mbps", stats.megabytesPerSecond)
        .Field("lastError", stats.lastError)
        .EndObject();
}

}  // namespace

class CameraHub::Pause {
public:
    explicit Pause(CameraHub& hub) : m_hub(hub), m_wasRunning(hub.m_pump != nullptr) {
        m_hub.StopLocked();
    }
    ~Pause() {
        if (m_wasRunning) {
            try {
                m_hub.m_pump = std::make_unique<FramePump>(m_hub.m_camera.get(), m_hub.m_strategy,
                                                           m_hub.m_board);
            } catch (const std::exception& e) {
                m_hub.m_lastStats.lastError = e.what();  // shown on the page; the write stands
            }
        }
    }
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
    bool WasRunning() const { return m_wasRunning; }

private:
    CameraHub& m_hub;
    bool m_wasRunning;
};

DEVICE_OPEN_MODE ParseOpenMode(const std::string& name) {
    if (name == "read-only" || name == "readonly")
        return DEVICE_OPEN_MODE_READONLY;
    if (name == "control")
        return DEVICE_OPEN_MODE_CONTROL;
    if (name == "exclusive")
        return DEVICE_OPEN_MODE_EXCLUSIVE;
    throw ToolError(kExitBadValue,
                    "unknown open mode '" + name + "' (read-only, control or exclusive)");
}

const char* OpenModeName(DEVICE_OPEN_MODE mode) {
    switch (mode) {
        case DEVICE_OPEN_MODE_READONLY:
            return "read-only";
        case DEVICE_OPEN_MODE_CONTROL:
            return "control";
        case DEVICE_OPEN_MODE_EXCLUSIVE:
            return "exclusive";
    }
    return "?";
}

CameraHub::CameraHub() = default;

CameraHub::~CameraHub() {
    Shutdown();
    Close();
}

void CameraHub::RequireOpen() const {
    if (!m_camera) {
        throw ToolError(kExitAccessDenied, "no camera is open");
    }
}

GenApi::INodeMap& CameraHub::NodeMap(Module module) const {
    RequireOpen();
    GenApi::INodeMap* map = lumoclient::NodeMapOf(m_camera.get(), module);
    if (map == nullptr) {
        throw ToolError(kExitUnknownFeature, std::string("the ") + ModuleName(module) +
                                                 " module of this camera has no features");
    }
    return *map;
}

void CameraHub::WriteCameras(JsonWriter& json) {
    std::lock_guard lock(m_mutex);
    if (!m_camera) {
        m_records.reset();  // give the old records back before asking again
        m_records = std::make_unique<CameraRecords>(Discovery(nullptr));
    }
    json.BeginObject().Key("cameras").BeginArray();
    std::size_t index = 0;
    for (ICameraInfo* info : m_records->All()) {
        json.BeginObject()
            .Field("index", static_cast<std::uint64_t>(index++))
            .Field("tlType", TlTypeName(info->GetTLType()))
            .Field("vendor", Text(info->GetManufacture()))
            .Field("model", Text(info->GetModel()))
            .Field("serial", Text(info->GetSN()))
            .Field("userName", Text(info->GetUserDefineName()))
            .Field("accessStatus", AccessStatusName(info->GetAccessStatus()))
            .EndObject();
    }
    json.EndArray();
    WriteProducers(json);
    json.EndObject();
}

void CameraHub::Open(const std::string& camera, DEVICE_OPEN_MODE mode) {
    std::lock_guard lock(m_mutex);
    if (!m_records || !m_camera) {
        m_records.reset();
        m_camera.reset();
        m_records = std::make_unique<CameraRecords>(Discovery(nullptr));
    }
    ICameraInfo* info = m_records->Select(camera);
    StopLocked();
    m_watches.clear();
    m_idleWritable.clear();
    m_camera.reset();
    m_board.Clear();
    m_lastStats = {};
    try {
        m_camera = OpenCamera(info, mode);
    } catch (const ToolError& e) {
        // Busy, no access, gone: the camera's state refuses, the request was fine.
        throw ToolError(kExitAccessDenied, e.what());
    }
    m_serial = Text(info->GetSN());
    m_mode = mode;
    for (const Module module : kWatchedModules) {
        if (GenApi::INodeMap* map = lumoclient::NodeMapOf(m_camera.get(), module)) {
            m_watches.push_back(std::make_unique<FeatureWatch>(*map, m_featureChanges));
            NoteIdleWritable(module, *map);
        }
    }
    ++m_featureChanges;
}

void CameraHub::NoteIdleWritable(Module module, GenApi::INodeMap& map) {
    GenApi::NodeList_t nodes;
    map.GetNodes(nodes);
    for (GenApi::INode* node : nodes) {
        if (node->IsFeature() && GenApi::IsWritable(node)) {
            m_idleWritable[module].insert(node->GetName().str());
        }
    }
}

bool CameraHub::Pausable(Module module, const std::string& name) const {
    const auto features = m_idleWritable.find(module);
    return m_pump != nullptr && features != m_idleWritable.end() &&
           features->second.count(name) != 0;
}

void CameraHub::Close() {
    std::lock_guard lock(m_mutex);
    StopLocked();
    m_watches.clear();  // before the node maps go with the camera
    m_idleWritable.clear();
    m_camera.reset();
    m_serial.clear();
    ++m_featureChanges;
}

void CameraHub::StopLocked() {
    if (m_pump) {
        m_lastStats = m_pump->Stats();
        m_pump.reset();
    }
}

void CameraHub::Start(GRAB_STRATEGY strategy) {
    std::lock_guard lock(m_mutex);
    RequireOpen();
    StopLocked();  // a new strategy takes a new start
    m_strategy = strategy;
    m_pump = std::make_unique<FramePump>(m_camera.get(), strategy, m_board);
    ++m_featureChanges;  // acquisition locks features: their access changed
}

void CameraHub::Stop() {
    std::lock_guard lock(m_mutex);
    RequireOpen();
    StopLocked();
    ++m_featureChanges;
}

void CameraHub::WriteStatus(JsonWriter& json) {
    std::lock_guard lock(m_mutex);
    json.BeginObject().Field("open", m_camera != nullptr);
    if (m_camera) {
        json.Field("camera", m_serial).Field("mode", OpenModeName(m_mode));
    }
    json.Field("grabbing", m_pump != nullptr).Field("strategy", StrategyName(m_strategy));
    WriteStats(json, m_pump ? m_pump->Stats() : m_lastStats);
    if (const auto frame = m_board.Latest()) {
        const char* name = PixelFormatName(frame->Facts().pixelFormat);
        json.Key("frame")
            .BeginObject()
            .Field("seq", frame->Sequence())
            .Field("frameId", frame->Facts().frameId)
            .Field("width", frame->Facts().width)
            .Field("height", frame->Facts().height)
            .Field("pixelFormat", name != nullptr ? name : "unknown")
            .EndObject();
    } else {
        json.Key("frame").Null();
    }
    json.Field("featureChanges", m_featureChanges.load()).EndObject();
}

void CameraHub::WriteFeatures(JsonWriter& json, Module module) {
    std::lock_guard lock(m_mutex);
    GenApi::INodeMap& map = NodeMap(module);
    json.BeginObject().Field("module", ModuleName(module));
    json.Field("featureChanges", m_featureChanges.load());
    WriteFeatureTree(json, map, [&](const std::string& name) { return Pausable(module, name); });
    json.EndObject();
}

void CameraHub::SetFeature(JsonWriter& json, Module module, const std::string& name,
                           const std::string& value) {
    std::lock_guard lock(m_mutex);
    GenApi::INodeMap& map = NodeMap(module);
    GenApi::INode* node = RequireFeature(map, name);
    std::string written;
    bool paused = false;
    try {
        written = WriteFeature(map, name, value);
    } catch (const ToolError& e) {
        // Only a feature that acquisition locks is worth a pause.
        if (e.Code() != kExitAccessDenied || !m_pump || !Pausable(module, name)) {
            throw;
        }
        Pause pause(*this);
        paused = true;
        written = WriteFeature(map, name, value);
    }
    json.BeginObject().Field("name", name).Field("value", written);
    json.Field("paused", paused).Key("feature");
    lumocam::WriteFeature(json, node, Pausable(module, name));
    json.EndObject();
}

std::string CameraHub::SaveFeatures(Module module) {
    std::lock_guard lock(m_mutex);
    GenApi::INodeMap& map = NodeMap(module);
    return GenApi::StoreToString(&map).str();
}

void CameraHub::LoadFeatures(JsonWriter& json, Module module, const std::string& text) {
    std::lock_guard lock(m_mutex);
    GenApi::INodeMap& map = NodeMap(module);
    GenApi::CFeatureBag bag;
    try {
        bag.FromString(text.c_str());
    } catch (const GenICam::GenericException& e) {
        throw ToolError(kExitBadValue, std::string("not a feature set: ") + e.GetDescription());
    }
    GenApi::StringList_t errors;
    bool loaded = false;
    {
        // Sizes and formats are locked while acquiring.
        Pause pause(*this);
        loaded = bag.LoadFromBag(&map, true, &errors);
    }
    json.BeginObject().Field("loaded", loaded);
    json.Field("lines", static_cast<std::uint64_t>(bag.Entries().size()));
    json.Key("errors").BeginArray();
    for (const auto& error : errors) {
        json.String(error.str());
    }
    json.EndArray().EndObject();
}

}  // namespace lumocam
