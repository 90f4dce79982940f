#include "EventLog.h"

#include <cstdio>

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

// The events worth showing during a grab; new buffers are the grab itself.
constexpr std::pair<NOTIFY_SRC, NOTIFY_TYPE> kWanted[] = {
    {NOTIFY_SRC_REMOTE_DEVICE, NOTIFY_TYPE_REMOTE_DEVICE},
    {NOTIFY_SRC_REMOTE_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE},
    {NOTIFY_SRC_REMOTE_DEVICE, NOTIFY_TYPE_FEATURE_INVALIDATE},
    {NOTIFY_SRC_DEVICE, NOTIFY_TYPE_ERROR},
    {NOTIFY_SRC_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE},
    {NOTIFY_SRC_DEVICE, NOTIFY_TYPE_FEATURE_INVALIDATE},
    {NOTIFY_SRC_DEVICE, NOTIFY_TYPE_MODULE},
    {NOTIFY_SRC_DATA_STREAM, NOTIFY_TYPE_ERROR},
    {NOTIFY_SRC_DATA_STREAM, NOTIFY_TYPE_MODULE},
};

const char* SourceName(NOTIFY_SRC source) {
    switch (source) {
        case NOTIFY_SRC_DEVICE:
            return "device";
        case NOTIFY_SRC_REMOTE_DEVICE:
            return "remote device";
        case NOTIFY_SRC_DATA_STREAM:
            return "data stream";
    }
    return "module";
}

const char* TypeName(NOTIFY_TYPE type) {
    switch (type) {
        case NOTIFY_TYPE_ERROR:
            return "error";
        case NOTIFY_TYPE_NEW_BUFFER:
            return "new buffer";
        case NOTIFY_TYPE_FEATURE_INVALIDATE:
            return "feature invalidate";
        case NOTIFY_TYPE_FEATURE_CHANGE:
            return "feature change";
        case NOTIFY_TYPE_REMOTE_DEVICE:
            return "remote device";
        case NOTIFY_TYPE_MODULE:
            return "module";
    }
    return "event";
}

}  // namespace

std::string EventLine(NOTIFY_SRC source, NOTIFY_TYPE type, const void* data, std::size_t size) {
    constexpr std::size_t kShown = 64;
    std::string line = std::string(TypeName(type)) + " event from the " + SourceName(source) +
                       " (" + std::to_string(size) + " bytes)";
    if (data == nullptr || size == 0) {
        return line;
    }
    line += ": ";
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size && i < kShown; ++i) {
        if (bytes[i] >= 0x20 && bytes[i] < 0x7F && bytes[i] != '\\') {
            line += static_cast<char>(bytes[i]);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", bytes[i]);
            line += escaped;
        }
    }
    return size > kShown ? line + "..." : line;
}

EventLog::EventLog(ICamera* camera) : m_camera(camera) {
    for (const auto& [source, type] : kWanted) {
        if (camera->RegisterNotify(source, type, this) == 0) {
            m_registered.emplace_back(source, type);
        }
    }
}

EventLog::~EventLog() {
    // Unregistering waits for the delivery thread, so no call arrives after.
    for (const auto& [source, type] : m_registered) {
        m_camera->RegisterNotify(source, type, nullptr);
    }
}

std::vector<std::string> EventLog::Take() {
    std::lock_guard<std::mutex> guard(m_lock);
    std::vector<std::string> lines(m_lines.begin(), m_lines.end());
    m_lines.clear();
    return lines;
}

void EventLog::OnNotify(NOTIFY_SRC source, NOTIFY_TYPE type, const void* data, std::size_t size) {
    std::string line = EventLine(source, type, data, size);
    std::lock_guard<std::mutex> guard(m_lock);
    m_lines.push_back(std::move(line));
}

}  // namespace lumocam
