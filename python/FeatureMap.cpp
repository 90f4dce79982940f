#include "FeatureMap.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include <utility>

#include <pybind11/stl.h>

#include "Error.h"
#include "NodeLookup.h"
#include "NodeText.h"

namespace py = pybind11;

namespace lumopy {

using namespace GenApi;
using VEXOGENICAM::ICamera;

namespace {

[[noreturn]] void Refuse(const std::string& message) {
    throw Error(message, std::nullopt, ErrorKind::Feature);
}

void SetEnumeration(IEnumeration& enumeration, const std::string& name, const py::handle& value) {
    if (py::isinstance<py::str>(value)) {
        const std::string text = value.cast<std::string>();
        IEnumEntry* entry = enumeration.GetEntryByName(text.c_str());
        if (entry == nullptr || !IsAvailable(entry)) {
            Refuse(name + ": '" + text + "' is not one of its entries (" +
                   lumoclient::AvailableEntryList(enumeration) + ")");
        }
        enumeration.SetIntValue(entry->GetValue());
        return;
    }
    if (PyIndex_Check(value.ptr()) && !py::isinstance<py::bool_>(value)) {
        enumeration.SetIntValue(value.cast<std::int64_t>());
        return;
    }
    throw py::type_error(name + " is an enumeration: give an entry name (str) or its int value");
}

}  // namespace

FeatureMap::FeatureMap(std::shared_ptr<CameraHandle> camera, Module module)
    : m_camera(std::move(camera)), m_module(module) {}

const char* FeatureMap::ModuleName() const {
    return lumoclient::ModuleName(m_module);
}

INodeMap& FeatureMap::Map(ICamera* camera) {
    INodeMap* map = lumoclient::NodeMapOf(camera, m_module);
    if (map == nullptr) {
        Refuse(std::string("the ") + ModuleName() +
               " module has no feature description (is the camera open?)");
    }
    return *map;
}

INode* FeatureMap::Node(INodeMap& map, const std::string& name) {
    if (INode* node = map.GetNode(name.c_str())) {
        return node;
    }
    if (INode* meant = lumoclient::FeatureInOtherCase(map, name)) {
        throw py::key_error("no feature '" + name + "'; did you mean '" + meant->GetName().str() +
                            "'?");
    }
    throw py::key_error("no feature '" + name + "' in the " + ModuleName() + " node map");
}

py::object FeatureMap::Get(const std::string& name) {
    return m_camera->Use([&](ICamera* camera) -> py::object {
        INode* node = Node(Map(camera), name);
        const EInterfaceType type = node->GetPrincipalInterfaceType();
        if (type == intfICommand || type == intfICategory || type == intfIPort) {
            Refuse(name + " is a " + lumoclient::InterfaceTypeName(type) + " and has no value" +
                   (type == intfICommand ? "; run it with execute()" : ""));
        }
        if (!IsReadable(node)) {
            Refuse(name + " is not readable now (access mode " +
                   lumoclient::AccessModeName(node->GetAccessMode()) + ")");
        }
        switch (type) {
            case intfIInteger:
                return py::int_(CIntegerPtr(node)->GetValue(true));
            case intfIFloat:
                return py::float_(CFloatPtr(node)->GetValue(true));
            case intfIBoolean:
                return py::bool_(CBooleanPtr(node)->GetValue(true));
            case intfIEnumeration: {
                IEnumEntry* entry = CEnumerationPtr(node)->GetCurrentEntry(true);
                if (entry == nullptr) {
                    Refuse(name + " has a value that is none of its entries");
                }
                return py::str(entry->GetSymbolic().str());
            }
            default:
                return py::str(CValuePtr(node)->ToString(true).str());
        }
    });
}

void FeatureMap::Set(const std::string& name, const py::handle& value) {
    m_camera->Use([&](ICamera* camera) {
        INode* node = Node(Map(camera), name);
        const EInterfaceType type = node->GetPrincipalInterfaceType();
        if (!IsWritable(node)) {
            const EAccessMode mode = node->GetAccessMode();
            Refuse(name + (mode == RO ? " is read-only" : " is not writable now") +
                   " (access mode " + lumoclient::AccessModeName(mode) + ")");
        }
        const bool isBool = py::isinstance<py::bool_>(value);
        switch (type) {
            case intfIInteger:
                if (!PyIndex_Check(value.ptr()) || isBool) {
                    throw py::type_error(name + " is an integer feature: give an int");
                }
                CIntegerPtr(node)->SetValue(value.cast<std::int64_t>());
                return;
            case intfIFloat:
                if (isBool || !(PyFloat_Check(value.ptr()) || PyIndex_Check(value.ptr()))) {
                    throw py::type_error(name + " is a float feature: give a float or an int");
                }
                CFloatPtr(node)->SetValue(value.cast<double>());
                return;
            case intfIBoolean:
                if (!isBool) {
                    throw py::type_error(name + " is a boolean feature: give True or False");
                }
                CBooleanPtr(node)->SetValue(value.cast<bool>());
                return;
            case intfIEnumeration:
                SetEnumeration(*CEnumerationPtr(node), name, value);
                return;
            case intfIString:
                if (!py::isinstance<py::str>(value)) {
                    throw py::type_error(name + " is a string feature: give a str");
                }
                CStringPtr(node)->SetValue(value.cast<std::string>().c_str());
                return;
            default:
                throw py::type_error(name + " is a " + lumoclient::InterfaceTypeName(type) +
                                     " and takes no value" +
                                     (type == intfICommand ? "; run it with execute()" : ""));
        }
    });
}

void FeatureMap::Execute(const std::string& name) {
    m_camera->Use([&](ICamera* camera) {
        INode* node = Node(Map(camera), name);
        CCommandPtr command(node);
        if (!command) {
            throw py::type_error(name + " is a " +
                                 lumoclient::InterfaceTypeName(node->GetPrincipalInterfaceType()) +
                                 ", not a command");
        }
        py::gil_scoped_release release;
        command->Execute();
    });
}

py::dict FeatureMap::Describe(const std::string& name) {
    return m_camera->Use([&](ICamera* camera) {
        INode* node = Node(Map(camera), name);
        const EInterfaceType type = node->GetPrincipalInterfaceType();
        py::dict out;
        out["name"] = node->GetName().str();
        out["display_name"] = node->GetDisplayName().str();
        out["description"] = node->GetDescription().str();
        out["type"] = lumoclient::InterfaceTypeName(type);
        out["access"] = lumoclient::AccessModeName(node->GetAccessMode());
        py::object none = py::none();
        out["min"] = none;
        out["max"] = none;
        out["increment"] = none;
        out["unit"] = "";
        out["entries"] = py::list();
        const bool readable = IsReadable(node);
        if (CIntegerPtr integer = CIntegerPtr(node); integer && readable) {
            out["min"] = integer->GetMin();
            out["max"] = integer->GetMax();
            out["increment"] = integer->GetInc();
            out["unit"] = integer->GetUnit().str();
        } else if (CFloatPtr floating = CFloatPtr(node); floating && readable) {
            out["min"] = floating->GetMin();
            out["max"] = floating->GetMax();
            if (floating->HasInc()) {
                out["increment"] = floating->GetInc();
            }
            out["unit"] = floating->GetUnit().str();
        } else if (CEnumerationPtr enumeration = CEnumerationPtr(node)) {
            out["entries"] = py::cast(lumoclient::AvailableEntryNames(*enumeration));
        }
        return out;
    });
}

bool FeatureMap::Contains(const std::string& name) {
    return m_camera->Use(
        [&](ICamera* camera) { return Map(camera).GetNode(name.c_str()) != nullptr; });
}

std::vector<std::string> FeatureMap::Names() {
    return m_camera->Use([&](ICamera* camera) {
        NodeList_t nodes;
        Map(camera).GetNodes(nodes);
        std::vector<std::string> names;
        for (INode* node : nodes) {
            const EInterfaceType type = node->GetPrincipalInterfaceType();
            if (node->IsFeature() && type != intfICategory && type != intfIEnumEntry) {
                names.push_back(node->GetName().str());
            }
        }
        return names;
    });
}

void FeatureMap::Save(const std::string& path) {
    m_camera->Use([&](ICamera* camera) {
        INodeMap& map = Map(camera);
        py::gil_scoped_release release;
        StoreToFile(&map, path.c_str());
    });
}

void FeatureMap::Load(const std::string& path, bool validate) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    if (!file || file.bad()) {
        Refuse("cannot read " + path + ": " + std::strerror(errno));
    }
    CFeatureBag bag;
    bag.FromString(text.str().c_str());  // a malformed line raises FeatureError
    m_camera->Use([&](ICamera* camera) {
        INodeMap& map = Map(camera);
        StringList_t errors;
        bool loaded = false;
        {
            py::gil_scoped_release release;
            loaded = bag.LoadFromBag(&map, validate, &errors);
        }
        if (!loaded) {
            std::string message = "not every feature of " + path + " could be set:";
            for (const auto& line : errors) {
                message += "\n  " + std::string(line.c_str());
            }
            Refuse(message);
        }
    });
}

Module CameraFeatureModule(CameraHandle& camera) {
    return camera.Use([](ICamera* c) {
        return c->GetRMXml() == nullptr && c->GetDEVXml() != nullptr ? Module::Device
                                                                     : Module::Remote;
    });
}

}  // namespace lumopy
