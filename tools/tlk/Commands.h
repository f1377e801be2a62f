#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// The status when the command line is wrong.
constexpr int kStatusWrongUse = 2;

/// Adds the subcommands that this build of the program has. The one that was asked for leaves its
/// status in `exitStatus`.
void AddCommands(CLI::App& app, int& exitStatus);

/// Adds to a subcommand the options that this build alone has.
void AddSystemOptions(CLI::App& command);

/// How this build is used: lines of examples.
extern const char* const kExamples;

}  // namespace tlk
