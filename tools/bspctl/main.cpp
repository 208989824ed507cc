// bspctl entry point: global options, then a command and its arguments. Whatever happens, a
// run ends with the command's output (or one error line) and, with --json, exactly one JSON
// document on standard output.
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "bspctl.h"
#include "bspsim/mastership.hpp"
#include "bspsim/sim.hpp"

namespace bspctl {

namespace {
std::vector<Command> &registry()
{
    static std::vector<Command> cmds;
    return cmds;
}

// What went wrong in this run, kept so that --json can turn it into the run's document.
struct Outcome {
    bool json = false;
    bool failed = false;
    std::string message;
    std::string fields;  // extra JSON members of the error document
};
Outcome g_outcome;

void record_error(const std::string &message, const std::string &fields)
{
    if (g_outcome.failed) return;  // the first error is the one that explains the others
    g_outcome.failed = true;
    g_outcome.message = message;
    g_outcome.fields = fields;
}

std::string usage()
{
    std::string text =
        "usage: bspctl [-p PROFILE] [-b SLOT] [--json] [--trace] [--no-verify] [-v] COMMAND [ARGS...]\n"
        "\n"
        "Board support tool. On a host it runs on a simulated board: the persistent\n"
        "instance of PROFILE, or the one BSPSIM_INSTANCE names.\n"
        "\n"
        "options (also accepted after the command):\n"
        "  -p, --profile NAME  board profile to run on (see `bspctl sim profiles`); without\n"
        "                      it, $BSPSIM_PROFILE when set, else \"default\"\n"
        "  -b, --board SLOT    the board of the enclosure in SLOT (0 to 3); without it, the\n"
        "                      first board ($BSPSIM_BOARD picks another)\n"
        "      --json          machine-readable output: one JSON document per run, errors\n"
        "                      included ({\"error\": ...})\n"
        "      --trace         after the output, every platform call the command made\n"
        "                      (registers, pins, devices, semaphores, delays, log lines)\n"
        "      --no-verify     writes do not read the value back\n"
        "  -v, --verbose       print the library's log lines on stderr\n"
        "  -h, --help          this text; `bspctl COMMAND --help` for a command\n"
        "\n"
        "Numbers are hex with a 0x prefix and decimal otherwise: a leading zero is still\n"
        "decimal (010 is ten). Exit status: 0 done, 1 failed, 2 bad command line.\n"
        "\n"
        "commands:\n";
    for (const Command &c : commands()) {
        char line[160];
        std::snprintf(line, sizeof line, "  %-10s %s\n", c.name, c.summary);
        text += line;
    }
    return text;
}

// Help is the answer the user asked for: with --json it is the document's "usage".
int help(const Options &opts, const std::string &text)
{
    if (opts.json) {
        std::printf("{\"usage\": %s}\n", json_string(text).c_str());
    } else {
        std::fputs(text.c_str(), stdout);
    }
    return 0;
}

// ------------------------------------------------------------------------- options

enum class OptionResult { NotOption, Taken, Help, Error };

// One global option at args[i] (i advanced past a value it takes). Anything else that starts
// with '-' is left to the caller.
OptionResult take_option(const Args &args, size_t &i, Options &opts)
{
    const std::string &a = args[i];
    if (a == "--json") {
        opts.json = true;
    } else if (a == "-v" || a == "--verbose") {
        opts.verbose = true;
    } else if (a == "--trace") {
        opts.trace = true;
    } else if (a == "--no-verify") {
        opts.verify = false;
    } else if (a == "-h" || a == "--help") {
        return OptionResult::Help;
    } else if (a == "-b" || a == "--board") {
        std::optional<uint64_t> slot = i + 1 < args.size() ? parse_number(args[i + 1], 3) : std::nullopt;
        if (!slot) {
            usage_error("option " + a + " needs a slot, 0 to 3");
            return OptionResult::Error;
        }
        opts.slot = static_cast<uint32_t>(*slot);
        ++i;
    } else if (a == "-p" || a == "--profile" || a.rfind("--profile=", 0) == 0) {
        std::string value;
        if (a[1] != '-' || a.find('=') == std::string::npos) {
            // A following option is not a profile name: "-p --json" lacks one.
            if (i + 1 >= args.size() || args[i + 1].empty() || args[i + 1][0] == '-') {
                usage_error("option " + a + " needs a profile name");
                return OptionResult::Error;
            }
            value = args[++i];
        } else {
            value = a.substr(a.find('=') + 1);
            if (value.empty()) {
                usage_error("option --profile needs a profile name");
                return OptionResult::Error;
            }
        }
        opts.profile = value;
    } else {
        return OptionResult::NotOption;
    }
    return OptionResult::Taken;
}

// ------------------------------------------------------------------------- the trace

std::string trace_log_line(const bspsim::LogLine &l)
{
    if (l.kind == bspsim::LogLine::Operation) return "oplog " + std::to_string(l.level) + " " + l.text;
    return "log " + std::to_string(l.level) + " " + l.file + ":" + std::to_string(l.line) + " " + l.text;
}

// What this process did to the board since `mark`: its platform calls in order, then the log
// lines. Calls that other processes made meanwhile are left out; the record is a ring, so a
// command that made more calls than it holds is told so.
std::vector<std::string> trace_lines(const bspsim::RecordMark &mark)
{
    std::vector<std::string> lines;
    const bspsim::RecordMark end = bspsim::record_mark();
    const std::vector<bspsim::Event> events = bspsim::events_since(mark);
    const std::vector<bspsim::LogLine> logs = bspsim::logs_since(mark);
    if (end.events - mark.events > events.size()) {
        lines.push_back("... " + std::to_string(end.events - mark.events - events.size()) +
                        " earlier calls no longer in the record");
    }
    const int32_t self = static_cast<int32_t>(getpid());
    for (const bspsim::Event &e : events) {
        if (e.pid == self) lines.push_back(bspsim::transcript_token(e));
    }
    if (end.logs - mark.logs > logs.size()) {
        lines.push_back("... " + std::to_string(end.logs - mark.logs - logs.size()) +
                        " earlier log lines no longer in the record");
    }
    for (const bspsim::LogLine &l : logs) lines.push_back(trace_log_line(l));
    return lines;
}

std::string json_trace(const std::vector<std::string> &lines)
{
    std::string out = "\"trace\": [";
    for (size_t i = 0; i < lines.size(); ++i) out += (i ? ",\n    " : "\n    ") + json_string(lines[i]);
    return out + (lines.empty() ? "]" : "\n  ]");
}

// ------------------------------------------------------------------------- one run

struct Run {
    Options opts;
    bool attached = false;
    bspsim::RecordMark mark;
};

}  // namespace

bool attach_board(const Options &opts)
{
    bspsim::attach_persistent(opts.profile);
    for (uint32_t b = 0; opts.slot && b < bspsim::board_count(); ++b) {
        if (bspsim::slot_of_board(b) == *opts.slot) {
            bspsim::switch_board(b);
            return true;
        }
    }
    return !opts.slot;
}

int no_board_in_slot(const Options &opts)
{
    return fail("no board in slot " + std::to_string(*opts.slot) + " of this enclosure (boards: " +
                std::to_string(bspsim::board_count()) + ")");
}

namespace {

int dispatch(Run &run, const Args &argv)
{
    Options &opts = run.opts;
    const CommandLine line = parse_command_line(argv, opts);
    if (line.exit) return *line.exit;
    bspsim::set_log_echo(opts.verbose);
    // The sim command manages boards itself; the others run on the board of the profile.
    if (std::string(line.cmd->name) != "sim" && (line.cmd->needs_board || opts.trace)) {
        if (!attach_board(opts)) return no_board_in_slot(opts);
        run.mark = bspsim::record_mark();
        run.attached = true;
    }
    return line.cmd->run(opts, line.rest);
}

// Prints what the run leaves behind: the trace in text, or the one JSON document.
void finish(const Run &run, const std::string &captured)
{
    std::vector<std::string> trace;
    if (run.opts.trace && run.attached) {
        try {
            trace = trace_lines(run.mark);
        } catch (const std::exception &e) {
            trace.push_back(std::string("no trace: ") + e.what());
        }
    }
    if (!run.opts.json) {
        if (run.opts.trace) {
            std::printf("trace:%s\n", trace.empty() ? " no platform calls" : "");
            for (const std::string &l : trace) std::printf("  %s\n", l.c_str());
        }
        return;
    }
    std::string doc;
    if (g_outcome.failed) {
        doc = "{\"error\": " + json_string(g_outcome.message);
        if (!g_outcome.fields.empty()) doc += ", " + g_outcome.fields;
        if (run.opts.trace) doc += ",\n  " + json_trace(trace) + "\n";
        doc += "}";
    } else {
        doc = captured;
        while (!doc.empty() && std::isspace(static_cast<unsigned char>(doc.back()))) doc.pop_back();
        if (doc.empty()) doc = "{}";
        if (run.opts.trace) {
            // Every command's document is an object: the trace becomes its last member.
            doc.pop_back();
            while (!doc.empty() && std::isspace(static_cast<unsigned char>(doc.back()))) doc.pop_back();
            doc += (doc.back() == '{' ? "\n  " : ",\n  ") + json_trace(trace) + "\n}";
        }
    }
    std::printf("%s\n", doc.c_str());
}

}  // namespace

CommandLine parse_command_line(const Args &argv, Options &opts)
{
    CommandLine line;
    size_t i = 0;
    for (; i < argv.size(); ++i) {
        switch (take_option(argv, i, opts)) {
        case OptionResult::Taken: continue;
        case OptionResult::Help: line.exit = help(opts, usage()); return line;
        case OptionResult::Error: line.exit = kExitUsage; return line;
        case OptionResult::NotOption: break;
        }
        if (argv[i].size() > 1 && argv[i][0] == '-') {
            line.exit = usage_error("unknown option " + argv[i]);
            return line;
        }
        break;
    }
    if (i >= argv.size()) {
        line.exit = usage_error("no command given");
        return line;
    }
    const std::string &name = argv[i++];
    for (const Command &c : commands()) {
        if (name == c.name) line.cmd = &c;
    }
    if (!line.cmd) {
        line.exit = usage_error("unknown command '" + name + "'");
        return line;
    }
    for (; i < argv.size(); ++i) {
        switch (take_option(argv, i, opts)) {
        case OptionResult::Taken: continue;
        case OptionResult::Help: line.exit = help(opts, line.cmd->usage); return line;
        case OptionResult::Error: line.exit = kExitUsage; return line;
        case OptionResult::NotOption: line.rest.push_back(argv[i]); break;
        }
    }
    return line;
}

Register::Register(const Command &cmd) { registry().push_back(cmd); }

const std::vector<Command> &commands() { return registry(); }

std::optional<uint64_t> parse_number(const std::string &text, uint64_t max)
{
    const bool is_hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const size_t start = is_hex ? 2 : 0;
    const unsigned base = is_hex ? 16 : 10;
    if (text.size() <= start) return std::nullopt;
    uint64_t v = 0;
    for (size_t i = start; i < text.size(); ++i) {
        const char c = text[i];
        unsigned d;
        if (c >= '0' && c <= '9') {
            d = static_cast<unsigned>(c - '0');
        } else if (is_hex && c >= 'a' && c <= 'f') {
            d = static_cast<unsigned>(c - 'a' + 10);
        } else if (is_hex && c >= 'A' && c <= 'F') {
            d = static_cast<unsigned>(c - 'A' + 10);
        } else {
            return std::nullopt;
        }
        if (d > max || v > (max - d) / base) return std::nullopt;  // v * base + d would pass max
        v = v * base + d;
    }
    return v;
}

int fail(const std::string &message, const std::string &json_fields)
{
    if (!g_outcome.json && !g_outcome.failed) std::fprintf(stderr, "bspctl: %s\n", message.c_str());
    record_error(message, json_fields);
    return kExitFailure;
}

int usage_error(const std::string &message, const char *command)
{
    const std::string hint = command ? std::string("try 'bspctl ") + command + " --help'" : "try 'bspctl --help'";
    if (!g_outcome.json && !g_outcome.failed) std::fprintf(stderr, "bspctl: %s; %s\n", message.c_str(), hint.c_str());
    record_error(message, "");
    return kExitUsage;
}

std::string json_escape(const std::string &text)
{
    std::string out;
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out;
}

std::string json_string(const std::string &text) { return "\"" + json_escape(text) + "\""; }

std::string hex(uint64_t v, int width)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "0x%0*llx", width, static_cast<unsigned long long>(v));
    return buf;
}

}  // namespace bspctl

// A build that drives the parser alone (the fuzz target) brings its own entry point.
#ifndef BSPCTL_NO_MAIN
int main(int argc, char **argv)
{
    using namespace bspctl;
    Args args(argv + 1, argv + argc);
    Run run;
    // JSON mode holds from the start, so that even an error in the options becomes the document.
    for (const std::string &a : args) {
        if (a == "--json") run.opts.json = g_outcome.json = true;
    }
    if (const char *p = std::getenv("BSPSIM_PROFILE"); p && *p) run.opts.profile = p;

    // With --json the command's output is held back until the run is over: an error replaces
    // it, and the trace goes inside it.
    FILE *const real_stdout = stdout;
    char *buf = nullptr;
    size_t len = 0;
    if (run.opts.json) {
        FILE *mem = open_memstream(&buf, &len);
        if (mem) stdout = mem;
    }
    int code;
    try {
        code = dispatch(run, args);
    } catch (const std::exception &e) {
        code = fail(e.what());
    }
    std::string captured;
    if (stdout != real_stdout) {
        std::fclose(stdout);
        stdout = real_stdout;
        captured.assign(buf, len);
        std::free(buf);
    }
    finish(run, captured);
    std::fflush(stdout);
    return code;
}
#endif
