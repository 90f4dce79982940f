#include "GenApi/FeatureBag.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "GenApi/Pointer.h"

namespace GenApi {

namespace {

const char* const kHeader =
    "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n# GenApi persistence file (version 3.4.0)\n";

bool IsPersistedType(EInterfaceType type) {
    return type == intfIInteger || type == intfIFloat || type == intfIBoolean ||
           type == intfIString || type == intfIEnumeration;
}

// Floats in their shortest exact form: the default stream precision loses digits.
std::string Text(IValue* value) {
    if (auto* number = dynamic_cast<IFloat*>(value)) {
        char buffer[32];
        const double v = number->GetValue();
        const auto result = std::to_chars(buffer, buffer + sizeof(buffer), v);
        return std::string(buffer, result.ptr);
    }
    return value->ToString().str();
}

// Tabs and line breaks would end the line.
std::string Escape(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '\\':
                out += "\\\\";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string Unescape(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char next = text[++i];
        out += next == 't' ? '\t' : next == 'n' ? '\n' : next == 'r' ? '\r' : next;
    }
    return out;
}

bool Persistable(INode* node) {
    return node && node->IsFeature() && node->IsStreamable() &&
           IsPersistedType(node->GetPrincipalInterfaceType()) && IsReadable(node) &&
           IsWritable(node);
}

// A feature stored behind a selector is not stored on its own.
bool BehindStreamedSelector(INode* node) {
    FeatureList_t selecting;
    node->GetSelectingFeatures(selecting);
    for (IValue* selector : selecting) {
        if (Persistable(selector->GetNode())) {
            return true;
        }
    }
    return false;
}

// The values a selector takes, in order: available entries, or an integer range.
std::vector<std::string> SelectorValues(INode* selector, int maxIterations) {
    std::vector<std::string> values;
    if (CEnumerationPtr enumeration = selector) {
        StringList_t symbolics;
        enumeration->GetSymbolics(symbolics);
        for (const gcstring& symbolic : symbolics) {
            values.push_back(symbolic.str());
        }
    } else if (CIntegerPtr integer = selector) {
        const int64_t inc = integer->GetInc();
        for (int64_t v = integer->GetMin();
             v <= integer->GetMax() && static_cast<int>(values.size()) < maxIterations; v += inc) {
            values.push_back(std::to_string(v));
        }
    } else {
        values.push_back(Text(dynamic_cast<IValue*>(selector)));
    }
    return values;
}

class CBagWriter {
public:
    CBagWriter(std::vector<std::pair<gcstring, gcstring>>& entries, StringList_t* errors)
        : m_entries(entries), m_errors(errors) {}

    // A value that cannot be read (a register holding no valid entry) is left out.
    void Feature(INode* node) {
        try {
            Add(node, Text(dynamic_cast<IValue*>(node)));
        } catch (const GenICam::GenericException& e) {
            Skipped(node, e.GetDescription());
        }
    }

    void Selector(INode* selector, int maxIterations) {
        auto* value = dynamic_cast<IValue*>(selector);
        std::string original;
        try {
            original = Text(value);
        } catch (const GenICam::GenericException& e) {
            Skipped(selector, e.GetDescription());
            return;
        }
        FeatureList_t selected;
        selector->GetSelectedFeatures(selected);
        for (const std::string& v : SelectorValues(selector, maxIterations)) {
            try {
                value->FromString(v.c_str());
            } catch (const GenICam::GenericException&) {
                continue;  // a value the selector refuses now selects nothing to store
            }
            Add(selector, v);
            for (IValue* feature : selected) {
                if (Persistable(feature->GetNode()) && !feature->GetNode()->IsSelector()) {
                    Feature(feature->GetNode());
                }
            }
        }
        value->FromString(original.c_str());
        Add(selector, original);
    }

private:
    void Add(INode* node, const std::string& value) {
        m_entries.emplace_back(node->GetName(), gcstring(value));
    }
    void Skipped(INode* node, const char* reason) {
        if (m_errors) {
            m_errors->push_back(
                gcstring("Feature '" + node->GetName().str() + "' not stored: " + reason));
        }
    }

    std::vector<std::pair<gcstring, gcstring>>& m_entries;
    StringList_t* m_errors;
};

// Same value when both parse as numbers within a float register's precision;
// a boolean may be written as a number and reads back as a word.
bool SameValue(IValue* value, std::string expected, const std::string& actual) {
    if (dynamic_cast<IBoolean*>(value)) {
        expected = expected == "1" ? "true" : expected == "0" ? "false" : expected;
    }
    if (expected == actual) {
        return true;
    }
    char* endExpected = nullptr;
    char* endActual = nullptr;
    const double a = std::strtod(expected.c_str(), &endExpected);
    const double b = std::strtod(actual.c_str(), &endActual);
    if (expected.empty() || actual.empty() || *endExpected || *endActual) {
        return false;
    }
    return std::fabs(a - b) <= 1e-6 * std::max(std::fabs(a), std::fabs(b));
}

struct CPending {
    size_t index;
    std::vector<std::pair<std::string, std::string>> selectors;  // set before the line
    std::string reason;
};

class CBagLoader {
public:
    CBagLoader(INodeMap* map, const std::vector<std::pair<gcstring, gcstring>>& entries,
               bool validate)
        : m_map(map), m_entries(entries), m_validate(validate) {}

    bool Load(StringList_t* errors) {
        std::vector<CPending> pending;
        std::vector<std::pair<std::string, std::string>> selectors;
        for (size_t index = 0; index < m_entries.size(); ++index) {
            const std::string name = m_entries[index].first.str();
            std::string reason;
            if (!Set(index, reason)) {
                pending.push_back({index, selectors, reason});
            }
            INode* node = m_map->GetNode(m_entries[index].first);
            if (node && node->IsSelector()) {
                Remember(selectors, name, m_entries[index].second.str());
            }
        }
        // A value may fit only once a later line moved a bound (OffsetX after Width).
        bool progress = !pending.empty();
        while (progress) {
            progress = false;
            for (auto it = pending.begin(); it != pending.end();) {
                Select(it->selectors);
                if (Set(it->index, it->reason)) {
                    it = pending.erase(it);
                    progress = true;
                } else {
                    ++it;
                }
            }
            Select(selectors);
        }
        if (errors) {
            errors->clear();
            for (const CPending& failed : pending) {
                const auto& [name, value] = m_entries[failed.index];
                errors->push_back(gcstring("Feature '" + name.str() + "' = '" + value.str() +
                                           "': " + failed.reason));
            }
        }
        return pending.empty();
    }

private:
    static void Remember(std::vector<std::pair<std::string, std::string>>& selectors,
                         const std::string& name, const std::string& value) {
        for (auto& selector : selectors) {
            if (selector.first == name) {
                selector.second = value;
                return;
            }
        }
        selectors.emplace_back(name, value);
    }

    void Select(const std::vector<std::pair<std::string, std::string>>& selectors) {
        for (const auto& [name, value] : selectors) {
            if (auto* selector = dynamic_cast<IValue*>(m_map->GetNode(name.c_str()))) {
                try {
                    selector->FromString(value.c_str());
                } catch (const GenICam::GenericException&) {
                    // reported with the line that set it
                }
            }
        }
    }

    bool Set(size_t index, std::string& reason) {
        const auto& [name, text] = m_entries[index];
        INode* node = m_map->GetNode(name);
        auto* value = dynamic_cast<IValue*>(node);
        if (!value) {
            reason = node ? "the node has no value" : "no such feature";
            return false;
        }
        if (!IsWritable(node)) {
            reason = "not writable now";
            return false;
        }
        try {
            value->FromString(text, true);
            if (m_validate) {
                const std::string actual = Text(value);
                if (!SameValue(value, text.str(), actual)) {
                    reason = "reads back '" + actual + "'";
                    return false;
                }
            }
            return true;
        } catch (const GenICam::GenericException& e) {
            reason = e.GetDescription();
            return false;
        }
    }

    INodeMap* m_map;
    const std::vector<std::pair<gcstring, gcstring>>& m_entries;
    bool m_validate;
};

INodeMap* Require(INodeMap* map) {
    if (!map) {
        throw INVALID_ARGUMENT_EXCEPTION("Feature bag: the node map is null");
    }
    return map;
}

}  // namespace

int64_t CFeatureBag::StoreFromNodeMap(INodeMap* pNodeMap, int MaxNumPersistSelectorIterations,
                                      StringList_t* pErrorList) {
    Require(pNodeMap);
    // One consistent snapshot: no other thread moves a selector meanwhile.
    ILock& lock = pNodeMap->GetLock();
    lock.Lock();
    std::vector<std::pair<gcstring, gcstring>> entries;
    try {
        if (pErrorList) {
            pErrorList->clear();
        }
        CBagWriter writer(entries, pErrorList);
        NodeList_t nodes;
        pNodeMap->GetNodes(nodes);
        for (INode* node : nodes) {
            if (!Persistable(node) || BehindStreamedSelector(node)) {
                continue;
            }
            if (node->IsSelector()) {
                writer.Selector(node, MaxNumPersistSelectorIterations);
            } else {
                writer.Feature(node);
            }
        }
    } catch (...) {
        lock.Unlock();
        throw;
    }
    lock.Unlock();
    m_entries = std::move(entries);
    return static_cast<int64_t>(m_entries.size());
}

bool CFeatureBag::LoadFromBag(INodeMap* pNodeMap, bool Validate, StringList_t* pErrorList) {
    Require(pNodeMap);
    ILock& lock = pNodeMap->GetLock();
    lock.Lock();
    try {
        const bool complete = CBagLoader(pNodeMap, m_entries, Validate).Load(pErrorList);
        lock.Unlock();
        return complete;
    } catch (...) {
        lock.Unlock();
        throw;
    }
}

gcstring CFeatureBag::ToString() const {
    std::string text = kHeader;
    for (const auto& [name, value] : m_entries) {
        text += name.str() + "\t" + Escape(value.str()) + "\n";
    }
    return gcstring(text);
}

void CFeatureBag::FromString(const gcstring& Text) {
    std::vector<std::pair<gcstring, gcstring>> entries;
    std::istringstream in(Text.str());
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const size_t tab = line.find('\t');
        if (tab == 0 || tab == std::string::npos) {
            throw INVALID_ARGUMENT_EXCEPTION("Feature bag line %d is not 'Name<TAB>Value': '%s'",
                                             number, line.c_str());
        }
        entries.emplace_back(gcstring(line.substr(0, tab)),
                             gcstring(Unescape(line.substr(tab + 1))));
    }
    m_entries = std::move(entries);
}

gcstring StoreToString(INodeMap* pNodeMap) {
    CFeatureBag bag;
    bag.StoreFromNodeMap(pNodeMap);
    return bag.ToString();
}

bool LoadFromString(INodeMap* pNodeMap, const gcstring& Text, StringList_t* pErrorList) {
    CFeatureBag bag;
    bag.FromString(Text);
    return bag.LoadFromBag(pNodeMap, true, pErrorList);
}

void StoreToFile(INodeMap* pNodeMap, const gcstring& FileName) {
    const gcstring text = StoreToString(pNodeMap);
    std::ofstream file(FileName.c_str(), std::ios::binary | std::ios::trunc);
    file << text.c_str();
    file.close();
    if (!file) {
        throw RUNTIME_EXCEPTION("Cannot write feature file '%s'", FileName.c_str());
    }
}

bool LoadFromFile(INodeMap* pNodeMap, const gcstring& FileName, StringList_t* pErrorList) {
    std::ifstream file(FileName.c_str(), std::ios::binary);
    if (!file) {
        throw RUNTIME_EXCEPTION("Cannot read feature file '%s'", FileName.c_str());
    }
    std::ostringstream text;
    text << file.rdbuf();
    return LoadFromString(pNodeMap, gcstring(text.str()), pErrorList);
}

}  // namespace GenApi
