#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

// What the command-line parser needs beyond CLI11: checks whose messages name
// the bad value and the accepted ones, and suggestions for misspelt words.
namespace lumocam {

// A whole number from 1 up, e.g. a frame count or a time-out in ms; `what`
// names it in the message ("a frame count").
CLI::Validator PositiveWhole(const std::string& what);
// One of `choices`, e.g. a grab strategy.
CLI::Validator OneOf(const std::string& what, const std::vector<std::string>& choices);

// The closest of `candidates` to a misspelt `word`, or empty when none is
// close (at most two edits away, or `word` is a prefix of it).
std::string Suggest(const std::string& word, const std::vector<std::string>& candidates);

// The names of the app's subcommands, in order of definition.
std::vector<std::string> CommandNames(const CLI::App& app);

// Prints a parse error as a sentence with where to read more, and answers
// the exit code: 0 for --help and --version, 2 for everything else.
int ReportParseError(CLI::App& app, const CLI::ParseError& error);

}  // namespace lumocam
