bspctl ram: the CPLD RAM in 0xc700..0xdbff, where the library keeps its records.

## dump
  $ bspctl ram dump 0xD900 20
         0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef
  d900: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00    ................
  d910: 00 00 00 00                                        ....
  $ bspctl --json ram dump 0xdbfc 4
  {"addr": 56316, "bytes": [0, 0, 0, 0]}

## set-and-read-back
  $ bspctl ram set 0xD900 1 2 0x41
  $ bspctl ram dump 0xD8FE 6
         0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef
  d8f0:                                           00 00                  ..
  d900: 01 02 41 00                                        ??A.
  $ bspctl --json ram set 0xdbfe 0xaa 0xbb
  {"addr": 56318, "written": [170, 187], "readback": [170, 187]}
  $ bspctl --json --no-verify ram set 0xdbfe 0xcc
  {"addr": 56318, "written": [204], "readback": null}
  $ bspctl --json ram dump 0xdbfe 2
  {"addr": 56318, "bytes": [204, 187]}

## below-the-records-refused
0x0700 is 0xc700 for the CPLD's 13-bit window: refused, not wrapped; nothing is written.
  $ bspctl ram dump 0xC700 1
         0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef
  c700: 00                                                 .
  $ bspctl ram set 0x0700 0xAA
  2> bspctl: bad RAM address 0x0700 (0xc700 to 0xdbff); try 'bspctl ram --help'
  [2]
  $ bspctl ram set 0xC6FF 0xAA
  2> bspctl: bad RAM address 0xC6FF (0xc700 to 0xdbff); try 'bspctl ram --help'
  [2]
  $ bspctl ram dump 0xC6FF 4
  2> bspctl: bad RAM address 0xC6FF (0xc700 to 0xdbff); try 'bspctl ram --help'
  [2]
  $ bspctl ram dump 0x1B00 1
  2> bspctl: bad RAM address 0x1B00 (0xc700 to 0xdbff); try 'bspctl ram --help'
  [2]
  $ bspctl ram dump 0xC700 1
         0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef
  c700: 00                                                 .

## past-the-end-refused
  $ bspctl ram dump 0xDBFE 4
  2> bspctl: 4 bytes from 0xdbfe run past 0xdbff; try 'bspctl ram --help'
  [2]
  $ bspctl ram dump 0xDC00 1
  2> bspctl: bad RAM address 0xDC00 (0xc700 to 0xdbff); try 'bspctl ram --help'
  [2]
  $ bspctl ram dump 0xC700 0x1501
  2> bspctl: 5377 bytes from 0xc700 run past 0xdbff; try 'bspctl ram --help'
  [2]
  $ bspctl ram set 0xDBFF 1 2
  2> bspctl: 2 bytes from 0xdbff run past 0xdbff; try 'bspctl ram --help'
  [2]
  $ bspctl --json ram dump 0xDBFE 4
  {"error": "4 bytes from 0xdbfe run past 0xdbff"}
  [2]
  $ bspctl ram dump 0xDBFF 1
         0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef
  dbf0:                                              00                   .

## bad-arguments
  $ bspctl ram dump 0xD900 0
  2> bspctl: bad count 0 (1 or more); try 'bspctl ram --help'
  [2]
  $ bspctl ram dump 0xD900
  2> bspctl: ram dump takes ADDR COUNT; try 'bspctl ram --help'
  [2]
  $ bspctl ram set 0xD900 0x100
  2> bspctl: bad byte 0x100 (0 to 0xff); try 'bspctl ram --help'
  [2]
  $ bspctl ram set 0xD900
  2> bspctl: ram set takes ADDR BYTE...; try 'bspctl ram --help'
  [2]
  $ bspctl ram fill 0xD900
  2> bspctl: ram: unknown subcommand 'fill' (dump|set); try 'bspctl ram --help'
  [2]

## help
  $ bspctl ram --help
  usage: bspctl [-p PROFILE] [--json] ram dump ADDR COUNT
         bspctl [-p PROFILE] [--json] ram set ADDR BYTE...

    dump         print COUNT bytes from ADDR as a hex dump
    set          write the bytes from ADDR on

    Addresses are 0xc700 to 0xdbff, where the library keeps its records; a range must
    end by 0xdbff. Others are refused: only the low 13 bits of an address reach the
    CPLD, so they would land on another byte. Numbers are hex with 0x, decimal
    otherwise (010 is ten). set reads the bytes back and fails when one did not
    stick; --no-verify skips that.
    A dump prints '.' for 0x00 and 0xff and '?' for other unprintable bytes.
