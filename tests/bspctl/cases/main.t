Global options, usage errors and exit codes: 0 done, 1 failed, 2 bad command line. An error
is one line on stderr with, for a usage error, the hint to the help after it.

## no-command
  $ bspctl
  2> bspctl: no command given; try 'bspctl --help'
  [2]

## unknown-command
  $ bspctl foo
  2> bspctl: unknown command 'foo'; try 'bspctl --help'
  [2]

## unknown-option
  $ bspctl -x status
  2> bspctl: unknown option -x; try 'bspctl --help'
  [2]

## profile-needs-a-value
  $ bspctl -p
  2> bspctl: option -p needs a profile name; try 'bspctl --help'
  [2]
  $ bspctl status -p
  2> bspctl: option -p needs a profile name; try 'bspctl --help'
  [2]
  $ bspctl -p --json status
  {"error": "option -p needs a profile name"}
  [2]
  $ bspctl --profile= status
  2> bspctl: option --profile needs a profile name; try 'bspctl --help'
  [2]

## empty-profile-touches-nothing
An empty name is refused before any board is looked for, so nothing in the home goes.
  $ mkdir home && echo keep > home/notes.txt && bspctl -p '' status; cat home/notes.txt
  keep
  2> bspctl: option -p needs a profile name; try 'bspctl --help'

## json-errors-are-documents
  $ bspctl --json
  {"error": "no command given"}
  [2]
  $ bspctl --json foo
  {"error": "unknown command 'foo'"}
  [2]
  $ bspctl --json -p
  {"error": "option -p needs a profile name"}
  [2]
  $ bspctl cpld get 0x400 --json
  {"error": "bad register address 0x400 (0 to 0x3ff)"}
  [2]

## profile-from-environment
-p wins over BSPSIM_PROFILE, which wins over the default; an empty one is unset.
  $ BSPSIM_PROFILE=smm bspctl status | head -1
  board id:      0x81
  $ BSPSIM_PROFILE=smm bspctl -p x86-2u status | head -1
  board id:      0x2d
  $ BSPSIM_PROFILE= bspctl status | head -1
  board id:      0x05
  $ bspctl --profile=4u4c status | head -1
  board id:      0x71

## help
  $ bspctl --help
  usage: bspctl [-p PROFILE] [-b SLOT] [--json] [--trace] [--no-verify] [-v] COMMAND [ARGS...]

  Board support tool. On a host it runs on a simulated board: the persistent
  instance of PROFILE, or the one BSPSIM_INSTANCE names.

  options (also accepted after the command):
    -p, --profile NAME  board profile to run on (see `bspctl sim profiles`); without
                        it, $BSPSIM_PROFILE when set, else "default"
    -b, --board SLOT    the board of the enclosure in SLOT (0 to 3); without it, the
                        first board ($BSPSIM_BOARD picks another)
        --json          machine-readable output: one JSON document per run, errors
                        included ({"error": ...})
        --trace         after the output, every platform call the command made
                        (registers, pins, devices, semaphores, delays, log lines)
        --no-verify     writes do not read the value back
    -v, --verbose       print the library's log lines on stderr
    -h, --help          this text; `bspctl COMMAND --help` for a command

  Numbers are hex with a 0x prefix and decimal otherwise: a leading zero is still
  decimal (010 is ten). Exit status: 0 done, 1 failed, 2 bad command line.

  commands:
    chips      clock generator, CPLD and voltage regulator fitted, from the straps
    clocks     clock-status registers and the clock verdict
    cooling    fan mode, fans and the board's cooling state
    cpld       read and write CPLD registers
    crc32      checksum of a file, as cksum prints it
    frame      show the enclosure: frame type, disks, model, configuration, IO cards
    led        list, read or switch the enclosure and board LEDs
    m3         the secure core: secure boot, upgrade, BIOS mux and verification
    mac        the enclosure MAC address, from its WWN
    master     this board's role; grab or give up mastership
    mcu        fan-board MCU blocks (read, write) and the SMM's MCU mode
    pcie       enable the PCIe cores or hold them off
    power      show the board's power, or press the soft power button
    psu        power supplies and backup battery (table, watch)
    ram        dump and write the CPLD RAM
    reboot     reboot the BMC, showing its hand-over as it happens
    reset      reset the host CPU (soft through the CPLD, hard through the reset line)
    reset-type the reset type the CPLD keeps (0 or 1); set it
    sim        manage the simulated board (reset, profiles, where, psu, rail, board, straps, clock, m3, mcu, fan, switch)
    slot       this board's slot, the opposite slot and the master's slot
    ssd        list, read or record the SSD online bits
    status     report what board this is
    uart       print or switch the port the BMC's UART is routed to
    udp        the internal network's UDP channel to the partner BMC
    version    print the versions of the CPLDs, BMC, PCB, boot loader and SDK
    watchdog   the switch's watchdog on a 4U4C enclosure; stop it
    wwn        show the enclosure WWN, or store one made from a MAC
  $ bspctl status --help
  usage: bspctl [-p PROFILE] [--json] status
    Prints the board id, the board type (or why it is not known), the kind of
    enclosure and board the predicates report, the board-table rows of the id,
    the CPLD count, versions and health, the board's power (standby, the verdict
    of its rail check), which controller boards of the enclosure are present and
    have booted, and the state of the power supplies and the backup battery; then
    the enclosure as a picture: its slots, which one is this board and which the
    master, and the supplies.

## json-help
  $ bspctl --json --help | python3 -c 'import json, sys; print(list(json.load(sys.stdin)))'
  ['usage']
  $ bspctl --json cpld --help
  {"usage": "usage: bspctl [-p PROFILE] [--json] cpld get ADDR [COUNT]\n       bspctl [-p PROFILE] [--json] cpld set ADDR VALUE\n       bspctl [-p PROFILE] [--json] cpld bit ADDR BIT [0|1]\n       bspctl [-p PROFILE] [--json] cpld upgrade-mode CPLD [0|1]\n       bspctl [-p PROFILE] [--json] cpld selftest [CPLD]\n       bspctl [-p PROFILE] [--json] cpld health\n\n  get          print COUNT registers (default 1) from ADDR\n  set          write VALUE (0-0xff) to register ADDR\n  bit          print bit BIT (0-7) of register ADDR, or write it\n  upgrade-mode print whether CPLD (0-2) is in upgrade mode, or switch it\n  selftest     write/read-back test of every CPLD, or of CPLD (0-2)\n  health       print whether the CPLD fault register shows a fault\n\n  Registers are 0 to 0x3ff. Numbers are hex with 0x, decimal otherwise (010 is\n  ten). set and bit read the register back and fail when the value did not\n  stick (write-protected, read-only); --no-verify skips that. selftest of a\n  CPLD the board does not have fails (exit 1); a skipped test says skipped.\n  The library picks the bus (local bus or SPI) from the board, as at every call.\n"}
