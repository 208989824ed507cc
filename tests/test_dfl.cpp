// Object properties: the typed wrappers over the framework. What a caller sees: the status
// (the framework's code or -1, per wrapper), the value written or left alone, the exact log
// lines, the option word the framework got, and that every value handed over is released.
#include <glib.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <regex>
#include <thread>

#include "bmc_bsp.h"
#include "bspsim/keys.hpp"
#include "multiprocess/robust_futex.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using B = bspsim::Board;
using bsptest::PrintTo;
using Call = std::function<std::string(B &, OBJ_HANDLE)>;

constexpr const char *kObject = "Sensor0";
constexpr uint32_t kOption = 0xA5A50F0Fu;

// One case: the properties of "Sensor0" before, the calls, and what they show: their rendering,
// the debug log, and the functions GLib complained from (a value released twice, or handed to
// a getter of another type, shows up there even where no sanitizer looks).
struct DflCase {
    const char *name;
    std::vector<std::pair<const char *, const char *>> props = {};  // property, GVariant text
    Call call;
    std::string out, log = "";
    std::vector<std::string> complaints = {};
};

std::vector<std::string> *g_complaints = nullptr;

void complain(const gchar *, GLogLevelFlags level, const gchar *message, gpointer)
{
    std::string text = message ? message : "";
    if (level & (G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) g_complaints->push_back(text.substr(0, text.find(':')));
}

class Dfl : public bsptest::SimTestWithParam<DflCase> {};

// Every value the framework handed over is released, whatever the path.
TEST_P(Dfl, ShowsWhatItDid)
{
    const DflCase &c = GetParam();
    const OBJ_HANDLE h = sim().add_object(kObject, "Sensor");
    for (auto [property, value] : c.props) {
        if (std::strcmp(property, "hw") == 0) sim().set_hardware_value(kObject, "Value", value);
        else sim().set_property(kObject, property, value);
    }
    std::vector<std::string> complaints;
    g_complaints = &complaints;
    GLogFunc previous = g_log_set_default_handler(complain, nullptr);
    EXPECT_EQ(c.call(sim(), h), c.out);
    g_log_set_default_handler(previous, nullptr);
    EXPECT_EQ(log_line(), c.log);
    EXPECT_EQ(complaints, c.complaints);
    EXPECT_EQ(bspsim::live_values(), 0u) << "a value from the framework was not released";
}

// The option words the framework got with each set, and with each hardware read.
std::string options(B &b)
{
    std::string out;
    for (Op op : {Op::DflSetProp, Op::DflGetHw})
        for (const auto &e : b.events(op)) out += " opt " + bsptest::hex(e.b);
    return out;
}

// A getter three times: on "Value", refused with 1234 (the stored or the hardware read), and on
// a property the object lacks; each call's status and the value, preset 0x5A.
template <typename T, int32_t (*Get)(OBJ_HANDLE, const char *, T *), Op Fetch = Op::DflGetProp>
std::string get3(B &b, OBJ_HANDLE h)
{
    auto once = [h](const char *property) {
        T v = 0x5A;
        const int32_t rc = Get(h, property, &v);
        return std::to_string(rc) + " " + std::to_string(+v) + " | ";
    };
    std::string out = once("Value");
    b.fail(Fetch, 1, 1234, static_cast<uint32_t>(h));
    out += once("Value");
    out += once("Missing");
    return out + "null " + std::to_string(Get(h, "Value", nullptr)) + options(b);
}

std::string get_lines(const std::string &success)
{
    return (success.empty() ? "" : "2:Sensor0 get property Value" + success + " succeed. | ") +
           "0:Sensor0 get property Value failed! result: 1234. | 0:Sensor0 get property Missing failed! result: -3.";
}

// A setter three times: storing the value (with kOption where it takes one), refused with 77,
// and on a property of a type no wrapper writes; each status and the stored value.
template <typename T, int32_t (*Set)(OBJ_HANDLE, const char *, T, uint32_t)>
std::string set3(B &b, OBJ_HANDLE h, T v)
{
    const int32_t stored = Set(h, "Value", v, kOption);
    std::string out = std::to_string(stored) + " " + b.property(kObject, "Value");
    b.fail(Op::DflSetProp, 1, 77, static_cast<uint32_t>(h));
    out += " | " + std::to_string(Set(h, "Value", v, kOption));
    const int32_t mismatch = Set(h, "Other", v, kOption);
    return out + " | " + std::to_string(mismatch) + " " + b.property(kObject, "Other") + options(b);
}

template <typename T, int32_t (*Set)(OBJ_HANDLE, const char *, T)>
int32_t no_option(OBJ_HANDLE h, const char *property, T v, uint32_t) { return Set(h, property, v); }

#define SET3(T, fn, v) [](B &b, OBJ_HANDLE h) { return set3<T, fn>(b, h, v); }
#define SET3_PLAIN(T, fn, v) [](B &b, OBJ_HANDLE h) { return set3<T, no_option<T, fn>>(b, h, v); }

std::string set_lines(const std::string &v)
{
    return "2:Sensor0 set property Value value " + v + " succeed. | 0:Sensor0 set property Value value " + v +
           " failed! result: 77. | 0:Sensor0 set property Other value " + v + " failed! result: -5.";
}

const std::string kOpts = " opt 0xA5A50F0F opt 0xA5A50F0F opt 0xA5A50F0F", kNoOpts = " opt 0x0 opt 0x0 opt 0x0";

DflCase getter(const char *name, Call call, const char *stored, const char *value, const char *logged)
{
    return {.name = name, .props = {{"Value", stored}}, .call = call,
            .out = "0 " + std::string(value) + " | 1234 90 | -3 90 | null -1", .log = get_lines(logged)};
}

DflCase setter(const char *name, Call call, const char *initial, const char *stored, const char *logged, bool option)
{
    return {.name = name, .props = {{"Value", initial}, {"Other", "int64 1"}}, .call = call,
            .out = "0 " + std::string(stored) + " | 77 | -5 int64 1" + (option ? kOpts : kNoOpts),
            .log = set_lines(logged)};
}

// Values are logged with %d: a uint32 above 0x7FFFFFFF shows negative. The byte getter has a
// comma after the property name that the others lack.
const DflCase kNumbers[] = {
    getter("ubyte", get3<uint8_t, dfl_get_property_ubyte>, "byte 0xc8", "200", ", value 200"),
    getter("uint16", get3<uint16_t, dfl_get_property_uint16>, "uint16 65535", "65535", " value 65535"),
    getter("int16", get3<int16_t, dfl_get_property_int16>, "int16 -2", "-2", " value -2"),
    getter("int32", get3<int32_t, dfl_get_property_int32>, "int32 -100000", "-100000", " value -100000"),
    getter("uint32", get3<uint32_t, dfl_get_property_uint32>, "uint32 4000000000", "4000000000", " value -294967296"),
    // The hardware getter passes no option, logs no success and answers -1 for any refusal.
    {.name = "hardware_ubyte", .props = {{"hw", "byte 0x07"}},
     .call = get3<uint8_t, dfl_get_hardware_ubyte_option, Op::DflGetHw>,
     .out = "0 7 | -1 90 | -1 90 | null -1 opt 0x0 opt 0x0 opt 0x0", .log = get_lines("")},
    setter("set_ubyte", SET3_PLAIN(uint8_t, dfl_set_property_ubyte, 200), "byte 0", "byte 0xc8", "200", false),
    setter("set_ubyte_option", SET3(uint8_t, dfl_set_property_ubyte_option, 200), "byte 0", "byte 0xc8", "200", true),
    setter("BSP_SetPropertyUbyte", SET3(uint8_t, BSP_SetPropertyUbyte, 1), "byte 0", "byte 0x01", "1", true),
    setter("set_uint16", SET3_PLAIN(uint16_t, dfl_set_property_uint16, 65535), "uint16 0", "uint16 65535", "65535",
           false),
    setter("BSP_SetPropertyUint16", SET3(uint16_t, BSP_SetPropertyUint16, 40000), "uint16 0", "uint16 40000", "40000",
           true),
    setter("set_int16", SET3_PLAIN(int16_t, dfl_set_property_int16, -2), "int16 0", "int16 -2", "-2", false),
    setter("set_int32", SET3_PLAIN(int32_t, dfl_set_property_int32, -100000), "int32 0", "-100000", "-100000", false),
    setter("set_int32_option", SET3(int32_t, dfl_set_property_int32_option, 7), "int32 0", "7", "7", true),
    setter("set_uint32", SET3_PLAIN(uint32_t, dfl_set_property_uint32, 4000000000u), "uint32 0", "uint32 4000000000",
           "-294967296", false),
};

BSP_CASES(Numbers, Dfl, kNumbers);

// The text getter into a 16-byte buffer of 'x' told it has `Size` bytes: size - 1 must hold the
// text; computed unsigned, a size of 0 wraps and passes, and the copy (room 0) fails forgivingly,
// the terminating zero still landing at buffer[len].
template <uint32_t Size>
std::string get_text(B &, OBJ_HANDLE h)
{
    std::string buf(16, 'x');
    const int32_t rc = dfl_get_property_string(h, "Name", buf.data(), Size);
    std::replace(buf.begin(), buf.end(), '\0', '0');
    return std::to_string(rc) + " " + buf;
}

const std::string kResult = "2:Sensor0 get property Name result 0. | ";

std::string set_text(B &b, OBJ_HANDLE h)
{
    const int32_t stored = dfl_set_property_string(h, "Name", "fan board");
    std::string out = std::to_string(stored) + " " + b.property(kObject, "Name");
    b.fail(Op::DflSetProp, 1, 9);
    out += " | " + std::to_string(dfl_set_property_string(h, "Name", "x"));
    const int32_t null = dfl_set_property_string(h, "Name", nullptr);
    return out + " | " + std::to_string(null) + " " + b.property(kObject, "Name") + options(b);
}

// Failures of the framework and of the copy (a length of 0 is a copy into no room): the array
// getter passes their codes up, the array setter answers -1 whatever the framework's code, and
// builds nothing from bad bytes, though an empty array is fine.
std::string arrays(B &b, OBJ_HANDLE h)
{
    uint8_t buf[4] = {7, 7, 7, 7};
    const uint8_t data[] = {1, 2, 0xFF};
    b.fail(Op::DflGetProp, 1, 51, static_cast<uint32_t>(h));
    std::string out = std::to_string(BSP_Get_property_ubyteArry(h, "Data", buf, 4));
    out += " " + std::to_string(BSP_Get_property_ubyteArry(h, "Missing", buf, 4));
    b.fail(Op::MemcpyS, 1, 34);
    out += " " + std::to_string(BSP_Get_property_ubyteArry(h, "Data", buf, 4));
    for (const char *p : {"Empty", "Level"}) out += " " + std::to_string(BSP_Get_property_ubyteArry(h, p, buf, 4));
    const int32_t bad_args = BSP_Get_property_ubyteArry(h, "Level", nullptr, 4);
    out += " " + std::to_string(bad_args + BSP_Get_property_ubyteArry(h, "Level", buf, -1));
    out += " " + std::to_string(BSP_Get_property_ubyteArry(h, "Data", buf, 0));
    out += " " + std::to_string(buf[0]) + " |";
    out += " " + std::to_string(BSP_Set_property_ubyteArry(h, "Data", data, 3, 0x40));
    out += " " + b.property(kObject, "Data");
    b.fail(Op::DflSetProp, 1, 7);
    for (const char *p : {"Data", "Level"}) out += " " + std::to_string(BSP_Set_property_ubyteArry(h, p, data, 1, 0));
    out += " " + std::to_string(BSP_Set_property_ubyteArry(h, "Data", nullptr, 1, 0));
    out += " " + std::to_string(BSP_Set_property_ubyteArry(h, "Empty", nullptr, 0, 0));
    out += " " + std::to_string(BSP_Set_property_ubyteArry(h, "Data", data, -1, 0));
    return out + " " + b.property(kObject, "Data") + options(b) + " " + std::to_string(b.events(Op::DflGetProp).size());
}

// The array getter copies at most `length` bytes of `property` into 8 bytes preset 0xEE.
std::string get_array(OBJ_HANDLE h, const char *property, int32_t length)
{
    std::vector<uint8_t> buf(8, 0xEE);
    std::string out = std::to_string(BSP_Get_property_ubyteArry(h, property, buf.data(), length));
    for (uint8_t v : buf) out += " " + std::to_string(v);
    return out;
}

const DflCase kTextsAndArrays[] = {
    // A failed copy is only logged: the read still counts as done. A refused read is -1, and an
    // unknown handle is named "(null)".
    {.name = "TextSizesAndFailures", .props = {{"Name", "'fan-board'"}},
     .call = [](B &b, OBJ_HANDLE h) {
         uint16_t v = 3;
         int32_t rc = 0;
         return bsptest::joined({get_text<10>(b, h), get_text<9>(b, h), get_text<0>(b, h),
                                 (b.fail(Op::StrncpyS, 1, 150), get_text<32>(b, h)),
                                 (b.fail(Op::DflGetProp, 1, 1234), get_text<16>(b, h)),
                                 (rc = dfl_get_property_uint16(0, "Value", &v), std::to_string(rc)),
                                 std::to_string(v)}, " | ");
     }, .out = "0 fan-board0xxxxxx | -1 xxxxxxxxxxxxxxxx | 0 xxxxxxxxx0xxxxxx | 0 xxxxxxxxx0xxxxxx | "
               "-1 xxxxxxxxxxxxxxxx | -2 | 3",
     .log = kResult + "2:Sensor0 get property Name value fan-board succeed. | " + kResult +
            "0:Sensor0 get property Name failed(size 9 is too small, string len is 9). | " + kResult +
            "0:Error: copy property string failed, result = " + std::to_string(EINVAL) +
            ". | 2:Sensor0 get property Name value xxxxxxxxx succeed. | " + kResult +
            "0:Error: copy property string failed, result = 150. | "
            "2:Sensor0 get property Name value xxxxxxxxx succeed. | 0:Sensor0 get property Name failed! result: 1234. "
            "| 0:(null) get property Value failed! result: -2."},
    // A value that is no text gives no text: released, -1, nothing more logged.
    {.name = "TextOfAByteIsMinusOne", .props = {{"Name", "byte 5"}}, .call = get_text<16>, .out = "-1 xxxxxxxxxxxxxxxx",
     .log = "2:Sensor0 get property Name result 0.", .complaints = {"g_variant_get_string"}},
    {.name = "TextSetter", .props = {{"Name", "''"}}, .call = set_text,
     .out = "0 'fan board' | 9 | -1 'fan board' opt 0x0 opt 0x0",
     .log = "2:Sensor0 set property Name value fan board succeed. | "
            "0:Sensor0 set property Name value x failed! result: 9. | "
            "0:Sensor0 set property Name failed(buff is null)."},
    {.name = "ArrayCopiesTheShorterLength", .props = {{"A", "@ay [1, 2, 3, 4, 5, 6]"}, {"B", "@ay [1, 2, 3]"},
                                                      {"C", "@ay [9, 8, 7, 6, 5, 4, 3, 2]"}},
     .call = [](B &, OBJ_HANDLE h) {
         return bsptest::joined({get_array(h, "A", 4), get_array(h, "B", 6), get_array(h, "C", 8)}, " | ");
     }, .out = "0 1 2 3 4 238 238 238 238 | 0 1 2 3 238 238 238 238 238 | 0 9 8 7 6 5 4 3 2"},
    {.name = "ArrayFailures", .props = {{"Data", "@ay [1, 2]"}, {"Empty", "@ay []"}, {"Level", "byte 5"}},
     .call = arrays,
     .out = "51 -3 34 -1 -1 -2 22 7 | 0 [byte 0x01, 0x02, 0xff] -1 -1 -1 0 -1 [byte 0x01, 0x02, 0xff] "
            "opt 0x40 opt 0x0 opt 0x0 opt 0x0 6",
     .log = "0:Get Data error!, ret is 51 | 0:Get Missing error!, ret is -3 | "
            "0:Memcpy Data to buf failed, ret is 34. | 0:Memcpy Data to buf failed, ret is 22. | "
            "0:Update Data fail, ret=7. | 0:Update Level fail, ret=-5. | "
            "1:Get property(Data) data fail. | 1:Get property(Data) data fail.",
     .complaints = {"g_variant_get_fixed_array"}},
};

BSP_CASES(TextsAndArrays, Dfl, kTextsAndArrays);

/* ======================================================= files, key material and crypto */

// Renders a status, then what else the caller sees once the call is made, e.g. "0 0123".
std::string st(int32_t rc, const std::function<std::string()> &then = nullptr)
{
    return std::to_string(rc) + (then ? " " + then() : "");
}

class Files : public bsptest::SimTest {
protected:
    // Paths in the board's directory (new for every test), which the log shows as D.
    std::string dir() const { return std::filesystem::canonical(sim().dir()).string(); }
    std::string path(const char *name) const { return dir() + name; }
    std::string log() const
    {
        std::string out = std::regex_replace(log_line(), std::regex("/{64,}"), "/...");
        for (size_t at; (at = out.find(dir())) != std::string::npos;) out.replace(at, dir().size(), "D");
        return out;
    }
};

// Paths resolve through ".." and links; a short file, a missing or over-long path (4096
// slashes still resolve to "/") and a file the platform calls inaccessible fail with their
// lines and leave the file as it was; "w+" truncates; a full medium shows at the flush.
TEST_F(Files, ReadAndWriteWhole)
{
    bsptest::write_file(path("/f"), "0123456789");
    std::filesystem::create_directory(path("/sub"));
    std::filesystem::create_symlink(path("/f"), path("/ln"));
    char b[16] = {};
    const std::string longest(4096, '/'), too_long = longest + "/", via = path("/sub/../ln");
    // A pipe cannot seek (held open, so that opening it does not wait); a socket cannot be opened.
    ASSERT_TRUE(mkfifo(path("/p").c_str(), 0600) == 0 && open(path("/p").c_str(), O_RDWR) >= 0);
    sockaddr_un unix_at = {.sun_family = AF_UNIX, .sun_path = {}};
    path("/s").copy(unix_at.sun_path, sizeof unix_at.sun_path - 1);
    ASSERT_EQ(bind(socket(AF_UNIX, SOCK_STREAM, 0), reinterpret_cast<sockaddr *>(&unix_at), sizeof unix_at), 0);
    const auto read = [&](const std::string &p, size_t n) { return st(dal_read_file(p.c_str(), b, n), [&] { return std::string(b, 4); }); };
    const auto write = [&](const std::string &p) {
        return st(dal_write_file(p.c_str(), "ab", 2), [&] { return bsptest::read_file(path("/f")) + (access(path("/no").c_str(), F_OK) ? "" : " made"); });
    };
    EXPECT_EQ(bsptest::joined({read(via, 4), read(via, 11), read(too_long, 1), read(longest, 1), st(dal_read_file(nullptr, b, 1)),
                               read(path("/sub"), 1), read(path("/p"), 1), read(path("/s"), 1), write(path("/p")), write(path("/no")), write(too_long), write(path("/sub")),
                               (bsptest::write_file(path("/f"), "0123456789"), write(via)),
                               (sim().fail(Op::FileAccessible, 1, 0), write(path("/f"))), write("/dev/full"),
                               st(dal_write_file("/dev/full", std::string(8192, 'z').data(), 8192)),
                               st(dal_write_file(path("/f").c_str(), nullptr, 1), [&] { return bsptest::read_file(path("/f")); })}),
              "0 0123, -1 0123, -1 0123, -1 0123, -1, -1 0123, -1 0123, -1 0123, -1 0123456789, -1 0123456789, -1 0123456789, -1 0123456789, 0 ab, -1 ab, "
              "-1 ab, -1, -1 ab");
    EXPECT_EQ(log(), "0:read file D/f to buffer failed. ret=0. | 0:/... | 0:read file / to buffer failed. ret=0. | "
              "0:(null) file path error. | 0:read file D/sub to buffer failed. ret=0. | 0: fseek file D/p failed. | "
              "0:Open file D/s failed. | 0:fseek file D/p failed. | 0:file path error,error no is 2 | "
              "0:file path error,error no is 36 | 0:Open file D/sub failed. | 0:dal_write_file: file path not exits. | "
              "0:sync file /dev/full failed,error no is 28 | 0:write file /dev/full to buffer failed. ret=0. | "
              "0:write file D/f to buffer failed. ret=0.");
}

// Null identifiers are not accessible, without asking the file manager.
TEST_F(Files, FileManagerAccessibility)
{
    const auto asked = [&] { return std::to_string(count(Op::FmGetFilePath)); };  // after the call
    EXPECT_EQ(bsptest::joined({st(dal_get_fm_file_accessible(nullptr, "b", 1), asked),
                               st(dal_get_fm_file_accessible("a", nullptr, 1), asked),
                               st(dal_get_fm_file_accessible("cfg", "key", 2), asked),
                               (bspsim::fm_file(sim(), "cfg", "key", 2, true), st(dal_get_fm_file_accessible("cfg", "key", 2)))}),
              "0 0, 0 0, 0 1, 1");
}

class Keys : public bsptest::SimTest {
protected:
    // Every line captured (both logs) must be free of key material: any 4 bytes of the work
    // key or the component, as text or as hex in either case, with or without separators.
    void TearDown() override
    {
        const std::string raw = key_ + std::string(comp_.begin(), comp_.end());
        std::vector<std::pair<std::string, size_t>> forms = {{raw, 4}};  // a form, and 4 bytes' width in it
        for (const char *sep : {"", " ", ":", "-", ", ", " 0x", ", 0x"})
            for (const char *f : {"%02x", "%02X"}) {
                std::string hex;
                for (unsigned char c : raw) hex += (hex.empty() ? "" : sep) + (std::snprintf(hex_byte_, 3, f, c), std::string(hex_byte_));
                forms.emplace_back(hex, 8 + 3 * std::strlen(sep));
            }
        for (const auto &l : sim().logs())
            for (const auto &[form, w] : forms)
                for (size_t i = 0; i + w <= form.size(); ++i) EXPECT_EQ(l.text.find(form.substr(i, w)), std::string::npos) << l.text;
        EXPECT_FALSE(sim().logs().empty());
        bsptest::SimTest::TearDown();
    }
    std::vector<uint8_t> comp_ = {};
    std::string key_ = "";
    char hex_byte_[3] = {};
};

// 32 bytes go into 32, not 16; each framework step's failure is -1 with its line.
TEST_F(Keys, Component)
{
    for (int i = 0; i < 32; ++i) comp_.push_back(static_cast<uint8_t>(0xA0 ^ (i * 37)));
    bspsim::set_key_component(sim(), comp_);
    uint8_t b[32] = {};
    const auto get = [&](int32_t size, const char *object = "EncryptKey") {
        return st(dal_get_encryptkey_component(object, "Component", b, size));
    };
    const auto same = [&] { return std::string(std::memcmp(b, comp_.data(), 32) == 0 ? "same" : "differs"); };
    EXPECT_EQ(bsptest::joined({get(16), st(dal_get_encryptkey_component("EncryptKey", "Component", b, 32), same),
                               get(-1), get(32, nullptr), st(dal_get_encryptkey_component("EncryptKey", nullptr, b, 32)),
                               st(dal_get_encryptkey_component("EncryptKey", "Component", nullptr, 32)),
                               st(dal_get_encryptkey_component("EncryptKey", "WorkKey", b, 32)),
                               (sim().fail(Op::DflGetHandle, 1, 7), get(32)), (sim().fail(Op::DflGetProp, 1, 8), get(32)),
                               (sim().fail(Op::MemmoveS, 1, 9), get(32))}),
              "-1, 0 same, -1, -1, -1, -1, -1, -1, -1, -1");
    EXPECT_EQ(log_line(), "0:invalid input para: 16 < 32. | 0:invalid input para: -1 < 32. | "
              "0:invalid input para: 32 < 0. | 0:Get EncryptKey object handle failed, ret = 7. | "
              "0:Get EncryptKey component failed, ret = 8. | 0:memmove_s fail, ret = 9\n");
}

// Cut at 97 characters, refused when `size` is too small; the 98-byte working copy is wiped
// with zeros after every read, whatever the copy did.
TEST_F(Keys, WorkKey)
{
    for (int i = 0; i < 100; ++i) key_ += static_cast<char>('!' + (i * 7) % 90);
    bspsim::set_work_key(sim(), key_);
    bspsim::record_quiet(Op::MemsetS);
    char b[128];
    const auto get = [&](int32_t size) {
        std::fill(std::begin(b), std::end(b), 'x');
        return st(dal_get_encryptkey_workkey("EncryptKey", "WorkKey", b, size), [&] {
            return std::to_string(strnlen(b, sizeof b)) + (key_.compare(0, strnlen(b, 97), b, strnlen(b, 97)) ? " other" : "");
        });
    };
    EXPECT_EQ(bsptest::joined({st(dal_get_encryptkey_workkey(nullptr, "WorkKey", b, 9) + dal_get_encryptkey_workkey("EncryptKey", nullptr, b, 9) +
                                  dal_get_encryptkey_workkey("EncryptKey", "WorkKey", nullptr, 9)), get(128), get(97), get(-5),
                               (sim().fail(Op::DflGetHandle, 1, 3), get(128)), (sim().fail(Op::DalGetString, 1, 4), get(128))}),
              "-3, 0 97, -1 0, -1 128 other, -1 128 other, -1 128 other");
    EXPECT_EQ(tr({Op::DalGetString, Op::MemsetS}), bsptest::times(3, "dal_get_string EncryptKey.WorkKey memset_s 98/98=0") +
              " dal_get_string EncryptKey.WorkKey!4 memset_s 98/98=0");
    EXPECT_EQ(log_line(), "0:strncpy_s fail, ret = 34\n | 0:strncpy_s fail, ret = 22\n | "
              "0:Get EncryptKey object handle failed, ret = 3!\n | 0:Get EncryptKey workkey failed, ret = 4!\n");
}

TEST_F(Files, ThreadIdIsPthreadSelf)
{
    SKIP_WITHOUT_ROBUST_FUTEXES();  // it starts a thread
    std::pair<unsigned long, unsigned long> other;
    std::thread([&] { other = {dal_get_self_thread_id(), pthread_self()}; }).join();
    EXPECT_TRUE(dal_get_self_thread_id() == pthread_self() && other.first == other.second && other.first != pthread_self());
}

// OpenSSL starts once: a second call creates no second lock, not even after a failed start.
class Openssl : public bsptest::SimTest {
protected:
    std::string twice() const { return dal_init_openssl(), dal_init_openssl(), tr({Op::TaskMutexCreate}) + " | " + log_line(); }
};
// The library's error texts are there once it started OpenSSL.
TEST_F(Openssl, Once)
{
    EXPECT_EQ(twice(), "task_mutex openssl_lock0 | ");
    EXPECT_STREQ(ERR_lib_error_string(ERR_PACK(ERR_LIB_EVP, 0, 0)), "digital envelope routines");
}
TEST_F(Openssl, LockNameFails) { EXPECT_EQ((sim().fail(Op::SnprintfS), twice()), "task_mutex | 0:Error: copy openssl_lock failed."); }
TEST_F(Openssl, LockArrayRefused)
{
    ASSERT_EQ(CRYPTO_set_mem_functions(
                  [](size_t n, const char *file, int) { return file && std::strstr(file, "bmc_bsp_dfl") ? nullptr : std::malloc(n); },
                  [](void *p, size_t n, const char *, int) { return std::realloc(p, n); },
                  [](void *p, const char *, int) { std::free(p); }), 1);
    EXPECT_EQ(twice(), " | 0:OPENSSL_malloc mOpensslLockCs failed.");
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
