bspctl slot: this board's slot, what told it, the slot facing it and the master's slot.

## two-controller-straps
The default board reads its slot from two strap pins; no master is named yet.
  $ bspctl slot
  slot:          0 (from the straps)
  opposite slot: 1
  master slot:   unknown: register 0xE4 names no single master
  $ bspctl cpld set 0xe4 0x04
  $ bspctl slot
  slot:          0 (from the straps)
  opposite slot: 1
  master slot:   1
  $ bspctl --json slot
  {"slot": 0, "found_by": "straps", "opposite": 1, "master": 1}

## four-controller-cpld
The 4U board has no slot straps: its CPLD's slot register tells.
  $ bspctl -p 4u4c cpld set 0xe4 0x01
  $ bspctl -p 4u4c --json slot
  {"slot": 0, "found_by": "CPLD", "opposite": 2, "master": 0}
  $ bspctl -p 4u4c slot
  slot:          0 (from the CPLD)
  opposite slot: 2
  master slot:   0

## smm
  $ bspctl -p smm slot
  slot:          0 (from the straps)
  opposite slot: 1
  master slot:   unknown: register 0xE4 names no single master

## trace
The straps are read twice: once for the slot, once more to say what told it.
  $ bspctl --trace slot
  slot:          0 (from the straps)
  opposite slot: 1
  master slot:   unknown: register 0xE4 names no single master
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    gi 26=in
    gi 27=in
    gi 28=in
    gr 26=0
    gr 27=1
    gi 26=in
    gi 27=in
    gi 28=in
    gr 26=0
    gr 27=1
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd e4=00
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd e4=00
    delay 10
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd e4=00
    delay 10
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd e4=00
    delay 10
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)
    log 1 bmc_bsp_slot.cpp:# Warning: CPLD appear more than one master or slave (0)(0)(0)(0)

## refused
  $ bspctl slot 1
  2> bspctl: slot takes no arguments; try 'bspctl slot --help'
  [2]
  $ bspctl slot --help
  usage: bspctl [-p PROFILE] [--json] slot
    The slot of this board and what told it: the strap pins, the CPLD's slot
    register (0x32, repaired from the other controllers' codes when corrupt) or
    the slot nibble of the enclosure WWN. Then the slot facing it, and the slot
    the master/slave register (0xE4) names master.
