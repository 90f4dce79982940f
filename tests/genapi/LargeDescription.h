#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

// The large corpus description: a hand-written head and one hand-written block
// repeated per channel, with {N} standing for the channel number.
namespace lumo_test {

inline std::string ReadDescriptionFile(const std::string& name) {
    std::ifstream file(std::string(LUMO_GENAPI_DESCRIPTIONS) + "/" + name, std::ios::binary);
    if (!file) {
        throw std::runtime_error("missing corpus file " + name);
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
}

// 300 channels make about 1.1 MB.
inline std::string LargeDescription(int channels = 300) {
    std::string head = ReadDescriptionFile("LargeHead.xml.in");
    const std::string block = ReadDescriptionFile("LargeBlock.xml.in");
    std::string features;
    std::string body;
    for (int n = 0; n < channels; ++n) {
        const std::string number = std::to_string(n);
        features += "    <pFeature>Channel" + number + "</pFeature>\n";
        std::string channel = block;
        ReplaceAll(channel, "{N}", number);
        body += channel;
    }
    ReplaceAll(head, "{CHANNEL_FEATURES}", features);
    return head + body + "</RegisterDescription>\n";
}

}  // namespace lumo_test
