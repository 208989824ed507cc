bspctl wwn and bspctl mac: the enclosure WWN in the CPLD RAM and its MAC address.

## show
  $ bspctl wwn
  wwn:  0x5020000200020039
  mac:  02:00:00:20:00:20
  slot: 0
  $ bspctl --json wwn
  {"wwn": "0x5020000200020039", "mac": "02:00:00:20:00:20", "slot": 0}
  $ bspctl mac
  02:00:00:20:00:20
  $ bspctl --json mac
  {"mac": "02:00:00:20:00:20"}
  $ bspctl -p 4u4c mac
  02:00:00:40:00:10

## set
The WWN carries this board's slot; storing the same WWN again writes nothing.
  $ bspctl wwn set 02:00:00:00:00:01
  $ bspctl wwn
  wwn:  0x5020000000001039
  mac:  02:00:00:00:00:01
  slot: 0
  $ bspctl wwn set 02:00:00:00:00:01
  $ bspctl --json wwn set 02:00:00:00:00:02
  {"wwn": "0x5020000000002039"}
  $ bspctl mac
  02:00:00:00:00:02

## no-wwn
A record without its marker is no WWN.
  $ bspctl ram set 0xd801 0x00
  $ bspctl wwn
  2> bspctl: no valid WWN in the CPLD RAM (-v shows why)
  [1]
  $ bspctl --json mac
  {"error": "no enclosure MAC: no valid WWN in the CPLD RAM (-v shows why)"}
  [1]
  $ bspctl mac
  2> bspctl: no enclosure MAC: no valid WWN in the CPLD RAM (-v shows why)
  [1]

## refused
  $ bspctl wwn set 02:00:00:00:00
  2> bspctl: bad MAC 02:00:00:00:00 (as 02:00:00:00:00:01); try 'bspctl wwn --help'
  [2]
  $ bspctl wwn get
  2> bspctl: wwn takes nothing, or set MAC; try 'bspctl wwn --help'
  [2]
  $ bspctl mac 1
  2> bspctl: mac takes no arguments; try 'bspctl mac --help'
  [2]
  $ bspctl wwn --help
  usage: bspctl [-p PROFILE] [--json] wwn [set MAC]
    without arguments  the WWN kept in the CPLD RAM, its MAC and slot
    set MAC            store the WWN of MAC (six hex bytes, as 02:00:00:00:00:01)
                       on this board's slot (quiet; not rewritten when the same)
  $ bspctl mac --help
  usage: bspctl [-p PROFILE] [--json] mac
    The MAC address carried in the enclosure WWN in the CPLD RAM.
