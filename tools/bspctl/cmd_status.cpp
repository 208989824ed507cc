// bspctl status: what board this is, as the library sees it.
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "power_report.h"
#include "psu_report.h"

namespace bspctl {
namespace {

struct Predicate {
    const char *name;
    uint32_t (*fn)(void);
};

const Predicate kPredicates[] = {
    {"BSP_IsSmmBoard", BSP_IsSmmBoard},
    {"BSP_Is2U2CBoard", BSP_Is2U2CBoard},
    {"BSP_IsMiddleBoard", BSP_IsMiddleBoard},
    {"BSP_Is2UExpBoard", BSP_Is2UExpBoard},
    {"BSP_Is2UBoard", BSP_Is2UBoard},
    {"BSP_Is7460SBoard", BSP_Is7460SBoard},
    {"BSP_Is7460SCtrlBoard", BSP_Is7460SCtrlBoard},
    {"BSP_Is5830Board", BSP_Is5830Board},
    {"BSP_Is58204U4CBoard", BSP_Is58204U4CBoard},
    {"BSP_Is58304U4CBoard", BSP_Is58304U4CBoard},
    {"BSP_Is4U4CBoard", BSP_Is4U4CBoard},
    {"BSP_Is58304u2pBoard", BSP_Is58304u2pBoard},
    {"BSP_Is5830SasBoard", BSP_Is5830SasBoard},
    {"BSP_Is5830PalmBoard", BSP_Is5830PalmBoard},
    {"BSP_IsLiteBoard", BSP_IsLiteBoard},
    {"BSP_isX86Board", BSP_isX86Board},
};

struct Report {
    bool id_ok = false;
    uint8_t id = 0xFF;
    uint32_t id_status = 0;
    bool type_ok = false;
    uint32_t type = 0;
    std::string type_why;
    std::string enclosure;
    std::string board;
    uint32_t cpus = 0;
    std::vector<std::pair<const char *, uint32_t>> predicates;
    std::vector<BoardListEntry> rows;
};

Report collect()
{
    Report r;
    r.id_status = BSP_GetBmcBoardId(&r.id);
    r.id_ok = r.id_status == 0;
    if (!r.id_ok) {
        r.type_why = "the board id cannot be read";
    } else if (BSP_GetBmcBoardType(&r.type) == 0) {
        r.type_ok = true;
    } else if (!BSP_IsIdentifiedBoardType(r.id)) {
        r.type_why = "the board id is not one this library knows";
    } else {
        uint8_t slot = 0xFF;
        r.type_why = BSP_GetBoardSlot(&slot) != 0 ? "the slot of this board is not known yet"
                                                  : "no board-table row for this id in this slot";
    }
    if (BSP_IsSmmBoard()) {
        r.enclosure = "system management module";
    } else if (BSP_Is4U4CBoard()) {
        r.enclosure = "4U four-controller";
    } else if (BSP_Is2U2CBoard()) {
        r.enclosure = "2U two-controller";
    } else if (BSP_Is2UExpBoard()) {
        r.enclosure = "2U expansion";
    } else {
        r.enclosure = "unknown";
    }
    if (BSP_IsSmmBoard()) {
        r.board = "SMM";
    } else if (BSP_Is2UExpBoard()) {
        r.board = "expansion board";
    } else if (BSP_isX86Board()) {
        r.board = "x86 controller";
    } else if (r.id_ok && BSP_IsIdentifiedBoardType(r.id)) {
        r.board = "Arm controller";
    } else {
        r.board = "unknown";
    }
    r.cpus = BSP_SingleCpuOrDoubleCpu();
    for (const Predicate &p : kPredicates) r.predicates.emplace_back(p.name, p.fn());
    BoardListEntry entries[8];
    uint8_t count = 0;
    if (BSP_GetBoardList(entries, 8, &count) == 0) r.rows.assign(entries, entries + count);
    return r;
}

void print_text(const Report &r)
{
    if (r.id_ok) {
        std::printf("board id:      %s\n", hex(r.id).c_str());
    } else {
        std::printf("board id:      unknown (status %s)\n", hex(r.id_status, 8).c_str());
    }
    if (r.type_ok) {
        std::printf("board type:    %s\n", hex(r.type).c_str());
    } else {
        std::printf("board type:    unknown: %s\n", r.type_why.c_str());
    }
    std::printf("enclosure:     %s\n", r.enclosure.c_str());
    std::printf("board:         %s", r.board.c_str());
    if (r.cpus) std::printf(" (%u CPU%s)", r.cpus, r.cpus == 1 ? "" : "s");
    std::printf("\n\npredicates:\n");
    for (const auto &[name, value] : r.predicates) std::printf("  %-24s %u\n", name, value);
    std::printf("\nboard table rows for this id:\n");
    if (r.rows.empty()) std::printf("  none\n");
    for (const BoardListEntry &e : r.rows) {
        std::printf("  slot %u -> board type %s\n", e.slot, hex(e.boardType).c_str());
    }
}

void print_json(const Report &r)
{
    std::printf("{\n");
    if (r.id_ok) {
        std::printf("  \"board_id\": %u,\n", r.id);
    } else {
        std::printf("  \"board_id\": null,\n  \"board_id_status\": %u,\n", r.id_status);
    }
    if (r.type_ok) {
        std::printf("  \"board_type\": %u,\n", r.type);
    } else {
        std::printf("  \"board_type\": null,\n  \"board_type_reason\": \"%s\",\n", json_escape(r.type_why).c_str());
    }
    std::printf("  \"enclosure\": \"%s\",\n", json_escape(r.enclosure).c_str());
    std::printf("  \"board\": \"%s\",\n", json_escape(r.board).c_str());
    std::printf("  \"cpus\": %u,\n", r.cpus);
    std::printf("  \"predicates\": {");
    for (size_t i = 0; i < r.predicates.size(); ++i) {
        std::printf("%s\n    \"%s\": %u", i ? "," : "", r.predicates[i].first, r.predicates[i].second);
    }
    std::printf("\n  },\n  \"board_table\": [");
    for (size_t i = 0; i < r.rows.size(); ++i) {
        std::printf("%s\n    {\"board_id\": %u, \"slot\": %u, \"board_type\": %u}", i ? "," : "", r.rows[i].boardId,
                    r.rows[i].slot, r.rows[i].boardType);
    }
    std::printf("\n  ]");
}

// ------------------------------------------------- controller boards of the enclosure

// What the CPLD says of each controller board; nullopt where the register could not be read.
struct CtrlBoard {
    uint8_t index;
    std::optional<bool> present;
    std::optional<bool> booted;
};

std::vector<CtrlBoard> collect_ctrl_boards()
{
    std::vector<CtrlBoard> boards;
    const uint32_t count = BSP_GetCtrlBoardNum();
    for (uint8_t i = 0; i < count; ++i) {
        CtrlBoard b{i, std::nullopt, std::nullopt};
        uint8_t value = 0;
        if (BSP_GetCtrlBoardPresent(i, &value) == 0) b.present = value == 1;
        if (BSP_CtrlBoardGetOSBootStatus(i, &value) == 0) b.booted = value == 1;
        boards.push_back(b);
    }
    return boards;
}

void print_ctrl_boards_text(const std::vector<CtrlBoard> &boards)
{
    std::printf("\ncontroller boards (%zu in this enclosure):\n", boards.size());
    for (const CtrlBoard &b : boards) {
        const char *presence = !b.present ? "presence unknown" : *b.present ? "present" : "absent";
        const char *os = !b.booted ? "OS state unknown" : *b.booted ? "OS booted" : "OS not booted";
        std::printf("  board %u: %s, %s\n", b.index, presence, os);
    }
}

void print_ctrl_boards_json(const std::vector<CtrlBoard> &boards)
{
    auto flag = [](const std::optional<bool> &v) { return !v ? "null" : *v ? "true" : "false"; };
    std::printf(",\n  \"controller_boards\": [");
    for (size_t i = 0; i < boards.size(); ++i) {
        std::printf("%s\n    {\"index\": %u, \"present\": %s, \"os_booted\": %s}", i ? "," : "", boards[i].index,
                    flag(boards[i].present), flag(boards[i].booted));
    }
    std::printf("\n  ]");
}

// ------------------------------------------------------------ the enclosure as a picture

// Which slot this board holds and which holds mastership; nullopt where the library cannot say.
struct Roles {
    std::optional<uint32_t> own, master;
};

Roles collect_roles()
{
    Roles r;
    uint8_t own = 0;
    if (BSP_GetBoardSlot(&own) == 0) r.own = own;
    uint32_t master = 0;
    if (BSP_GetMasterBoardSlot(&master) == 0) r.master = master;
    return r;
}

// One row of cells, 10 columns each, between bars.
void print_cells(const std::vector<std::string> &cells)
{
    std::string line = "  |";
    for (const std::string &c : cells) line += " " + c + std::string(c.size() < 9 ? 9 - c.size() : 0, ' ') + "|";
    std::printf("%s\n", line.c_str());
}

void print_rule(size_t cells)
{
    std::string line = "  +";
    for (size_t i = 0; i < cells; ++i) line += "----------+";
    std::printf("%s\n", line.c_str());
}

// The slots side by side (this board, the master, empty slots), the supplies underneath.
void print_picture_text(const std::vector<CtrlBoard> &boards, const Roles &roles, const std::vector<SupplyReport> &supplies)
{
    std::vector<std::string> slot, who, role, psu;
    for (const CtrlBoard &b : boards) {
        slot.push_back("slot " + std::to_string(b.index));
        who.push_back(roles.own == b.index ? "this" : "");
        role.push_back(!b.present ? "?" : !*b.present ? "empty" : roles.master == b.index ? "master" : "slave");
    }
    for (const SupplyReport &s : supplies) {
        psu.push_back("psu " + std::to_string(s.index) + (!s.present.value ? " out" : s.ok.value ? " ok" : " bad"));
    }
    std::printf("\nenclosure picture%s:\n", roles.master ? "" : " (no single master)");
    print_rule(slot.size());
    for (const auto *row : {&slot, &who, &role}) print_cells(*row);
    print_rule(slot.size());
    print_cells(psu);
    print_rule(psu.size());
}

void print_picture_json(const Roles &roles)
{
    auto slot = [](const std::optional<uint32_t> &v) { return v ? std::to_string(*v) : std::string("null"); };
    std::printf(",\n  \"this_slot\": %s,\n  \"master_slot\": %s", slot(roles.own).c_str(), slot(roles.master).c_str());
}

// ------------------------------------------------------------------ the board's CPLDs

struct Cplds {
    std::optional<uint8_t> count;  // nullopt: this board has no known CPLD count
    std::string versions;          // "v0,v1,..." as the library formats them
    bool healthy = false;
};

Cplds collect_cplds()
{
    Cplds c;
    uint8_t count = 0;
    if (BSP_GetCpldNum(&count) == 0) c.count = count;
    char text[128] = "";
    if (c.count && BSP_GetCpldVerStr(text, sizeof text) == 0) c.versions = text;
    c.healthy = BSP_CpldBorCIsHealth() == 1;
    return c;
}

void print_cplds_text(const Cplds &c)
{
    if (c.count) {
        std::printf("\ncplds:         %u, versions %s, %s\n", *c.count, c.versions.empty() ? "unknown" : c.versions.c_str(),
                    c.healthy ? "healthy" : "faulty");
    } else {
        std::printf("\ncplds:         count unknown, %s\n", c.healthy ? "healthy" : "faulty");
    }
}

void print_cplds_json(const Cplds &c)
{
    std::printf(",\n  \"cpld_count\": ");
    if (c.count) {
        std::printf("%u", *c.count);
    } else {
        std::printf("null");
    }
    std::printf(",\n  \"cpld_versions\": \"%s\",\n  \"cpld_healthy\": %s", json_escape(c.versions).c_str(),
                c.healthy ? "true" : "false");
}

// ------------------------------------------------------- supplies and backup battery

void print_power_text(const std::vector<SupplyReport> &supplies, const BbuReport &bbu)
{
    std::string line;
    for (const SupplyReport &s : supplies) {
        line += (line.empty() ? "" : ", ") + std::to_string(s.index) + " " + supply_summary(s);
    }
    std::printf("\nsupplies:      %s\n", line.c_str());
    std::string presence = !bbu.presence_reported ? "" : bbu.present.value ? "present, " : "absent, ";
    std::printf("battery:       %s%s\n", presence.c_str(), bbu_status_text(bbu.status));
}

void print_power_json(const std::vector<SupplyReport> &supplies, const BbuReport &bbu)
{
    std::printf(",\n  \"supplies\": [");
    for (size_t i = 0; i < supplies.size(); ++i) std::printf("%s\n    %s", i ? "," : "", supply_json(supplies[i]).c_str());
    std::printf("\n  ],\n  \"bbu\": %s", bbu_json(bbu).c_str());
}

int run(const Options &opts, const Args &args)
{
    if (!args.empty()) return usage_error("status takes no arguments", "status");
    Report r = collect();
    Cplds cplds = collect_cplds();
    std::vector<CtrlBoard> ctrl_boards = collect_ctrl_boards();
    const std::vector<SupplyReport> supplies = collect_supplies();
    const BbuReport bbu = collect_bbu();
    const PowerReport power = collect_power(false);
    const Roles roles = collect_roles();
    if (opts.json) {
        print_json(r);
        print_cplds_json(cplds);
        std::printf(",\n  \"power\": {\"state\": \"%s\", \"standby\": %s, \"rails_ok\": %s}", power.state(),
                    json_flag(power.standby), json_verdict(power));
        print_ctrl_boards_json(ctrl_boards);
        print_picture_json(roles);
        print_power_json(supplies, bbu);
        std::printf("\n}\n");
    } else {
        print_text(r);
        print_cplds_text(cplds);
        std::printf("power:         %s, standby %s, rails %s\n", power.state(), yes_no(power.standby),
                    power.verdict().c_str());
        print_ctrl_boards_text(ctrl_boards);
        print_picture_text(ctrl_boards, roles, supplies);
        print_power_text(supplies, bbu);
    }
    return 0;
}

const Register reg({"status", "report what board this is",
                    "usage: bspctl [-p PROFILE] [--json] status\n"
                    "  Prints the board id, the board type (or why it is not known), the kind of\n"
                    "  enclosure and board the predicates report, the board-table rows of the id,\n"
                    "  the CPLD count, versions and health, the board's power (standby, the verdict\n"
                    "  of its rail check), which controller boards of the enclosure are present and\n"
                    "  have booted, and the state of the power supplies and the backup battery; then\n"
                    "  the enclosure as a picture: its slots, which one is this board and which the\n"
                    "  master, and the supplies.\n",
                    run});

}  // namespace
}  // namespace bspctl
