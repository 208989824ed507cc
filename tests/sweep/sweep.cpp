// The sweeps over every exported function of the table, each case in a fresh child process so
// that the library's per-process caches start empty:
//   sweep faults  runs each function clean on each profile, then once per platform call of the
//                 clean record with exactly that call failing; checks no crash, a failure status
//                 where the function reports failures, and the board's invariants.
//   sweep inputs  runs each function with each bad argument (nulls, bounds, type extremes);
//                 checks no crash or sanitizer report, and that a documented refusal refuses
//                 before any platform call.
//   sweep coverage  checks that every function the library exports has its line.
// Optional further arguments: names of functions to sweep (default: all).
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <set>

#include "sweep/sweep.h"

namespace {

using bspsim::Board;
using bspsim::Event;
using bspsim::Op;

struct Outcome {
    std::string crash;  // "" when the child finished its report
    int64_t result = 0;
    std::vector<std::string> broken;  // invariants
};

// Runs `call` in a child process on the board as reset to its profile, after `prepare`.
Outcome in_child(Board &b, const sweep::Run &call, const std::function<void()> &prepare = nullptr)
{
    b.reset();
    if (prepare) prepare();
    int fd[2];
    if (pipe(fd) != 0) std::abort();
    std::fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        close(fd[0]);
        alarm(3);  // time is virtual: a call still running after 3 s hangs, and shows as SIGALRM
        std::memset(sweep::g_buf, 0, sizeof sweep::g_buf);
        std::memset(sweep::g_buf2, 0, sizeof sweep::g_buf2);
        b.mark_invariants();
        std::string out = std::to_string(call(b)) + "\n";
        for (const std::string &s : b.check_invariants()) out += s + "\n";
        if (write(fd[1], out.data(), out.size()) != static_cast<ssize_t>(out.size())) _exit(3);
        _exit(0);
    }
    close(fd[1]);
    std::string text;
    char chunk[4096];
    for (ssize_t n; (n = read(fd[0], chunk, sizeof chunk)) > 0;) text.append(chunk, static_cast<size_t>(n));
    close(fd[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    Outcome o;
    if (WIFSIGNALED(status)) o.crash = "crashed (signal " + std::to_string(WTERMSIG(status)) + ")";
    else if (WEXITSTATUS(status) != 0) o.crash = "exited " + std::to_string(WEXITSTATUS(status)) + " (a sanitizer report?)";
    else if (text.empty()) o.crash = "no report";
    if (!o.crash.empty()) return o;
    size_t at = text.find('\n');
    o.result = std::strtoll(text.substr(0, at).c_str(), nullptr, 10);
    for (size_t next; at + 1 < text.size(); at = next) {
        next = text.find('\n', at + 1);
        o.broken.push_back(text.substr(at + 1, next - at - 1));
    }
    return o;
}

bool failable(Op op) { return op != Op::None && op != Op::Delay && op != Op::Change && op != Op::BoardPower; }

bool is_write(Op op) { return op == Op::LocalBusWrite || op == Op::SpiWrite || op == Op::DflChipByteWrite; }

bool named(const char *list, const char *word)
{
    std::string l = std::string(" ") + list + " ";
    return l.find(std::string(" ") + word + " ") != std::string::npos;
}

std::vector<std::string> profiles_of(const sweep::Line &l)
{
    if (!*l.profiles) return bspsim::profile_names();
    std::vector<std::string> out;
    for (const char *p = l.profiles; *p; p += std::strspn(p, " ")) {
        size_t n = std::strcspn(p, " ");
        out.emplace_back(p, n);
        p += n;
    }
    return out;
}

struct Sweep {
    std::vector<const sweep::Line *> lines;
    size_t violations = 0;

    void violation(const sweep::Line &l, const std::string &where, const std::string &what)
    {
        ++violations;
        std::printf("VIOLATION %s [%s]: %s\n", l.name, where.c_str(), what.c_str());
    }
    void check(const sweep::Line &l, const std::string &where, const Outcome &o)
    {
        if (!o.crash.empty()) violation(l, where, o.crash);
        for (const std::string &s : o.broken) violation(l, where, s);
    }

    int faults()
    {
        size_t injected = 0, unreached = 0, self_held = 0;
        std::map<const sweep::Line *, std::set<std::string>> paths;
        std::set<const sweep::Line *> swept;
        for (const std::string &profile : bspsim::profile_names()) {
            auto board = Board::create(profile);
            Board &b = *board;
            for (const sweep::Line *lp : lines) {
                const sweep::Line &l = *lp;
                auto want = profiles_of(l);
                if (std::find(want.begin(), want.end(), profile) == want.end()) continue;
                Outcome clean = in_child(b, l.call);
                check(l, profile + ", clean", clean);
                std::vector<Event> rec = b.events();
                std::string path;
                for (const Event &e : rec) path += std::string(bspsim::op_name(e.op)) + ":" + std::to_string(e.a) + " ";
                if (!paths[lp].insert(path).second) continue;  // a path another profile swept already
                swept.insert(lp);
                std::map<Op, uint32_t> seen;
                for (size_t n = 0; n < rec.size(); ++n) {
                    const Event &e = rec[n];
                    uint32_t skip = seen[e.op]++;
                    if (!failable(e.op)) continue;
                    // A failed give keeps its semaphore taken, so a later take of it in the same call
                    // waits for ever: that is the fault itself, not worth a hang per case.
                    if (e.op == Op::SemV && std::any_of(rec.begin() + n, rec.end(), [&](const Event &x) { return x.op == Op::SemP && x.a == e.a; })) {
                        ++self_held;
                        continue;
                    }
                    ++injected;
                    Outcome o = in_child(b, l.call, [&] { b.fail(e.op, 1, -1, bspsim::kAnyKey, skip); });
                    std::string where = profile + ", " + bspsim::op_name(e.op) + " #" + std::to_string(skip) + " (" +
                                        bspsim::transcript_token(e) + ") failing";
                    std::vector<Event> got = b.events();
                    // A give that failed leaves its semaphore taken: that is the fault itself.
                    if (e.op == Op::SemV) std::erase(o.broken, "semaphore " + std::to_string(e.a) + " still held by this process");
                    // A failed restore (the last write of a register the call wrote before) leaves
                    // its protection open: that is the fault itself too. "wp-open": a sequence that
                    // deliberately stops at a failed step, protection open.
                    if (is_write(e.op) && named(l.tolerates, "wp-open"))
                        std::erase_if(o.broken, [](const std::string &v) { return v.find("write protection") != std::string::npos; });
                    if (is_write(e.op) && std::none_of(rec.begin() + n + 1, rec.end(), [&](const Event &x) { return is_write(x.op) && x.a == e.a; }) &&
                        std::any_of(rec.begin(), rec.begin() + n, [&](const Event &x) { return is_write(x.op) && x.a == e.a; }))
                        std::erase_if(o.broken, [](const std::string &v) { return v.find("write protection") != std::string::npos; });
                    check(l, where, o);
                    if (!o.crash.empty()) continue;
                    auto hit = std::find_if(got.begin(), got.end(), [](const Event &x) { return x.flags & bspsim::kFlagInjected; });
                    if (hit == got.end()) {
                        ++unreached;
                        continue;
                    }
                    // A later call of the same operation on the same key that succeeded: a retry.
                    bool recovered = std::any_of(hit + 1, got.end(), [&](const Event &x) {
                        return x.op == hit->op && x.a == hit->a && x.result == 0;
                    });
                    if (l.fails == sweep::St && o.result == 0 && !recovered && !named(l.tolerates, bspsim::op_name(e.op)) &&
                        !named(l.tolerates, (std::string(bspsim::op_name(e.op)) + "#" + std::to_string(skip)).c_str()))
                        violation(l, where, "returned success");
                    if (l.fails == sweep::Pr && o.result != 0 && o.result != 1)
                        violation(l, where, "a predicate returned " + std::to_string(o.result));
                }
            }
        }
        std::printf("fault sweep: %zu functions swept, %zu faults injected (%zu not reached), %zu gives not failed "
                    "(a later take of the same semaphore would wait for ever), %zu violations\n",
                    swept.size(), injected, unreached, self_held, violations);
        return violations ? 1 : 0;
    }

    int inputs()
    {
        size_t tried = 0;
        auto board = Board::create("default");
        Board &b = *board;
        for (const sweep::Line *lp : lines) {
            for (const sweep::Bad &bad : lp->bad) {
                ++tried;
                Outcome o = in_child(b, bad.run);
                std::string where = "argument " + std::to_string(bad.arg) + " = " + bad.value;
                check(*lp, where, o);
                if (!bad.refused || !o.crash.empty()) continue;
                if (lp->fails == sweep::St && o.result == 0) violation(*lp, where, "accepted, though documented as refused");
                // Naming an object in a log line asks the framework, not the hardware.
                std::vector<Event> calls = b.events();
                std::erase_if(calls, [](const Event &e) { return e.op == Op::DflGetName; });
                if (!calls.empty()) violation(*lp, where, "refused after platform calls: " + bspsim::transcript(calls));
            }
        }
        std::printf("bad-input sweep: %zu functions, %zu bad inputs tried, %zu violations\n", lines.size(), tried,
                    violations);
        return violations ? 1 : 0;
    }
};

// The version script's names that the loaded library defines as functions (its tables are
// data, and have no call to sweep), each with a table line.
int coverage()
{
    std::ifstream map(BSP_VERSION_SCRIPT);
    std::string text((std::istreambuf_iterator<char>(map)), {});
    std::set<std::string> lined;
    for (const sweep::Line &l : sweep::table()) lined.insert(l.name);
    size_t functions = 0, missing = 0;
    static const std::regex name(R"(^\s+(\w+);)", std::regex::multiline);
    for (auto it = std::sregex_iterator(text.begin(), text.end(), name); it != std::sregex_iterator(); ++it) {
        std::string n = (*it)[1];
        void *addr = dlsym(RTLD_DEFAULT, n.c_str());
        Dl_info info;
        ElfW(Sym) *sym = nullptr;
        if (!addr || !dladdr1(addr, &info, reinterpret_cast<void **>(&sym), RTLD_DL_SYMENT) || !sym) {
            std::printf("NOT EXPORTED %s\n", n.c_str());
            ++missing;
            continue;
        }
        if (ELF64_ST_TYPE(sym->st_info) != STT_FUNC) continue;
        ++functions;
        if (!lined.count(n)) std::printf("NO LINE %s\n", n.c_str()), ++missing;
    }
    std::printf("coverage: %zu exported functions, %zu without a line or not exported\n", functions, missing);
    return missing || !functions ? 1 : 0;
}

}  // namespace

int main(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (argc == 2 && std::strcmp(argv[1], "coverage") == 0) return coverage();
    if (argc < 2 || (std::strcmp(argv[1], "faults") != 0 && std::strcmp(argv[1], "inputs") != 0)) {
        std::fprintf(stderr, "usage: sweep faults|inputs [FUNCTION...] | sweep coverage\n");
        return 2;
    }
    Sweep s;
    for (const sweep::Line &l : sweep::table()) {
        if (argc == 2 || std::any_of(argv + 2, argv + argc, [&](const char *n) { return std::strcmp(n, l.name) == 0; }))
            s.lines.push_back(&l);
    }
    return std::strcmp(argv[1], "faults") == 0 ? s.faults() : s.inputs();
}
