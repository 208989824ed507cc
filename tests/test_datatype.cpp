// Conversions at their edges: the parsers' forgiving digits, the trim rules, wrap-safe
// differences, the PMBus formats both ways, property values and bytes as text, fan level and
// duty on both kinds of board, and the file functions with each way they can fail.
#include <glib.h>
#include <sys/stat.h>

#include <filesystem>

#include "core/boards.h"
#include "test_helpers.h"

namespace {

using bsptest::g_out, bsptest::joined, bsptest::res, bsptest::times, bspsim::Op;
using Datatype = bsptest::SimTest;
using P8 = std::pair<uint16_t, int8_t>;
using Pf = std::pair<int, float>;

// f of each input, each followed by "|"; numbers print "%.12g", so whole ones as integers.
template <typename In, typename F>
std::string each(F f, std::initializer_list<In> inputs)
{
    std::string out;
    char b[32];
    for (const In &in : inputs) {
        if constexpr (std::is_arithmetic_v<decltype(f(in))>) out += (std::snprintf(b, sizeof b, "%.12g|", double(f(in))), b);
        else out += f(in) + "|";
    }
    return out;
}

// In-place edits by `f` of each text; values given as GVariant text ("" for null) rendered by `f`.
std::string edited(void (*f)(char *), std::initializer_list<std::string> texts)
{
    return each([f](std::string s) { return (f(s.data()), std::string(s.c_str())); }, texts);
}
std::string rendered(std::initializer_list<std::string> texts, char *(*f)(GVariant *) = BSP_GvariantToString)
{
    return each([f](const std::string &t) {
        // The parser hands back a reference of our own (not a floating one): one unref ends it.
        GVariant *v = t.empty() ? nullptr : g_variant_parse(nullptr, t.c_str(), nullptr, nullptr, nullptr);
        std::unique_ptr<char, decltype(&g_free)> s(f(v), g_free);
        if (v) g_variant_unref(v);
        return std::string(s ? s.get() : "(null)");
    }, texts);
}

// htoi takes letters past "f" on to "z" = 35, in either case ("x" too), and wraps; btoi keeps the
// last 16 digits and takes no prefix. PMBus LINEAR11 has a signed 5-bit exponent over a signed
// 11-bit mantissa; LINEAR16 an unsigned mantissa, encoded from the mode byte's 5-bit exponent
// field (higher bits ignored), clamped to 16 bits and truncated.
TEST_F(Datatype, Numbers)
{
    EXPECT_EQ(each(htoi, {"0x1F", "ff", "0xg", "12:", "z", "0XZ", "x1", "00x1", "0x", "100000001", "@", "[", "`", "{", ""}),
              "31|255|16|18|35|35|529|529|0|1|0|0|0|0|0|");
    EXPECT_EQ(each(btoi, {"101", "2", "11111111111111111", "10000000000000000", "0b1", "11a1", " 1"}), "5|0|65535|0|0|3|0|");
    EXPECT_EQ(each(BSP_HexOrDecPro, {"0X10", "010", " \t-42abc", "x10", "-0x10", "0xFFFFFFFF", "99999999999"}),
              "16|10|-42|0|0|4294967295|99999999999|");
    EXPECT_EQ(htoi(nullptr) + btoi(nullptr) + BSP_HexOrDecPro(nullptr), 0);
    EXPECT_EQ(std::pair(BSP_Diff_Uint32(0xFFFFFFF0u, 0x10), BSP_Diff_Uint32(5, 3)), std::pair(0x20u, 0xFFFFFFFEu));
    EXPECT_EQ(std::pair(BSP_Diff_Ulong(UINT64_MAX, 1), BSP_Diff_Ulong(1, 1ull << 32)), (std::pair<uint64_t, uint64_t>(2, 0xFFFFFFFF)));
    EXPECT_EQ(each(BSP_Literal11ToFloat, {0xD3C0, 0x03FF, 0x07FF, 0x0400, 0x0FFF, 0x7BFF, 0x8401, 0xF801}),
              "15|1023|-1|-1024|-2|33521664|-0.0156097412109|0.5|");
    EXPECT_EQ(each([](P8 p) { return BSP_Literal16ToFloat(p.first, p.second); }, {P8{6144, -9}, {1, 15}, {3, -1}, {65535, -16}}),
              "12|32768|1.5|0.999984741211|");
    EXPECT_EQ(each([](Pf p) { return BSP_FloatToLiteral16(static_cast<int8_t>(p.first), p.second); },
                   {Pf{0x17, 12}, {0xF7, 12}, {0x10, 1}, {0x10, 0.99998f}, {0x1F, 2.5f}, {0x01, 3.9f}, {0x0F, 1e9f}, {0x2F, 65536},
                    {0x00, 65535.9f}, {0x00, -3}}),
              "6144|6144|65535|65534|5|1|30517|2|65535|0|");
}

// Only blank, tab, line feed and carriage return are white; a comment starts at the first "#"
// outside double quotes, and an unclosed quote protects the rest. "q" prints like a signed value
// but cannot go negative; "u" from 2^31 up does. Arrays keep the separator after the last element
// and skip elements without a text. An element fits while text + element + 1 stays within 124;
// the first that does not ends the text with "...", which needs 3 more of the 128 bytes: after a
// 123-character element and its ", " they are not there, and the text is lost.
TEST_F(Datatype, Texts)
{
    EXPECT_EQ(edited(BSP_StrConvert, {" \tabc \r\n", "   ", "\fa b\v", " x", "x\t", ""}), "abc||\fa b\v|x|x||");
    EXPECT_EQ(edited(BSP_CommentTrim, {"a \"#b\" #c", "#x", "\"open # x", "a\"\"#b", "a\"b\"c\"#d", "a#b#c", ""}),
              "a \"#b\" ||\"open # x|a\"\"|a\"b\"c\"#d|a||");
    BSP_StrConvert(nullptr);
    BSP_CommentTrim(nullptr);
    EXPECT_EQ(rendered({"true", "false", "byte 0xff", "int16 -32768", "uint16 65535", "int32 -2147483648", "uint32 2147483647",
                        "uint32 2147483648", "-0.25", "'a text'", "''", "int64 5", "<5>", "(1, 2)", ""}),
              "TRUE|FALSE|255|-32768|65535|-2147483648|2147483647|-2147483648|-0.250000|a text||(null)|(null)|(null)|(null)|");
    EXPECT_EQ(rendered({"@ay [0x01, 0x02]", "@ai []", "[[1, 2], [3]]", "@ax [1, 2]", "{'k': <1>}"}), "1, 2, ||1, 2, , 3, , |||");
    EXPECT_EQ(rendered({"(1, int64 2, 'x')", "5", ""}, BSP_GarrayToString), "1, x, |(null)|(null)|");
    const std::string a(122, 'a'), b = "['" + a, e = "', 'b']";
    sim().fail(Op::StrncatS, 1, -1, bspsim::kAnyKey, 2);  // the third append from here: the first "..."
    sim().fail(Op::StrncatS, 1, -2, bspsim::kAnyKey, 3);  // the fifth: the ", " after "1"
    EXPECT_EQ(rendered({b + e, "['1', '2']", b + "a']", b + "aa" + e, b + e, b + "a" + e}, BSP_GarrayToString),
              a + ", |12, |" + a + "a, |...|" + a + ", ...||");
    EXPECT_EQ(log_line(), "0:Str len is too short(0). | 0:Input str is NULL. | " + times(3, "0:invalid input para.", " | ") +
                              " | 0:Error: cat array end failed, result = -1. | 0:Error: cat array element failed, result = -2. | "
                              "0:Error: cat array end failed, result = 34.");
}

// Into 8 bytes of "Z" (size 1 at the last of them); nothing for a null pointer or a zero size.
TEST_F(Datatype, BytesAsHex)
{
    const uint8_t bytes[] = {0xAB, 0x01, 0x5F};
    std::string got, out;
    for (auto [p, count, size] : {std::tuple{bytes, 2u, 5u}, {bytes, 2u, 4u}, {bytes, 2u, 3u}, {bytes, 2u, 2u}, {bytes, 2u, 1u},
                                  {bytes, 3u, 8u}, {bytes, 1u, 8u}, {bytes, 0u, 8u}, {bytes, 2u, 0u}, {nullptr, 2u, 8u}})
        got += (out.assign(8, 'Z'), BSP_Arr2String(p, count, out.data() + (size == 1 ? 7 : 0), size), out + "|");
    BSP_Arr2String(bytes, 2, nullptr, 4);
    EXPECT_EQ(got, std::string("AB01\0ZZZ|AB\0ZZZZZ|AB\0ZZZZZ|\0ZZZZZZZ|ZZZZZZZ\0|AB015F\0Z|AB\0ZZZZZ|ZZZZZZZZ|ZZZZZZZZ|ZZZZZZZZ|", 90));
}

// Levels 0..33 to duty, duties to level, and unknown directions; out-of-range results wrap. A lite
// board's fans start at a tenth of full duty, the others' at a fifth.
std::string fan()
{
    const auto conv = [](int direction) { return [direction](int v) { return BSP_FanLevelConvert(direction, v); }; };
    return (BSP_IsLiteBoard() ? "lite:" : "full:") + each(conv(0), {0, 1, 2, 16, 31, 32, 33}) +
           each(conv(1), {0, 25, 29, 51, 57, 128, 153, 254, 255}) + each(conv(2), {128}) + each(conv(255), {1});
}
TEST_F(Datatype, FanLevelsOnAFullBoard) { EXPECT_EQ(fan(), "full:44|51|57|149|248|255|5|250|254|255|1|2|13|17|32|32|0|0|"); }
TEST_F(Datatype, FanLevelsOnALiteBoard)
{
    sim().set_board_id(bsp::kLiteIds[0]);
    EXPECT_EQ(fan(), "lite:17|25|32|136|247|255|6|255|1|1|4|5|15|18|32|32|0|0|");
}

// A platform file (kept in the instance, its opens recorded) of 10240 bytes "0123456789...", and
// a FIFO beside it, which opens ("r+" does not wait for a writer) but cannot seek.
constexpr const char *kFile = "/var/log/zelm/datatype_file", *kFifo = "/var/log/zelm/datatype_fifo";
alignas(8) uint8_t g_big[10241];

uint32_t rd(uint32_t offset, uint32_t length, const char *path = kFile, void *buf = g_out, const char *mode = "rb")
{
    return BSP_ReadFileInfo(path, mode, offset, length, buf);
}
uint32_t wr(uint32_t offset, const std::string &bytes, const char *path = kFile, const char *mode = "r+")
{
    return BSP_WriteFileInfo(path, mode, offset, static_cast<uint32_t>(bytes.size()), bytes.data());
}

// A failed read leaves the buffer alone; a short transfer logs the count done before the count
// wanted (writes too, with the read's words); a copy that fails after the read is only logged;
// 10241 bytes are refused unopened. "w" truncates before the write at the offset. A full device
// takes nothing: a write beyond the stream's buffer comes back short, a small one fails when
// flushed; a device that cannot be synchronised is no failure.
TEST_F(Datatype, Files)
{
    if (access("/dev/full", W_OK) != 0 || access("/dev/null", W_OK) != 0) GTEST_SKIP() << "no /dev/full or /dev/null here";
    bsptest::write_file(sim().path_of(kFile), times(1024, "0123456789", ""));
    ASSERT_EQ(mkfifo(sim().path_of(kFifo).c_str(), 0600), 0);
    const auto file = [this](size_t from, size_t n) { return bsptest::read_file(sim().path_of(kFile)).substr(from, n); };
    const auto fds = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto fds_before = fds();
    sim().fail(Op::MemcpyS, 1, 7);
    EXPECT_EQ(joined({res(rd(0, 2), 2), res(rd(3, 4), 4), res(rd(10238, 4), 4), res(rd(0, 10240, kFile, g_big)),
                      res(rd(0, 10241, kFile, g_big)), res(rd(0, 0)), res(rd(0, 4, nullptr)), res(rd(0, 4, kFile, g_out, nullptr)),
                      res(rd(0, 4, kFile, nullptr)), (sim().fail(Op::FileOpen), res(rd(0, 4))), res(rd(0, 4, kFifo, g_out, "r+")),
                      res(wr(2, "abc")), file(0, 6), res(wr(10237, "xyz")), file(10236, 4), res(wr(0, std::string(10241, 'x'))),
                      res(BSP_WriteFileInfo(nullptr, "w", 0, 1, "x")), res(wr(0, "x", kFile, nullptr)),
                      res(BSP_WriteFileInfo(kFile, "w", 0, 1, nullptr)), res(wr(0, "ab", kFifo)),
                      (sim().fail(Op::FileOpen), res(wr(0, "ab"))), file(0, 4), res(wr(3, "ab", kFile, "w")), file(0, 9),
                      res(wr(0, std::string(8192, 'x'), "/dev/full", "w")), res(wr(0, "x", "/dev/full", "w")),
                      res(wr(0, "x", "/dev/null", "w"))}),
              "ok 00 00, ok 33 34 35 36, err 33 34 35 36, ok, err, ok, err, err, err, err, err, ok, 01abc5, ok, 6xyz, err, err, err, "
              "err, err, err, 01ab, ok, " + std::string("\0\0\0ab", 5) + ", err, err, ok");
    const std::string open = "fopen " + std::string(kFile), fifo = " fopen " + std::string(kFifo), refused =
        "0:Read buffer is too large. ReadLength(10241)" + times(3, " | 0:Input pointer is null.", "");
    EXPECT_EQ(fds(), fds_before);  // every file opened was closed
    EXPECT_EQ(tr({Op::FileOpen}), times(6, open) + "!-1" + fifo + " " + times(2, open) + fifo + " " + open + "!-1 " + open);
    EXPECT_EQ(log_line(), "0:copy read data failed, result = 7. | 0:Read file " + std::string(kFile) + " fail, want to read 2, fact "
              "read 4 | " + refused + " | 0:Open " + kFile + " fail. | 0:Call fseek " + kFifo + " fail. | " + refused +
              " | 0:Call fseek " + kFifo + " fail. | 0:Open " + kFile + " fail. | 0:Read file /dev/full fail, want to read 0, fact "
              "read 8192 | 0:Flush file /dev/full fail.");
}

}  // namespace
