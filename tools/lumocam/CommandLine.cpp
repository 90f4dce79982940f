#include "CommandLine.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <numeric>

#include "ExitCodes.h"

namespace lumocam {

namespace {

std::size_t EditDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] =
                std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

// The subcommand the user was in when parsing failed, if any.
const CLI::App* ParsedCommand(const CLI::App& app) {
    for (const CLI::App* sub : app.get_subcommands()) {
        return sub;
    }
    return nullptr;
}

}  // namespace

CLI::Validator PositiveWhole(const std::string& what) {
    return CLI::Validator(
        [what](std::string& text) -> std::string {
            errno = 0;
            char* end = nullptr;
            const unsigned long long value = std::strtoull(text.c_str(), &end, 10);
            const bool digits =
                !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
            if (!digits || *end != '\0' || errno == ERANGE || value == 0) {
                return "'" + text + "' is not " + what + "; give a whole number from 1 up";
            }
            return {};
        },
        "N>=1");
}

CLI::Validator OneOf(const std::string& what, const std::vector<std::string>& choices) {
    return CLI::Validator(
        [what, choices](std::string& text) -> std::string {
            if (std::find(choices.begin(), choices.end(), text) != choices.end()) {
                return {};
            }
            const std::string close = Suggest(text, choices);
            return "'" + text + "' is not " + what + " (" + Joined(choices) + ")" +
                   (close.empty() ? "" : "; did you mean " + close + "?");
        },
        Joined(choices));
}

std::string Suggest(const std::string& word, const std::vector<std::string>& candidates) {
    std::string best;
    std::size_t bestDistance = 3;
    for (const auto& candidate : candidates) {
        const std::size_t distance =
            candidate.rfind(word, 0) == 0 && !word.empty() ? 1 : EditDistance(word, candidate);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = candidate;
        }
    }
    return best;
}

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* sub : app.get_subcommands({})) {
        names.push_back(sub->get_name());
    }
    return names;
}

int ReportParseError(CLI::App& app, const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::Success*>(&error) != nullptr) {
        return app.exit(error) == 0 ? kExitOk : kExitUsage;  // --help, --version
    }
    const CLI::App* command = ParsedCommand(app);
    if (command == nullptr && dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        // The first word that is no option is the command that was meant.
        const auto words = app.remaining();
        const std::string word = words.empty() ? std::string() : words.front();
        const std::string close = Suggest(word, CommandNames(app));
        std::cerr << "lumocam: unknown command '" << word << "'"
                  << (close.empty() ? "" : "; did you mean " + close + "?") << "\n"
                  << "commands: " << Joined(CommandNames(app))
                  << " (`lumocam help` explains them)\n";
        return kExitUsage;
    }
    const std::string where = command != nullptr ? " " + command->get_name() : "";
    std::cerr << "lumocam" << where << ": " << error.what() << "\n"
              << "see `lumocam help" << where << "`\n";
    return kExitUsage;
}

}  // namespace lumocam
