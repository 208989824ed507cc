bspctl sim: the simulated boards behind the tool.

## profiles
  $ bspctl sim profiles
  4u4c
  arm-2u2c
  default
  exp-2u
  smm
  x86-2u
  $ bspctl --json sim profiles
  {"profiles": ["4u4c", "arm-2u2c", "default", "exp-2u", "smm", "x86-2u"]}

## where
  $ bspctl sim where
  $SCRATCH/home/default
  $ bspctl -p smm --json sim where
  {"dir": "$SCRATCH/home/smm"}

## reset
  $ bspctl cpld set 0x13 5
  $ bspctl sim reset
  $ bspctl cpld get 0x13
  0x00
  $ bspctl --json sim reset
  {"reset": "$SCRATCH/home/default", "profile": "default"}

## usage-errors
  $ bspctl sim
  2> bspctl: sim takes one of reset|profiles|where|psu|rail|board|straps|clock|m3|mcu|fan|switch; try 'bspctl sim --help'
  [2]
  $ bspctl sim nuke
  2> bspctl: sim: unknown subcommand 'nuke' (reset|profiles|where|psu|rail|board|straps|clock|m3|mcu|fan|switch); try 'bspctl sim --help'
  [2]
  $ bspctl --json sim nuke
  {"error": "sim: unknown subcommand 'nuke' (reset|profiles|where|psu|rail|board|straps|clock|m3|mcu|fan|switch)"}
  [2]
