#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CameraText.h"
#include "LumoGenICam.h"
#include "ModuleNodes.h"

// Ownership of what the library hands out, in the order it must be given back:
// images before their camera, cameras before the records, all before UnInit.
namespace lumocam {

class Library {
public:
    Library() { VEXOGENICAM::Init(); }
    ~Library() { VEXOGENICAM::UnInit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

// The records of one discovery, each holding the reference discovery gave us.
class CameraRecords {
public:
    explicit CameraRecords(const std::list<VEXOGENICAM::ICameraInfo*>& infos);
    ~CameraRecords();
    CameraRecords(const CameraRecords&) = delete;
    CameraRecords& operator=(const CameraRecords&) = delete;

    const std::vector<VEXOGENICAM::ICameraInfo*>& All() const { return m_infos; }
    // Indices of the records whose own TL type is in `mask`. Indices stay those
    // of the whole list, so that a filtered list names cameras as `get` does.
    std::vector<std::size_t> IndicesOfTlTypes(unsigned long long mask) const;
    // A bare number is an index into the list; "sn:", "name:", "ip:" and
    // "index:" say what a selector is; a bare word is tried as serial number,
    // user name, then IP address. More than one match is a usage error that
    // lists the candidates; none is ToolError(kExitNoCamera).
    VEXOGENICAM::ICameraInfo* Select(const std::string& selector) const;
    // "#1 serial G2, model G-640, GEV, device ID DEV_G2, vendor Acme".
    std::string Describe(std::size_t index) const;

private:
    std::vector<std::size_t> Matching(const std::string& value,
                                      std::string (*field)(VEXOGENICAM::ICameraInfo*)) const;
    VEXOGENICAM::ICameraInfo* Unique(const std::string& selector,
                                     const std::vector<std::size_t>& found) const;

    std::vector<VEXOGENICAM::ICameraInfo*> m_infos;
};

struct CameraCloser {
    void operator()(VEXOGENICAM::ICamera* camera) const noexcept;
};
using CameraPtr = std::unique_ptr<VEXOGENICAM::ICamera, CameraCloser>;

struct ImageReleaser {
    void operator()(VEXOGENICAM::IImage* image) const noexcept { image->Release(); }
};
using ImagePtr = std::unique_ptr<VEXOGENICAM::IImage, ImageReleaser>;

// Opens the camera of a record; throws ToolError naming the failed step, with
// kExitCameraBusy when another application holds the device.
CameraPtr OpenCamera(VEXOGENICAM::ICameraInfo* info, VEXOGENICAM::DEVICE_OPEN_MODE mode);
// Read-only when the producer allows it, control access otherwise.
CameraPtr OpenForReading(VEXOGENICAM::ICameraInfo* info);

// A discovery and the one camera a command works on, opened from it and
// given back in the right order (camera, records, library).
class Session {
public:
    enum class Access { Read, Control };
    Session(const std::string& selector, Access access);

    VEXOGENICAM::ICamera* Camera() const { return m_camera.get(); }
    // Closes the camera before the session ends, e.g. ahead of a summary.
    void CloseCamera() { m_camera.reset(); }

private:
    Library m_library;
    CameraRecords m_records;
    CameraPtr m_camera;
};

using lumoclient::AccessStatusName;
using lumoclient::Module;
using lumoclient::ModuleName;
using lumoclient::ModuleXml;
using lumoclient::TlTypeName;

// The node map a feature lives in, as named on the command line.
Module ParseModule(const std::string& name);
// The module's node map; throws when the module has no loadable description.
GenApi::INodeMap& ModuleNodeMap(VEXOGENICAM::ICamera* camera, Module module);

// "gev,u3v" -> TL_GEV | TL_U3V; throws a usage error for an unknown name.
unsigned long long ParseTlMask(const std::string& list);

}  // namespace lumocam
