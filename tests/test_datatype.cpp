// Conversions at their edges: the parsers' forgiving digits, the trim rules, wrap-safe
// differences, the PMBus formats both ways, property values and bytes as text, fan level and
// duty on both kinds of board, and the file functions with each way they can fail.
#include <glib.h>
#include <sys/stat.h>

#include <cmath>

#include "core/boards.h"
#include "test_helpers.h"

namespace {

using bsptest::CallCase, bsptest::g_out, bsptest::joined, bsptest::res, bsptest::times, bsptest::PrintTo;
using bspsim::Op;
using B = bspsim::Board;

// f applied to each input, the results joined by blanks: one line a reader holds against one
// line of expectations.
template <typename F, typename In>
std::string each(F f, std::initializer_list<In> inputs)
{
    std::string out;
    for (const In &in : inputs) {
        char b[40];
        if constexpr (std::is_floating_point_v<decltype(f(in))>)
            std::snprintf(b, sizeof b, "%.9g", static_cast<double>(f(in)));
        else
            std::snprintf(b, sizeof b, "%lld", static_cast<long long>(f(in)));
        out += (out.empty() ? "" : " ") + std::string(b);
    }
    return out;
}

// The text left by an in-place edit of each input, joined by "|".
std::string edited(void (*f)(char *), std::initializer_list<std::string> inputs)
{
    std::string out;
    for (std::string s : inputs) {
        f(s.data());
        out += (out.empty() ? "" : "|") + std::string(s.c_str());
    }
    return out;
}

// Letters past "f" count on, up to "z" = 35, in either case; the first other character ends the
// scan (the neighbours of the digit and letter ranges included); the value wraps at 2^32.
TEST(Datatype, Parsers)
{
    EXPECT_EQ(each(htoi, {"0x1F", "ff", "0xg", "12:", "z", "0XZ", "x1", "00x1", "0x", "100000001", "/", ":", "@", "[",
                          "`", "{", "", static_cast<const char *>(nullptr)}),
              "31 255 16 18 35 35 529 529 0 1 0 0 0 0 0 0 0 0");
    // Only the last 16 digits survive; no prefix, no leading blank.
    EXPECT_EQ(each(btoi, {"101", "2", "11111111111111111", "10000000000000000", "0b1", "11a1", " 1", "",
                          static_cast<const char *>(nullptr)}),
              "5 0 65535 0 0 3 0 0 0");
    EXPECT_EQ(each(BSP_HexOrDecPro, {"0X10", "010", " \t-42abc", "+7", "x10", "0x", "-0x10", "0xFFFFFFFF",
                                     "99999999999", static_cast<const char *>(nullptr)}),
              "16 10 -42 7 0 0 0 4294967295 99999999999 0");
}

// Only blank, tab, line feed and carriage return are white space; a comment starts at the first
// "#" outside double quotes, and an unclosed quote protects the rest.
TEST(Datatype, TrimsInPlace)
{
    EXPECT_EQ(edited(BSP_StrConvert, {" \tabc \r\n", "   ", "\fa b\v", "x", " x", "x\t", "\n\r\t "}),
              "abc||\fa b\v|x|x|x|");
    EXPECT_EQ(edited(BSP_CommentTrim, {"a \"#b\" #c", "#x", "\"open # x", "a\"\"#b", "a\"b\"c\"#d", "a#b#c", ""}),
              "a \"#b\" ||\"open # x|a\"\"|a\"b\"c\"#d|a|");
    BSP_CommentTrim(nullptr);
}

TEST(Datatype, DifferencesAcrossTheWrap)
{
    EXPECT_EQ(BSP_Diff_Uint32(0xFFFFFFF0u, 0x10), 0x20u);
    EXPECT_EQ(BSP_Diff_Uint32(5, 3), 0xFFFFFFFEu);
    EXPECT_EQ(BSP_Diff_Ulong(UINT64_MAX, 1), 2u);
    EXPECT_EQ(BSP_Diff_Ulong(1, 0x100000000ull), 0xFFFFFFFFull);
}

// LINEAR11: signed 5-bit exponent over a signed 11-bit mantissa; LINEAR16: the caller's exponent
// over an unsigned mantissa, and back from the mode byte's 5-bit field, clamped and truncated.
TEST(Datatype, PmbusLinearFormats)
{
    EXPECT_EQ(each(BSP_Literal11ToFloat, {uint16_t{0xD3C0}, uint16_t{0x03FF}, uint16_t{0x0400}, uint16_t{0x0FFF},
                                          uint16_t{0x7BFF}, uint16_t{0x8401}, uint16_t{0xF801}, uint16_t{0x83FF}}),
              "15 1023 -1024 -2 33521664 -0.0156097412 0.5 0.0156097412");
    const auto l16 = [](std::pair<uint16_t, int8_t> p) { return BSP_Literal16ToFloat(p.first, p.second); };
    EXPECT_EQ(each(l16, {std::pair<uint16_t, int8_t>{6144, -9}, {1, 15}, {65535, 0}, {3, -1}, {65535, -16}, {5, 1}}),
              "12 32768 65535 1.5 0.999984741 10");
    const auto enc = [](std::pair<int, float> p) { return BSP_FloatToLiteral16(static_cast<int8_t>(p.first), p.second); };
    EXPECT_EQ(each(enc, {std::pair<int, float>{0x17, 12.0f}, {0xF7, 12.0f}, {0x10, 1.0f}, {0x10, 0.99998f}, {0x1F, 2.5f},
                         {0x01, 3.9f}, {0x0F, 1e9f}, {0x2F, 65536.0f}, {0x00, 65535.9f}, {0x00, 65536.0f},
                         {0x00, -3.0f}, {0x00, -0.5f}, {0x00, NAN}}),
              "6144 6144 65535 65534 5 1 30517 2 65535 65535 0 0 0");
}

// Each text GvariantToString gives, "(null)" for none; the caller frees what it is given.
std::string rendered(std::initializer_list<const char *> texts, char *(*f)(GVariant *) = BSP_GvariantToString)
{
    std::string out;
    for (const char *t : texts) {
        GVariant *v = g_variant_ref_sink(g_variant_parse(nullptr, t, nullptr, nullptr, nullptr));
        char *s = f(v);
        out += (out.empty() ? "" : "|") + std::string(s ? s : "(null)");
        g_free(s);
        g_variant_unref(v);
    }
    return out;
}

TEST(Datatype, ValuesAsText)
{
    // "q" prints like a signed value but cannot go negative; "u" from 2^31 up does.
    EXPECT_EQ(rendered({"true", "false", "byte 0xff", "int16 -32768", "uint16 65535", "int32 -2147483648",
                        "uint32 2147483647", "uint32 2147483648", "uint32 4294967295", "1.5", "-0.25", "'a text'", "''"}),
              "TRUE|FALSE|255|-32768|65535|-2147483648|2147483647|-2147483648|-1|1.500000|-0.250000|a text|");
    EXPECT_EQ(rendered({"int64 5", "uint64 5", "<5>", "(1, 2)", "objectpath '/'", "just 5"}),
              "(null)|(null)|(null)|(null)|(null)|(null)");
    // Arrays keep the separator after the last element; elements without a text are skipped.
    EXPECT_EQ(rendered({"@ay [0x01, 0x02]", "@ai []", "['a', 'b']", "[[1, 2], [3]]", "@ax [1, 2]", "{'k': <1>}"}),
              "1, 2, ||a, b, |1, 2, , 3, , ||");
    EXPECT_EQ(rendered({"(1, int64 2, 'x')", "[true]"}, BSP_GarrayToString), "1, x, |TRUE, ");
}

TEST(Datatype, BytesAsHex)
{
    const uint8_t bytes[] = {0xAB, 0x01, 0x5F};
    const auto hex = [&](std::pair<uint32_t, uint32_t> count_size) {
        char out[8] = {'Z', 'Z', 'Z', 'Z', 'Z', 'Z', 'Z', 'Z'};
        BSP_Arr2String(bytes, count_size.first, out, count_size.second);
        std::string s(out, sizeof out);
        std::replace(s.begin(), s.end(), '\0', '.');
        return s;
    };
    std::string got;
    for (auto cs : {std::pair<uint32_t, uint32_t>{2, 5}, {2, 4}, {2, 3}, {2, 2}, {2, 1}, {3, 8}, {1, 8}, {0, 8}, {2, 0}})
        got += hex(cs) + " ";
    EXPECT_EQ(got, "AB01.ZZZ AB.ZZZZZ AB.ZZZZZ .ZZZZZZZ .ZZZZZZZ AB015F.Z AB.ZZZZZ ZZZZZZZZ ZZZZZZZZ ");
    char out[4] = "ZZZ";
    BSP_Arr2String(nullptr, 2, out, 4);
    BSP_Arr2String(bytes, 2, nullptr, 4);
    EXPECT_STREQ(out, "ZZZ");
}

// --------------------------------------------------------------------- cases on a board

class DatatypeCall : public bsptest::CallTest {
protected:
    // File opens of the mapped platform paths are recorded; nothing else here touches a bus.
    void run() const
    {
        EXPECT_EQ(GetParam().call(sim()), GetParam().out);
        EXPECT_EQ(tr({Op::FileOpen, Op::LocalBusRead, Op::SpiRead}), GetParam().trace);
        EXPECT_EQ(log_line(), GetParam().log);
    }
};
TEST_P(DatatypeCall, Call) { run(); }

// Fan levels 0..33 to duty, then duties to level, then an unknown direction, on a board whose
// kind is named first.
std::string fan(B &)
{
    std::string out = BSP_IsLiteBoard() ? "lite:" : "full:";
    for (uint8_t level : {0, 1, 2, 16, 31, 32, 33}) out += " " + std::to_string(BSP_FanLevelConvert(0, level));
    out += " /";
    for (uint8_t duty : {0, 25, 51, 57, 128, 254, 255}) out += " " + std::to_string(BSP_FanLevelConvert(1, duty));
    return out + " / " + std::to_string(BSP_FanLevelConvert(2, 128)) + " " + std::to_string(BSP_FanLevelConvert(255, 1));
}

std::string trimmed(B &)
{
    char empty[1] = "";
    BSP_StrConvert(nullptr);
    BSP_StrConvert(empty);
    return empty;
}

std::string array_text(const std::vector<std::string> &items)
{
    GVariantBuilder b;
    g_variant_builder_init(&b, G_VARIANT_TYPE_STRING_ARRAY);
    for (const std::string &s : items) g_variant_builder_add(&b, "s", s.c_str());
    GVariant *v = g_variant_ref_sink(g_variant_builder_end(&b));
    char *text = BSP_GarrayToString(v);
    std::string out = text ? text : "(null)";
    g_free(text);
    g_variant_unref(v);
    return out;
}

const std::string a122(122, 'a');

// A platform file: the simulator keeps it in the instance and records its opens. 10240 bytes
// of "0123456789...".
constexpr const char *kFile = "/var/log/zelm/datatype_file";
constexpr const char *kFifo = "/var/log/zelm/datatype_fifo";
const std::string kMissing = "/var/log/zelm/missing";
alignas(8) uint8_t g_big[10241];

void make_files(B &b)
{
    std::string data;
    for (int i = 0; i < 1024; ++i) data += "0123456789";
    bsptest::write_file(b.path_of(kFile), data);
    ASSERT_EQ(mkfifo(b.path_of(kFifo).c_str(), 0600), 0);
}

uint32_t file_read(uint32_t offset, uint32_t length, const char *path = kFile, void *buf = g_out)
{
    return BSP_ReadFileInfo(path, "rb", offset, length, buf);
}
uint32_t file_write(uint32_t offset, const std::string &bytes, const char *path = kFile, const char *mode = "r+")
{
    return BSP_WriteFileInfo(path, mode, offset, static_cast<uint32_t>(bytes.size()), bytes.data());
}
std::string head(B &b, size_t n = 12) { return bsptest::read_file(b.path_of(kFile)).substr(0, n); }

const std::string kOpen = "fopen " + std::string(kFile);
const std::string kTooLarge = "0:Read buffer is too large. ReadLength(10241)";
const std::string kNull = "0:Input pointer is null.";

const CallCase kCases[] = {
    {.name = "FanLevelsOnAFullBoard", .call = fan,
     .out = "full: 44 51 57 149 248 255 5 / 250 254 1 2 13 32 32 / 0 0"},
    // A lite board's fans may run slower: its lowest level starts at a tenth of full duty.
    {.name = "FanLevelsOnALiteBoard", .board = bsp::kLiteIds[0], .call = fan,
     .out = "lite: 17 25 32 136 247 255 6 / 255 1 4 5 15 32 32 / 0 0"},
    {.name = "TrimRefusesNullAndEmpty", .call = trimmed, .out = "",
     .log = "0:Input str is NULL. | 0:Str len is too short(0)."},
    {.name = "NothingToRender",
     .call = [](B &) {
         GVariant *five = g_variant_ref_sink(g_variant_new_int32(5));
         bool none = !BSP_GvariantToString(nullptr) && !BSP_GarrayToString(nullptr) && !BSP_GarrayToString(five);
         g_variant_unref(five);
         return std::to_string(none);
     },
     .out = "1", .log = times(3, "0:invalid input para.", " | ")},
    // An element fits while text + element + 1 stays within 124; the first that does not ends
    // the text with "...". That needs 3 more bytes of the 128: after a 123-character element
    // and its ", " they are not there, the append fails and the text is lost.
    {.name = "ArrayTextLimit",
     .call = [](B &) { return joined({array_text({a122 + "a"}).substr(120), array_text({a122 + "aa", "b"}),
                                      array_text({a122, "b"}).substr(120), array_text({a122 + "a", "b"})}, "|"); },
     .out = "aaa, |...|aa, ...|", .log = "0:Error: cat array end failed, result = 34."},
    {.name = "ArrayAppendFails", .faults = {{Op::StrncatS, 1, -2, bspsim::kAnyKey, 1}},
     .call = [](B &) { return array_text({"1", "2"}); }, .out = "12, ",
     .log = "0:Error: cat array element failed, result = -2."},
    {.name = "ArrayEndFails", .faults = {{Op::StrncatS, 1, -1, bspsim::kAnyKey, 2}},
     .call = [](B &) { return array_text({a122, "b"}); }, .out = a122 + ", ",
     .log = "0:Error: cat array end failed, result = -1."},
    // Reads: at an offset, up to the end, the whole 10240 bytes; past the end is a short read,
    // logged with the count read before the count wanted, and leaves the buffer alone.
    {.name = "Reads", .setup = make_files,
     .call = [](B &) { return joined({res(file_read(3, 4), 4), res(file_read(10236, 4), 4), res(file_read(0, 10240, kFile, g_big)),
                                      std::string(g_big, g_big + 12), res(file_read(10238, 4), 4), res(file_read(0, 0), 4)}); },
     .out = "ok 33 34 35 36, ok 36 37 38 39, ok, 012345678901, err 36 37 38 39, ok 36 37 38 39",
     .trace = times(5, kOpen), .log = "0:Read file " + std::string(kFile) + " fail, want to read 2, fact read 4"},
    // The size is refused before anything is opened; only the 10240 below it gets an open.
    {.name = "ReadRefusals", .setup = make_files,
     .call = [](B &) { return joined({res(file_read(0, 10241, kFile, g_big)), res(file_read(0, 4, nullptr)),
                                      res(BSP_ReadFileInfo(kFile, nullptr, 0, 4, g_out)), res(file_read(0, 4, kFile, nullptr)),
                                      res(file_read(0, 10240, kFile, g_big))}); },
     .out = "err, err, err, err, ok", .trace = kOpen, .log = kTooLarge + " | " + times(3, kNull, " | ")},
    {.name = "ReadOpenAndSeekFail", .faults = {{Op::FileOpen, 1}}, .setup = make_files,
     .call = [](B &) { return joined({res(file_read(0, 4)), res(file_read(0, 4, kMissing.c_str())),
                                      res(BSP_ReadFileInfo(kFifo, "r+", 0, 4, g_out), 1)}); },
     .out = "err, err, err ee", .trace = kOpen + "!-1 fopen " + kMissing + "!-1 fopen " + kFifo,
     .log = "0:Open " + std::string(kFile) + " fail. | 0:Open " + kMissing + " fail. | 0:Call fseek " + kFifo + " fail."},
    // The bytes were read: a copy that fails is only logged.
    {.name = "ReadCopyFails", .faults = {{Op::MemcpyS, 1, 7}}, .setup = make_files, .call = BSP_CALL(file_read(0, 2), 2),
     .out = "ok ee ee", .trace = kOpen, .log = "0:copy read data failed, result = 7."},
    {.name = "Writes", .setup = make_files,
     .call = [](B &b) { return joined({res(file_write(2, "abc")), head(b), res(file_write(10237, "xyz")),
                                       bsptest::read_file(b.path_of(kFile)).substr(10236), res(file_write(3, "ab", kFile, "w")),
                                       std::to_string(bsptest::read_file(b.path_of(kFile)).size())}); },
     .out = "ok, 01abc5678901, ok, 6xyz, ok, 5", .trace = times(3, kOpen)},
    {.name = "WriteRefusals", .setup = make_files,
     .call = [](B &b) { return joined({res(file_write(0, std::string(10241, 'x'))), res(BSP_WriteFileInfo(nullptr, "w", 0, 1, "x")),
                                       res(BSP_WriteFileInfo(kFile, nullptr, 0, 1, "x")),
                                       res(BSP_WriteFileInfo(kFile, "w", 0, 1, nullptr)), head(b, 4),
                                       res(file_write(0, std::string(10240, 'x'))), head(b, 4)}); },
     .out = "err, err, err, err, 0123, ok, xxxx", .trace = kOpen, .log = kTooLarge + " | " + times(3, kNull, " | ")},
    {.name = "WriteOpenAndSeekFail", .faults = {{Op::FileOpen, 1}}, .setup = make_files,
     .call = [](B &b) { return joined({res(file_write(0, "ab")), res(file_write(0, "ab", kFifo)), head(b, 4)}); },
     .out = "err, err, 0123", .trace = kOpen + "!-1 fopen " + kFifo,
     .log = "0:Open " + std::string(kFile) + " fail. | 0:Call fseek " + kFifo + " fail."},
};

BSP_CASES(Datatype, DatatypeCall, kCases);

// A full device takes nothing: a write bigger than the stream's buffer comes back short, a small
// one fails only when flushed. A device that cannot be synchronised is no failure.
using DatatypeDevices = bsptest::SimTest;

TEST_F(DatatypeDevices, FullAndNullDevices)
{
    if (access("/dev/full", W_OK) != 0 || access("/dev/null", W_OK) != 0) GTEST_SKIP() << "no /dev/full or /dev/null";
    EXPECT_EQ(joined({res(file_write(0, std::string(8192, 'x'), "/dev/full", "w")), res(file_write(0, "x", "/dev/full", "w")),
                      res(file_write(0, "x", "/dev/null", "w"))}),
              "err, err, ok");
    EXPECT_EQ(log_line(), "0:Read file /dev/full fail, want to read 0, fact read 8192 | 0:Flush file /dev/full fail.");
}

}  // namespace
