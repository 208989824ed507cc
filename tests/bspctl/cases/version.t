bspctl version.

## default
  $ bspctl version
  cpld 0:        00.05.200T01
  cpld 1:        00.02.110T03
  bmc:           66.25.01T13
  pcb:           B
  boot loader:   2.1.07
  sdk:           5.6.0.3 / 5.6.0.3.B010
  cpld vendors:  Lattice pango
  cpld ids:      0x612bd043 (Lattice) 0x0042b899 (pango)
  soc chip info: 0x00000201

## 4u4c
  $ bspctl -p 4u4c version
  cpld 0:        00.01.400T00
  cpld 1:        00.01.410T02
  bmc:           66.25.01T13
  pcb:           B
  boot loader:   2.2.01
  sdk:           5.7.0.1 / 5.7.0.1.B002
  cpld vendors:  Lattice Lattice
  cpld ids:      0x612bd043 (Lattice) 0x612bd043 (Lattice)
  soc chip info: 0x00000202

## smm
  $ bspctl -p smm version
  cpld:          unknown (no CPLD count for this board)
  bmc:           66.25.01T13
  pcb:           B
  boot loader:   2.0.11
  sdk:           5.5.2.0 / 5.5.2.0.B031
  cpld vendors:  Lattice Undentified
  soc chip info: 0x00000201

## json
  $ bspctl --json version
  {
    "cpld": ["00.05.200T01", "00.02.110T03"],
    "bmc": "66.25.01T13",
    "pcb": "B",
    "boot_loader": "2.1.07",
    "sdk": ["5.6.0.3", "5.6.0.3.B010"],
    "cpld_vendors": ["Lattice", "pango"],
    "cpld_ids": [{"id": 1630261315, "vendor": "Lattice"}, {"id": 4372633, "vendor": "pango"}],
    "soc_chip_info": 513
  }
  $ bspctl --json -p smm version
  {
    "cpld": null,
    "bmc": "66.25.01T13",
    "pcb": "B",
    "boot_loader": "2.0.11",
    "sdk": ["5.5.2.0", "5.5.2.0.B031"],
    "cpld_vendors": ["Lattice", "Undentified"],
    "cpld_ids": null,
    "soc_chip_info": 513
  }

## arguments-refused
  $ bspctl version 1
  2> bspctl: version takes no arguments; try 'bspctl version --help'
  [2]
