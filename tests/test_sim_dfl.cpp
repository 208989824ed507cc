// The simulated object framework as a platform: objects a profile declares, handles, typed
// values and who owns them, class methods with their scripted answers and recorded inputs,
// block-access chips, and the faults a test can arm. The library's wrappers are tested in test_dfl.cpp.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "bspsim/sim.hpp"
#include "platform/dfl.h"

namespace {

using bspsim::Op;

// Prints the values the framework handed out ("a, b") and releases them, as their owner does;
// each was counted live until then.
std::string take_outputs(GSList *list)
{
    std::string out;
    size_t live = bspsim::live_values(), n = 0;
    for (GSList *l = list; l; l = l->next, ++n) {
        g_autofree gchar *t = g_variant_print(static_cast<GVariant *>(l->data), TRUE);
        out += (out.empty() ? "" : ", ") + std::string(t);
    }
    uip_free_gvariant_list(list);
    EXPECT_EQ(live - bspsim::live_values(), n) << out;
    return out;
}

// A method called without inputs: its outputs, or "!CODE" when it fails (leaving them alone).
std::string call(OBJ_HANDLE h, const char *method)
{
    GSList *out = reinterpret_cast<GSList *>(0x1);
    if (int32_t rc = dfl_call_class_method(h, method, nullptr, nullptr, &out); rc != 0)
        return out == reinterpret_cast<GSList *>(0x1) ? "!" + std::to_string(rc) : "!touched";
    return take_outputs(out);
}

// Two fans of one class; Fan0 has a stored Level, a hardware-only Pin, a block and methods of
// its own. The profile stays while the board lives: a reset reads it again.
class SimDfl : public ::testing::Test {
protected:
    ~SimDfl() override { std::remove(profile_.c_str()); }
    static std::string write_profile(const std::string &path)
    {
        std::ofstream(path) << "[profile]\nbase=default\n[class:Fan]\nmethod.GetPst=(byte 0x01,)\n[object:Fan1]\nclass=Fan\n"
                               "[object:Fan0]\nclass=Fan\nLevel=byte 0x10\nhw.Pin=byte 0x01\nblock.Mcu=8 0x26 0x27\n"
                               "method.GetWtdFlag=(uint32 0,)\nmethod.SetWtdFlag=()\n";
        return path;
    }
    const std::string profile_ = write_profile("/tmp/dfl-profile-" + std::to_string(getpid()) + ".ini");
    std::unique_ptr<bspsim::Board> board_ = bspsim::Board::create(profile_);
    OBJ_HANDLE fan0_ = board_->handle_of("Fan0"), fan1_ = board_->handle_of("Fan1");
};

// Handles and names, typed reads, refused and missing properties, faults keyed by handle, type
// mismatches, hardware-only properties and the option words are seen through the library's
// wrappers (test_dfl, test_chip, test_mcu). Here: who owns a value, and writes the library
// never sends.
TEST_F(SimDfl, ValuesOwnedByTheCallerAndWritesRefused)
{
    OBJ_HANDLE h = 0x77;
    EXPECT_EQ(dfl_get_object_handle("NoSuchObject", &h), bspsim::kDflNoObject);
    EXPECT_EQ(h, 0x77u);
    // Getters hand out a reference of the caller's own; the setter takes none, or refuses.
    GVariant *stored = nullptr, *hw = nullptr;
    ASSERT_EQ(dfl_get_property_value(fan0_, "Level", &stored) | dfl_get_hardware_value(fan0_, "Pin", &hw, 64), 0);
    EXPECT_FALSE(g_variant_is_floating(stored));
    GVariant *extra = g_variant_ref(stored);
    EXPECT_EQ(bspsim::live_values(), 2u);
    g_variant_unref(stored);
    g_variant_unref(hw);
    EXPECT_EQ(bspsim::live_values(), 1u) << "the count follows the last reference, not the first release";
    g_variant_unref(extra);
    EXPECT_EQ(bspsim::live_values(), 0u);
    struct Case { OBJ_HANDLE handle; const char *property, *value; int32_t result; };  // value nullptr: none
    for (const Case &c : std::vector<Case>{
             {.handle = fan0_, .property = "Level", .value = "byte 0x21", .result = 0},
             {.handle = fan0_, .property = "Missing", .value = "byte 7", .result = bspsim::kDflNoProperty},
             {.handle = fan0_, .property = "Level", .value = nullptr, .result = bspsim::kDflBadValue},
             {.handle = 0, .property = "Level", .value = "byte 7", .result = bspsim::kDflNoObject},
         }) {
        GVariant *v = c.value ? g_variant_new_parsed(c.value) : nullptr;
        EXPECT_EQ(dfl_set_property_value(c.handle, c.property, v, 16), c.result) << c.property << " " << (c.value ? c.value : "null");
        EXPECT_TRUE(!v || g_variant_is_floating(v)) << "the setter took a reference";
        if (v) g_variant_unref(v);
    }
    EXPECT_EQ(board_->property("Fan0", "Level") + board_->property("Fan0", "Missing"), "byte 0x21");
}

TEST_F(SimDfl, MethodsAnswerObjectThenClassScriptedThenStandingAndRecordInputs)
{
    GVariant *flag = g_variant_new_byte(1);
    GSList *in = g_slist_append(g_slist_append(nullptr, flag), g_variant_ref_sink(g_variant_new_uint32(9)));
    ASSERT_EQ(dfl_call_class_method(fan0_, "SetWtdFlag", nullptr, in, nullptr), 0);
    EXPECT_TRUE(g_variant_is_floating(flag)) << "inputs are not consumed";
    uip_free_gvariant_list(in);

    board_->set_class_method("Fan", "GetSpeed", "(uint16 100,)");
    board_->set_method("Fan1", "GetPst", "(byte 0x00, uint32 7)");
    board_->script_method("Fan0", "GetWtdFlag", {"(uint32 1,)", "(uint32 2,)"});
    EXPECT_THROW(board_->script_method("Fan0", "GetFanInfo", {"()"}), std::runtime_error);
    EXPECT_THROW(board_->set_method("Fan0", "GetPst", "byte 1"), std::runtime_error);
    board_->fail(Op::DflCallMethod, 1, 55, static_cast<uint32_t>(fan0_), 1);
    std::string answers;
    for (auto [h, method] : std::vector<std::pair<OBJ_HANDLE, const char *>>{{fan0_, "GetPst"}, {fan1_, "GetPst"},
             {fan0_, "SetWtdFlag"}, {fan1_, "GetSpeed"}, {fan0_, "GetFanInfo"}, {0, "GetPst"}, {fan0_, "GetWtdFlag"}, {fan0_, "GetWtdFlag"},
             {fan0_, "GetWtdFlag"}, {fan0_, "GetWtdFlag"}})
        answers += call(h, method) + "; ";
    EXPECT_EQ(answers, "byte 0x01; byte 0x00, uint32 7; !55; uint16 100; !-6; !-2; uint32 1; uint32 2; uint32 0; uint32 0; ");
    std::string calls;
    for (const auto &c : board_->method_calls())
        calls += c.object + "." + c.method + "(" + (c.inputs.empty() ? "" : c.inputs[0] + "," + c.inputs.back()) + ")=" + std::to_string(c.result) + " ";
    EXPECT_EQ(calls, "Fan0.SetWtdFlag(byte 0x01,uint32 9)=0 Fan0.GetPst()=0 Fan1.GetPst()=0 Fan0.SetWtdFlag()=55 Fan1.GetSpeed()=0 "
                     "Fan0.GetFanInfo()=-6 ?.GetPst()=-2 Fan0.GetWtdFlag()=0 Fan0.GetWtdFlag()=0 Fan0.GetWtdFlag()=0 Fan0.GetWtdFlag()=0 ");
    EXPECT_EQ(std::make_pair(board_->events().at(0).b, board_->events().at(2).value), std::make_pair(2u, 2u)) << "inputs, outputs";
    board_->reset();
    EXPECT_TRUE(board_->method_calls().empty());
    EXPECT_EQ(call(fan1_, "GetPst") + "; " + call(fan0_, "GetWtdFlag"), "byte 0x01; uint32 0") << "the profile's answers again";
}

TEST_F(SimDfl, BlocksMoveBytesAtAnOffsetOrLeaveEverythingAlone)
{
    EXPECT_EQ(board_->block("Fan0", "Mcu"), (std::vector<uint8_t>{0x26, 0x27, 0, 0, 0, 0, 0, 0})) << "as the profile declares";
    board_->set_block("Fan0", "Mcu", {10, 11, 12, 13, 14, 15});
    board_->fail(Op::DflBlockWrite, 1, 66, static_cast<uint32_t>(fan0_), 1);
    struct Case { bool write; const char *property; uint32_t offset, length; };
    std::string read;
    for (const Case &c : std::vector<Case>{{.write = false, .property = "Mcu", .offset = 2, .length = 3},
                                           {.write = true, .property = "Mcu", .offset = 4, .length = 2},
                                           {.write = true, .property = "Mcu", .offset = 0, .length = 2},
                                           {.write = false, .property = "Mcu", .offset = 5, .length = 2},
                                           {.write = true, .property = "Mcu", .offset = 7, .length = 0},
                                           {.write = false, .property = "Other", .offset = 0, .length = 1}}) {
        uint8_t b[4] = {1, 2, 0, 0};
        c.write ? dfl_block_write(fan0_, c.property, c.offset, c.length, b) : dfl_block_read(fan0_, c.property, c.offset, c.length, b);
        for (uint8_t x : b) read += std::to_string(x) + ",";
        read.back() = ' ';
    }
    EXPECT_EQ(read, "12,13,14,0 1,2,0,0 1,2,0,0 1,2,0,0 1,2,0,0 1,2,0,0 ") << "read 3 bytes at 2, and nothing else";
    EXPECT_EQ(board_->block("Fan0", "Mcu"), (std::vector<uint8_t>{10, 11, 12, 13, 1, 2}));
    EXPECT_EQ(board_->transcript(), "dfl_block_read Fan0.Mcu@2+3 dfl_block_write Fan0.Mcu@4+2 dfl_block_write Fan0.Mcu@0+2!66 "
                                    "dfl_block_read Fan0.Mcu@5+2!bad dfl_block_write Fan0.Mcu@7+0!bad dfl_block_read Fan0.Other@0+1!-3");
    board_->reset();
    EXPECT_EQ(board_->block("Fan0", "Mcu").size(), 8u) << "a reset goes back to the profile";
}

}  // namespace
