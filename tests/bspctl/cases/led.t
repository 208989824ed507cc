bspctl led: the enclosure and board LEDs, listed, read and switched.

## list
  $ bspctl led
  frame-locate  off
  frame-fault   off
  exp-all       off
  board-power   on
  board-alarm   off
  board-locate  off
  $ bspctl --json led
  {"leds": {"frame-locate": false, "frame-fault": false, "exp-all": false, "board-power": true, "board-alarm": false, "board-locate": false}}

## switch
The frame LEDs go through the library's setters, the board LEDs by their bit; a switch is
read back.
  $ bspctl led frame-locate on
  $ bspctl led frame-locate
  on
  $ bspctl --json led exp-all on
  {"led": "exp-all", "written": "on", "readback": "on"}
  $ bspctl led board-alarm on && bspctl led board-power off
  $ bspctl led
  frame-locate  on
  frame-fault   off
  exp-all       on
  board-power   off
  board-alarm   on
  board-locate  off
  $ bspctl --json --no-verify led frame-locate off
  {"led": "frame-locate", "written": "off", "readback": null}
  $ bspctl --json led frame-locate
  {"led": "frame-locate", "on": false}

## trace
  $ bspctl --trace led frame-fault on
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr 13&04=1
    led frame-fault on
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd 13&04=1
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## refused
  $ bspctl led beacon
  2> bspctl: unknown LED 'beacon' (frame-locate|frame-fault|exp-all|board-power|board-alarm|board-locate); try 'bspctl led --help'
  [2]
  $ bspctl led frame-locate blink
  2> bspctl: an LED is on or off: blink; try 'bspctl led --help'
  [2]
  $ bspctl --json led frame-locate on now
  {"error": "led takes [NAME [on|off]]"}
  [2]
  $ bspctl led --help
  usage: bspctl [-p PROFILE] [--json] led [NAME [on|off]]
    without NAME  every LED and whether it is on
    NAME          on or off
    NAME on|off   switch the LED (quiet; read back unless --no-verify)

    LEDs: frame-locate, frame-fault, exp-all (every LED of an expansion
    enclosure), board-power, board-alarm, board-locate.
