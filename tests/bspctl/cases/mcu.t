bspctl mcu and bspctl sim mcu: command blocks to and from the fan-board MCU, each with its PEC.

## read-and-write
  $ bspctl mcu read 0x01 4
  01 03 00 0c
  $ bspctl --json mcu read 1 4
  {"cmd": 1, "data": [1, 3, 0, 12]}
  $ bspctl mcu read 0x40 20
  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
  00 00 00 00
  $ bspctl mcu write 0x10 50 0x33
  $ bspctl --json mcu write 0x10 0x14
  {"cmd": 16, "written": 1}
  $ bspctl mcu read 0x10 4
  14 33 14 14
  $ bspctl --json mcu write 0x30
  {"cmd": 48, "written": 0}
  $ bspctl -p x86-2u mcu read 1 2
  01 03

## trace
A read: the transfer, then the MCU's settling time.
  $ bspctl --trace mcu read 0x30 1
  00
  trace:
    dfl_get_handle FanBoardMcu
    dfl_block_read FanBoardMcu.McuBlock@48+2
    delay 100

## bad-pec
The simulated MCU answers its next two reads with a wrong PEC; the library refuses them, and
logs nothing in its first hour.
  $ bspctl sim mcu bad-pec 2
  $ bspctl mcu read 1 4
  2> bspctl: cannot read command 0x01 of FanBoardMcu: the PEC did not match (status 3)
  [1]
  $ bspctl --json mcu read 1 4
  {"error": "cannot read command 0x01 of FanBoardMcu: the PEC did not match (status 3)", "status": 3}
  [1]
  $ bspctl -v mcu read 1 4
  01 03 00 0c
  $ bspctl --json sim mcu show
  {"present": true, "bad_pec_reads": 0, "refused_writes": 0, "commands": [{"cmd": 1, "name": "version", "length": 4, "writable": false}, {"cmd": 16, "name": "speed-target", "length": 4, "writable": true}, {"cmd": 48, "name": "mode", "length": 1, "writable": true}, {"cmd": 64, "name": "event-record", "length": 1024, "writable": false}, {"cmd": 80, "name": "firmware-block", "length": 1026, "writable": true}]}

## refused-writes
A read-only command refuses a write: the library tries three times.
  $ bspctl -v mcu write 1 2
  2> [debug 0] bmc_bsp_mcu.cpp:#: Send message to mcu failed. Ret(-4), Cmd(0x1)
  2> bspctl: cannot write command 0x01 of FanBoardMcu (status 0xffffffff; -v shows why)
  [1]
  $ bspctl --trace mcu write 1 2 | grep -c 'mcu refused 01 read-only'
  3
  2> bspctl: cannot write command 0x01 of FanBoardMcu (status 0xffffffff; -v shows why)
  $ bspctl sim mcu show | head -1
  object FanBoardMcu, property McuBlock; bad-PEC reads to come 0, writes refused 6

## missing-or-other-block
  $ bspctl sim mcu missing
  $ bspctl mcu read 1 4
  2> bspctl: no fan-board MCU object on this board
  [1]
  $ bspctl --json mcu write 0x10 1
  {"error": "no fan-board MCU object on this board"}
  [1]
  $ bspctl sim mcu present
  $ bspctl mcu read 1 4
  01 03 00 0c
  $ bspctl mcu read 1 4 --property Nope
  2> bspctl: cannot read command 0x01 of FanBoardMcu: the transfer failed (status 2; -v shows why)
  [1]
  $ bspctl mcu read 1 4 --object cpld1 --property McuBlock
  2> bspctl: cannot read command 0x01 of cpld1: the transfer failed (status 2; -v shows why)
  [1]
  $ bspctl -p exp-2u mcu read 1 4
  2> bspctl: this board has no fan-board MCU
  [1]

## mode-on-the-smm
The SMM keeps the MCU mode in the framework; the MCU's mode command shows the same byte.
  $ bspctl -p smm mcu mode
  0
  $ bspctl -p smm mcu mode 1
  $ bspctl -p smm --json mcu mode
  {"mode": 1}
  $ bspctl -p smm mcu read 0x30 1
  01
  $ bspctl -p smm mcu write 0x30 0
  $ bspctl -p smm mcu mode
  0
  $ bspctl mcu mode
  2> bspctl: the MCU mode is kept by the SMM board; this board is not one
  [1]
  $ bspctl -p smm mcu mode 2
  2> bspctl: the MCU mode is 0 (normal) or 1 (factory): 2; try 'bspctl mcu --help'
  [2]

## usage-errors
  $ bspctl mcu
  2> bspctl: mcu: which one? read|write|mode; try 'bspctl mcu --help'
  [2]
  $ bspctl mcu read 1
  2> bspctl: mcu read takes CMD LEN [--object NAME] [--property NAME]; try 'bspctl mcu --help'
  [2]
  $ bspctl mcu read 1 0
  2> bspctl: mcu read takes CMD (0 to 0xff) LEN (1 to 1024); try 'bspctl mcu --help'
  [2]
  $ bspctl mcu read 0x100 1025
  2> bspctl: mcu read takes CMD (0 to 0xff) LEN (1 to 1024); try 'bspctl mcu --help'
  [2]
  $ bspctl mcu write 1 0x100
  2> bspctl: mcu write: bad byte '0x100'; try 'bspctl mcu --help'
  [2]
  $ bspctl mcu read 1 4 --object
  2> bspctl: mcu: --object needs a name; try 'bspctl mcu --help'
  [2]
  $ bspctl sim mcu
  2> bspctl: sim mcu takes bad-pec [N]|missing|present|show; try 'bspctl sim --help'
  [2]
  $ bspctl sim mcu glitch
  2> bspctl: sim mcu: unknown state 'glitch' (bad-pec|missing|present|show); try 'bspctl sim --help'
  [2]
  $ bspctl --json mcu read 1 1025
  {"error": "mcu read takes CMD (0 to 0xff) LEN (1 to 1024)"}
  [2]
  $ bspctl mcu --help
  usage: bspctl [-p PROFILE] [--json] mcu read CMD LEN [--object NAME] [--property NAME]
         bspctl [-p PROFILE] [--json] mcu write CMD [BYTE...] [--object NAME] [--property NAME]
         bspctl [-p PROFILE] [--json] mcu mode [0|1]

    read         read LEN bytes (1 to 1024) of command CMD
    write        write the BYTEs (up to 1026) as command CMD
    mode         the SMM's MCU mode (1: factory mode), or set it

    Blocks go to the fan-board MCU of the board's profile (the chip object and its block
    property) unless --object and --property name others. Each block carries its PEC; a read
    fails when the transfer fails (status 2), the PEC does not match (3) or the arguments are
    refused (4). Reads print the data in hex, 16 bytes a line; writes are quiet.
