#pragma once

#include <memory>
#include <string>
#include <vector>

#include "LumoGenICam.h"

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
    // Drops (and releases) the records whose own TL type is not in `mask`.
    void KeepTlTypes(unsigned long long mask);
    // An exact serial number wins; otherwise a decimal index into the list.
    VEXOGENICAM::ICameraInfo* Select(const std::string& serialOrIndex) const;

private:
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

// Opens the camera of a record; throws ToolError naming the failed step.
CameraPtr OpenCamera(VEXOGENICAM::ICameraInfo* info, VEXOGENICAM::DEVICE_OPEN_MODE mode);

// Node maps a feature can live in, as named on the command line.
enum class Module { System, Interface, Device, Remote, Stream };
Module ParseModule(const std::string& name);
VEXOGENICAM::IXml* ModuleXml(VEXOGENICAM::ICamera* camera, Module module);
const char* ModuleName(Module module);
// The module's node map; throws when the module has no loadable description.
GenApi::INodeMap& ModuleNodeMap(VEXOGENICAM::ICamera* camera, Module module);

std::string TlTypeName(VEXOGENICAM::TL_TYPE type);
std::string AccessStatusName(VEXOGENICAM::DEVICE_STATUS status);
// "gev,u3v" -> TL_GEV | TL_U3V; throws a usage error for an unknown name.
unsigned long long ParseTlMask(const std::string& list);

}  // namespace lumocam
