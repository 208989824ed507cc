// Device models from the platform side: the kinds of CPLD registers, the serial port's line
// settings, one order of fault and validation at every entry point, and a test API that refuses
// what the board does not have.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bspsim/services.hpp"
#include "bspsim/sim.hpp"
#include "bspsim/tty.hpp"
#include "platform/bus.h"
#include "platform/cpld_drv.h"
#include "platform/gpio.h"

namespace {

using bspsim::Op;

// One byte over the local bus: a write when `value` is given, else a read.
void bus(uint32_t addr, int value = -1)
{
    uint8_t byte = static_cast<uint8_t>(value);
    LocalBusRequest req{.reserved0 = 0, .mode = 0, .addr = addr, .len = 1, .mask = 0, .reserved1 = 0, .data = &byte};
    value < 0 ? local_bus_read(&req) : local_bus_write(&req);
}

TEST(SimCpld, RegisterKindsAsTheBusSeesThem)
{
    // guard: register 0x44; transcript: a read, the write, a read
    struct Case { const char *definition; uint8_t before = 0, guard = 0, write; const char *transcript; };
    for (const Case &c : std::vector<Case>{
             {.definition = "0x40 ro", .before = 0x5A, .write = 0xFF, .transcript = "rd 40=5a wr 40=ff!wp rd 40=5a"},
             {.definition = "0x40 w1c", .before = 0xF0, .write = 0x30, .transcript = "rd 40=f0 wr 40=30 rd 40=c0"},
             {.definition = "0x40 selftest", .write = 0x5A, .transcript = "rd 40=ff wr 40=5a rd 40=a5"},
             {.definition = "0x40 protect 0x0F 0x44 0x01 0x00", .guard = 1, .write = 0xFF, .transcript = "rd 40=00 wr 40=ff!wp rd 40=f0"},
             {.definition = "0x40 protect 0x0F 0x44 0x01 0x00", .write = 0xFF, .transcript = "rd 40=00 wr 40=ff rd 40=ff"},
             {.definition = "0x40 reset 0x77 plain", .write = 0x01, .transcript = "rd 40=77 wr 40=01 rd 40=01"},
         }) {
        auto board = bspsim::Board::create();
        board->set_reg(0x40, c.before);
        board->set_reg(0x44, c.guard);
        board->map_register("r", c.definition);
        bus(0x40);
        bus(0x40, c.write);
        bus(0x40);
        EXPECT_EQ(board->transcript(), c.transcript) << c.definition;
    }
    EXPECT_THROW(bspsim::Board::create()->map_register("r", "0x40 protect 0x0F 0x400 1 0"), bspsim::Error);
}

// The flags both ways (test view and termios calls) and their transcript are seen through the
// library in test_rst (the reboot's console); here what the library never does.
TEST(SimTty, LineSpeedAndABadActionRefused)
{
    auto board = bspsim::Board::create();
    int fd = open("/dev/ttyS0", O_RDWR);
    termios t{};
    ASSERT_EQ(tcgetattr(fd, &t), 0);
    EXPECT_EQ(cfgetospeed(&t), B115200);
    EXPECT_EQ(tcsetattr(fd, 99, &t), -1);
    close(fd);
    EXPECT_EQ(board->transcript(), "open tty tcget tty tcset tty!bad close tty");
}

// An armed fault fires before the request is looked at: a malformed request fails with the
// injected code first, then is refused as malformed.
TEST(SimCalls, FaultBeforeValidationEverywhere)
{
    auto board = bspsim::Board::create();
    struct Case { Op op; std::function<int32_t()> call; };
    for (const Case &c : std::vector<Case>{
             {.op = Op::LocalBusRead, .call = [] { return local_bus_read(nullptr); }},
             {.op = Op::SpiWrite, .call = [] { return spi_write(nullptr); }},
             {.op = Op::GpioRead, .call = [] { return gpio_read(999, nullptr, 1); }},
             {.op = Op::CpldSetNum, .call = [] { return cpld_set_num(0); }},
             {.op = Op::CpldGetId, .call = [] { return cpld_get_id(nullptr); }},
         }) {
        board->fail(c.op, 1, -7);
        EXPECT_EQ(c.call(), -7) << bspsim::op_name(c.op);
        EXPECT_EQ(c.call(), -1) << bspsim::op_name(c.op);
    }
    EXPECT_EQ(board->transcript(), "rd 0=00!-7 rd 0=00!bad swr 0=00!-7 swr 0=00!bad gr 999=0!-7 gr 999=0!bad cpldnum 0!-7 "
                                   "cpldnum 0!bad cpldid 0=0!-7 cpldid 0=0!bad");
}

TEST(SimApi, RefusesWhatTheBoardDoesNotHave)
{
    auto board = bspsim::Board::create();
    EXPECT_THROW(board->set_ram(0x10000, 1), std::out_of_range);
    EXPECT_THROW(board->set_pin(1, 2), std::out_of_range);
    EXPECT_THROW(board->set_reg(0x400, 1), std::out_of_range);
    EXPECT_THROW(board->script(bspsim::Source::Pin, 1, {0, 2}), std::out_of_range);
    board->set_ram(0xFFFF, 0x5A);
    EXPECT_EQ(board->ram(0x1FFF), 0x5A) << "the window shows the RAM every 8 KiB";
    EXPECT_THAT([&] { board->reg(0x400); },
                testing::ThrowsMessage<std::out_of_range>(testing::StrEq("CPLD register 0x400 out of range (0 to 0x3FF)")));
}

// The small services' models: a profile states units, the registers render them, and neither
// the profile nor the test API can name a unit the board does not have.
TEST(SimServices, ProfilesStateUnitsAndNothingElse)
{
    auto with = [](const std::string &sections) {
        const std::string ini = testing::TempDir() + "services.ini";
        std::ofstream(ini) << "[profile]\nbase=arm-2u2c\n" << sections;
        struct Gone { const std::string &path; ~Gone() { std::remove(path.c_str()); } } gone{ini};
        return bspsim::Board::create(ini);
    };
    auto b = with("[leds]\nframe-fault=on\n[uart_switch]\nports=0, 5\nport=5\n[pcie]\ncores=off\n[ssd]\nrecorded=3, 9\n");
    EXPECT_EQ((std::vector<uint8_t>{b->reg(0x13), b->reg(0x5F), b->reg(0xEE), b->reg(0xFF), b->reg(0x1B4), b->reg(0x1B5)}),
              (std::vector<uint8_t>{0x04, 0x01, 5, 0, 0x08, 0x02}));
    EXPECT_EQ(bspsim::uart_ports(*b), (std::vector<uint8_t>{0, 5}));
    EXPECT_THROW(bspsim::set_uart_port(*b, 1), bspsim::Error);
    EXPECT_THROW(bspsim::set_led(*b, "beacon", true), bspsim::Error);
    EXPECT_THROW(bspsim::set_ssd_present(*b, bspsim::kSsdCount, true), std::out_of_range);
    for (auto [sections, says] : {std::pair{"[leds]\nbeacon=on\n", "no LED named 'beacon'"},
                                  {"[uart_switch]\nports=0, 1\nport=2\n", "port is not one of the switch's ports"},
                                  {"[ssd]\npresent=32\n", "present: no SSD 32"}, {"[pcie]\ncores=half\n", "on or off"}}) {
        EXPECT_THAT([&] { with(sections); }, testing::ThrowsMessage<bspsim::Error>(testing::HasSubstr(says)));
    }
}

}  // namespace
