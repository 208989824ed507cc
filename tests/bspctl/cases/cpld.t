bspctl cpld: registers, bits, read-back of writes, self test, health, upgrade mode.

## get
  $ bspctl cpld get 0x13
  0x00
  $ bspctl cpld get 0x10 4
  0x00 0x00 0x00 0x00
  $ bspctl cpld get 0x3fe 2
  0x00 0x00
  $ bspctl --json cpld get 0x10 2
  {"addr": 16, "values": [0, 0]}

## numbers-hex-or-decimal
A leading zero is decimal: 010 is register ten, not eight.
  $ bspctl cpld set 010 0x99
  $ bspctl cpld get 10
  0x99
  $ bspctl cpld get 0x0a
  0x99
  $ bspctl cpld get 8
  0x00
  $ bspctl cpld set 0X13 255
  $ bspctl cpld get 19
  0xff

## numbers-refused
  $ bspctl cpld get 0x
  2> bspctl: bad register address 0x (0 to 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get 1e
  2> bspctl: bad register address 1e (0 to 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get -1
  2> bspctl: bad register address -1 (0 to 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get +5
  2> bspctl: bad register address +5 (0 to 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get ' 5'
  2> bspctl: bad register address  5 (0 to 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get 0x400
  2> bspctl: bad register address 0x400 (0 to 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get 1024
  2> bspctl: bad register address 1024 (0 to 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get 18446744073709551636
  2> bspctl: bad register address 18446744073709551636 (0 to 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get 0x3ff 2
  2> bspctl: bad count 2 (1 to 1 from 0x3ff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get 0x10 0
  2> bspctl: bad count 0 (1 to 1008 from 0x010); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld set 0x13 0x100
  2> bspctl: bad value 0x100 (0 to 0xff); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld bit 0x13 8
  2> bspctl: bad bit 8 (0 to 7); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld bit 0x13 0 2
  2> bspctl: bad bit value 2 (0 or 1); try 'bspctl cpld --help'
  [2]

## set-reads-back
  $ bspctl cpld set 0x13 5
  $ bspctl --json cpld set 0x13 6
  {"addr": 19, "written": 6, "readback": 6}
  $ bspctl --json --no-verify cpld set 0x13 7
  {"addr": 19, "written": 7, "readback": null}
  $ bspctl cpld get 0x13
  0x07

## set-write-protected
0xe9 is write-protected: the write does not stick, and the command says so.
  $ bspctl cpld set 0x0E9 0x01
  2> bspctl: CPLD register 0x0e9 reads 0x00 after writing 0x01: the write did not take (write-protected or read-only?)
  [1]
  $ bspctl --json cpld set 0x0E9 0x01
  {"error": "CPLD register 0x0e9 reads 0x00 after writing 0x01: the write did not take (write-protected or read-only?)", "addr": 233, "written": 1, "readback": 0}
  [1]
  $ bspctl --no-verify cpld set 0x0E9 0x01
  $ bspctl cpld get 0xe9
  0x00

## bit
  $ bspctl cpld bit 0x56 0 1
  $ bspctl cpld bit 0x56 0
  1
  $ bspctl --json cpld bit 0x56 0
  {"addr": 86, "bit": 0, "value": 1}
  $ bspctl --json cpld bit 0x56 0 0
  {"addr": 86, "bit": 0, "written": 0, "readback": 0}
  $ bspctl cpld get 0x56
  0x00

## bit-write-protected
  $ bspctl cpld bit 0xe9 0 1
  2> bspctl: bit 0 of CPLD register 0x0e9 reads 0 after writing 1: the write did not take (write-protected or read-only?)
  [1]
  $ bspctl --json cpld bit 0xe9 0 1
  {"error": "bit 0 of CPLD register 0x0e9 reads 0 after writing 1: the write did not take (write-protected or read-only?)", "addr": 233, "bit": 0, "written": 1, "readback": 0}
  [1]
  $ bspctl --no-verify cpld bit 0xe9 0 1

## selftest
  $ bspctl cpld selftest
  self test of every CPLD: pass
  $ bspctl cpld selftest 1
  self test of CPLD 1: pass
  $ bspctl --json cpld selftest 0
  {"cpld": 0, "selftest": "pass"}

## selftest-no-such-cpld
The default board has two CPLDs; 3 is not a CPLD number at all.
  $ bspctl cpld selftest 2
  2> bspctl: no such CPLD 2: this board has 2 (0 to 1)
  [1]
  $ bspctl --json cpld selftest 2
  {"error": "no such CPLD 2: this board has 2 (0 to 1)"}
  [1]
  $ bspctl cpld selftest 3
  2> bspctl: CPLD must be 0, 1 or 2: 3; try 'bspctl cpld --help'
  [2]

## selftest-spi-board
  $ bspctl -p 4u4c cpld selftest 1
  self test of CPLD 1: pass
  $ bspctl -p 4u4c cpld selftest 2
  2> bspctl: no such CPLD 2: this board has 2 (0 to 1)
  [1]

## selftest-skipped-on-smm
  $ bspctl -p smm cpld selftest
  self test of every CPLD: skipped (the CPLD count of this board is not known)
  $ bspctl -p smm --json cpld selftest
  {"cpld": "all", "selftest": "skipped", "reason": "the CPLD count of this board is not known"}

## health
  $ bspctl cpld health
  healthy
  $ bspctl --json cpld health
  {"health": "healthy"}

## upgrade-mode
  $ bspctl cpld upgrade-mode 0
  0
  $ bspctl cpld upgrade-mode 0 1
  $ bspctl --json cpld upgrade-mode 0
  {"cpld": 0, "upgrade_mode": 1}
  $ bspctl --json cpld upgrade-mode 0 0
  {"cpld": 0, "written": 0, "readback": 0}
  $ bspctl cpld upgrade-mode 3
  2> bspctl: CPLD must be 0, 1 or 2: 3; try 'bspctl cpld --help'
  [2]
  $ bspctl cpld upgrade-mode 0 2
  2> bspctl: mode must be 0 (normal) or 1 (upgrade): 2; try 'bspctl cpld --help'
  [2]

## usage-errors
  $ bspctl cpld
  2> bspctl: cpld: which one? get|set|bit|upgrade-mode|selftest|health; try 'bspctl cpld --help'
  [2]
  $ bspctl cpld frob
  2> bspctl: cpld: unknown subcommand 'frob' (get|set|bit|upgrade-mode|selftest|health); try 'bspctl cpld --help'
  [2]
  $ bspctl cpld get
  2> bspctl: cpld get takes ADDR [COUNT]; try 'bspctl cpld --help'
  [2]
  $ bspctl cpld set 0x13
  2> bspctl: cpld set takes ADDR VALUE; try 'bspctl cpld --help'
  [2]
  $ bspctl --json cpld set 0x13
  {"error": "cpld set takes ADDR VALUE"}
  [2]

## help
  $ bspctl cpld --help
  usage: bspctl [-p PROFILE] [--json] cpld get ADDR [COUNT]
         bspctl [-p PROFILE] [--json] cpld set ADDR VALUE
         bspctl [-p PROFILE] [--json] cpld bit ADDR BIT [0|1]
         bspctl [-p PROFILE] [--json] cpld upgrade-mode CPLD [0|1]
         bspctl [-p PROFILE] [--json] cpld selftest [CPLD]
         bspctl [-p PROFILE] [--json] cpld health

    get          print COUNT registers (default 1) from ADDR
    set          write VALUE (0-0xff) to register ADDR
    bit          print bit BIT (0-7) of register ADDR, or write it
    upgrade-mode print whether CPLD (0-2) is in upgrade mode, or switch it
    selftest     write/read-back test of every CPLD, or of CPLD (0-2)
    health       print whether the CPLD fault register shows a fault

    Registers are 0 to 0x3ff. Numbers are hex with 0x, decimal otherwise (010 is
    ten). set and bit read the register back and fail when the value did not
    stick (write-protected, read-only); --no-verify skips that. selftest of a
    CPLD the board does not have fails (exit 1); a skipped test says skipped.
    The library picks the bus (local bus or SPI) from the board, as at every call.
