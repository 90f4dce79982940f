#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

#include "Commands.h"
#include "ExitCodes.h"
#include "GenApi/FeatureBag.h"
#include "GenApi/GenApi.h"
#include "Png.h"
#include "Session.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

std::string ReadSettingsFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw ToolError(kExitFailure, "cannot read " + path + ": " + std::strerror(errno));
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        throw ToolError(kExitFailure, "cannot read " + path + ": " + std::strerror(errno));
    }
    return text.str();
}

}  // namespace

int RunSave(const PersistOptions& options) {
    const Module module = ParseModule(options.module);
    Session session(options.camera, Session::Access::Read);
    ICamera* camera = session.Camera();
    GenApi::CFeatureBag bag;
    GenApi::StringList_t unreadable;
    const auto lines = bag.StoreFromNodeMap(&ModuleNodeMap(camera, module), 100, &unreadable);
    const std::string text = bag.ToString().str();
    WriteFile(options.file, text.data(), text.size());
    for (const auto& reason : unreadable) {
        std::cerr << "lumocam: not saved: " << reason << "\n";
    }
    std::cout << lines << " settings of the " << ModuleName(module) << " module saved to "
              << options.file << "\n";
    return 0;
}

int RunLoad(const PersistOptions& options) {
    const Module module = ParseModule(options.module);
    const std::string text = ReadSettingsFile(options.file);
    GenApi::CFeatureBag bag;
    try {
        bag.FromString(text.c_str());
    } catch (const GenICam::GenericException& e) {
        throw ToolError(kExitFailure,
                        options.file + " is not a settings file: " + e.GetDescription());
    }
    Session session(options.camera, Session::Access::Control);
    ICamera* camera = session.Camera();
    GenApi::StringList_t failures;
    const bool all = bag.LoadFromBag(&ModuleNodeMap(camera, module), true, &failures);
    const std::size_t total = bag.Entries().size();
    const std::size_t failed = all ? 0 : failures.size();
    for (const auto& reason : failures) {
        std::cerr << "lumocam: not set: " << reason << "\n";
    }
    std::cout << total - std::min(failed, total) << " of " << total << " settings loaded from "
              << options.file << "\n";
    if (!all) {
        throw ToolError(kExitBadValue, "the camera refused " + std::to_string(failed) +
                                           " setting(s) of " + options.file +
                                           "; the others are applied");
    }
    return 0;
}

}  // namespace lumocam
