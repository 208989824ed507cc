// bspctl: command-line tool over the board support library.
#ifndef BSPCTL_H
#define BSPCTL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace bspctl {

// Exit codes: a command that could not do what was asked, and a command line that does not
// say anything runnable (the user's mistake, shown with a hint where help is).
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

struct Options {
    bool json = false;
    bool verbose = false;
    bool trace = false;
    bool verify = true;  // writes read the value back and fail when it did not stick
    std::string profile = "default";
    std::optional<uint32_t> slot;  // -b: the board of the enclosure in this slot
};

using Args = std::vector<std::string>;

struct Command {
    const char *name;
    const char *summary;
    const char *usage;  // full help text of the command
    int (*run)(const Options &opts, const Args &args);
    bool needs_board = true;  // false: runs without attaching to a simulated board
};

// Commands register themselves at start-up from their own files.
struct Register {
    explicit Register(const Command &cmd);
};

const std::vector<Command> &commands();

// A command line taken apart without running anything: the command it names and the arguments
// left for it, the global options (before or after the command) gathered into `opts`. `exit`
// is set when the line is answered already: help printed (0) or a usage error reported (2).
struct CommandLine {
    const Command *cmd = nullptr;
    Args rest;
    std::optional<int> exit;
};
CommandLine parse_command_line(const Args &argv, Options &opts);

// Parses a number: hex with a 0x prefix, decimal otherwise (a leading zero is still decimal,
// so 010 is ten). No sign, no blanks. nullopt when it is not one or exceeds `max`.
std::optional<uint64_t> parse_number(const std::string &text, uint64_t max);

// The one line of a failure (exit 1). With --json it becomes the run's document,
// {"error": ..., <json_fields>}; `json_fields` is "" or a list of members ("\"a\": 1, ...").
int fail(const std::string &message, const std::string &json_fields = "");
// Attaches this process to the persistent board of the profile, in the slot -b names (the
// enclosure's first board without -b). False when no board sits in that slot; then
// no_board_in_slot says so and gives the exit status.
bool attach_board(const Options &opts);
int no_board_in_slot(const Options &opts);
// The one line of a usage error (exit 2), followed by the hint to the help of `command`
// (the tool's own help when null).
int usage_error(const std::string &message, const char *command = nullptr);

// Escapes text for a JSON string literal.
std::string json_escape(const std::string &text);
// "text" as a JSON string literal, quotes included.
std::string json_string(const std::string &text);
std::string hex(uint64_t v, int width = 2);

}  // namespace bspctl

#endif
