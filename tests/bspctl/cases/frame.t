bspctl frame: the enclosure as this board reads it.

## controller
The frame type and its disk slots, the records of the CPLD RAM, and the IO cards that are in.
  $ bspctl frame
  frame type:    0x0c
  disks:         25
  model:         BP-2U25-SAS
  configuration: 2U2C;disks=25;psu=2;fans=4
  io cards:      0 1 7 8
  $ bspctl --json frame
  {"frame_type": 12, "disks": 25, "model": "BP-2U25-SAS", "config": "2U2C;disks=25;psu=2;fans=4", "io_cards": [0, 1, 7, 8]}

## expansion-board
An expansion enclosure with no records (they show as none); an expansion board does not read
IO cards.
  $ bspctl -p exp-2u frame
  frame type:    0x0d
  disks:         12
  model:         none
  configuration: none
  io cards:      unknown
  $ bspctl -p exp-2u --json frame
  {"frame_type": 13, "disks": 12, "model": null, "config": null, "io_cards": null}

## smm
The system management module reads the frame type but not the IO cards.
  $ bspctl -p smm frame
  frame type:    0x0a
  disks:         36
  model:         BP-4U36-SAS
  configuration: 4U4C;disks=36;psu=4;fans=6
  io cards:      unknown
  $ bspctl -p smm --json frame
  {"frame_type": 10, "disks": 36, "model": "BP-4U36-SAS", "config": "4U4C;disks=36;psu=4;fans=6", "io_cards": null}

## damaged-records
A model whose check byte was damaged and a configuration overwritten without its check byte
read as absent.
  $ bspctl ram set 0xD931 0x00
  $ bspctl ram set 0xD99C 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0
  $ bspctl frame
  frame type:    0x0c
  disks:         25
  model:         none
  configuration: none
  io cards:      0 1 7 8

## refused
  $ bspctl frame 1
  2> bspctl: frame takes no arguments; try 'bspctl frame --help'
  [2]
  $ bspctl frame --help
  usage: bspctl [-p PROFILE] [--json] frame
    Shows the frame type and the disk slots it implies, the backplane model and
    the product configuration recorded in the CPLD RAM ("none" when absent or
    damaged; shown as hex when not text), and the IO cards that are in ("unknown"
    on boards that cannot read them). Fails only when the frame type cannot be read.
