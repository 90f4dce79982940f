#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

// A temporary directory for one test scenario, removed with everything in it at the end.
// Files are real copies, so a producer copied here is loaded as its own instance and finds the
// configuration written beside it.
class ScenarioDir {
public:
    ScenarioDir() {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/lumo-scenario-XXXXXX";
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("cannot create " + pattern);
        path_ = pattern;
    }
    ~ScenarioDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    ScenarioDir(const ScenarioDir&) = delete;
    ScenarioDir& operator=(const ScenarioDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    std::filesystem::path Copy(const std::filesystem::path& file, const std::string& newName = {}) {
        const auto target = path_ / (newName.empty() ? file.filename().string() : newName);
        std::filesystem::copy_file(file, target, std::filesystem::copy_options::overwrite_existing);
        return target;
    }

    std::filesystem::path Write(const std::string& name, const std::string& text) {
        const auto target = path_ / name;
        std::ofstream out(target, std::ios::binary | std::ios::trunc);
        out << text;
        if (!out)
            throw std::runtime_error("cannot write " + target.string());
        return target;
    }

    // Copies a producer and writes its configuration beside it (<base>.json).
    std::filesystem::path AddProducer(const std::filesystem::path& cti, const std::string& json,
                                      const std::string& newName = {}) {
        const auto copy = Copy(cti, newName);
        if (!json.empty())
            Write(copy.stem().string() + ".json", json);
        return copy;
    }

private:
    std::filesystem::path path_;
};
