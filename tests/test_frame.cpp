// Enclosure configuration: the frame type with its check code, cache, backup and repair; the
// disk count per frame type; the model and configuration records; the IO cards.
#include <cstring>

#include "bmc_bsp.h"
#include "bspsim/enclosure_records.hpp"
#include "test_helpers.h"

namespace {

using bspsim::FrameBackup, bspsim::Op, bspsim::Record;
using bsptest::CallCase, bsptest::res, bsptest::times;
using B = bspsim::Board;

uint8_t *const g = bsptest::g_out;
uint16_t *const type16 = reinterpret_cast<uint16_t *>(bsptest::g_out);

std::string fmt(const char *f, unsigned v) { static char b[16]; return (std::snprintf(b, sizeof b, f, v), b); }
std::string h2(unsigned v) { return fmt("%02x", v); }

// One RAM byte through the window, under the RAM semaphore; the frame-type registers read.
std::string ram(unsigned at, const std::string &op) { return "P29 wr ba=" + h2(at & 0xFF) + " wr bb=19 " + op + " V29"; }
std::string regs(unsigned c, unsigned l, unsigned h) { return "rd 66=" + h2(c) + " rd 67=" + h2(l) + " rd 68=" + h2(h); }
// The good read: sys-up bit 0, the backup (marker last), then the rewrite copy read back, after
// `failed` attempts whose write of 0x276 (or with `unread`, the read-back) failed.
std::string good(unsigned c, unsigned l, unsigned h, size_t failed = 0, bool unread = false)
{
    const std::string w = " wr 275=" + h2(c) + " wr 276=" + h2(l), rest = " wr 277=" + h2(h) + " delay 50 rd 275[3]=";
    const std::string bad = unread ? w + rest.substr(0, rest.size() - 4) + "=00!-1 delay 10" : w + "!-1" + rest + h2(c) + " delay 10";
    return regs(c, l, h) + " wr 1b0&01=0 " + ram(0xD91B, "wr bc=" + h2(c)) + " " + ram(0xD91C, "wr bc=" + h2(l)) + " " +
           ram(0xD91D, "wr bc=" + h2(h)) + " " + ram(0xD91A, "wr bc=55") + times(failed, bad, "") + (failed < 3 ? w + rest + h2(c) : "");
}
const std::string kNoRepair = "0:Frame type priv check failed, repair failed(-1) read value is 0xc, Crc 1";

std::string twice(B &) { return bsptest::joined({res(BSP_GetFrameType(type16)), res(BSP_GetFrameType(type16), 1)}, " "); }
template <uint16_t W>
void word(B &b) { bspsim::set_frame_word(b, W); }
void bad_check(B &b) { bspsim::set_frame_check_fault(b, true); }
void backup(B &b, FrameBackup k) { bad_check(b), bspsim::set_frame_backup(b, k); }

class FrameType : public bsptest::CallTest {};
TEST_P(FrameType, ShowsWhatItDid)
{
    run();
    EXPECT_EQ(oplog(), GetParam().name == std::string("Repaired") ? " | op1:Get frame type(0xd) from cpld ram successed" : "");
}

const CallCase kFrameType[] = {
    // Read once: only the low 6 bits are the type; the whole word is backed up and rewritten.
    {.name = "ReadOnceBackedUp", .setup = word<0x0247>, .call = twice,
     .out = "ok ok 07", .trace = good(1, 0x47, 2)},
    {.name = "HighestWordKept", .setup = word<0xFFFE>, .call = twice, .out = "ok ok 3e", .trace = good(1, 0xFE, 0xFF)},
    {.name = "RewriteRetried", .faults = {{Op::LocalBusWrite, 1, -1, 0x276}}, .call = twice, .out = "ok ok 0c",
     .trace = good(0, 0x0C, 0, 1), .log = "0:write add :276  data: c cpld error."},
    {.name = "RewriteGivesUp", .faults = {{Op::LocalBusWrite, 3, -1, 0x276}}, .setup = word<0x0247>, .call = twice,
     .out = "ok ok 07", .trace = good(1, 0x47, 2, 3), .log = times(3, "0:write add :276  data: 47 cpld error.", " | ") +
     " | 0:Rewrite Cpld failed(-71), cpld(0x275, 0x276, 0x277) write(0x1, 0x47, 0x2) read(0x1, 0x0, 0x2)"},
    {.name = "RewriteNotReadBack", .faults = {{Op::LocalBusRead, 3, -1, 0x275}}, .setup = word<0x0247>, .call = twice,
     .out = "ok ok 07", .trace = good(1, 0x47, 2, 3, true),
     .log = times(3, "0:read cpld byte error.", " | ") + " | 0:Rewrite Cpld failed(-1), cpld(0x275, 0x276, 0x277) write(0x1, 0x47, 0x2) read(0x0, 0x0, 0x0)"},
    // A failed check takes the backup's low byte, whatever the registers say now.
    {.name = "Repaired", .setup = [](B &b) { bspsim::set_frame_word(b, 0x4D), backup(b, {}), bspsim::set_frame_word(b, 0x0C); },
     .call = twice, .out = "ok ok 0d", .trace = regs(1, 0x0C, 0) + " " + ram(0xD91A, "rd bc=55") + " " + ram(0xD91C, "rd bc=4d") + " wr 1b0&01=0"},
    {.name = "NoBackup", .setup = [](B &b) { word<0x010C>(b), backup(b, FrameBackup::Absent); },
     .call = BSP_CALL(BSP_GetFrameType(type16), 1), .out = "err ee", .trace = regs(1, 0x0C, 1) + " " + ram(0xD91A, "rd bc=00"),
     .log = "0:Frame type priv check failed, repair failed(-1) read value is 0x10c, Crc 1"},
    {.name = "ErasedBackup", .setup = [](B &b) { backup(b, FrameBackup::Erased); }, .call = BSP_CALL(BSP_GetFrameType(type16), 1),
     .out = "err ee", .trace = regs(1, 0x0C, 0) + " " + ram(0xD91A, "rd bc=55") + " " + ram(0xD91C, "rd bc=ff"), .log = kNoRepair},
    // A failed read is not kept: the next call reads again.
    {.name = "ReadFails", .faults = {{Op::LocalBusRead, 1, -1, 0x68}}, .call = twice, .out = "err ok 0c",
     .trace = "rd 66=00 rd 67=0c rd 68=00!-1 " + good(0, 0x0C, 0), .log = "0:read cpld byte error."},
};
BSP_CASES(Frame, FrameType, kFrameType);

// Disk slots (0: none, a failure) and the factory-frame answer per frame type.
struct TypeRow { const char *name; uint16_t type; int disks; uint32_t equip = 0; };
const TypeRow kTypes[] = {
    {"T08", 0x08, 28}, {"T09", 0x09, 28, 1}, {"T0A", 0x0A, 36}, {"T0C", 0x0C, 25}, {"T0D", 0x0D, 12},
    {"T0E", 0x0E, 36, 1}, {"T10", 0x10, 25, 1}, {"T0F", 0x0F, 25}, {"T11", 0x11, 12}, {"T12", 0x12, 25, 1},
    {"T27", 0x27, 25}, {"T28", 0x28, 25, 1}, {"T29", 0x29, 25}, {"T30", 0x30, 12}, {"T31", 0x31, 25},
    {"T32", 0x32, 25, 1}, {"T00", 0x00, 0}, {"T0B", 0x0B, 0}, {"T13", 0x13, 0}, {"T3F", 0x3F, 0}};
using bsptest::PrintTo;
class Disks : public bsptest::SimTestWithParam<TypeRow> {};
TEST_P(Disks, PerFrameType)
{
    const TypeRow &r = GetParam();
    bspsim::set_frame_word(sim(), r.type);
    uint8_t disks = 0xEE;
    EXPECT_EQ(BSP_GetDiskNum(&disks), r.disks ? 0 : -1);
    EXPECT_EQ(disks, r.disks ? r.disks : 0xEE);
    EXPECT_EQ(BSP_isEquipFrameBoard(), r.equip);
    EXPECT_EQ(log_line(), "2:get bmc boardid (0x5)" + (r.disks ? "" : " | 0:Get disk num failed, frame type is " + fmt("0x%x", r.type)));
}
INSTANTIATE_TEST_SUITE_P(Frame, Disks, ::testing::ValuesIn(kTypes), [](const auto &i) { return std::string(i.param.name); });

using Frame = bsptest::SimTest;
TEST_F(Frame, DiskNumWithoutFrameType)
{
    backup(sim(), FrameBackup::Absent);
    EXPECT_EQ(BSP_GetDiskNum(g), -1);
    EXPECT_EQ(log_line(), "2:get bmc boardid (0x5) | " + kNoRepair + " | 0:Get frame type failed, ret = -1");
}

// Data bytes written through the RAM window, after the RAM address (low byte) they went to.
std::string ram_writes(const B &b)
{
    std::string out, at;
    for (const auto &e : b.events(Op::LocalBusWrite)) e.a == 0xBA ? (void)(at = h2(e.value)) : e.a == 0xBC ? (void)(out += " " + at + "=" + h2(e.value)) : (void)0;
    return out;
}
std::string hex_of(const uint8_t *p, unsigned n, const char *f = "%02x", const char *sep = "")
{
    std::string out;
    for (unsigned i = 0; i < n; ++i) out += (i ? sep : "") + fmt(f, p[i]);
    return out;
}

TEST_F(Frame, ModelRecord)
{
    uint8_t buf[17] = {}, model[32] = "BP-2U25-SAS", ff[16];
    std::fill(std::begin(buf), std::end(buf), 0xEE), std::fill(std::begin(ff), std::end(ff), 0xFF);
    // Copies at most 16 bytes, at most the buffer; a copy that cannot be made is only logged.
    EXPECT_EQ(BSP_GetModelFromCpld(buf, 17) | BSP_GetModelFromCpld(buf, 2) | BSP_GetModelFromCpld(nullptr, 16), 0);
    EXPECT_EQ(hex_of(buf + 9, 8) + log_line(), "41530000000000ee2:get bmc boardid (0x5) | 0:Error: copy model data failed, result = 22.");
    // The same model, too short a one, an erased one: nothing is written.
    forget();
    BSP_SetFrameModelToCpldRam(model, 16), BSP_SetFrameModelToCpldRam(model, 15), BSP_SetFrameModelToCpldRam(ff, 16);
    BSP_SetFrameModelToCpldRam(model + 16, 16), BSP_SetFrameModelToCpldRam(nullptr, 16);
    EXPECT_EQ(ram_writes(sim()) + oplog() + log_line(), "0:Set frame mode to cpldram failed(len=15 is invalid)");
    std::memcpy(model, "XP-2U25-SAS-R1.0", 16);
    BSP_SetFrameModelToCpldRam(model, 32);
    const uint8_t crc = BSP_CalCrc8(0, model, 16);
    EXPECT_EQ(ram_writes(sim()), " 21=58 22=50 23=2d 24=32 25=55 26=32 27=35 28=2d 29=53 2a=41 2b=53 2c=2d 2d=52 2e=31 2f=2e 30=30 31=" + h2(crc));
    EXPECT_EQ(oplog(), " | op1:Set backplane product model info into cpldram." + hex_of(model, 16, "0x%x", "-") + ", crc=" + fmt("0x%x", crc));
    EXPECT_EQ(BSP_GetModelFromCpld(buf, 1) | buf[0], 'X');
    bspsim::corrupt_record_check(sim(), Record::Model);
    const int32_t bad = BSP_GetModelFromCpld(buf, 16);
    bspsim::set_record(sim(), Record::Model, "");
    EXPECT_EQ(bad & BSP_GetModelFromCpld(buf, 16), -1);
}

TEST_F(Frame, ConfigRecord)
{
    uint8_t cfg[100] = "2U2C;disks=25;psu=2;fans=4", zero[64] = {}, buf[64] = {};
    EXPECT_EQ(BSP_GetProductCfgInfoFromCpld(buf, 64), 0);
    EXPECT_EQ(hex_of(buf, 64), hex_of(cfg, 64));
    // Unlike the model, a copy that cannot be made fails; so does a failed RAM read.
    EXPECT_EQ(BSP_GetProductCfgInfoFromCpld(nullptr, 64), -1);
    sim().fail(Op::LocalBusRead, 1, -1, 0xBC, 5);
    EXPECT_EQ(BSP_GetProductCfgInfoFromCpld(buf, 64), -1);
    EXPECT_EQ(log_line(), "2:get bmc boardid (0x5) | 0:Copy product cfg info failed ret=22. | 0:read cpld byte error. | 0:Get cpldram 0xd9a1 failed");
    forget();
    // The same configuration (from a longer buffer), too short a one, an erased one: not written;
    // the erased one answers what reading the stored one answered.
    EXPECT_EQ(BSP_SetProductCfgInfoToCpldRam(cfg, 100) | BSP_SetProductCfgInfoToCpldRam(zero, 64), 0);
    EXPECT_EQ(BSP_SetProductCfgInfoToCpldRam(cfg, 63) & BSP_SetProductCfgInfoToCpldRam(nullptr, 64), -1);
    bspsim::corrupt_record_check(sim(), Record::Config);
    EXPECT_EQ(BSP_SetProductCfgInfoToCpldRam(zero, 64), -1);
    EXPECT_EQ(ram_writes(sim()) + log_line(), "0:Set product cfg info to cpldram failed(len=63 is invalid)");
    // A new one: one range under one take of the semaphore, logged as hex; its status returned.
    forget();
    cfg[0] = '3';
    sim().fail(Op::SnprintfS);
    EXPECT_EQ(BSP_SetProductCfgInfoToCpldRam(cfg, 64), 0);
    EXPECT_EQ(count(Op::SemP) << 8 | sim().ram(0xD9DC), 2u << 8 | BSP_CalCrc8(0, cfg, 64));
    EXPECT_EQ(log_line(), "0:Error: copy cfgData failed. | 1:Set product cfg info() to cpldram(ret=0)");
    cfg[0] = '4';
    sim().fail(Op::LocalBusWrite, 1, -1, 0xBC, 64);
    sim().fail(Op::MemcpyS, 1, -1, bspsim::kAnyKey, 1);
    EXPECT_EQ(BSP_SetProductCfgInfoToCpldRam(cfg, 64) & BSP_SetProductCfgInfoToCpldRam(cfg, 64), -1);
    EXPECT_EQ(ram_writes(sim()).substr(0, 12), " 9c=33 9d=55");
    const std::string text = hex_of(cfg, 64) + h2(BSP_CalCrc8(0, cfg, 64));
    EXPECT_EQ(log_line().substr(log_line().rfind(" | ")), " | 1:Set product cfg info(" + text + ") to cpldram(ret=-1)");
}

// Refused before any access; when the board type cannot be read; on an SMM.
TEST_F(Frame, IoCardsRefused)
{
    EXPECT_EQ(BSP_CheckCtrlIdAndCardIdPair(1, 13) | BSP_CheckCtrlIdAndCardIdPair(0, 0) | BSP_CheckCtrlIdAndCardIdPair(3, 27), 0);
    EXPECT_EQ(BSP_CheckCtrlIdAndCardIdPair(1, 14) & BSP_CheckCtrlIdAndCardIdPair(1, 6) & BSP_CheckCtrlIdAndCardIdPair(4, 27), -1);
    EXPECT_EQ(BSP_GetIoCardOnlineStates(0, nullptr) & BSP_GetIoCardOnlineStates(28, g), -1);
    EXPECT_EQ(tr(), "");
    sim().fail(Op::DevOpen, 100);
    EXPECT_EQ(BSP_GetIoCardOnlineStates(0, g), -1);
    EXPECT_EQ(tr({Op::LocalBusRead, Op::LocalBusWrite}), "");
}
TEST_F(Frame, IoCardsRefusedOnSmm)
{
    sim().set_board_id(0x81);
    EXPECT_EQ(BSP_GetIoCardOnlineStates(0, g), -1);
    EXPECT_EQ(tr({Op::LocalBusRead, Op::LocalBusWrite}), "");
}

TEST_F(Frame, IoCards)
{
    if (uint32_t type = 0; BSP_GetBmcBoardType(&type) != 0) GTEST_SKIP() << "the controller's board type needs its slot, not known yet";
    bspsim::set_io_card(sim(), 27, true);
    forget();
    std::string got;
    for (uint8_t card : {1, 2, 8, 27}) got += res(BSP_GetIoCardOnlineStates(card, g), 1) + " ";
    EXPECT_EQ(got + tr({Op::LocalBusRead}).substr(tr({Op::LocalBusRead}).rfind(' ') + 1), "ok 01 ok 00 ok 01 ok 01 29b&08=1");
    sim().fail(Op::LocalBusRead, 1, -1, 0x298);
    EXPECT_EQ(BSP_GetIoCardOnlineStates(1, g), -1);
}
}  // namespace
