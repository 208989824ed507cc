// The simulated object framework as a platform: handles, typed values and who owns them,
// class methods with their scripted answers and recorded inputs, block-access chips, and the
// faults a test can arm. The library's wrappers are tested in test_dfl.cpp.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"
#include "platform/dfl.h"

namespace {

using bspsim::Op;

// Prints the values the framework handed out and releases them, as their owner does.
std::vector<std::string> take_outputs(GSList *list)
{
    std::vector<std::string> out;
    for (GSList *l = list; l; l = l->next) {
        gchar *t = g_variant_print(static_cast<GVariant *>(l->data), TRUE);
        out.emplace_back(t);
        g_free(t);
    }
    uip_free_gvariant_list(list);
    return out;
}

// Two fans; Fan0 has a stored Level and a hardware-only Pin.
class SimDfl : public ::testing::Test {
protected:
    void SetUp() override
    {
        sim().set_property("Fan0", "Level", "byte 0x10");
        sim().set_hardware_value("Fan0", "Pin", "byte 0x01");
    }
    bspsim::Board &sim() { return *board_; }

    std::unique_ptr<bspsim::Board> board_ = bspsim::Board::create();
    OBJ_HANDLE fan0_ = board_->add_object("Fan0", "Fan"), fan1_ = board_->add_object("Fan1", "Fan");
};

TEST_F(SimDfl, LooksObjectsUpAndFailsByHandle)
{
    OBJ_HANDLE h = 0;
    ASSERT_EQ(dfl_get_object_handle("Fan1", &h), 0);
    EXPECT_EQ(h, fan1_);
    EXPECT_STREQ(dfl_get_object_name(h), "Fan1");
    h = 0x77;
    EXPECT_EQ(dfl_get_object_handle("NoSuchObject", &h), bspsim::kDflNoObject);
    EXPECT_EQ(h, 0x77u);
    EXPECT_EQ(dfl_get_object_name(0), nullptr);
    EXPECT_EQ(sim().transcript(), "dfl_get_handle Fan1 dfl_get_name Fan1 dfl_get_handle NoSuchObject!-2 dfl_get_name!-2");

    // Faults are keyed by the handle's low 32 bits.
    sim().clear_events();
    sim().fail(Op::DflGetProp, 1, 1234, static_cast<uint32_t>(fan0_));
    GVariant *v = nullptr;
    // Another object's call does not use the fault up.
    EXPECT_EQ(dfl_get_property_value(fan1_, "Level", &v), bspsim::kDflNoProperty);
    EXPECT_EQ(dfl_get_property_value(fan0_, "Level", &v), 1234);
    EXPECT_EQ(v, nullptr);
    ASSERT_EQ(dfl_get_property_value(fan0_, "Level", &v), 0);
    EXPECT_EQ(take_outputs(g_slist_append(nullptr, v)).at(0), "byte 0x10");
    EXPECT_EQ(sim().transcript(), "dfl_get_prop Fan1.Level!-3 dfl_get_prop Fan0.Level!1234 dfl_get_prop Fan0.Level");
    EXPECT_EQ(sim().events().at(1).flags, bspsim::kFlagInjected);
}

TEST_F(SimDfl, GettersHandOutAReferenceSetterTakesNoneOrRefuses)
{
    ASSERT_EQ(bspsim::live_values(), 0u);
    GVariant *stored = nullptr, *hw = nullptr;
    ASSERT_EQ(dfl_get_property_value(fan0_, "Level", &stored) | dfl_get_hardware_value(fan0_, "Pin", &hw, 64), 0);
    EXPECT_FALSE(g_variant_is_floating(stored));
    EXPECT_EQ(bspsim::live_values(), 2u);
    // The count follows the last reference, not the first release.
    GVariant *extra = g_variant_ref(stored);
    g_variant_unref(stored);
    g_variant_unref(hw);
    EXPECT_EQ(bspsim::live_values(), 1u);
    g_variant_unref(extra);
    EXPECT_EQ(bspsim::live_values(), 0u);

    GVariant *v = g_variant_new_byte(0x21);
    ASSERT_EQ(dfl_set_property_value(fan0_, "Level", v, 16), 0);
    EXPECT_TRUE(g_variant_is_floating(v));
    g_variant_unref(v);
    EXPECT_EQ(sim().property("Fan0", "Level"), "byte 0x21");
    EXPECT_EQ(sim().events(Op::DflGetHw).at(0).b + sim().events(Op::DflSetProp).at(0).b, 64u + 16u) << "options";

    // Refusals, and a property with only a hardware source is written there.
    struct Case { OBJ_HANDLE handle; const char *property, *value; int32_t result; };  // value nullptr: none
    for (const Case &c : std::vector<Case>{
             {.handle = fan0_, .property = "Level", .value = "uint16 7", .result = bspsim::kDflTypeMismatch},
             {.handle = fan0_, .property = "Missing", .value = "byte 7", .result = bspsim::kDflNoProperty},
             {.handle = fan0_, .property = "Level", .value = nullptr, .result = bspsim::kDflBadValue},
             {.handle = 0, .property = "Level", .value = "byte 7", .result = bspsim::kDflNoObject},
         }) {
        GVariant *v = c.value ? g_variant_parse(nullptr, c.value, nullptr, nullptr, nullptr) : nullptr;
        EXPECT_EQ(dfl_set_property_value(c.handle, c.property, v, 0), c.result) << c.property << " " << (c.value ? c.value : "null");
        if (v) g_variant_unref(v);
    }
    v = g_variant_ref_sink(g_variant_new_byte(0));
    ASSERT_EQ(dfl_set_property_value(fan0_, "Pin", v, 16), 0);
    g_variant_unref(v);
    EXPECT_EQ(sim().property("Fan0", "Level") + sim().property("Fan0", "Missing") + sim().property("Fan0", "Pin"), "byte 0x21");
    EXPECT_EQ(sim().hardware_value("Fan0", "Pin"), "byte 0x00");
}

TEST_F(SimDfl, ObjectThenClassMethodScriptedThenStandingElseRefused)
{
    sim().set_class_method("Fan", "GetPst", "(byte 0x01,)");
    sim().set_method("Fan1", "GetPst", "(byte 0x00, uint32 7)");
    GSList *out0 = nullptr, *out1 = nullptr;
    ASSERT_EQ(dfl_call_class_method(fan0_, "GetPst", nullptr, nullptr, &out0), 0);
    ASSERT_EQ(dfl_call_class_method(fan1_, "GetPst", nullptr, nullptr, &out1), 0);
    EXPECT_EQ(bspsim::live_values(), 3u);
    EXPECT_EQ(take_outputs(out0), std::vector<std::string>{"byte 0x01"});
    EXPECT_EQ(take_outputs(out1), (std::vector<std::string>{"byte 0x00", "uint32 7"}));
    EXPECT_EQ(bspsim::live_values(), 0u);
    EXPECT_EQ(sim().events().at(1).value, 2u) << "outputs answered";
    GSList *out = nullptr;
    EXPECT_EQ(dfl_call_class_method(fan0_, "GetFanInfo", nullptr, nullptr, &out), bspsim::kDflNoMethod);
    EXPECT_EQ(dfl_call_class_method(0, "GetPst", nullptr, nullptr, &out), bspsim::kDflNoObject);
    EXPECT_EQ(out, nullptr);
    EXPECT_THROW(sim().script_method("Fan0", "GetFanInfo", {"()"}), std::runtime_error);
    EXPECT_THROW(sim().set_method("Fan0", "GetPst", "byte 1"), std::runtime_error);

    sim().set_method("Fan0", "GetWtdFlag", "(uint32 0,)");
    sim().script_method("Fan0", "GetWtdFlag", {"(uint32 1,)", "(uint32 2,)"});
    std::string answers;
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(dfl_call_class_method(fan0_, "GetWtdFlag", nullptr, nullptr, &out), 0);
        answers += take_outputs(out).at(0) + " ";
    }
    EXPECT_EQ(answers, "uint32 1 uint32 2 uint32 0 uint32 0 ");
}

TEST_F(SimDfl, MethodCallsRecordInputsWithoutConsumingThem)
{
    sim().set_method("Fan0", "SetWtdFlag", "()");
    GVariant *flag = g_variant_new_byte(1);
    GSList *in = g_slist_append(g_slist_append(nullptr, flag), g_variant_ref_sink(g_variant_new_uint32(9)));
    ASSERT_EQ(dfl_call_class_method(fan0_, "SetWtdFlag", nullptr, in, nullptr), 0);
    EXPECT_TRUE(g_variant_is_floating(flag));
    uip_free_gvariant_list(in);
    sim().fail(Op::DflCallMethod, 1, 55, static_cast<uint32_t>(fan0_));
    GSList *out = reinterpret_cast<GSList *>(0x1);  // a failed call leaves it alone
    EXPECT_EQ(dfl_call_class_method(fan0_, "SetWtdFlag", nullptr, nullptr, &out), 55);
    EXPECT_EQ(out, reinterpret_cast<GSList *>(0x1));

    std::string calls;
    for (const auto &c : sim().method_calls())
        calls += c.object + "." + c.method + "(" + (c.inputs.empty() ? "" : c.inputs[0] + "," + c.inputs.back()) + ")=" + std::to_string(c.result) + " ";
    EXPECT_EQ(calls, "Fan0.SetWtdFlag(byte 0x01,uint32 9)=0 Fan0.SetWtdFlag()=55 ");
    EXPECT_EQ(sim().events().at(0).b, 2u) << "inputs given";
    EXPECT_EQ(sim().transcript(), "dfl_call_method Fan0.SetWtdFlag dfl_call_method Fan0.SetWtdFlag!55");
}

TEST_F(SimDfl, BlocksMoveBytesAtAnOffsetOrLeaveEverythingAlone)
{
    sim().set_block("Fan0", "Mcu", {0x10, 0x11, 0x12, 0x13, 0x14, 0x15});
    uint8_t buf[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    ASSERT_EQ(dfl_block_read(fan0_, "Mcu", 2, 3, buf), 0);
    EXPECT_EQ(std::vector<uint8_t>(buf, buf + 4), (std::vector<uint8_t>{0x12, 0x13, 0x14, 0xEE}));
    const uint8_t data[2] = {0xA1, 0xA2};
    ASSERT_EQ(dfl_block_write(fan0_, "Mcu", 4, 2, data), 0);
    EXPECT_EQ(sim().block("Fan0", "Mcu"), (std::vector<uint8_t>{0x10, 0x11, 0x12, 0x13, 0xA1, 0xA2}));

    sim().set_block("Fan0", "Mcu", {1, 2, 3, 4});
    sim().fail(Op::DflBlockWrite, 1, 66, static_cast<uint32_t>(fan0_));
    std::vector<int32_t> results;
    struct Case { bool write; const char *property; uint32_t offset, length; };
    for (const Case &c : std::vector<Case>{{.write = true, .property = "Mcu", .offset = 0, .length = 2},
                                           {.write = false, .property = "Mcu", .offset = 3, .length = 2},
                                           {.write = true, .property = "Mcu", .offset = 5, .length = 0},
                                           {.write = false, .property = "Other", .offset = 0, .length = 1}}) {
        uint8_t b[4] = {9, 9, 9, 9};
        results.push_back(c.write ? dfl_block_write(fan0_, c.property, c.offset, c.length, b)
                                  : dfl_block_read(fan0_, c.property, c.offset, c.length, b));
        EXPECT_EQ(b[0], 9);
    }
    EXPECT_EQ(results, (std::vector<int32_t>{66, bspsim::kDflOutOfRange, bspsim::kDflOutOfRange, bspsim::kDflNoProperty}));
    EXPECT_EQ(sim().block("Fan0", "Mcu"), (std::vector<uint8_t>{1, 2, 3, 4}));
    EXPECT_EQ(sim().transcript({Op::DflBlockRead, Op::DflBlockWrite}),
              "dfl_block_read Fan0.Mcu@2+3 dfl_block_write Fan0.Mcu@4+2 dfl_block_write Fan0.Mcu@0+2!66 "
              "dfl_block_read Fan0.Mcu@3+2!bad dfl_block_write Fan0.Mcu@5+0!bad dfl_block_read Fan0.Other@0+1!-3");
}

// A profile declares methods per object and per class, and blocks with their first bytes.
TEST(SimDflProfile, DeclaresMethodsAndBlocks)
{
    std::string path = "/tmp/dfl-profile-" + std::to_string(getpid()) + ".ini";
    std::ofstream(path) << "[profile]\nbase=default\n[class:Fan]\nmethod.GetPst=(byte 0x01,)\n"
                           "[object:FanA]\nclass=Fan\nmethod.GetFanInfo=(byte 0, byte 23, byte 0, byte 0, byte 0, byte 0)\n"
                           "block.Mcu=4 0x26 0x27\n";
    auto board = bspsim::Board::create(path);
    EXPECT_EQ(board->block("FanA", "Mcu"), (std::vector<uint8_t>{0x26, 0x27, 0, 0}));
    OBJ_HANDLE h = board->handle_of("FanA");
    GSList *out = nullptr;
    ASSERT_EQ(dfl_call_class_method(h, "GetPst", nullptr, nullptr, &out), 0);
    EXPECT_EQ(take_outputs(out), std::vector<std::string>{"byte 0x01"});
    ASSERT_EQ(dfl_call_class_method(h, "GetFanInfo", nullptr, nullptr, &out), 0);
    EXPECT_EQ(take_outputs(out).at(1), "byte 0x17");
    // A reset goes back to the profile.
    board->set_block("FanA", "Mcu", {1});
    board->reset();
    EXPECT_EQ(board->block("FanA", "Mcu").size(), 4u);
    EXPECT_TRUE(board->method_calls().empty());
    std::remove(path.c_str());
}

}  // namespace
