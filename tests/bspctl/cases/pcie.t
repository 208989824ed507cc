bspctl pcie: the PCIe cores.

## on-off
  $ bspctl pcie off
  $ bspctl --json pcie on
  {"pcie": "on"}
  $ bspctl --trace pcie off
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr ff&01=0
    pcie partial
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr ff&02=0
    pcie off
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## refused
  $ bspctl pcie
  2> bspctl: pcie takes on or off; try 'bspctl pcie --help'
  [2]
  $ bspctl pcie 1
  2> bspctl: pcie takes on or off; try 'bspctl pcie --help'
  [2]
  $ bspctl --json pcie on off
  {"error": "pcie takes on or off"}
  [2]
  $ bspctl pcie --help
  usage: bspctl [-p PROFILE] [--json] pcie on|off
    on   hold both cores off, then enable them (quiet)
    off  hold both cores off (quiet)
