// Slot identification and the enclosure WWN: the straps, the CPLD slot register and its repair,
// the WWN's slot nibble as the last resort, the opposite and master slots; WWN and MAC both
// ways, and the WWN record in the CPLD RAM.
#include "bspsim/slots.hpp"
#include "platform/vos.h"
#include "test_helpers.h"

namespace {

using bspsim::Op, bspsim::slots, bsptest::CallCase, bsptest::res, bsptest::g_out, bsptest::PrintTo;
using B = bspsim::Board;
uint8_t *const g = g_out;

class SlotCall : public bsptest::CallTest {};
TEST_P(SlotCall, ShowsWhatItDid) { run(); }


// The strap value `raw` read as board `id`'s straps: the board-type pins are set to inputs first,
// then the pins read.
const std::string kInit81 = "gi 50=in gi 52=in gi 53=in ", kInit05 = "gi 26=in gi 27=in gi 28=in ";
std::string straps(B &b, uint8_t raw, uint8_t id)
{
    b.clear_events();
    slots(b).set_strap(raw);
    g_out[0] = 0xEE;
    std::string out = res(static_cast<uint32_t>(BSP_GetBoardSlotFromGpio(id, g_out)), 1);
    return out + " [" + b.transcript({Op::GpioInit, Op::GpioRead}) + "]";
}
uint32_t st(int32_t rc) { return static_cast<uint32_t>(rc); }
std::string board_slot() { return res(st(BSP_GetBoardSlot(g_out)), 1); }
std::string repair() { return res(st(BSP_RepairCtrlSlotID(0, g_out)), 1); }
std::string master() { return res(st(BSP_GetMasterBoardSlot(reinterpret_cast<uint32_t *>(g_out))), 1); }
// The opposite slots of slots 0 to n-1.
std::string opposites(uint8_t n)
{
    std::string out;
    for (uint8_t s = 0; s < n; ++s) out += res(st(BSP_GetoplanarOppCtrlSlotID(g_out, s)), 1) + ", ";
    return out;
}
// The status and the WWN of MAC a0:11:22:33:44:55.
std::string mac_to_wwn()
{
    constexpr uint8_t kMac[6] = {0xA0, 0x11, 0x22, 0x33, 0x44, 0x55};
    uint64_t wwn = 0;
    int32_t rc = BSP_MacToWWN(kMac, &wwn);
    return res(st(rc)) + " " + bsptest::hex(static_cast<uint32_t>(wwn >> 32)) + bsptest::hex(static_cast<uint32_t>(wwn));
}
// The bus record of reading the WWN record (its bytes in hex, blank-separated) through the RAM window.
std::string wwn_read(const std::string &bytes)
{
    std::string out = "P29";
    char a[20];
    for (size_t i = 0; i < bytes.size(); i += 3) {
        std::snprintf(a, sizeof a, "%02zx", i / 3 + 1);
        out += std::string(" wr ba=") + a + " wr bb=18 rd bc=" + bytes.substr(i, 2);
    }
    return out + " V29";
}
// The default profile's record (MAC 02:00:00:20:00:20, slot 0), and one of 00:11:22:33:44:55 on slot 2.
const std::string kProfileWwn = wwn_read("55 39 00 02 00 02 00 20 50 b5");
const std::string kSlot2Wwn = wwn_read("55 39 52 45 34 23 12 01 50 fd");

const CallCase kCases[] = {
    // Straps: three pins with parity (an SMM's own pins), two pins on two-controller boards.
    {.name = "FourControllerStraps", .profile = "smm",
     .call = [](B &b) { return bsptest::joined({straps(b, 5, 0x81), straps(b, 1, 0x81), straps(b, 6, 0x81)}); },
     .out = "ok 01 [" + kInit81 + "gr 50=1 gr 53=0 gr 52=1], err ff [" + kInit81 + "gr 50=1 gr 53=0 gr 52=0], ok 02 [" + kInit81 +
            "gr 50=0 gr 53=1 gr 52=1]"},
    {.name = "TwoControllerStraps",
     .call = [](B &b) { return bsptest::joined({straps(b, 2, 0x05), straps(b, 3, 0x05), straps(b, 1, 0x05)}); },
     .out = "ok 00 [" + kInit05 + "gr 26=0 gr 27=1], err ff [" + kInit05 + "gr 26=1 gr 27=1], ok 01 [" + kInit05 + "gr 26=1 gr 27=0]"},
    {.name = "NoStrapsOnThisBoard", .call = [](B &b) { return straps(b, 5, 0x71); }, .out = "err ee []"},
    {.name = "PinReadsRetried", .faults = {{Op::GpioRead, 2, -1, 27}, {Op::GpioRead, 3, -1, 26, 1}},
     .setup = [](B &b) { slots(b).set_strap(3); },
     .call = BSP_CALLS(BSP_GetSlotNumFromGpio(2), BSP_GetSlotNumFromGpio(2), BSP_GetSlotNumFromGpio(0)), .out = "3 2 ok"},
    // The whole search: straps, CPLD, WWN; the answer is cached.
    {.name = "FromStrapsCached", .setup = [](B &b) { slots(b).set_slot(1); },
     .call = [](B &b) { return bsptest::joined({board_slot(), (slots(b).set_slot(0), board_slot())}); }, .out = "ok 01, ok 01"},
    {.name = "FromCpld", .profile = "4u4c", .setup = [](B &b) { slots(b).set_slot(3); }, .call = [](B &) { return board_slot(); },
     .out = "ok 03", .trace = "srd 32=03"},
    {.name = "FromCpldRepaired", .profile = "4u4c", .setup = [](B &b) { slots(b).set_code(7); },
     .call = [](B &b) { return bsptest::joined({board_slot(), bsptest::hex(slots(b).repaired())}); }, .out = "ok 00, 0xA0",
     .trace = "srd 32=07 srd 17=00 srd 33=0f srd 6a=65 srd 6b=03 swr 17=a0"},
    {.name = "FromWwn", .setup = [](B &b) { slots(b).set_strap(3).set_code(7).set_wwn(0x5001122334455239); },
     .call = [](B &) { return board_slot(); }, .out = "ok 02", .trace = "rd 32=07 " + kSlot2Wwn},
    {.name = "NothingTellsAnSmm", .profile = "smm", .setup = [](B &b) { slots(b).set_strap(1); b.set_ram(0xD801, 0x54); },
     .call = [](B &) { return board_slot(); }, .out = "err ff", .trace = wwn_read("54 39 00 04 00 08 00 20 50 df"),
     .log = "2:BSP: Board slot(0xff) is invalid"},
    {.name = "UnidentifiedBoard", .board = 0x50, .call = [](B &) { return board_slot(); }, .out = "ok ee",
     .log = "0:BSP: Board type is not be identified for getting slot"},
    // The CPLD path alone: a failed read, a two-controller board that cannot repair.
    {.name = "CpldReadFails", .faults = {{Op::LocalBusRead}}, .call = [](B &) {
         BSP_GetBoardSlotFromCpld(g_out), BSP_GetBoardSlotFromCpld(nullptr);
         return res(0, 1); }, .out = "ok ff", .trace = "rd 32=00!-1", .log = "0:read cpld byte error."},
    {.name = "TwoControllersDoNotRepair", .setup = [](B &b) { slots(b).set_code(7); },
     .call = [](B &) { BSP_GetBoardSlotFromCpld(g_out); return res(0, 1); }, .out = "ok ff", .trace = "rd 32=07"},
    // Repair: the one code the other three leave free; recorded in 0x17 and answered from there.
    {.name = "RepairSlot1", .profile = "4u4c", .setup = [](B &b) { slots(b).set_peer_codes(0, 6, 3); },
     .call = [](B &) { return bsptest::joined({repair(), repair()}); }, .out = "ok 01, ok 01",
     .trace = "srd 17=00 srd 33=0f srd 6a=60 srd 6b=03 swr 17=a5 srd 17=a5"},
    {.name = "RepairReadsUnchecked", .board = 0x0A, .faults = {{Op::LocalBusRead, 1, -1, 0x6B}, {Op::LocalBusRead, 1, -1, 0x6A, 1}},
     .setup = [](B &b) { slots(b).set_online(0xF).set_peer_codes(5, 6, 3); },
     .call = [](B &b) { return bsptest::joined({repair(), (b.set_reg(0x17, 0), repair())}); }, .out = "ok 03, err 03",
     .trace = "rd 17=00 rd 33=0f rd 6a=65 rd 6b=00!-1 wr 17=a3 rd 17=00 rd 33=0f rd 6a=00!-1 rd 6b=03",
     .log = "0:read cpld byte error. | 0:read cpld byte error. | 1:Slot value abnormal, Reg(0x6a)Value(0x0),Reg(0x6b)Value(0x3)"},
    {.name = "RepairedBadCode", .profile = "4u4c", .regs = {{0x17, 0xA7}}, .call = [](B &) { return repair(); },
     .out = "ok ff", .trace = "srd 17=a7"},
    {.name = "RepairPeersRepeat", .profile = "4u4c", .call = [](B &b) {
         auto peers = [&b](uint8_t x, uint8_t y, uint8_t z) { return (slots(b).set_peer_codes(x, y, z), repair()); };
         return bsptest::joined({peers(0, 0, 3), peers(3, 6, 3), peers(5, 6, 6)}); }, .out = "err ee, err ee, err ee",
     .trace = "srd 17=00 srd 33=0f srd 6a=00 srd 6b=03 srd 17=00 srd 33=0f srd 6a=63 srd 6b=03 srd 17=00 srd 33=0f srd 6a=65 srd 6b=06",
     .log = "1:Slot value abnormal, Reg(0x6a)Value(0x0),Reg(0x6b)Value(0x3) | 1:Slot value abnormal, Reg(0x6a)Value(0x63),"
            "Reg(0x6b)Value(0x3) | 1:Slot value abnormal, Reg(0x6a)Value(0x65),Reg(0x6b)Value(0x6)"},
    {.name = "RepairPeerInvalid", .profile = "4u4c", .setup = [](B &b) { slots(b).set_peer_codes(5, 6, 7); },
     .call = [](B &) { return repair(); }, .out = "err ee", .trace = "srd 17=00 srd 33=0f srd 6a=65 srd 6b=07",
     .log = "1:Board Slot abnormal, Reg(0x6a)Value(0x65),Reg(0x6b)Value(0x7)"},
    {.name = "RepairOnlyFourControllers", .call = [](B &) { return repair() + " " + res(st(BSP_RepairCtrlSlotID(0, nullptr))); },
     .out = "err ee err"},
    // Codes and strap values to slots: slot of the code, valid, four-controller, two-controller strap.
    {.name = "Tables", .call = [](B &) {
         std::string out;
         for (uint8_t v = 0; v < 8; ++v) {
             BSP_ConvertSlotValue(v, g_out), BSP_ConvertSlotValue(v, nullptr);
             out += bsptest::joined({bsptest::hex(g_out[0]), std::to_string(BSP_IsSlotValueValidty(v)),
                                     bsptest::hex(BSP_Gpio2SlotIdFor4C(v)), bsptest::hex(BSP_Gpio2SlotIdFor2C(v))}, "") + " ";
         }
         return out; },
     .out = "0x010x00xFF 0xFF00x10x1 0xFF00x20x0 0x310x30xFF 0xFF00xFF0xFF 0x110xFF0xFF 0x210xFF0xFF 0xFF00xFF0xFF "},
    {.name = "TwoControllerOpposites", .call = [](B &) { return opposites(5); }, .out = "ok 01, ok 00, err 00, err 00, err 00, ",
     .log = "0:Can't find peer board for slot2 | 0:Can't find peer board for slot3 | 0:Can't find peer board for slot4"},
    {.name = "FourControllerOpposites", .board = 0x71, .call = [](B &) { return opposites(4); }, .out = "ok 02, ok 03, ok 00, ok 01, "},
    // Master slot from 0xE4: a changed value is read three more times, the last read counts.
    {.name = "MasterSettles", .setup = [](B &b) { b.script(bspsim::Source::Register, 0xE4, {0x55, 0x55, 0x55, 0xF4}); },
     .call = [](B &b) { return bsptest::joined({master(), (b.set_reg(0xE4, 0xF4), master()), res(st(BSP_GetMasterBoardSlot(nullptr)))}); },
     .out = "ok 01, ok 01, err", .trace = "rd e4=55 rd e4=55 delay 10 rd e4=55 delay 10 rd e4=f4 delay 10 rd e4=f4",
     .log = "0:Input para err"},
    {.name = "MasterAmbiguous", .regs = {{0xE4, 0x55}}, .faults = {{Op::LocalBusRead, 1, -1, 0xE4, 3}},
     .call = [](B &) { return master(); }, .out = "err ee",
     .trace = "rd e4=55 rd e4=55 delay 10 rd e4=55 delay 10 rd e4=00!-1 delay 10",
     .log = "0:read cpld byte error. | 0:Read cpld (0xe4) err | 1:Warning: CPLD appear more than one master or slave (1)(1)(1)(1)"},
    // The last value seen starts as 0xFF: a first 0xFF is not read again.
    {.name = "MasterNone", .regs = {{0xE4, 0x8E}}, .call = [](B &) { return master(); }, .out = "err ee", .trace = "rd e4=8e rd e4=8e delay 10 rd e4=8e delay 10 rd e4=8e delay 10",
     .log = "1:Warning: CPLD appear more than one master or slave (2)(3)(0)(2)"},
    // WWN and MAC: the slot goes in; a slot outside 0..3 (or none on an unknown board) is slot 1.
    {.name = "MacToWwnOnSlot2", .setup = [](B &b) { slots(b).set_slot(2).set_strap(0).set_code(6); },
     .call = [](B &) { return mac_to_wwn(); }, .out = "ok 0x5A0112230x34455239", .trace = "rd 32=06"},
    {.name = "MacToWwnOnSlot3", .setup = [](B &b) { slots(b).set_slot(3).set_strap(0); },
     .call = [](B &) { return mac_to_wwn(); }, .out = "ok 0x5A0112230x34455339", .trace = "rd 32=03"},
    {.name = "MacToWwnOddSlot", .setup = [](B &b) { slots(b).set_strap(3).set_code(7).set_wwn(0x5000000000000539); },
     .call = [](B &) { return mac_to_wwn(); }, .out = "ok 0x5A0112230x34455139",
     .trace = "rd 32=07 " + wwn_read("55 39 05 00 00 00 00 00 50 cf"), .log = "0:Board slot id err,slot[5]"},
    {.name = "MacToWwnUnknownBoard", .board = 0x50, .call = [](B &) { return mac_to_wwn(); }, .out = "ok 0x5A0112230x34455139",
     .log = "0:BSP: Board type is not be identified for getting slot | 0:Board slot id err,slot[255]"},
    {.name = "WwnToMac", .call = [](B &) {
         std::string out;
         for (uint32_t size : {6u, 2u, 1u, 0u, 7u}) {
             std::fill(std::begin(g_out), std::end(g_out), uint8_t{0xEE});
             out += res(st(BSP_WWNToMac(0x5001122334455239, g_out, size)), 6) + ", ";
         }
         return out + res(st(BSP_MacToWWN(g_out, nullptr)));
     }, .out = "ok 00 11 22 33 44 55, ok 44 55 ee ee ee ee, ok 55 ee ee ee ee ee, ok ee ee ee ee ee ee, err ee ee ee ee ee ee, err",
     .log = "0:Mac size (7) is invalid."},
    {.name = "FrameMac", .call = BSP_CALL(BSP_GetFrameMac(g, 6), 6), .out = "ok 02 00 00 20 00 20", .trace = kProfileWwn},
    {.name = "FrameMacRefused", .setup = [](B &b) { b.set_ram(0xD80A, 0xB4); },
     .call = [](B &) {
         return res(st(BSP_GetFrameMac(nullptr, 6))) + res(st(BSP_GetFrameMac(g_out, 7))) + res(st(BSP_GetFrameMac(g_out, 6)), 1);
     }, .out = "errerrerr ee", .trace = wwn_read("55 39 00 02 00 02 00 20 50 b4"), .log = "0:Get frame wwn failed."},
    {.name = "WwnCopyFailsLeniently", .faults = {{Op::MemcpyS}}, .call = BSP_CALL(BSP_GetWwnFromCpld(g), 1), .out = "ok ee",
     .trace = kProfileWwn, .log = "0:Error: copy wwn failed, result = -1."},
    {.name = "WwnReadFails", .faults = {{Op::LocalBusRead, 1, -1, 0xBC}}, .call = BSP_CALL(BSP_GetWwnFromCpld(g), 1),
     .out = "err ee", .trace = "P29 wr ba=01 wr bb=18 rd bc=00!-1 V29", .log = "0:read cpld byte error. | 0:Get cpldram 0xd801 failed"},
};
BSP_CASES(Slot, SlotCall, kCases);

using SlotTest = bsptest::SimTest;

// "Unable to repair": nothing while the ticks are within 300000 of the start, then ten
// messages, then silence until more than 300000 ticks after the tenth.
TEST_F(SlotTest, UnableToRepairIsRateLimited)
{
    known_board(0x71);
    bspsim::slots(sim()).set_online(0x07);
    auto logged = [this](int calls) {
        std::string out;
        for (int i = 0; i < calls; ++i) {
            forget();
            uint8_t slot = 0xEE;
            EXPECT_EQ(BSP_RepairCtrlSlotID(0, &slot), -1);
            out += log_line().empty() ? "." : "L";
        }
        return out + " ";
    };
    std::string got = logged(2);
    vos_task_delay(300000);
    got += logged(1);
    vos_task_delay(1);
    got += logged(11);
    vos_task_delay(300000);
    got += logged(1);
    vos_task_delay(1);
    got += logged(2);
    EXPECT_EQ(got, ".. . LLLLLLLLLL. . LL ");
    EXPECT_EQ(log_line(), "1:Bsp has 7 board online, unable to repair");
}

// Storing the WWN: each byte written, then read back, 5 ms apart; the same WWN is not rewritten;
// a read-back that never matches gives up after three rounds.
TEST_F(SlotTest, StoreTheWwn)
{
    const uint8_t mac[8] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77};
    bspsim::slots(sim()).set_slot(2).set_strap(0);
    known_board();
    auto record = [this] {
        std::string out;
        for (uint32_t a = 0xD801; a <= 0xD80A; ++a) out += " " + bsptest::hex(sim().ram(a));
        return out;
    };
    EXPECT_EQ(BSP_SetWwn2CpldRam(mac, 8), 0);
    EXPECT_EQ(record(), " 0x55 0x39 0x52 0x45 0x34 0x23 0x12 0x1 0x50 0xFD");
    EXPECT_EQ(tr({Op::Delay}), bsptest::times(20, "delay 5"));
    EXPECT_EQ(log_line(), "1:frameboard write wwn(55-39-52-45-34-23-12-1-50-fd) to ram, read wwn from ram "
                          "55-39-52-45-34-23-12-1-50-fd");
    forget();
    EXPECT_EQ(BSP_SetWwn2CpldRam(mac, 6), 0);
    EXPECT_EQ(tr({Op::Delay}) + log_line(), "");
    // A failed copy of the MAC carries on with zeros.
    sim().fail(Op::MemcpyS);
    EXPECT_EQ(BSP_SetWwn2CpldRam(mac, 6), 0);
    const std::string zeros = "55-39-2-0-0-0-0-0-50-dc";
    EXPECT_EQ(log_line(), "0:Error: copy mac failed, result = -1. | 1:frameboard write wwn(" + zeros + ") to ram, read wwn from ram " + zeros);
    // Two bytes of MAC, the rest zero; the RAM refuses every data write. Short or missing logs are not printed.
    forget();
    sim().fail(Op::LocalBusWrite, 99, -1, 0xBC);
    EXPECT_EQ(BSP_SetWwn2CpldRam(mac, 2), -1);
    EXPECT_EQ(tr({Op::Delay}), bsptest::times(60, "delay 5"));
    BSP_RecordWwnLog(mac, 8, mac, 10), BSP_RecordWwnLog(mac, 10, nullptr, 10);
    EXPECT_EQ(log_line().find("frameboard"), std::string::npos);
}

// Without the board id there is no slot, and the strap pins are those of any other board.
TEST_F(SlotTest, WithoutTheBoardId)
{
    sim().fail(Op::DevOpen, 9);
    uint64_t wwn = 0;
    const uint8_t mac[6] = {};
    EXPECT_EQ(bsptest::calls({st(BSP_GetBoardSlot(g_out)), st(BSP_MacToWWN(mac, &wwn)), BSP_GetSlotNumFromGpio(3)}),
              "err err 2");
    EXPECT_EQ(tr({Op::GpioRead}), "gr 26=0 gr 27=1 gr 28=0");
    const std::string no_id = "0:Error: open sys_info dev fail | ", no_slot = no_id + "0:BSP: Get Bmc BoardId Failed | ";
    EXPECT_EQ(log_line(), no_slot + no_slot + "0:Get ctrl slot id err[-1] | " + no_id + "0:Get board id faild.");
}

}  // namespace
