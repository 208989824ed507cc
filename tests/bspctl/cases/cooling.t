bspctl cooling and bspctl sim fan: the fans the framework shows and the board's cooling state.

## fans-and-verdict
  $ bspctl cooling
  fan mode: auto
  fan      present  level  faults  alarms
  Fan1     yes      20     0x00    0x00
  Fan2     yes      20     0x00    0x00
  Fan3     yes      20     0x00    0x00
  Fan4     yes      20     0x00    0x00
  cooling state: 1
  $ bspctl sim fan 1 absent
  $ bspctl sim fan 2 fault
  $ bspctl sim fan 3 alarm
  $ bspctl sim fan 4 speed 24
  $ bspctl cooling
  fan mode: auto
  fan      present  level  faults  alarms
  Fan1     no
  Fan2     yes      20     0x01    0x00
  Fan3     yes      20     0x00    0x01
  Fan4     yes      24     0x00    0x00
  cooling state: 0
  $ bspctl --json sim fan 4 speed 23
  {"fan": 4, "present": true, "level": 23, "faults": 0, "alarms": 0}
  $ bspctl --json cooling
  {"mode": "auto", "fans": [{"name": "Fan1", "answered": true, "present": false, "level": 0, "faults": 0, "alarms": 0}, {"name": "Fan2", "answered": true, "present": true, "level": 20, "faults": 1, "alarms": 0}, {"name": "Fan3", "answered": true, "present": true, "level": 20, "faults": 0, "alarms": 1}, {"name": "Fan4", "answered": true, "present": true, "level": 23, "faults": 0, "alarms": 0}], "state": 1}
  $ bspctl sim fan 2 ok
  $ bspctl --json sim fan mode manual
  {"mode": "manual"}
  $ bspctl -v cooling
  fan mode: manual
  fan      present  level  faults  alarms
  Fan1     no
  Fan2     yes      20     0x00    0x00
  Fan3     yes      20     0x00    0x01
  Fan4     yes      23     0x00    0x00
  cooling state: 1
  2> [debug 2] bmc_bsp_dfl.cpp:#: FanCtrlObj get property Mode, value 1 succeed.
  2> [debug 1] bmc_bsp_board.cpp:#: Fan work mode is Manu Mode
  2> [debug 2] bmc_bsp_dfl.cpp:#: FanCtrlObj get property Mode, value 1 succeed.

## smm-six-fans
  $ bspctl -p smm cooling
  fan mode: auto
  fan      present  level  faults  alarms
  Fan1     yes      20     0x00    0x00
  Fan2     yes      20     0x00    0x00
  Fan3     yes      20     0x00    0x00
  Fan4     yes      20     0x00    0x00
  Fan5     yes      20     0x00    0x00
  Fan6     yes      20     0x00    0x00
  cooling state: 1

## no-fans
  $ bspctl -p exp-2u cooling
  2> bspctl: cannot decide the cooling state (status 0xffffffff; -v shows why)
  [1]
  $ bspctl -p exp-2u --json cooling
  {"error": "cannot decide the cooling state (status 0xffffffff; -v shows why)"}
  [1]
  $ bspctl -p exp-2u sim fan 1 absent
  2> bspctl: this board has no fans
  [1]

## usage-errors
  $ bspctl cooling now
  2> bspctl: cooling takes no arguments; try 'bspctl cooling --help'
  [2]
  $ bspctl sim fan 5 absent
  2> bspctl: no fan 5: this board has 4 (1 to 4)
  [1]
  $ bspctl sim fan 1 speed
  2> bspctl: sim fan takes N present|absent|speed LEVEL|fault|alarm|ok, or mode auto|manual; try 'bspctl sim --help'
  [2]
  $ bspctl sim fan 1 speed 256
  2> bspctl: sim fan: bad speed level '256' (0 to 255); try 'bspctl sim --help'
  [2]
  $ bspctl sim fan 1 melt
  2> bspctl: sim fan: unknown state 'melt' (present|absent|speed|fault|alarm|ok); try 'bspctl sim --help'
  [2]
  $ bspctl sim fan mode turbo
  2> bspctl: sim fan takes N present|absent|speed LEVEL|fault|alarm|ok, or mode auto|manual; try 'bspctl sim --help'
  [2]
  $ bspctl cooling --help
  usage: bspctl [-p PROFILE] [--json] cooling
    The fan controller's mode, each fan's presence, speed level and fault and alarm
    flags as its object reports them, and the cooling state the library decides:
    1 in manual mode, or when a present fan without faults or alarms runs below
    level 24; else 0.
