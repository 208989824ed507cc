bspctl clocks and bspctl sim clock: the clock-status registers and the verdict.

## default
  $ bspctl clocks
  register  clocks  value  state
  0x48      0x77    0x77   ok

  clocks: ok
  $ bspctl --json clocks
  {"registers": [{"register": "0x48", "mask": "0x77", "value": "0x77", "lost": "0x00"}], "fault": false}

## four-controller
The 4U board has clock bits in both registers; a lost clock is a fault until it runs again.
  $ bspctl -p 4u4c clocks
  register  clocks  value  state
  0x48      0xfd    0xfd   ok
  0x49      0x0c    0x0c   ok

  clocks: ok
  $ bspctl -p 4u4c sim clock 0x49 2 lost
  $ bspctl -p 4u4c --json sim clock 0x48 0 lost
  {"register": "0x48", "lost": "0x01"}
  $ bspctl -p 4u4c clocks
  register  clocks  value  state
  0x48      0xfd    0xfc   lost 0x01
  0x49      0x0c    0x08   lost 0x04

  clocks: fault
  $ bspctl -p 4u4c --json clocks
  {"registers": [{"register": "0x48", "mask": "0xfd", "value": "0xfc", "lost": "0x01"}, {"register": "0x49", "mask": "0x0c", "value": "0x08", "lost": "0x04"}], "fault": true}
  $ bspctl -p 4u4c sim clock 0x49 2 ok
  $ bspctl -p 4u4c sim clock 0x48 0 ok
  $ bspctl -p 4u4c clocks
  register  clocks  value  state
  0x48      0xfd    0xfd   ok
  0x49      0x0c    0x0c   ok

  clocks: ok

## each-board
Each board of the enclosure has its own clocks.
  $ bspctl -b 1 sim clock 0x48 4 lost
  $ bspctl -b 0 --json clocks
  {"registers": [{"register": "0x48", "mask": "0x77", "value": "0x77", "lost": "0x00"}], "fault": false}
  $ bspctl -b 1 --json clocks
  {"registers": [{"register": "0x48", "mask": "0x77", "value": "0x67", "lost": "0x10"}], "fault": true}

## no-clock-bits
  $ bspctl -p x86-2u clocks
  this board has no clock-status bits

  clocks: ok
  $ bspctl -p x86-2u --json clocks
  {"registers": [], "fault": false}

## refused
  $ bspctl sim clock 0x48 3 lost
  2> bspctl: bit 3 of register 0x48 is no clock of this board
  [1]
  $ bspctl --json sim clock 0x4a 0 lost
  {"error": "register 0x4a holds no clock bits (0x48, 0x49)"}
  [1]
  $ bspctl sim clock 0x48 8 lost
  2> bspctl: sim clock takes REG BIT lost|ok; try 'bspctl sim --help'
  [2]
  $ bspctl sim clock 0x48 0 gone
  2> bspctl: sim clock takes REG BIT lost|ok; try 'bspctl sim --help'
  [2]
  $ bspctl clocks now
  2> bspctl: clocks takes no arguments; try 'bspctl clocks --help'
  [2]

## trace
  $ bspctl --trace clocks
  register  clocks  value  state
  0x48      0x77    0x77   ok

  clocks: ok
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd 48=77
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd 48=77
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## help
  $ bspctl clocks --help
  usage: bspctl [-p PROFILE] [--json] clocks
    Each clock-status register of this board (0x48, 0x49): its clock bits, the value
    read and the clocks lost (bits of a clock that reads 0), then the library's
    verdict. A board without clock bits has no rows and is always ok.
