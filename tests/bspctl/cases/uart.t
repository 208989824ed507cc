bspctl uart: the port of the BMC's UART switch.

## read-and-switch
  $ bspctl uart
  0x00
  $ bspctl uart 2
  $ bspctl uart
  0x02
  $ bspctl --json uart 0x3
  {"written": 3, "readback": 3}
  $ bspctl --json uart
  {"port": 3}

## port-the-switch-lacks
The switch ignores a port it does not have; the library counts the write as done, the tool
reads back and says the switch did not take.
  $ bspctl uart 9
  2> bspctl: the UART switch shows port 0x00 after switching to 0x09: the switch did not take (no such port?)
  [1]
  $ bspctl --json uart 0x10
  {"error": "the UART switch shows port 0x00 after switching to 0x10: the switch did not take (no such port?)", "written": 16, "readback": 0}
  [1]
  $ bspctl uart
  0x00
  $ bspctl --no-verify uart 9
  $ bspctl -v uart 0x10
  2> [debug 2] bmc_bsp_board.cpp:#: get bmc boardid (0x5)
  2> [debug 1] bmc_bsp_uart.cpp:#: Switch uart to port(0x0) failed!
  2> bspctl: the UART switch shows port 0x00 after switching to 0x10: the switch did not take (no such port?)
  [1]

## refused
  $ bspctl uart 0x100
  2> bspctl: bad port 0x100 (0 to 0xff); try 'bspctl uart --help'
  [2]
  $ bspctl uart 1 2
  2> bspctl: uart takes [PORT]; try 'bspctl uart --help'
  [2]
  $ bspctl uart --help
  usage: bspctl [-p PROFILE] [--json] uart [PORT]
    without PORT  the port the UART switch shows
    PORT          route the BMC's UART to PORT (0 to 0xff; quiet; read back
                  unless --no-verify: a port the switch lacks does not take)
