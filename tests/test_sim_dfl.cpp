// The simulated object framework as a platform: handles, typed values and who owns them,
// class methods with their scripted answers and recorded inputs, block-access chips, and the
// faults a test can arm. The library's wrappers are tested in test_dfl.cpp.
#include <glib.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"
#include "platform/dfl.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;

// Prints a value the framework handed out and releases it.
std::string take_text(GVariant *v)
{
    gchar *t = g_variant_print(v, TRUE);
    std::string out = t;
    g_free(t);
    g_variant_unref(v);
    return out;
}

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

class SimDfl : public bsptest::SimTest {
protected:
    void SetUp() override
    {
        SimTest::SetUp();
        fan0_ = sim().add_object("Fan0", "Fan");
        fan1_ = sim().add_object("Fan1", "Fan");
        sim().set_property("Fan0", "Level", "byte 0x10");
        sim().set_hardware_value("Fan0", "Pin", "byte 0x01");
    }

    OBJ_HANDLE fan0_ = 0;
    OBJ_HANDLE fan1_ = 0;
};

TEST_F(SimDfl, LooksObjectsUpByNameAndLeavesTheHandleAloneForAMissingOne)
{
    OBJ_HANDLE h = 0;
    ASSERT_EQ(dfl_get_object_handle("Fan1", &h), 0);
    EXPECT_EQ(h, fan1_);
    EXPECT_STREQ(dfl_get_object_name(h), "Fan1");

    h = 0x77;
    EXPECT_EQ(dfl_get_object_handle("NoSuchObject", &h), bspsim::kDflNoObject);
    EXPECT_EQ(h, 0x77u);
    EXPECT_EQ(dfl_get_object_name(0), nullptr);
    auto lookups = events(Op::DflGetHandle);
    ASSERT_EQ(lookups.size(), 2u);
    EXPECT_EQ(lookups[1].name, "NoSuchObject");
    EXPECT_EQ(lookups[1].result, bspsim::kDflNoObject);
}

TEST_F(SimDfl, FaultsAreKeyedByTheHandlesLow32Bits)
{
    sim().fail(Op::DflGetProp, 1, 1234, static_cast<uint32_t>(fan0_));
    GVariant *v = nullptr;
    // Another object's call does not use the fault up.
    EXPECT_EQ(dfl_get_property_value(fan1_, "Level", &v), bspsim::kDflNoProperty);
    EXPECT_EQ(dfl_get_property_value(fan0_, "Level", &v), 1234);
    EXPECT_EQ(v, nullptr);
    ASSERT_EQ(dfl_get_property_value(fan0_, "Level", &v), 0);
    EXPECT_EQ(take_text(v), "byte 0x10");

    auto reads = events(Op::DflGetProp);
    ASSERT_EQ(reads.size(), 3u);
    EXPECT_EQ(reads[1].a, static_cast<uint32_t>(fan0_));
    EXPECT_EQ(reads[1].name, "Fan0.Level");
    EXPECT_TRUE(reads[1].flags & bspsim::kFlagInjected);
    EXPECT_FALSE(reads[2].flags & bspsim::kFlagInjected);
}

TEST_F(SimDfl, GettersHandOutAReferenceSetterTakesNone)
{
    ASSERT_EQ(bspsim::live_values(), 0u);
    GVariant *stored = nullptr;
    GVariant *hw = nullptr;
    ASSERT_EQ(dfl_get_property_value(fan0_, "Level", &stored), 0);
    ASSERT_EQ(dfl_get_hardware_value(fan0_, "Pin", &hw, 64), 0);
    EXPECT_FALSE(g_variant_is_floating(stored));
    EXPECT_EQ(bspsim::live_values(), 2u);
    // The count follows the last reference, not the first release.
    GVariant *extra = g_variant_ref(stored);
    g_variant_unref(stored);
    EXPECT_EQ(bspsim::live_values(), 2u);
    g_variant_unref(extra);
    g_variant_unref(hw);
    EXPECT_EQ(bspsim::live_values(), 0u);
    EXPECT_EQ(events(Op::DflGetHw).at(0).b, 64u);

    GVariant *v = g_variant_new_byte(0x21);
    ASSERT_EQ(dfl_set_property_value(fan0_, "Level", v, 16), 0);
    EXPECT_TRUE(g_variant_is_floating(v));
    g_variant_unref(v);
    EXPECT_EQ(sim().property("Fan0", "Level"), "byte 0x21");
    EXPECT_EQ(events(Op::DflSetProp).at(0).b, 16u);
}

TEST_F(SimDfl, SetterRefusalsAndHardwareOnlyProperty)
{
    struct Case {
        OBJ_HANDLE handle;
        const char *property;
        const char *value;  // nullptr: no value at all
        int32_t result;
    };
    const std::vector<Case> cases = {
        {fan0_, "Level", "uint16 7", bspsim::kDflTypeMismatch},
        {fan0_, "Missing", "byte 7", bspsim::kDflNoProperty},
        {fan0_, "Level", nullptr, bspsim::kDflBadValue},
        {0, "Level", "byte 7", bspsim::kDflNoObject},
    };
    for (const auto &c : cases) {
        GVariant *v = c.value ? g_variant_parse(nullptr, c.value, nullptr, nullptr, nullptr) : nullptr;
        EXPECT_EQ(dfl_set_property_value(c.handle, c.property, v, 0), c.result) << c.property << " " << (c.value ? c.value : "null");
        if (v) g_variant_unref(v);
    }
    EXPECT_EQ(sim().property("Fan0", "Level"), "byte 0x10");
    EXPECT_EQ(sim().property("Fan0", "Missing"), "");

    GVariant *v = g_variant_ref_sink(g_variant_new_byte(0));
    ASSERT_EQ(dfl_set_property_value(fan0_, "Pin", v, 16), 0);
    g_variant_unref(v);
    EXPECT_EQ(sim().hardware_value("Fan0", "Pin"), "byte 0x00");
    EXPECT_EQ(sim().property("Fan0", "Pin"), "");
}

TEST_F(SimDfl, ObjectThenClassMethodScriptedThenStanding)
{
    sim().set_class_method("Fan", "GetPst", "(byte 0x01,)");
    sim().set_method("Fan1", "GetPst", "(byte 0x00, uint32 7)");
    GSList *out0 = nullptr;
    GSList *out1 = nullptr;
    ASSERT_EQ(dfl_call_class_method(fan0_, "GetPst", nullptr, nullptr, &out0), 0);
    ASSERT_EQ(dfl_call_class_method(fan1_, "GetPst", nullptr, nullptr, &out1), 0);
    EXPECT_EQ(bspsim::live_values(), 3u);
    EXPECT_EQ(take_outputs(out0), std::vector<std::string>{"byte 0x01"});
    EXPECT_EQ(take_outputs(out1), (std::vector<std::string>{"byte 0x00", "uint32 7"}));
    EXPECT_EQ(bspsim::live_values(), 0u);

    auto calls = events(Op::DflCallMethod);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].name, "Fan1.GetPst");
    EXPECT_EQ(calls[1].value, 2u);

    sim().set_method("Fan0", "GetWtdFlag", "(uint32 0,)");
    sim().script_method("Fan0", "GetWtdFlag", {"(uint32 1,)", "(uint32 1,)"});
    std::vector<std::string> answers;
    for (int i = 0; i < 4; ++i) {
        GSList *out = nullptr;
        ASSERT_EQ(dfl_call_class_method(fan0_, "GetWtdFlag", nullptr, nullptr, &out), 0);
        answers.push_back(take_outputs(out).at(0));
    }
    EXPECT_EQ(answers, (std::vector<std::string>{"uint32 1", "uint32 1", "uint32 0", "uint32 0"}));
}

TEST_F(SimDfl, MethodCallsRecordInputsWithoutConsumingThem)
{
    sim().set_method("Fan0", "SetWtdFlag", "()");
    GVariant *flag = g_variant_new_byte(1);
    GVariant *word = g_variant_ref_sink(g_variant_new_uint32(9));
    GSList *in = g_slist_append(g_slist_append(nullptr, flag), word);
    ASSERT_EQ(dfl_call_class_method(fan0_, "SetWtdFlag", nullptr, in, nullptr), 0);
    EXPECT_TRUE(g_variant_is_floating(flag));
    uip_free_gvariant_list(in);

    sim().fail(Op::DflCallMethod, 1, 55, static_cast<uint32_t>(fan0_));
    GSList *out = reinterpret_cast<GSList *>(0x1);  // a failed call leaves it alone
    EXPECT_EQ(dfl_call_class_method(fan0_, "SetWtdFlag", nullptr, nullptr, &out), 55);
    EXPECT_EQ(out, reinterpret_cast<GSList *>(0x1));

    auto calls = sim().method_calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].object, "Fan0");
    EXPECT_EQ(calls[0].method, "SetWtdFlag");
    EXPECT_EQ(calls[0].inputs, (std::vector<std::string>{"byte 0x01", "uint32 9"}));
    EXPECT_EQ(calls[0].result, 0);
    EXPECT_TRUE(calls[1].inputs.empty());
    EXPECT_EQ(calls[1].result, 55);
    auto ev = events(Op::DflCallMethod);
    EXPECT_EQ(ev[0].b, 2u);
    EXPECT_TRUE(ev[1].flags & bspsim::kFlagInjected);
}

TEST_F(SimDfl, UnknownMethodOrObjectIsRefused)
{
    sim().set_class_method("Fan", "GetPst", "(byte 0x01,)");
    GSList *out = nullptr;
    EXPECT_EQ(dfl_call_class_method(fan0_, "GetFanInfo", nullptr, nullptr, &out), bspsim::kDflNoMethod);
    EXPECT_EQ(dfl_call_class_method(0, "GetPst", nullptr, nullptr, &out), bspsim::kDflNoObject);
    EXPECT_EQ(out, nullptr);
    EXPECT_THROW(sim().script_method("Fan0", "GetFanInfo", {"()"}), std::runtime_error);
    EXPECT_THROW(sim().set_method("Fan0", "GetPst", "byte 1"), std::runtime_error);
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

    auto rd = events(Op::DflBlockRead).at(0);
    EXPECT_EQ(rd.name, "Fan0.Mcu");
    EXPECT_EQ(rd.b, 2u);
    EXPECT_EQ(rd.len, 3u);
    EXPECT_EQ(rd.value, 0x12u);
    auto wr = events(Op::DflBlockWrite).at(0);
    EXPECT_EQ(wr.b, 4u);
    EXPECT_EQ(wr.len, 2u);
    EXPECT_EQ(wr.value, 0xA1u);

    sim().set_block("Fan0", "Mcu", {1, 2, 3, 4});
    sim().fail(Op::DflBlockWrite, 1, 66, static_cast<uint32_t>(fan0_));
    struct Case {
        Op op;
        const char *property;
        uint32_t offset, length;
        int32_t result;
    };
    const std::vector<Case> cases = {
        {Op::DflBlockWrite, "Mcu", 0, 2, 66},
        {Op::DflBlockRead, "Mcu", 3, 2, bspsim::kDflOutOfRange},
        {Op::DflBlockWrite, "Mcu", 5, 0, bspsim::kDflOutOfRange},
        {Op::DflBlockRead, "Other", 0, 1, bspsim::kDflNoProperty},
    };
    for (const auto &c : cases) {
        uint8_t buf[4] = {9, 9, 9, 9};
        int32_t rc = c.op == Op::DflBlockRead ? dfl_block_read(fan0_, c.property, c.offset, c.length, buf)
                                              : dfl_block_write(fan0_, c.property, c.offset, c.length, buf);
        EXPECT_EQ(rc, c.result) << bspsim::op_name(c.op) << " " << c.offset << "+" << c.length;
        EXPECT_EQ(buf[0], 9);
    }
    EXPECT_EQ(sim().block("Fan0", "Mcu"), (std::vector<uint8_t>{1, 2, 3, 4}));
    EXPECT_TRUE(events(Op::DflBlockRead).at(1).flags & bspsim::kFlagMalformed);
}

// A profile declares methods per object and per class, and blocks with their first bytes.
TEST(SimDflProfile, DeclaresMethodsAndBlocks)
{
    const char *tmp = std::getenv("TMPDIR");
    std::string path = std::string(tmp && *tmp ? tmp : "/tmp") + "/dfl-profile-" + std::to_string(getpid()) + ".ini";
    bsptest::write_file(path,
                        "[profile]\nbase=default\n"
                        "[class:Fan]\nmethod.GetPst=(byte 0x01,)\n"
                        "[object:FanA]\nclass=Fan\nmethod.GetFanInfo=(byte 0, byte 23, byte 0, byte 0, byte 0, byte 0)\n"
                        "block.Mcu=4 0x26 0x27\n");
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
