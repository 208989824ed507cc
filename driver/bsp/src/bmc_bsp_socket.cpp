// The internal network's UDP channel: a socket bound to the point-to-point interface "veth"
// and a port, the BMC's own address on that interface, and one datagram to the partner, whose
// address is by convention ours minus one. Nothing is cached: every send asks for the address
// afresh, so a partner that was re-addressed is reached at its new address.
#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/securec.h"

namespace {

using bsp::kErrS;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kLogTrace;
using bsp::kOkS;

constexpr const char *kVethName = "veth";
static_assert(sizeof(ifreq) == 40 && IFNAMSIZ == 16, "SO_BINDTODEVICE takes the 40-byte request, name first");

// The address of "veth" as the BMC's ifconfig prints it: the dotted text and a newline.
constexpr const char *kVethIpCommand = "ifconfig veth|grep 'inet addr'|awk -F ':' '{print $2}'|awk '{print $1}'";
// Starting the pipeline is retried at once; what it prints is taken as it comes, even nothing.
constexpr int kPipelineStarts = 3;

// Room for a dotted IPv4 address and its newline, as the pipeline prints it.
constexpr uint32_t kIpTextLen = 16;

}  // namespace

extern "C" {

int32_t BSP_CreateVethSocket(uint16_t port, int *sockfd)
{
    if (sockfd == nullptr) return kErrS;
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) {
        BSP_LOG(kLogError, "Create socket fail.");
        return kErrS;
    }
    BSP_LOG(kLogTrace, "Create socket[%d] OK.", fd);
    // The options are wishes: a socket without them still carries the channel.
    const int on = 1;
    if (setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) BSP_LOG(kLogError, "Udp set reuse fail.");
    ifreq device = {};
    if (int rc = strncpy_s(device.ifr_name, IFNAMSIZ, kVethName, std::strlen(kVethName)); rc != 0) {
        BSP_LOG(kLogError, "Strncpy ethName failed.ret is %d", rc);
    }
    if (setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, &device, sizeof device) != 0) BSP_LOG(kLogError, "Bind device fail.");
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    if (int rc = bind(fd, reinterpret_cast<const sockaddr *>(&local), sizeof local); rc != 0) {
        (void)close(fd);
        BSP_LOG(kLogError, "Udp port %d bind fail, ret(%d).", port, rc);
        return kErrS;
    }
    *sockfd = fd;
    BSP_LOG(kLogNotice, "Udp port %d socket[%d] bind OK.", port, fd);
    return kOkS;
}

int32_t BSP_GetVethIP(char *buf, uint32_t size)
{
    if (buf == nullptr || size == 0) return kErrS;
    FILE *pipeline = nullptr;
    for (int start = 0; start < kPipelineStarts && pipeline == nullptr; ++start) pipeline = popen(kVethIpCommand, "r");
    if (pipeline == nullptr) {
        BSP_LOG(kLogError, "Get veth ip failed.");
        return kErrS;
    }
    // The text is left as printed, newline included, and not terminated here: callers hand
    // in a zeroed buffer.
    const size_t got = std::fread(buf, 1, size - 1, pipeline);
    (void)pclose(pipeline);
    if (got == 0) {
        BSP_LOG(kLogError, "Get veth ip failed.");
        return kErrS;
    }
    return kOkS;
}

int32_t BSP_SocketWrite(int sockfd, const uint8_t *buf, int32_t len, uint16_t port)
{
    if (buf == nullptr || len < 0) return kErrS;
    sockaddr_in peer = {};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(port);
    char own[kIpTextLen] = {};
    if (BSP_GetVethIP(own, sizeof own) != 0) return kErrS;
    // inet_aton stops at the pipeline's newline.
    in_addr own_addr = {};
    if (inet_aton(own, &own_addr) == 0) {
        BSP_LOG(kLogError, "IP changed to network ip failed.");
        return kErrS;
    }
    const uint32_t partner = ntohl(own_addr.s_addr) - 1;
    peer.sin_addr.s_addr = htonl(partner);
    const ssize_t sent = sendto(sockfd, buf, static_cast<size_t>(len), 0, reinterpret_cast<const sockaddr *>(&peer),
                                sizeof peer);
    if (sent != len) {
        BSP_LOG(kLogError, "Send udp message failed, sendlen(%d)", static_cast<int>(sent));
        return kErrS;
    }
    // The info type prints high byte then low byte, each without leading zeros: 0x0105 shows
    // as "0x(15)". The text is the one the partner's logs are searched for; it stays as it is.
    // A datagram shorter than an info type shows its missing bytes as 0.
    const unsigned high = len > 1 ? buf[1] : 0u, low = len > 0 ? buf[0] : 0u;
    BSP_LOG(kLogNotice, "Send udp info succes, Hostip (%ld) socketid (%d) infotype 0x(%x%x)", static_cast<long>(partner),
            sockfd, high, low);
    return kOkS;
}

}  // extern "C"
