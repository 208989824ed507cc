bspctl reset and reset-type: the host CPU's resets, and the reset type the CPLD keeps.

## soft-and-hard
  $ bspctl reset soft
  $ bspctl --json reset hard
  {"reset": "hard"}
  $ bspctl -p 4u4c --json reset soft
  {"reset": "soft"}
  $ bspctl --trace reset hard
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    gi 58=out
    gw 58=1
    delay 100
    gi 58=out
    gw 58=0
    delay 10
    gi 58=in
    host reset by gpio 58, 100 ms
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)
    log 1 bmc_bsp_rst.cpp:# Get board 5 reset cpu gpio is 58.

## hard-reset-needs-a-known-line
  $ bspctl -p smm reset hard
  2> bspctl: cannot reset the host CPU through its reset line (status 0xffffffff; -v shows why)
  [1]
  $ bspctl -p smm --json reset hard
  {"error": "cannot reset the host CPU through its reset line (status 0xffffffff; -v shows why)"}
  [1]

## reset-type
  $ bspctl reset-type
  0
  $ bspctl reset-type 1
  $ bspctl --json reset-type
  {"reset_type": 1}
  $ bspctl --json reset-type 0
  {"reset_type": 0}
  $ bspctl reset-type
  0

## usage
  $ bspctl reset
  2> bspctl: reset takes soft|hard; try 'bspctl reset --help'
  [2]
  $ bspctl reset warm
  2> bspctl: reset takes soft|hard; try 'bspctl reset --help'
  [2]
  $ bspctl reset-type 2
  2> bspctl: reset-type takes nothing, 0 or 1; try 'bspctl reset-type --help'
  [2]
  $ bspctl reset --help
  usage: bspctl [-p PROFILE] [-b SLOT] [--json] reset soft|hard
    soft  pulse the CPLD's soft-reset bit behind its write protection (quiet)
    hard  pulse the BMC's hard-reset line of this board (quiet); fails on a board
          without a known line
  $ bspctl reset-type --help
  usage: bspctl [-p PROFILE] [-b SLOT] [--json] reset-type [0|1]
    Without a value: print the reset type (0xEB bit 0; 0 also when it cannot be
    read). With one: write it (quiet).
