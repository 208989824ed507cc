bspctl ssd: the SSD online bits.

## controller
The library reads the SSD bits once it knows the board type, which on controller boards comes
with the slot.
  $ bspctl ssd
  online: 0 1 2 3
  $ bspctl --json ssd 9 1
  {"ssd": 9, "recorded": 1}

## smm-reads-presence-writes-record
On enclosures other than 4U four-controller ones, reads show the disks' presence and writes
the BMC's record: a write does not change what reads show.
  $ bspctl -p smm ssd
  online: none
  $ bspctl -p smm --trace ssd 9 1
  trace:
    open sys_info
    ioctl 80047306=812
    close sys_info
    wr 1b5&02=1
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x81)
  $ bspctl -p smm ssd 9
  0
  $ bspctl -p smm --json ssd 9
  {"ssd": 9, "online": 0}
  $ bspctl -p smm --json ssd 9 0
  {"ssd": 9, "recorded": 0}
  $ bspctl -p smm --json ssd
  {"online": []}

## refused
  $ bspctl ssd 32
  2> bspctl: bad SSD 32 (0 to 31); try 'bspctl ssd --help'
  [2]
  $ bspctl ssd 1 2
  2> bspctl: an SSD is recorded 0 (offline) or 1 (online): 2; try 'bspctl ssd --help'
  [2]
  $ bspctl ssd 1 1 1
  2> bspctl: ssd takes [N [0|1]]; try 'bspctl ssd --help'
  [2]
  $ bspctl ssd --help
  usage: bspctl [-p PROFILE] [--json] ssd [N [0|1]]
    without N  the SSDs (0 to 31) that read online
    N          1 when SSD N reads online, else 0
    N 0|1      record SSD N offline or online (quiet)

    Reads show the disks' own presence, except on 4U four-controller enclosures,
    which read back the BMC's record. Writes always set the record, so elsewhere
    a write does not change what reads show.
