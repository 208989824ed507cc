bspctl master: this board's role, and the requests that move mastership between the boards of
the enclosure (-b picks the board by its slot).

## grab-on-one-board-shows-on-both
  $ bspctl master
  slave
  $ bspctl -b 0 master grab
  $ bspctl -b 1 master
  slave
  $ bspctl -b 0 master
  master
  $ bspctl --json -b 0 master
  {"role": "master"}
  $ bspctl --json -b 1 master
  {"role": "slave"}

## grab-is-refused-while-another-is-master
  $ bspctl -b 1 master grab
  $ bspctl -b 0 master grab
  $ bspctl -b 0 master
  slave
  $ bspctl -b 1 master abandon
  $ bspctl -b 0 master grab
  $ bspctl --json -b 0 master
  {"role": "master"}

## json-requests
  $ bspctl --json -b 1 master grab
  {"master": "grab"}
  $ bspctl --json -b 1 master abandon
  {"master": "abandon"}
  $ bspctl -b 1 master
  slave

## board-taken-out-is-master-no-more
  $ bspctl -b 0 master grab
  $ bspctl sim board remove 0
  $ bspctl --json sim board remove 0
  {"board": "remove", "slot": 0}
  $ bspctl -b 1 master grab
  $ bspctl -b 1 master
  master
  $ bspctl sim board add 0
  $ bspctl -b 0 master
  slave

## trace
  $ bspctl -b 1 --trace master grab
  trace:
    P20
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr e2&08=0
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr e1&10=1
    delay 500
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr e1&10=0
    master 1
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr e2&08=1
    V20
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## failures
  $ bspctl -b 2 master
  2> bspctl: no board in slot 2 of this enclosure (boards: 2)
  [1]
  $ bspctl --json -b 2 master
  {"error": "no board in slot 2 of this enclosure (boards: 2)"}
  [1]
  $ bspctl -b 0 master foo
  2> bspctl: master takes nothing, grab or abandon; try 'bspctl master --help'
  [2]
  $ bspctl -b 9 master
  2> bspctl: option -b needs a slot, 0 to 3; try 'bspctl --help'
  [2]
  $ bspctl -b
  2> bspctl: option -b needs a slot, 0 to 3; try 'bspctl --help'
  [2]
  $ bspctl sim board remove 4
  2> bspctl: sim board: bad slot '4' (0 to 3); try 'bspctl sim --help'
  [2]
  $ bspctl sim board pull 0
  2> bspctl: sim board takes add|remove SLOT; try 'bspctl sim --help'
  [2]
  $ bspctl master --help
  usage: bspctl [-p PROFILE] [-b SLOT] [--json] master [grab|abandon]
    (none)   print this board's role: master or slave
    grab     ask the CPLD for mastership; it is granted when no board is master
             (quiet; `bspctl master` shows the outcome)
    abandon  give mastership up (quiet)

## status-picture-shows-the-master
  $ bspctl -b 1 master grab
  $ bspctl sim board remove 0
  $ bspctl -b 1 status | tail -12 | head -9

  enclosure picture:
    +----------+----------+
    | slot 0   | slot 1   |
    |          | this     |
    | empty    | master   |
    +----------+----------+
    | psu 0 ok | psu 1 ok |
    +----------+----------+
