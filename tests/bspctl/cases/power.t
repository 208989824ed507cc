bspctl power: the board's power as the library judges it, and the soft power button.

## show
  $ bspctl power
  board power:   on
  PS_ON:         0x3
  standby:       no
    board 0:     no
    board 1:     no
  on check:      ok
  off check:     alarm (a rail is still good)
  rail verdict:  ok (power-on check)
  front power:   normal
  $ bspctl --json power
  {"board_power": "on", "ps_on": 3, "standby": false, "boards_standby": [false, false], "power_on_check": 0, "power_off_check": 1, "rails_ok": true, "front_power": 0}

## force-off-then-show
The board goes off: its rails are down, so the verdict is the power-off check's.
  $ bspctl power force-off
  $ bspctl power
  board power:   off
  PS_ON:         0x2
  standby:       no
    board 0:     no
    board 1:     no
  on check:      alarm (a rail is not good)
  off check:     ok
  rail verdict:  ok (power-off check)
  front power:   abnormal
  $ bspctl --json power
  {"board_power": "off", "ps_on": 2, "standby": false, "boards_standby": [false, false], "power_on_check": 1, "power_off_check": 0, "rails_ok": true, "front_power": 1}

## graceful-off-and-on
  $ bspctl power off
  $ bspctl --json power
  {"board_power": "standby", "ps_on": 2, "standby": true, "boards_standby": [true, false], "power_on_check": 1, "power_off_check": 0, "rails_ok": true, "front_power": 1}
  $ bspctl --json power on
  {"pressed": "on"}
  $ bspctl status | grep '^power'
  power:         on, standby no, rails ok (power-on check)

## held-rail
A rail held down on a powered board: the power-on check raises the alarm and logs the row.
  $ bspctl sim rail 0x37 1 0
  $ bspctl -v power 2>&1 | grep -E 'verdict|Behind power on'
  [debug 1] bmc_bsp_power.cpp:#: Behind power on check,cpld addr (0x37) value(8)
  rail verdict:  alarm (power-on check)
  $ bspctl sim rail 0x37 1 free
  $ bspctl power | grep verdict
  rail verdict:  ok (power-on check)

## other-boards
  $ bspctl -p 4u4c power
  board power:   on
  PS_ON:         0xf
  standby:       no
    board 0:     no
    board 1:     no
    board 2:     no
    board 3:     no
  on check:      ok
  off check:     alarm (a rail is still good)
  rail verdict:  ok (power-on check)
  front power:   normal
  $ bspctl -p x86-2u --json power
  {"board_power": "not judged", "ps_on": 3, "standby": false, "boards_standby": [false, false], "power_on_check": 0, "power_off_check": 0, "rails_ok": null, "front_power": 0}
  $ bspctl -p smm power
  board power:   not judged
  PS_ON:         0x1
  standby:       no
    board 0:     no
    board 1:     no
  on check:      ok
  off check:     ok
  rail verdict:  not judged (no rails known for this board)
  front power:   normal

## trace
  $ bspctl --trace power on
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr e8&01=0
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr e7&01=0
    delay 5
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    power on 5ms
    wr e7&01=1
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr e8&01=1
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd 5f&01=1
    log 1 bmc_bsp_power.cpp:# Write CPLD power on system
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## usage-errors
  $ bspctl power bogus
  2> bspctl: power: unknown action 'bogus' (on|off|force-off); try 'bspctl power --help'
  [2]
  $ bspctl power on off
  2> bspctl: power takes at most one of on|off|force-off; try 'bspctl power --help'
  [2]
  $ bspctl --json power bogus
  {"error": "power: unknown action 'bogus' (on|off|force-off)"}
  [2]
  $ bspctl sim rail 0x37 9 0
  2> bspctl: sim rail takes REG BIT 0|1|free; try 'bspctl sim --help'
  [2]
  $ bspctl sim rail 0x37 1 2
  2> bspctl: sim rail takes REG BIT 0|1|free; try 'bspctl sim --help'
  [2]
  $ bspctl sim rail 0x10 1 0
  2> bspctl: register 0x10 has no rail or front power bits on this board
  [1]
  $ bspctl --json sim rail 0x10 1 0
  {"error": "register 0x10 has no rail or front power bits on this board"}
  [1]

## help
  $ bspctl power --help
  usage: bspctl [-p PROFILE] [--json] power [on|off|force-off]
    Without an action: the board's power as its rails show it, PS_ON, standby of
    this and of each controller board, the rail checks after power-on and after
    power-off with the verdict of the one that fits, and the front power check.
    on         press the soft power button to power on
    off        press it for a graceful power-off (the board goes to standby)
    force-off  press it for a forced power-off
