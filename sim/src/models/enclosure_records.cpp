// What the enclosure's identity looks like to a board: its frame type, the backplane model, the
// product configuration and which IO cards are in. They belong to the enclosure (every board of
// it must agree), so they live in the enclosure's region and each board's CPLD renders them:
//   0x66          check code of the frame type: the parity mode (0 even, 1 odd) its 6 bits pass
//   0x67/0x68     frame type word, low and high byte; the type is its low 6 bits
//   0x275-0x277   the copy of 0x66-0x68 that the BMC rewrites; it reads back what was written
//   0x298-0x29B   IO card n present: bit n % 8 of 0x298 + n / 8 (cards 0 to 27)
// The frame-type registers and the card bits are status registers: bus writes change nothing.
// The CPLD RAM is plain memory, so the records the BMC keeps there are put there at reset:
//   0xD91A-0xD91D the frame-type backup (marker 0x55, copies of 0x66-0x68)
//   0xD921-0xD931 the model, 16 bytes and their CRC-8; 0xD99C-0xD9DC the configuration, 64 + 1
// [frame] type = the frame type; model = text (at most 16 characters); config = text (at most
//         64); backup = valid|absent|erased; io_cards = the cards that are in.
// Without a section: frame type 0x0C, a valid backup, no model, no configuration, no cards.
#include <algorithm>
#include <cstring>
#include <string>

#include "bspsim/enclosure_records.hpp"
#include "core/section.h"
#include "models/cpld.h"
#include "models/cpld_ram.h"

namespace bspsim::detail::enclosure_records {
namespace {

constexpr uint32_t kCheckReg = 0x66;
constexpr uint32_t kLowReg = 0x67;
constexpr uint32_t kHighReg = 0x68;
constexpr uint32_t kRewriteReg = 0x275;
constexpr uint32_t kCardReg = 0x298;
constexpr uint32_t kCardRegs = 4;
constexpr uint16_t kTypeMask = 0x3F;

constexpr uint32_t kBackupAddr = 0xD91A;
constexpr uint8_t kValidMarker = 0x55;

struct RecordPlace {
    uint32_t addr;
    uint32_t len;
};
constexpr RecordPlace kPlace[] = {{0xD921, 16}, {0xD99C, 64}};
constexpr uint32_t kMaxRecord = 64;

struct State {
    uint16_t word;
    uint8_t check_fault;  // the check code shows the wrong parity
    uint8_t backup;       // FrameBackup
    uint8_t rewrite[3];
    uint8_t cards[kCardRegs];
    uint8_t record_len[2];  // 0: no record
    uint8_t record[2][kMaxRecord];
};

State &st() { return region<State>(ModelId::enclosure_records); }

uint8_t crc8(const uint8_t *data, uint32_t len)
{
    uint8_t crc = 0;
    for (uint32_t i = 0; i < len; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k) crc = static_cast<uint8_t>(crc & 0x80 ? (crc << 1) ^ 0x07 : crc << 1);
    }
    return crc;
}

// The parity mode the frame type passes (0 even, 1 odd), and the code the CPLD shows.
uint8_t good_check_code() { return static_cast<uint8_t>(__builtin_popcount(st().word & kTypeMask) & 1); }
uint8_t check_code() { return static_cast<uint8_t>(good_check_code() ^ (st().check_fault ? 1u : 0u)); }

// The backup as the BMC would have left it after its last good read of the frame type.
void render_backup()
{
    const auto b = static_cast<FrameBackup>(st().backup);
    uint8_t bytes[4] = {0, 0, 0, 0};
    if (b == FrameBackup::Erased) bytes[0] = kValidMarker, bytes[1] = bytes[2] = bytes[3] = 0xFF;
    if (b == FrameBackup::Valid) {
        bytes[0] = kValidMarker;
        bytes[1] = good_check_code();
        bytes[2] = static_cast<uint8_t>(st().word);
        bytes[3] = static_cast<uint8_t>(st().word >> 8);
    }
    for (uint32_t i = 0; i < 4; ++i) cpld_ram::cell(kBackupAddr + i) = bytes[i];
}

// A record with its check byte; no record is all zeros (what erased RAM holds).
void render_record(Record r)
{
    const RecordPlace &p = kPlace[static_cast<int>(r)];
    uint8_t bytes[kMaxRecord + 1] = {};
    const bool present = st().record_len[static_cast<int>(r)] != 0;
    std::memcpy(bytes, st().record[static_cast<int>(r)], p.len);
    bytes[p.len] = present ? crc8(bytes, p.len) : 0;
    for (uint32_t i = 0; i <= p.len; ++i) cpld_ram::cell(p.addr + i) = bytes[i];
}

void render_ram()
{
    render_backup();
    render_record(Record::Model);
    render_record(Record::Config);
}

void set_record_text(Record r, const std::string &text)
{
    const RecordPlace &p = kPlace[static_cast<int>(r)];
    check_range(r == Record::Model ? "model length" : "configuration length", text.size(), p.len + 1);
    std::memset(st().record[static_cast<int>(r)], 0, kMaxRecord);
    std::memcpy(st().record[static_cast<int>(r)], text.data(), text.size());
    st().record_len[static_cast<int>(r)] = static_cast<uint8_t>(text.size());
}

void reset()
{
    st().word = 0x0C;
    st().backup = static_cast<uint8_t>(FrameBackup::Valid);
    for (uint32_t r = kCheckReg; r <= kHighReg; ++r) cpld::hook(r, ModelId::enclosure_records, 0xFF);
    for (uint32_t i = 0; i < 3; ++i) cpld::hook(kRewriteReg + i, ModelId::enclosure_records, 0xFF);
    for (uint32_t i = 0; i < kCardRegs; ++i) cpld::hook(kCardReg + i, ModelId::enclosure_records, i < 3 ? 0xFF : 0x0F);
    render_ram();
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        try {
            if (std::strcmp(key, "type") == 0) {
                st().word = static_cast<uint16_t>(s.number(value, kTypeMask + 1, "frame type"));
            } else if (std::strcmp(key, "model") == 0 || std::strcmp(key, "config") == 0) {
                set_record_text(key[0] == 'm' ? Record::Model : Record::Config, value);
            } else if (std::strcmp(key, "backup") == 0) {
                const char *names[] = {"valid", "absent", "erased"};
                auto *at = std::find_if(std::begin(names), std::end(names),
                                        [&](const char *n) { return std::strcmp(n, value) == 0; });
                if (at == std::end(names)) s.fail("backup: valid, absent or erased");
                st().backup = static_cast<uint8_t>(at - std::begin(names));
            } else if (std::strcmp(key, "io_cards") == 0) {
                std::memset(st().cards, 0, kCardRegs);
                for (uint32_t n : s.list(value)) {
                    if (n >= kIoCards) s.fail("io_cards: no card " + std::to_string(n));
                    st().cards[n / 8] = static_cast<uint8_t>(st().cards[n / 8] | 1u << (n % 8));
                }
            } else {
                s.fail(std::string("unknown key ") + key);
            }
        } catch (const Error &e) {
            s.fail(e.what());
        }
    });
    render_ram();
}

uint8_t reg_read(uint32_t addr)
{
    if (addr == kCheckReg) return check_code();
    if (addr == kLowReg) return static_cast<uint8_t>(st().word);
    if (addr == kHighReg) return static_cast<uint8_t>(st().word >> 8);
    if (addr >= kCardReg) return st().cards[addr - kCardReg];
    return st().rewrite[addr - kRewriteReg];
}

void reg_write(uint32_t addr, uint8_t value, uint8_t mask)
{
    if (addr >= kRewriteReg && addr < kCardReg) {
        uint8_t &r = st().rewrite[addr - kRewriteReg];
        r = static_cast<uint8_t>((r & ~mask) | (value & mask));
        return;
    }
    // The back door sets the frame-type word as the enclosure has it; the bus cannot.
    if (!cpld::back_door() || (addr != kLowReg && addr != kHighReg)) return;
    const int shift = addr == kLowReg ? 0 : 8;
    st().word = static_cast<uint16_t>((st().word & ~(0xFF << shift)) | value << shift);
}

}  // namespace
}  // namespace bspsim::detail::enclosure_records

namespace bspsim::detail {
const Model model_enclosure_records = {.name = "enclosure_records", .scope = Scope::Enclosure,
                                       .size = sizeof(enclosure_records::State), .sections = "frame",
                                       .load = enclosure_records::load, .reset = enclosure_records::reset,
                                       .reg_read = enclosure_records::reg_read,
                                       .reg_write = enclosure_records::reg_write};
}

namespace bspsim {

using namespace detail;
namespace er = detail::enclosure_records;

uint16_t frame_word(const Board &)
{
    Lock lock;
    return er::st().word;
}

void set_frame_word(Board &, uint16_t word)
{
    Lock lock;
    er::st().word = word;
}

void set_frame_check_fault(Board &, bool wrong)
{
    Lock lock;
    er::st().check_fault = wrong;
}

void set_frame_backup(Board &, FrameBackup backup)
{
    Lock lock;
    er::st().backup = static_cast<uint8_t>(backup);
    er::render_backup();
}

std::array<uint8_t, 3> frame_rewrite_copy(const Board &)
{
    Lock lock;
    return {er::st().rewrite[0], er::st().rewrite[1], er::st().rewrite[2]};
}

void set_record(Board &, Record record, const std::string &text)
{
    Lock lock;
    er::set_record_text(record, text);
    er::render_record(record);
}

void corrupt_record_check(Board &, Record record)
{
    Lock lock;
    const er::RecordPlace &p = er::kPlace[static_cast<int>(record)];
    cpld_ram::cell(p.addr + p.len) ^= 0xFF;
}

bool io_card(const Board &, unsigned card)
{
    check_range("IO card", card, kIoCards);
    Lock lock;
    return (er::st().cards[card / 8] >> (card % 8)) & 1u;
}

void set_io_card(Board &, unsigned card, bool present)
{
    check_range("IO card", card, kIoCards);
    Lock lock;
    uint8_t &bits = er::st().cards[card / 8];
    bits = static_cast<uint8_t>(present ? bits | 1u << (card % 8) : bits & ~(1u << (card % 8)));
}

}  // namespace bspsim
