bspctl udp: the internal network's UDP channel. The golden runner's host has no veth
interface: the commands say so, and touch nothing.

## no-veth
%require ! ip link show dev veth >/dev/null 2>&1
  $ bspctl udp ip
  2> bspctl: no veth interface on this host (the internal network to the partner BMC)
  [1]
  $ bspctl --json udp ip
  {"error": "no veth interface on this host (the internal network to the partner BMC)"}
  [1]
  $ bspctl udp send 5001 05 00
  2> bspctl: no veth interface on this host (the internal network to the partner BMC)
  [1]
  $ bspctl --json --trace udp send 5001 0x0a 1
  {"error": "no veth interface on this host (the internal network to the partner BMC)",
    "trace": []
  }
  [1]

## refused
  $ bspctl udp
  2> bspctl: udp: which one? ip|send; try 'bspctl udp --help'
  [2]
  $ bspctl udp send 5001
  2> bspctl: udp send takes PORT HEX...; try 'bspctl udp --help'
  [2]
  $ bspctl udp send 70000 01
  2> bspctl: bad port 70000 (0 to 65535); try 'bspctl udp --help'
  [2]
  $ bspctl udp send 5001 100
  2> bspctl: bad byte 100 (hex, 00 to ff); try 'bspctl udp --help'
  [2]
  $ bspctl --json udp ip extra
  {"error": "udp ip takes no arguments"}
  [2]
  $ bspctl udp --help
  usage: bspctl [-p PROFILE] [--json] udp ip
         bspctl [-p PROFILE] [--json] udp send PORT HEX...

    ip           this BMC's address on veth
    send         send the bytes as one datagram to the partner on PORT (quiet)

  The partner's address is this BMC's address on veth minus one. The first two bytes of a
  message are its info type, low byte first. Fails when the host has no veth interface.
