#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "FeatureTree.h"
#include "FramePump.h"
#include "JsonWriter.h"
#include "Session.h"

namespace lumocam {

// The one camera the live view works on, shared by every browser tab: which
// one is open and how, its acquisition and its feature maps. Requests arrive
// on many threads; one lock serialises them (node maps are not thread-safe),
// while frames flow through the board without it. Throws ToolError: bad value
// or usage for a bad request, no camera / unknown feature for what is not
// there, access denied for what the camera's state refuses now.
class CameraHub {
public:
    CameraHub();  // the library must be initialised
    ~CameraHub();
    CameraHub(const CameraHub&) = delete;
    CameraHub& operator=(const CameraHub&) = delete;

    // Every camera of every producer, and every producer with its report.
    // Discovers again unless a camera is open.
    void WriteCameras(JsonWriter& json);
    // `camera` is a serial number or an index from WriteCameras; closes the
    // camera that was open.
    void Open(const std::string& camera, VEXOGENICAM::DEVICE_OPEN_MODE mode);
    void Close();
    void Start(VEXOGENICAM::GRAB_STRATEGY strategy);
    void Stop();
    void WriteStatus(JsonWriter& json);

    void WriteFeatures(JsonWriter& json, Module module);
    // Features locked during acquisition (size, format) are written with
    // acquisition paused around the write.
    void SetFeature(JsonWriter& json, Module module, const std::string& name,
                    const std::string& value);
    std::string SaveFeatures(Module module);
    void LoadFeatures(JsonWriter& json, Module module, const std::string& text);

    FrameBoard& Board() { return m_board; }
    // Releases every waiting frame request: the server is stopping.
    void Shutdown() { m_board.Shutdown(); }

private:
    void RequireOpen() const;
    GenApi::INodeMap& NodeMap(Module module) const;
    void StopLocked();
    void NoteIdleWritable(Module module, GenApi::INodeMap& map);
    bool Pausable(Module module, const std::string& name) const;
    // Stops acquisition for the lifetime of the returned object, then starts
    // it again with the same strategy if it was running.
    class Pause;

    FrameBoard m_board;
    std::atomic<std::uint64_t> m_featureChanges{0};
    mutable std::mutex m_mutex;
    std::unique_ptr<CameraRecords> m_records;
    CameraPtr m_camera;
    std::string m_serial;
    VEXOGENICAM::DEVICE_OPEN_MODE m_mode = VEXOGENICAM::DEVICE_OPEN_MODE_CONTROL;
    std::vector<std::unique_ptr<FeatureWatch>> m_watches;
    // Per module, the features writable while not acquiring, noted at open:
    // only those are worth pausing acquisition for.
    std::map<Module, std::set<std::string>> m_idleWritable;
    VEXOGENICAM::GRAB_STRATEGY m_strategy = VEXOGENICAM::GRAB_STRATEGY_LATEST_IMAGE;
    PumpStats m_lastStats;  // of the acquisition that ran last
    std::unique_ptr<FramePump> m_pump;
};

// "read-only", "control", "exclusive"; throws ToolError (bad value).
VEXOGENICAM::DEVICE_OPEN_MODE ParseOpenMode(const std::string& name);
const char* OpenModeName(VEXOGENICAM::DEVICE_OPEN_MODE mode);

}  // namespace lumocam
