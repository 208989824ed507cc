// bspctl: command-line tool over the board support library.
#ifndef BSPCTL_H
#define BSPCTL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace bspctl {

struct Options {
    bool json = false;
    bool verbose = false;
    std::string profile = "default";
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

// Parses a number in hex (0x..) or decimal; nullopt when it is not one or exceeds `max`.
std::optional<uint64_t> parse_number(const std::string &text, uint64_t max);
// Prints one clear line to stderr and returns the failure exit code.
int fail(const std::string &message);
// Escapes text for a JSON string literal.
std::string json_escape(const std::string &text);
std::string hex(uint64_t v, int width = 2);

}  // namespace bspctl

#endif
