bspctl watchdog: the switch's own watchdog on a 4U4C enclosure, and the stop the BMC asks for.

## show-and-stop
  $ bspctl -p 4u4c watchdog
  switch watchdog: running
  $ bspctl -p 4u4c watchdog stop
  switch watchdog stopped; waited 1000 ms
  $ bspctl -p 4u4c --json watchdog
  {"switch_watchdog": "stopped"}
  $ bspctl -p 4u4c --json watchdog show
  {"switch_watchdog": "stopped"}

## slow-switch
  $ bspctl -p 4u4c sim switch slow 3
  $ bspctl -p 4u4c --json watchdog stop
  {"stopped": true, "waited_ms": 3000}
  $ bspctl -p 4u4c --json sim switch slow 3
  {"switch": "slow", "polls": 3}

## switch-that-never-stops
  $ bspctl -p 4u4c --json sim switch never
  {"switch": "never", "polls": 0}
  $ bspctl -p 4u4c watchdog stop
  switch did not confirm; gave up after 5000 ms
  $ bspctl -p 4u4c watchdog
  switch watchdog: stop pending
  $ bspctl -p 4u4c sim switch ok
  $ bspctl -p 4u4c watchdog stop
  switch watchdog stopped; waited 0 ms

## each-board-has-its-switch
  $ bspctl -p 4u4c -b 2 sim switch never
  $ bspctl -p 4u4c -b 2 watchdog stop
  switch did not confirm; gave up after 5000 ms
  $ bspctl -p 4u4c watchdog stop
  switch watchdog stopped; waited 1000 ms

## no-switch-on-a-2u-board
  $ bspctl watchdog
  2> bspctl: no switch watchdog on this board: not a 4U4C enclosure (status -2)
  [1]
  $ bspctl --json watchdog stop
  {"error": "cannot ask the switch to stop its watchdog (status 0xfffffffe; -v shows why)"}
  [1]

## usage
  $ bspctl watchdog start
  2> bspctl: watchdog: unknown subcommand 'start' (show|stop); try 'bspctl watchdog --help'
  [2]
  $ bspctl sim switch slow
  2> bspctl: sim switch takes slow N|never|ok; try 'bspctl sim --help'
  [2]
  $ bspctl sim switch fast 2
  2> bspctl: sim switch takes slow N|never|ok; try 'bspctl sim --help'
  [2]
  $ bspctl watchdog --help
  usage: bspctl [-p PROFILE] [--json] watchdog show
         bspctl [-p PROFILE] [--json] watchdog stop

    show         the switch watchdog: running, stop pending or stopped
    stop         ask the switch to stop its watchdog and wait for it (at most 5 polls)
    Without a subcommand: show. The wait is the library's: up to five polls
    one second apart, in virtual time; `stop` prints how long it waited.

## trace
  $ bspctl -p 4u4c --trace watchdog stop
  switch watchdog stopped; waited 1000 ms
  trace:
    dfl_get_handle GeSwitchObj
    dfl_call_method GeSwitchObj.SetWtdFlag
    switch stop requested
    dfl_get_handle GeSwitchObj
    dfl_call_method GeSwitchObj.GetWtdFlag
    delay 1000
    dfl_call_method GeSwitchObj.GetWtdFlag
    switch watchdog stopped
    log 1 bmc_bsp_dog.cpp:# BMC reset after geswitch stop watchdog
