#pragma once

#include <memory>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include "CameraHandle.h"
#include "GenApi/GenApi.h"
#include "ModuleNodes.h"

namespace lumopy {

using lumoclient::Module;

// The features of one node map of a camera, read and written with Python
// values. The map is looked up at every call, because closing the camera
// drops its descriptions.
class FeatureMap {
public:
    FeatureMap(std::shared_ptr<CameraHandle> camera, Module module);

    // int, float, bool or str (enumerations by entry name). KeyError for an
    // unknown feature, FeatureError when it cannot be read.
    pybind11::object Get(const std::string& name);
    // Takes the Python type that fits the feature: int for integers, int or
    // float for floats, bool for booleans, str (or the entry's int value) for
    // enumerations, str for strings. TypeError for another type, FeatureError
    // when the node map refuses (access, range, increment).
    void Set(const std::string& name, const pybind11::handle& value);
    void Execute(const std::string& name);
    // Type, access, range, increment, entries and unit of a feature.
    pybind11::dict Describe(const std::string& name);
    bool Contains(const std::string& name);
    std::vector<std::string> Names();
    void Save(const std::string& path);
    // Throws FeatureError naming every line that could not be set.
    void Load(const std::string& path, bool validate);

    const char* ModuleName() const;
    const std::shared_ptr<CameraHandle>& Handle() const { return m_camera; }

private:
    GenApi::INodeMap& Map(VEXOGENICAM::ICamera* camera);
    GenApi::INode* Node(GenApi::INodeMap& map, const std::string& name);

    std::shared_ptr<CameraHandle> m_camera;
    Module m_module;
};

// Which module holds the camera features: the remote device, or the device
// module of a camera without remote port.
Module CameraFeatureModule(CameraHandle& camera);

}  // namespace lumopy
