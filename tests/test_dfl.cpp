// Object properties: the typed wrappers over the framework. What a caller sees: the status
// (the framework's code or -1, per wrapper), the value written or left alone, the exact log
// lines, the option word the framework got, and that every value handed over is released.
#include <glib.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using Lines = std::vector<std::string>;

constexpr const char *kObject = "Sensor0";

// GLib's complaints (criticals and warnings) while a test runs: a value released twice, or
// handed to a getter of another type, shows up here even where no sanitizer looks.
class GLibComplaints {
public:
    GLibComplaints() : previous_(g_log_set_default_handler(&GLibComplaints::capture, this)) {}
    ~GLibComplaints() { g_log_set_default_handler(previous_, nullptr); }
    GLibComplaints(const GLibComplaints &) = delete;
    GLibComplaints &operator=(const GLibComplaints &) = delete;

    // The GLib function each complaint came from, in order.
    const std::vector<std::string> &sources() const { return sources_; }

private:
    static void capture(const gchar *, GLogLevelFlags level, const gchar *message, gpointer self)
    {
        if ((level & (G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) == 0) return;
        std::string text = message ? message : "";
        static_cast<GLibComplaints *>(self)->sources_.push_back(text.substr(0, text.find(':')));
    }

    GLogFunc previous_;
    std::vector<std::string> sources_;
};

// Every test gets the object "Sensor0" and ends with all it was handed released and GLib
// content (apart from the complaints a test announces).
template <typename Base>
class DflFixture : public Base {
protected:
    void SetUp() override
    {
        Base::SetUp();
        handle_ = this->sim().add_object(kObject, "Sensor");
        complaints_ = std::make_unique<GLibComplaints>();
    }
    void TearDown() override
    {
        EXPECT_EQ(bspsim::live_values(), 0u) << "a value from the framework was not released";
        EXPECT_EQ(complaints_->sources(), expected_complaints_) << "GLib complained";
        complaints_.reset();
        Base::TearDown();
    }

    OBJ_HANDLE handle_ = 0;
    std::vector<std::string> expected_complaints_;

private:
    std::unique_ptr<GLibComplaints> complaints_;
};

using Dfl = DflFixture<bsptest::SimTest>;
template <typename Case>
using DflWith = DflFixture<bsptest::SimTestWithParam<Case>>;

// ------------------------------------------------------------------ numeric getters

struct GetterCase {
    const char *label;
    int32_t (*get)(OBJ_HANDLE, const char *, int64_t *);
    const char *stored;  // GVariant text of the property "Value"
    bool hardware;       // the value comes from the property's hardware source
    int64_t expected;
    const char *success;  // level-2 line, "" for none
    bool framework_code;  // a refusal returns the framework's code (else -1)
};

// Calls a typed getter through an int64 preset with the caller's previous value.
template <typename T, int32_t (*Get)(OBJ_HANDLE, const char *, T *)>
int32_t get_as(OBJ_HANDLE h, const char *property, int64_t *io)
{
    T v = static_cast<T>(*io);
    int32_t rc = Get(h, property, &v);
    *io = v;
    return rc;
}

const GetterCase kGetters[] = {
    {"ubyte", get_as<uint8_t, dfl_get_property_ubyte>, "byte 0xc8", false, 200,
     "Sensor0 get property Value, value 200 succeed.", true},
    {"uint16", get_as<uint16_t, dfl_get_property_uint16>, "uint16 65535", false, 65535,
     "Sensor0 get property Value value 65535 succeed.", true},
    {"int16", get_as<int16_t, dfl_get_property_int16>, "int16 -2", false, -2,
     "Sensor0 get property Value value -2 succeed.", true},
    {"int32", get_as<int32_t, dfl_get_property_int32>, "int32 -100000", false, -100000,
     "Sensor0 get property Value value -100000 succeed.", true},
    {"uint32", get_as<uint32_t, dfl_get_property_uint32>, "uint32 4000000000", false, 4000000000,
     "Sensor0 get property Value value -294967296 succeed.", true},
    {"hardware_ubyte", get_as<uint8_t, dfl_get_hardware_ubyte_option>, "byte 0x07", true, 7, "", false},
};

constexpr int64_t kPreset = 0x5A;

// A refused call: injected with this code, or refused by the framework itself.
struct Refusal {
    const char *property;
    int32_t framework;
    bool injected;
};

auto by_label = [](const auto &info) { return std::string(info.param.label); };

class DflGetter : public DflWith<GetterCase> {
protected:
    void SetUp() override
    {
        DflWith<GetterCase>::SetUp();
        const auto &c = GetParam();
        if (c.hardware) sim().set_hardware_value(kObject, "Value", c.stored);
        else sim().set_property(kObject, "Value", c.stored);
    }
    Op op() const { return GetParam().hardware ? Op::DflGetHw : Op::DflGetProp; }
};

TEST_P(DflGetter, StoresTheValueAndLogsItsSuccessLine)
{
    const auto &c = GetParam();
    int64_t v = kPreset;
    EXPECT_EQ(c.get(handle_, "Value", &v), 0);
    EXPECT_EQ(v, c.expected);
    EXPECT_EQ(debug_texts(), *c.success ? Lines{std::string("2:") + c.success} : Lines{});
    auto calls = events(op());
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].a, static_cast<uint32_t>(handle_));
    EXPECT_EQ(calls[0].b, 0u);  // the hardware getter passes no option
}

TEST_P(DflGetter, RefusalLeavesTheValueAndReturnsItsOwnResult)
{
    const auto &c = GetParam();
    for (const Refusal &r : {Refusal{"Value", 1234, true}, Refusal{"Missing", bspsim::kDflNoProperty, false}}) {
        sim().clear_logs();
        if (r.injected) sim().fail(op(), 1, r.framework, static_cast<uint32_t>(handle_));
        int64_t v = kPreset;
        EXPECT_EQ(c.get(handle_, r.property, &v), c.framework_code ? r.framework : -1) << r.property;
        EXPECT_EQ(v, kPreset);
        EXPECT_EQ(debug_texts(), Lines{"0:Sensor0 get property " + std::string(r.property) +
                                       " failed! result: " + std::to_string(r.framework) + "."});
    }
}

INSTANTIATE_TEST_SUITE_P(Types, DflGetter, ::testing::ValuesIn(kGetters), by_label);

// An unknown handle is named "(null)"; a null output is refused before the framework.
TEST_F(Dfl, UnknownHandleAndNullOutput)
{
    uint16_t v = 3;
    EXPECT_EQ(dfl_get_property_uint16(0, "Value", &v), bspsim::kDflNoObject);
    EXPECT_EQ(v, 3);
    EXPECT_EQ(debug_texts(), Lines{"0:(null) get property Value failed! result: -2."});
    sim().set_property(kObject, "Value", "byte 1");
    EXPECT_EQ(dfl_get_property_ubyte(handle_, "Value", nullptr), -1);
    EXPECT_EQ(dfl_get_hardware_ubyte_option(handle_, "Value", nullptr), -1);
    EXPECT_EQ(count(Op::DflGetProp) + count(Op::DflGetHw), 1u);
}

// ------------------------------------------------------------------ numeric setters

struct SetterCase {
    const char *label;
    int32_t (*set)(OBJ_HANDLE, const char *, int64_t, uint32_t);
    bool takes_option;
    const char *initial;  // the property before, of the wrapper's type
    int64_t value;
    const char *stored;  // the property after
    const char *logged;  // the value as its lines show it
};

template <typename T, int32_t (*Set)(OBJ_HANDLE, const char *, T)>
int32_t set_plain(OBJ_HANDLE h, const char *property, int64_t v, uint32_t)
{
    return Set(h, property, static_cast<T>(v));
}

template <typename T, int32_t (*Set)(OBJ_HANDLE, const char *, T, uint32_t)>
int32_t set_option(OBJ_HANDLE h, const char *property, int64_t v, uint32_t option)
{
    return Set(h, property, static_cast<T>(v), option);
}

const SetterCase kSetters[] = {
    {"ubyte", set_plain<uint8_t, dfl_set_property_ubyte>, false, "byte 0", 200, "byte 0xc8", "200"},
    {"ubyte_option", set_option<uint8_t, dfl_set_property_ubyte_option>, true, "byte 0", 200, "byte 0xc8", "200"},
    {"BSP_SetPropertyUbyte", set_option<uint8_t, BSP_SetPropertyUbyte>, true, "byte 0", 1, "byte 0x01", "1"},
    {"uint16", set_plain<uint16_t, dfl_set_property_uint16>, false, "uint16 0", 65535, "uint16 65535", "65535"},
    {"BSP_SetPropertyUint16", set_option<uint16_t, BSP_SetPropertyUint16>, true, "uint16 0", 40000, "uint16 40000",
     "40000"},
    {"int16", set_plain<int16_t, dfl_set_property_int16>, false, "int16 0", -2, "int16 -2", "-2"},
    {"int32", set_plain<int32_t, dfl_set_property_int32>, false, "int32 0", -100000, "-100000", "-100000"},
    {"int32_option", set_option<int32_t, dfl_set_property_int32_option>, true, "int32 0", 7, "7", "7"},
    {"uint32", set_plain<uint32_t, dfl_set_property_uint32>, false, "uint32 0", 4000000000, "uint32 4000000000",
     "-294967296"},
};

constexpr uint32_t kOption = 0xA5A50F0Fu;

class DflSetter : public DflWith<SetterCase> {
protected:
    void SetUp() override
    {
        DflWith<SetterCase>::SetUp();
        sim().set_property(kObject, "Value", GetParam().initial);
    }
};

TEST_P(DflSetter, StoresTheValueWithItsOption)
{
    const auto &c = GetParam();
    EXPECT_EQ(c.set(handle_, "Value", c.value, kOption), 0);
    EXPECT_EQ(sim().property(kObject, "Value"), c.stored);
    EXPECT_EQ(debug_texts(), Lines{"2:Sensor0 set property Value value " + std::string(c.logged) + " succeed."});
    auto sets = events(Op::DflSetProp);
    ASSERT_EQ(sets.size(), 1u);
    EXPECT_EQ(sets[0].a, static_cast<uint32_t>(handle_));
    EXPECT_EQ(sets[0].b, c.takes_option ? kOption : 0u);
}

TEST_P(DflSetter, RefusalPassesTheFrameworkCodeUp)
{
    const auto &c = GetParam();
    const std::string before = sim().property(kObject, "Value");
    sim().set_property(kObject, "Other", "int64 1");  // no wrapper writes this type
    for (const Refusal &r : {Refusal{"Value", 77, true}, Refusal{"Other", bspsim::kDflTypeMismatch, false}}) {
        sim().clear_logs();
        if (r.injected) sim().fail(Op::DflSetProp, 1, r.framework, static_cast<uint32_t>(handle_));
        EXPECT_EQ(c.set(handle_, r.property, c.value, kOption), r.framework) << r.property;
        EXPECT_EQ(debug_texts(), Lines{"0:Sensor0 set property " + std::string(r.property) + " value " + c.logged +
                                       " failed! result: " + std::to_string(r.framework) + "."});
    }
    EXPECT_EQ(sim().property(kObject, "Value"), before);
    EXPECT_EQ(sim().property(kObject, "Other"), "int64 1");
}

INSTANTIATE_TEST_SUITE_P(Types, DflSetter, ::testing::ValuesIn(kSetters), by_label);

// ------------------------------------------------------------------------------ text

TEST_F(Dfl, StringSetterStoresTextWithOptionZeroAndRefusesNull)
{
    sim().set_property(kObject, "Name", "''");
    EXPECT_EQ(dfl_set_property_string(handle_, "Name", "fan board"), 0);
    EXPECT_EQ(sim().property(kObject, "Name"), "'fan board'");
    EXPECT_EQ(debug_texts(), Lines{"2:Sensor0 set property Name value fan board succeed."});
    EXPECT_EQ(events(Op::DflSetProp).at(0).b, 0u);

    sim().clear_logs();
    sim().fail(Op::DflSetProp, 1, 9);
    EXPECT_EQ(dfl_set_property_string(handle_, "Name", "x"), 9);
    EXPECT_EQ(debug_texts(), Lines{"0:Sensor0 set property Name value x failed! result: 9."});
    EXPECT_EQ(sim().property(kObject, "Name"), "'fan board'");

    // Null text is refused without calling the framework.
    sim().clear_logs();
    EXPECT_EQ(dfl_set_property_string(handle_, "Name", nullptr), -1);
    EXPECT_EQ(debug_texts(), Lines{"0:Sensor0 set property Name failed(buff is null)."});
    EXPECT_EQ(count(Op::DflSetProp), 2u);
}

struct StringCase {
    const char *label;
    const char *text;
    uint32_t size;  // handed to the getter; the real buffer is always 16 bytes of 'x'
    int32_t result;
    std::string buffer;  // the whole 16 bytes afterwards
    Lines logs;
};

const std::string kUntouched(16, 'x');

// The size check is unsigned: size - 1 must be at least the text's length. 0 wraps, passes,
// and the copy (with room 0) fails forgivingly: the zero still lands at buffer[len].
const StringCase kStringCases[] = {
    {"fits_exactly", "fan-board", 10, 0, std::string("fan-board\0xxxxxx", 16),
     {"2:Sensor0 get property Name result 0.", "2:Sensor0 get property Name value fan-board succeed."}},
    {"one_short", "fan-board", 9, -1, kUntouched,
     {"2:Sensor0 get property Name result 0.",
      "0:Sensor0 get property Name failed(size 9 is too small, string len is 9)."}},
    {"size_zero_wraps", "fan-board", 0, 0, std::string("xxxxxxxxx\0xxxxxx", 16),
     {"2:Sensor0 get property Name result 0.",
      "0:Error: copy property string failed, result = " + std::to_string(EINVAL) + ".",
      "2:Sensor0 get property Name value xxxxxxxxx succeed."}},
    {"empty_text_in_one_byte", "", 1, 0, std::string("\0xxxxxxxxxxxxxxx", 16),
     {"2:Sensor0 get property Name result 0.", "2:Sensor0 get property Name value  succeed."}},
};

class DflStringGetter : public DflWith<StringCase> {};

TEST_P(DflStringGetter, SizeRule)
{
    const auto &c = GetParam();
    sim().set_property(kObject, "Name", "'" + std::string(c.text) + "'");
    std::string buf = kUntouched;
    EXPECT_EQ(dfl_get_property_string(handle_, "Name", buf.data(), c.size), c.result);
    EXPECT_EQ(buf, c.buffer);
    EXPECT_EQ(debug_texts(), c.logs);
}

INSTANTIATE_TEST_SUITE_P(Sizes, DflStringGetter, ::testing::ValuesIn(kStringCases), by_label);

TEST_F(Dfl, StringGetterCarriesOnAfterAFailedCopy)
{
    sim().set_property(kObject, "Name", "'fan-board'");
    sim().fail(Op::StrncpyS, 1, 150);
    char buf[32];
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(dfl_get_property_string(handle_, "Name", buf, sizeof buf), 0);
    EXPECT_EQ(std::string(buf, 11), std::string("xxxxxxxxx\0x", 11));
    EXPECT_EQ(debug_texts(), (Lines{"2:Sensor0 get property Name result 0.",
                                    "0:Error: copy property string failed, result = 150.",
                                    "2:Sensor0 get property Name value xxxxxxxxx succeed."}));
}

TEST_F(Dfl, StringGetterFailuresAreMinusOne)
{
    sim().set_property(kObject, "Name", "'fan-board'");
    sim().set_property(kObject, "Level", "byte 5");
    sim().fail(Op::DflGetProp, 1, 1234);
    char buf[16] = "untouched";
    EXPECT_EQ(dfl_get_property_string(handle_, "Name", buf, sizeof buf), -1);
    EXPECT_EQ(debug_texts(), Lines{"0:Sensor0 get property Name failed! result: 1234."});

    // A value that is no text gives no text: released, -1, nothing more logged.
    expected_complaints_ = {"g_variant_get_string"};
    sim().clear_logs();
    EXPECT_EQ(dfl_get_property_string(handle_, "Level", buf, sizeof buf), -1);
    EXPECT_EQ(debug_texts(), Lines{"2:Sensor0 get property Level result 0."});
    EXPECT_STREQ(buf, "untouched");
}

// ----------------------------------------------------------------------- byte arrays

struct ArrayCase {
    const char *label;
    const char *stored;
    int32_t length;
    std::vector<uint8_t> buffer;  // all 8 bytes afterwards, preset 0xEE
};

const ArrayCase kArrayCases[] = {
    {"longer_property_copies_length", "@ay [1, 2, 3, 4, 5, 6]", 4, {1, 2, 3, 4, 0xEE, 0xEE, 0xEE, 0xEE}},
    {"shorter_property_copies_its_bytes", "@ay [1, 2, 3]", 6, {1, 2, 3, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
    {"same_length", "@ay [9, 8, 7, 6, 5, 4, 3, 2]", 8, {9, 8, 7, 6, 5, 4, 3, 2}},
};

class DflArrayGetter : public DflWith<ArrayCase> {};

TEST_P(DflArrayGetter, CopiesAtMostLengthBytes)
{
    const auto &c = GetParam();
    sim().set_property(kObject, "Data", c.stored);
    std::vector<uint8_t> buf(8, 0xEE);
    EXPECT_EQ(BSP_Get_property_ubyteArry(handle_, "Data", buf.data(), c.length), 0);
    EXPECT_EQ(buf, c.buffer);
    EXPECT_TRUE(debug_texts().empty());
}

INSTANTIATE_TEST_SUITE_P(Lengths, DflArrayGetter, ::testing::ValuesIn(kArrayCases), by_label);

TEST_F(Dfl, ArrayGetterPassesFrameworkAndCopyCodesUp)
{
    sim().set_property(kObject, "Data", "@ay [1, 2]");
    uint8_t buf[4] = {};
    sim().fail(Op::DflGetProp, 1, 51, static_cast<uint32_t>(handle_));
    EXPECT_EQ(BSP_Get_property_ubyteArry(handle_, "Data", buf, 4), 51);
    EXPECT_EQ(BSP_Get_property_ubyteArry(handle_, "Missing", buf, 4), bspsim::kDflNoProperty);
    sim().fail(Op::MemcpyS, 1, 34);
    EXPECT_EQ(BSP_Get_property_ubyteArry(handle_, "Data", buf, 4), 34);
    EXPECT_EQ(debug_texts(), (Lines{"0:Get Data error!, ret is 51", "0:Get Missing error!, ret is -3",
                                    "0:Memcpy Data to buf failed, ret is 34."}));
}

TEST_F(Dfl, ArrayGetterWithoutArrayDataIsMinusOne)
{
    sim().set_property(kObject, "Empty", "@ay []");
    sim().set_property(kObject, "Level", "byte 5");
    expected_complaints_ = {"g_variant_get_fixed_array"};  // the byte is no array
    uint8_t buf[4] = {7, 7, 7, 7};
    EXPECT_EQ(BSP_Get_property_ubyteArry(handle_, "Empty", buf, 4), -1);
    EXPECT_EQ(BSP_Get_property_ubyteArry(handle_, "Level", buf, 4), -1);
    EXPECT_EQ(BSP_Get_property_ubyteArry(handle_, "Level", nullptr, 4), -1);
    EXPECT_EQ(BSP_Get_property_ubyteArry(handle_, "Level", buf, -1), -1);
    EXPECT_EQ(buf[0], 7);
    EXPECT_TRUE(debug_texts().empty());
    EXPECT_EQ(count(Op::DflGetProp), 2u);  // the bad arguments never reached the framework
}

TEST_F(Dfl, ArraySetterStoresTheBytesWithTheCallersOption)
{
    sim().set_property(kObject, "Data", "@ay []");
    const uint8_t data[] = {1, 2, 0xFF};
    EXPECT_EQ(BSP_Set_property_ubyteArry(handle_, "Data", data, 3, 0x40), 0);
    EXPECT_EQ(sim().property(kObject, "Data"), "[byte 0x01, 0x02, 0xff]");
    EXPECT_EQ(BSP_Set_property_ubyteArry(handle_, "Data", data, 2, 0), 0);
    EXPECT_EQ(sim().property(kObject, "Data"), "[byte 0x01, 0x02]");
    EXPECT_TRUE(debug_texts().empty());
    auto sets = events(Op::DflSetProp);
    ASSERT_EQ(sets.size(), 2u);
    EXPECT_EQ(sets[0].b, 0x40u);
    EXPECT_EQ(sets[1].b, 0u);
}

// Unlike the getter, the setter answers -1 whatever the framework's code.
TEST_F(Dfl, ArraySetterRefusalIsMinusOne)
{
    sim().set_property(kObject, "Data", "@ay [0]");
    sim().set_property(kObject, "Level", "byte 5");
    const uint8_t data[] = {1};
    sim().fail(Op::DflSetProp, 1, 7);
    EXPECT_EQ(BSP_Set_property_ubyteArry(handle_, "Data", data, 1, 0), -1);
    EXPECT_EQ(BSP_Set_property_ubyteArry(handle_, "Level", data, 1, 0), -1);
    EXPECT_EQ(debug_texts(), (Lines{"0:Update Data fail, ret=7.", "0:Update Level fail, ret=-5."}));
    EXPECT_EQ(sim().property(kObject, "Data"), "@ay [0]");
}

TEST_F(Dfl, ArraySetterThatCannotBuildTheValueCallsNothing)
{
    const uint8_t data[] = {1};
    EXPECT_EQ(BSP_Set_property_ubyteArry(handle_, "Data", nullptr, 3, 0), -1);
    EXPECT_EQ(BSP_Set_property_ubyteArry(handle_, "Data", data, -1, 0), -1);
    EXPECT_EQ(debug_texts(), (Lines{"1:Get property(Data) data fail.", "1:Get property(Data) data fail."}));
    EXPECT_EQ(count(Op::DflSetProp), 0u);
}

// The leak check of the sanitized build only sees GLib's allocations when GLib allocates
// with malloc; with its slice allocator a leaked value stays reachable and passes unseen.
TEST(DflLeakCheck, SanitizedRunsSeeGLibAllocations)
{
#if defined(__SANITIZE_ADDRESS__)
    const char *slice = std::getenv("G_SLICE");
    ASSERT_NE(slice, nullptr) << "run with G_SLICE=always-malloc, or leaked GVariants go unseen";
    EXPECT_NE(std::strstr(slice, "always-malloc"), nullptr);
#else
    GTEST_SKIP() << "leak detection runs in the sanitized build";
#endif
}

}  // namespace
