bspctl chips and bspctl sim straps: the chips a board is built with, from its identification straps.

## default
The default board's straps read 0x3: a clock oscillator and a Lattice CPLD.
  $ bspctl chips
  straps: 0x3 on pins 129-132 (a 5830 board identifies by pins 129-131, no parity)

  class  chip               type  name
  1      clock generator    0     Clock oscillator
  2      CPLD               1     Lattice
  3      voltage regulator  -     Vrd
  $ bspctl --json chips
  {"straps": 3, "pins_read": 3, "chips": [{"class": 1, "chip": "clock generator", "type": 0, "name": "Clock oscillator"}, {"class": 2, "chip": "CPLD", "type": 1, "name": "Lattice"}, {"class": 3, "chip": "voltage regulator", "type": null, "name": "Vrd"}]}

## other-profile
  $ bspctl -p x86-2u chips
  straps: 0x6 on pins 129-132 (a 5830 board identifies by pins 129-131, no parity)

  class  chip               type  name
  1      clock generator    5     Vantacore
  2      CPLD               0     Anlu
  3      voltage regulator  -     Vrd

## straps-set
A value the table has no row for leaves the clock and the CPLD unidentified; a 5830 board does
not look at pin 132, so 0x9 reads as 1 there.
  $ bspctl sim straps 7
  $ bspctl chips
  straps: 0x7 on pins 129-132 (a 5830 board identifies by pins 129-131, no parity)

  class  chip               type  name
  1      clock generator    -     InvalidClockType
  2      CPLD               -     InvalidCpldType
  3      voltage regulator  -     Vrd
  $ bspctl sim straps 0x9
  $ bspctl --json sim straps 0x9
  {"straps": 9}
  $ bspctl --json chips
  {"straps": 9, "pins_read": 3, "chips": [{"class": 1, "chip": "clock generator", "type": 4, "name": "Au5310"}, {"class": 2, "chip": "CPLD", "type": null, "name": "InvalidCpldType"}, {"class": 3, "chip": "voltage regulator", "type": null, "name": "Vrd"}]}

## each-board
Each board of the enclosure has its own straps.
  $ bspctl -b 1 sim straps 6
  $ bspctl -b 0 --json chips
  {"straps": 3, "pins_read": 3, "chips": [{"class": 1, "chip": "clock generator", "type": 0, "name": "Clock oscillator"}, {"class": 2, "chip": "CPLD", "type": 1, "name": "Lattice"}, {"class": 3, "chip": "voltage regulator", "type": null, "name": "Vrd"}]}
  $ bspctl -b 1 --json chips
  {"straps": 6, "pins_read": 3, "chips": [{"class": 1, "chip": "clock generator", "type": 5, "name": "Vantacore"}, {"class": 2, "chip": "CPLD", "type": 0, "name": "Anlu"}, {"class": 3, "chip": "voltage regulator", "type": null, "name": "Vrd"}]}
  $ bspctl -b 3 sim straps 6
  2> bspctl: no board in slot 3 of this enclosure (boards: 2)
  [1]

## straps-refused
  $ bspctl sim straps 16
  2> bspctl: sim straps takes VALUE (0 to 0xf); try 'bspctl sim --help'
  [2]
  $ bspctl sim straps
  2> bspctl: sim straps takes VALUE (0 to 0xf); try 'bspctl sim --help'
  [2]
  $ bspctl chips extra
  2> bspctl: chips takes no arguments; try 'bspctl chips --help'
  [2]

## trace
The straps are read whole (four pins); then each clock and CPLD row reads pins 129 to 131
until one matches. The regulator is tried twice (its type, then its name) and never matches.
  $ bspctl --trace chips
  straps: 0x3 on pins 129-132 (a 5830 board identifies by pins 129-131, no parity)

  class  chip               type  name
  1      clock generator    0     Clock oscillator
  2      CPLD               1     Lattice
  3      voltage regulator  -     Vrd
  trace:
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 132=in
    gr 132=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    gi 129=in
    gr 129=1
    gi 130=in
    gr 130=1
    gi 131=in
    gr 131=0
    log 1 bmc_bsp_chip.cpp:# BSP:read the chip type gpio(131:131:130:129) is 0x3, chipIdentCode=0x3
    log 1 bmc_bsp_chip.cpp:# BSP:read the chip type gpio(131:131:130:129) is 0x3, chipIdentCode=0x3
    log 0 bmc_bsp_chip.cpp:# BSP: analy the chip type fail(chipClass is 0x3).
    log 0 bmc_bsp_chip.cpp:# BSP: analy the chip type fail(chipClass is 0x3).

## help
  $ bspctl chips --help
  usage: bspctl [-p PROFILE] [--json] chips
    The four identification straps (pin 129 is bit 0), then per chip class the type
    the library identifies (- when none) and the name it gives. A 5830 board reads
    only pins 129-131 and checks no parity; other boards read all four and want even
    parity. No strap value names a voltage regulator: it is always "Vrd".
