#pragma once

#include <cstdint>
#include <climits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "RegisterSpace.h"

namespace LumoSim {

struct IntRange {
    int64_t min = 0;
    int64_t max = INT32_MAX;
    int64_t inc = 1;
    std::string pMax;  // node giving the maximum instead of `max`
};

// Builds a module's GenICam description and registers each feature's backing register in the
// module's register space in the same step, so the two can never disagree.
class CXmlBuilder {
public:
    using IntRange = LumoSim::IntRange;
    using Entries = std::vector<std::pair<std::string, int64_t>>;

    CXmlBuilder(CRegisterSpace& regs, std::string portName, std::set<std::string> omitted = {});

    bool Has(const std::string& name) const { return !omitted_.count(name); }
    void Omit(const std::string& name) { omitted_.insert(name); }
    void String(const std::string& name, uint64_t addr, size_t len, const std::string& value,
                bool writable = false);
    void Int(const std::string& name, uint64_t addr, size_t len, int64_t value, bool writable,
             const IntRange& range = {}, CRegisterSpace::WriteHook hook = {},
             CRegisterSpace::ReadHook read = {}, const std::string& lockedBy = {});
    void Enum(const std::string& name, uint64_t addr, const Entries& entries, int64_t value,
              bool writable, CRegisterSpace::WriteHook hook = {}, const std::string& lockedBy = {},
              CRegisterSpace::ReadHook read = {});
    void Bool(const std::string& name, uint64_t addr, bool value, bool writable,
              CRegisterSpace::WriteHook hook = {}, CRegisterSpace::ReadHook read = {});
    void Command(const std::string& name, uint64_t addr, CRegisterSpace::WriteHook hook);
    void Float(const std::string& name, uint64_t addr, double value, double min, double max,
               CRegisterSpace::WriteHook hook = {});
    // Read-only string array addressed by an integer selector; one entry per value.
    void IndexedString(const std::string& name, uint64_t addr, size_t len,
                       const std::string& selector, const std::vector<std::string>& values);
    void Selector(const std::string& name, uint64_t addr, int64_t max,
                  const std::vector<std::string>& selected);
    void SwissKnife(const std::string& name,
                    const std::vector<std::pair<std::string, std::string>>& vars,
                    const std::string& formula);
    void ChunkInt(const std::string& name, uint64_t chunkId);
    // Lists the features (or categories made before) that exist; Root then
    // holds the categories and features that no category holds.
    void Category(const std::string& name, const std::vector<std::string>& features);
    // Hand-written nodes; `feature` (if not empty) is listed under Root.
    void Raw(const std::string& feature, const std::string& xml);

    std::string Finish(const std::string& vendor, const std::string& model) const;

    static std::string Escape(const std::string& s);

private:
    void AddFeature(const std::string& name) { features_.push_back(name); }

    CRegisterSpace& regs_;
    std::string port_;
    std::set<std::string> omitted_;
    std::vector<std::string> features_;
    std::set<std::string> categories_;  // emitted categories
    std::vector<std::string> categoryOrder_;
    std::set<std::string> categorised_;  // features and categories inside a category
    std::string body_;
};

}  // namespace LumoSim
