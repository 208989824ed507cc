bspctl m3: the secure core's operations, and the simulated core behind them.

## read
  $ bspctl m3 secure-boot
  0x0001 0x0002 0x0003
  $ bspctl --json m3 secure-boot
  {"secure_boot": [1, 2, 3]}
  $ bspctl m3 upgrade-info
  0x0011
  $ bspctl --json m3 upgrade-info
  {"upgrade_info": 17}
  $ bspctl m3 bios-mux
  0x0000
  $ bspctl --json m3 bios-verify
  {"bios_verify_result": 0}

## set-then-read
The core keeps what it was told: the mux set is the mux it reports.
  $ bspctl m3 bios-mux 3
  $ bspctl m3 bios-mux
  0x0003
  $ bspctl --json m3 bios-mux 0x5a
  {"bios_mux_ctrl": 90}
  $ bspctl --json m3 bios-mux
  {"bios_mux": 90}
  $ bspctl m3 bios-verify 0x1234
  $ bspctl --json m3 upgrade-flag 1
  {"upgrade_flag": 1}
  $ bspctl --json m3 customer-info
  {"customer_info_set": true}
  $ bspctl sim m3
  secure boot:    0x0001 0x0002 0x0003
  upgrade info:   0x0011
  upgrade flag:   0x0001
  customer info:  set
  bios mux:       0x005a
  verify ctrl:    0x1234
  verify result:  0x0000
  requests:       7 (0 refused)
  $ bspctl --json sim m3
  {"secure_boot": [1, 2, 3], "upgrade_info": 17, "upgrade_flag": 1, "customer_info_set": true, "bios_mux": 90, "verify_ctrl": 4660, "verify_result": 0, "requests": 7, "refused": 0}
  $ bspctl --trace m3 upgrade-info
  0x0011
  trace:
    m3 0c02=0
    log 2 bmc_m3_msg_intf.cpp:# print 10 byte data:
    log 2 bmc_m3_msg_intf.cpp:# 82-0c-00-00-00-00-11-00-30-21-

## faults
A corrupt CRC, a refusal by the core, a wrong type byte, a short answer and a failed call each
fail the requests they hit; the next request is answered well again.
  $ bspctl sim m3 crc
  $ bspctl m3 bios-mux
  2> bspctl: cannot read the BIOS mux status from the secure core (status 0xffffffff; -v shows why)
  [1]
  $ bspctl sim m3 crc
  $ bspctl -v m3 bios-mux
  2> [debug 2] bmc_m3_msg_intf.cpp:#: print 10 byte data:
  2> [debug 2] bmc_m3_msg_intf.cpp:#: 82-01-00-00-00-00-00-00-87-04-
  2> [debug 0] bmc_m3_msg_intf.cpp:#: CRC error(64376 != 1159).
  2> [debug 0] bmc_m3_msg_intf.cpp:#: Check send or recv msg invalid, ret=-1.
  2> [debug 0] bmc_m3_msg_intf.cpp:#: command sendrecv failed(ret = 0xffffffff).
  2> bspctl: cannot read the BIOS mux status from the secure core (status 0xffffffff; -v shows why)
  [1]
  $ bspctl m3 bios-mux
  0x0000
  $ bspctl --json sim m3 code 1
  {"fault": "code", "value": 1, "requests": 1}
  $ bspctl -v m3 bios-verify 7
  2> [debug 2] bmc_m3_msg_intf.cpp:#: print 8 byte data:
  2> [debug 2] bmc_m3_msg_intf.cpp:#: 82-16-00-00-01-00-9e-ab-
  2> [debug 0] bmc_m3_msg_intf.cpp:#:  verify bios failed(resp_code = 0x1).
  2> bspctl: cannot send the BIOS verification control to the secure core (status 0xffffffff; -v shows why)
  [1]
  $ bspctl m3 bios-verify
  0x0000
  $ bspctl sim m3 type
  $ bspctl --json m3 upgrade-info
  {"error": "cannot read the last upgrade's information from the secure core (status 0xffffffff; -v shows why)"}
  [1]
  $ bspctl sim m3 short 5 2
  $ bspctl m3 upgrade-info
  2> bspctl: cannot read the last upgrade's information from the secure core (status 0xffffffff; -v shows why)
  [1]
  $ bspctl m3 upgrade-info
  2> bspctl: cannot read the last upgrade's information from the secure core (status 0xffffffff; -v shows why)
  [1]
  $ bspctl m3 upgrade-info
  0x0011
  $ bspctl sim m3 fail
  $ bspctl -v m3 customer-info
  2> [debug 0] bmc_m3_msg_intf.cpp:#: sec_msg_sendrecv fail(iret = 0Xffffffff).
  2> [debug 0] bmc_m3_msg_intf.cpp:#: Check send or recv msg invalid, ret=-1.
  2> [debug 0] bmc_m3_msg_intf.cpp:#: command sendrecv failed(ret = 0xffffffff).
  2> bspctl: cannot send the customer information mark to the secure core (status 0xffffffff; -v shows why)
  [1]
  $ bspctl sim m3 long 4 3
  $ bspctl sim m3 clear
  $ bspctl m3 bios-mux
  0x0000

## refused
  $ bspctl m3
  2> bspctl: m3: which one? secure-boot|upgrade-info|bios-mux|bios-verify|upgrade-flag|customer-info; try 'bspctl m3 --help'
  [2]
  $ bspctl m3 bios-mux 0x100
  2> bspctl: bad value 0x100 (0 to 0xff); try 'bspctl m3 --help'
  [2]
  $ bspctl m3 upgrade-flag
  2> bspctl: m3 upgrade-flag takes SET; try 'bspctl m3 --help'
  [2]
  $ bspctl m3 customer-info 1
  2> bspctl: m3 customer-info takes no arguments; try 'bspctl m3 --help'
  [2]
  $ bspctl m3 reboot
  2> bspctl: m3: unknown subcommand 'reboot' (secure-boot|upgrade-info|bios-mux|bios-verify|upgrade-flag|customer-info); try 'bspctl m3 --help'
  [2]
  $ bspctl sim m3 code 0
  2> bspctl: sim m3: bad code value '0'; try 'bspctl sim --help'
  [2]
  $ bspctl sim m3 short
  2> bspctl: sim m3 takes [code CODE|short BYTES|long BYTES|crc|type|fail [COUNT]|clear]; try 'bspctl sim --help'
  [2]
  $ bspctl sim m3 crc x
  2> bspctl: sim m3: bad count 'x'; try 'bspctl sim --help'
  [2]
  $ bspctl sim m3 bogus
  2> bspctl: sim m3 takes [code CODE|short BYTES|long BYTES|crc|type|fail [COUNT]|clear]; try 'bspctl sim --help'
  [2]
  $ bspctl m3 --help
  usage: bspctl [-p PROFILE] [--json] m3 secure-boot
         bspctl [-p PROFILE] [--json] m3 upgrade-info
         bspctl [-p PROFILE] [--json] m3 bios-mux [SET]
         bspctl [-p PROFILE] [--json] m3 bios-verify [SET]
         bspctl [-p PROFILE] [--json] m3 upgrade-flag SET
         bspctl [-p PROFILE] [--json] m3 customer-info

    secure-boot  print the three secure-boot words
    upgrade-info print the word the core keeps about the last BMC upgrade
    bios-mux     print the BIOS flash mux status, or set the mux to SET (0-0xff)
    bios-verify  print the BIOS verification result, or send control SET (0-0xffff)
    upgrade-flag set the BMC upgrade flag to SET (0-0xff)
    customer-info tell the core that the customer information is set

    Each is one request to the SoC's secure core; the values are the core's own.
    Setting is quiet. A failed exchange or a refusal by the core fails (exit 1).
