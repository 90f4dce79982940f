#include <iostream>

#include "Commands.h"
#include "ExitCodes.h"
#include "Png.h"
#include "Session.h"

namespace lumocam {

using namespace VEXOGENICAM;

int RunXml(const XmlOptions& options) {
    const Module module = ParseModule(options.module);
    Session session(options.camera, Session::Access::Read);
    ICamera* camera = session.Camera();
    IXml* xml = ModuleXml(camera, module);
    const std::string content = xml != nullptr ? xml->GetFileContent() : std::string();
    if (content.empty()) {
        throw ToolError(kExitFailure, std::string("the ") + ModuleName(module) +
                                          " module of this camera has no description file");
    }
    const std::string suffix = xml->GetFileSuffix();
    if (options.outFile.empty()) {
        if (suffix != "XML" && suffix != "xml") {
            throw ToolError(kExitUsage, "the " + std::string(ModuleName(module)) +
                                            " description is a " + suffix +
                                            " archive; write it to a file with --out FILE");
        }
        std::cout << content;
        return 0;
    }
    WriteFile(options.outFile, content.data(), content.size());
    std::cout << xml->GetFileName() << "." << suffix << ": " << content.size()
              << " bytes written to " << options.outFile << "\n";
    return 0;
}

}  // namespace lumocam
