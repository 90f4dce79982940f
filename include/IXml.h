#pragma once

#include <string>

namespace GenApi {
struct INodeMap;
}

namespace VEXOGENICAM {

// A module's description file and the node map built from it. The file is
// fetched on first use; every getter answers empty (or null) when the module
// has no loadable description.
class IXml {
public:
    // File name without its last extension.
    virtual std::string GetFileName() = 0;
    // Extension without the dot ("XML", "ZIP").
    virtual std::string GetFileSuffix() = 0;
    // The raw bytes: XML text or a ZIP archive.
    virtual std::string GetFileContent() = 0;
    // The module's feature tree, or null.
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~IXml() = default;
};

}  // namespace VEXOGENICAM
