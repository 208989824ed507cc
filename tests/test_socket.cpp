// The internal network's UDP channel on a real link. A test makes its own network namespace
// (every test runs in its own process, and the namespace dies with it) holding "veth", the
// BMC's end of a veth pair; the partner's end "vpeer" lives in a second namespace, on a thread
// that receives there, so every datagram really crosses the link. Without the privilege to
// make namespaces the tests skip and say why.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <thread>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <regex>
#include <string>

#include "bmc_bsp.h"
#include "multiprocess/robust_futex.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;

constexpr uint16_t kPort = 5001;
constexpr const char *kPipeline = "ifconfig veth|grep 'inet addr'|awk -F ':' '{print $2}'|awk '{print $1}'";

bool ip(const std::string &args) { return std::system(("ip " + args + " >/dev/null 2>&1").c_str()) == 0; }

// Statuses as the shared renderers take them.
uint32_t u(int32_t status) { return static_cast<uint32_t>(status); }

size_t open_fds() { return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {})); }

class Veth : public bsptest::SimTest {
protected:
    void SetUp() override
    {
        bsptest::SimTest::SetUp();
        if (unshare(CLONE_NEWNET) != 0) GTEST_SKIP() << "cannot make a network namespace: " << std::strerror(errno);
    }
    void TearDown() override
    {
        if (partner_.joinable()) partner_.join();
        bsptest::SimTest::TearDown();
    }
    static void make_veth(bool addressed = true)
    {
        ASSERT_TRUE(ip("link add veth type veth peer name vpeer") && ip("link set veth up"));
        if (addressed) {
            ASSERT_TRUE(ip("addr add 192.168.1.2/24 dev veth"));
        }
    }
    // The partner: a thread in a namespace of its own, which makes the pair there and hands
    // "veth" over to ours. It receives `count` datagrams on kPort, each noted in `got_` as
    // " | SENDER:PORT bytes" (nothing after 10 s without one).
    void start_partner(int count)
    {
        partner_ = std::thread([this, count, ns = std::to_string(getpid())] {
            const int s = unshare(CLONE_NEWNET) == 0 && ip("link add vpeer type veth peer name veth netns " + ns) &&
                                  ip("addr add 192.168.1.1/24 dev vpeer") && ip("link set vpeer up")
                              ? socket(AF_INET, SOCK_DGRAM, 0) : -1;
            const timeval wait = {.tv_sec = 10, .tv_usec = 0};
            ready_.set_value(s >= 0 && bind(s, addr(kPort), sizeof(sockaddr_in)) == 0 &&
                            setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait) == 0);
            for (int i = 0; i < count; ++i) {
                uint8_t buf[64];
                sockaddr_in from = {};
                socklen_t len = sizeof from;
                ssize_t n = 0;
                while ((n = recvfrom(s, buf, sizeof buf, 0, reinterpret_cast<sockaddr *>(&from), &len)) < 0 && errno == EINTR) {}
                if (n < 0) got_ += " errno " + std::to_string(errno);
                got_ += " | " + std::string(inet_ntoa(from.sin_addr)) + ":" + std::to_string(ntohs(from.sin_port));
                for (ssize_t k = 0; k < n; ++k) got_ += " " + bsptest::hex(buf[k]);
            }
        });
        ASSERT_TRUE(ready_.get_future().get()) << "the partner could not set up its end";
        ASSERT_TRUE(ip("addr add 192.168.1.2/24 dev veth") && ip("link set veth up"));
        for (int i = 0; i < 50 && !ip("-o link show veth | grep -q LOWER_UP"); ++i) usleep(20000);
    }
    // 0.0.0.0:port
    static const sockaddr *addr(uint16_t port)
    {
        static sockaddr_in at;
        at = {.sin_family = AF_INET, .sin_port = htons(port), .sin_addr = {htonl(INADDR_ANY)}, .sin_zero = {}};
        return reinterpret_cast<const sockaddr *>(&at);
    }
    // The shell pipelines started for the address: each start's result ("?" if another command).
    std::string starts() const
    {
        std::string out;
        for (const auto &e : events(Op::Popen)) out += (std::string(kPipeline).rfind(e.name, 0) ? " ?" : " ") + std::to_string(e.result);
        return out;
    }
    std::promise<bool> ready_;
    std::thread partner_;
    std::string got_;
};

// Our address 192.168.1.2 sends to 192.168.1.1 from the bound port, byte for byte; the info
// type prints byte 1 then byte 0 without leading zeros; each send asks for the address afresh.
TEST_F(Veth, SendsToThePartner)
{
    SKIP_WITHOUT_ROBUST_FUTEXES();  // it starts a thread
    start_partner(2);
    int fd = -1;
    char own[16] = {};
    const uint8_t first[] = {0x05, 0x00, 0xC3}, second[] = {0x0A, 0x01};
    ASSERT_EQ(BSP_CreateVethSocket(kPort, &fd), 0);
    // The partner leaves once it has both datagrams, and the link with it.
    char cut[8] = {};
    EXPECT_EQ(bsptest::calls({u(BSP_GetVethIP(cut, 5)), u(BSP_GetVethIP(own, sizeof own)), u(BSP_SocketWrite(fd, first, 3, kPort)),
                              u(BSP_SocketWrite(fd, second, 2, kPort))}) + " " + cut + " " + own, "ok ok ok ok 192. 192.168.1.2\n");
    partner_.join();
    EXPECT_EQ(got_, " | 192.168.1.2:5001 0x5 0x0 0xC3 | 192.168.1.2:5001 0xA 0x1");
    const std::string sock = "socket[" + std::to_string(fd) + "]", id = "socketid (" + std::to_string(fd) + ")";
    EXPECT_EQ(log_line(), "2:Create " + sock + " OK. | 1:Udp port 5001 " + sock + " bind OK. | "
              "1:Send udp info succes, Hostip (3232235777) " + id + " infotype 0x(05) | "
              "1:Send udp info succes, Hostip (3232235777) " + id + " infotype 0x(1a)");
    EXPECT_EQ(starts(), " 0 0 0 0");
    close(fd);
}

// A port held by a socket without address reuse: the bind fails, and nothing stays open. A
// missing device is only logged.
TEST_F(Veth, BindFailureLeavesNothingOpen)
{
    make_veth();
    ASSERT_EQ(bind(socket(AF_INET, SOCK_DGRAM, 0), addr(kPort), sizeof(sockaddr_in)), 0);
    int fd = -7;
    const size_t before = open_fds();
    std::string out = bsptest::calls({u(BSP_CreateVethSocket(kPort, &fd)), u(BSP_CreateVethSocket(kPort, nullptr))});
    EXPECT_EQ(out + " " + std::to_string(fd) + " " + std::to_string(open_fds() - before), "err err -7 0");
    ASSERT_TRUE(ip("link del veth"));
    EXPECT_EQ(bsptest::res(u(BSP_CreateVethSocket(kPort + 1, &fd))), "ok");
    EXPECT_EQ(std::regex_replace(log_line(), std::regex(R"(\[\d+\])"), "[N]"),
              "2:Create socket[N] OK. | 0:Udp port 5001 bind fail, ret(-1). | 2:Create socket[N] OK. | "
              "0:Bind device fail. | 1:Udp port 5002 socket[N] bind OK.");
}

// Without an IPv4 address the pipeline prints nothing: one start, one line, no retry; the send
// stops there. Starts that fail are retried three times at once.
TEST_F(Veth, NoAddressOrNoStart)
{
    make_veth(false);
    char own[16] = {};
    const uint8_t msg[] = {1, 2};
    const auto get = [&] { return u(BSP_GetVethIP(own, sizeof own)); };
    EXPECT_EQ(bsptest::calls({u(BSP_GetVethIP(nullptr, 16)), u(BSP_GetVethIP(own, 0)), get(), u(BSP_SocketWrite(3, msg, 2, kPort)),
                              (sim().fail(Op::Popen, 3), get()), (sim().fail(Op::Popen, 2), ip("addr add 192.168.1.2/24 dev veth"), get())}) + " " + own,
              "err err err err err ok 192.168.1.2\n");
    EXPECT_EQ(starts(), " 0 0 -1 -1 -1 -1 -1 0");
    EXPECT_EQ(log_line(), bsptest::times(3, "0:Get veth ip failed.", " | "));
}

// The host's ifconfig answering what the test says: an address that is none, a send that fails,
// and datagrams too short to carry an info type (its missing bytes show as 0).
TEST_F(Veth, OddAnswersAndShortDatagrams)
{
    const std::string bin = sim().dir() + "/bin";
    std::filesystem::create_directory(bin);
    bsptest::write_file(bin + "/ifconfig", "#!/bin/sh\necho \"inet addr:$(cat " + bin + "/answer) \"\n");
    std::filesystem::permissions(bin + "/ifconfig", std::filesystem::perms::owner_all);
    ASSERT_TRUE(ip("link set lo up") && setenv("PATH", (bin + ":" + std::getenv("PATH")).c_str(), 1) == 0);
    const int s = socket(AF_INET, SOCK_DGRAM, 0);
    const uint8_t msg[] = {7, 9};
    const auto send = [&](const char *answer, int fd, int32_t len) {
        bsptest::write_file(bin + "/answer", answer);
        return u(BSP_SocketWrite(fd, msg, len, kPort));
    };
    EXPECT_EQ(bsptest::calls({send("bogus", s, 2), send("127.0.0.2", -1, 2), send("127.0.0.2", s, 1), send("127.0.0.2", s, 0)}),
              "err err ok ok");
    const std::string sent = "1:Send udp info succes, Hostip (2130706433) socketid (" + std::to_string(s) + ") infotype ";
    EXPECT_EQ(log_line(), "0:IP changed to network ip failed. | 0:Send udp message failed, sendlen(-1) | " + sent + "0x(07) | " +
              sent + "0x(00)");
}

// Out of descriptors, for real: the socket cannot be made, nor can the pipeline start (each
// of its three starts fails with EMFILE). A device name that cannot be copied is tolerated.
class Host : public bsptest::SimTest {};
TEST_F(Host, OutOfDescriptorsAndAnUncopiedName)
{
    rlimit old = {}, tight = {};
    const int lowest_free = open("/dev/null", O_RDONLY);
    ASSERT_TRUE(close(lowest_free) == 0 && getrlimit(RLIMIT_NOFILE, &old) == 0);
    tight = {static_cast<rlim_t>(lowest_free), old.rlim_max};
    char own[16] = {};
    int fd = -1;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
    const std::string out = bsptest::calls({u(BSP_CreateVethSocket(kPort, &fd)), u(BSP_GetVethIP(own, sizeof own))});
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &old), 0);
    close(0);  // descriptor 0 is a socket like any other
    sim().fail(Op::StrncpyS, 1, 99);
    EXPECT_EQ(out + " " + bsptest::res(u(BSP_CreateVethSocket(kPort, &fd))), "err err ok");
    EXPECT_EQ(tr({Op::Popen}), bsptest::times(3, "popen " + events(Op::Popen).at(0).name + "!-" + std::to_string(EMFILE)));
    // The name left empty unbinds the socket from any device, which succeeds.
    EXPECT_EQ(log_line(), "0:Create socket fail. | 0:Get veth ip failed. | 2:Create socket[" + std::to_string(fd) +
              "] OK. | 0:Strncpy ethName failed.ret is 99 | 1:Udp port 5001 socket[" + std::to_string(fd) + "] bind OK.");
    close(fd);
}

}  // namespace
