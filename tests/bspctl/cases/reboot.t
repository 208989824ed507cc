bspctl reboot: the BMC's reboot with its hand-over, each step as the board sees it happen.

## master-hands-over-to-the-peer
Board 0 is master; its reboot gives mastership up, so the peer can take it.
  $ bspctl master grab
  $ bspctl reboot
  [     0 ms] reboot marker: CPLD RAM 0xd970 = 0x00
  [     0 ms] operation log: Begin to reboot bmc with disable watch dog
  [     0 ms] switch watchdog: not a 4U4C enclosure, nothing to stop
  [   560 ms] mastership: given up
  [   560 ms] PCIe cores: held off
  [   560 ms] console: output flow control off
  [   560 ms] console: START character sent
  [   560 ms] reboot requested
  [   560 ms] BMC restarted
  $ bspctl master
  slave
  $ bspctl -b 1 master grab
  $ bspctl -b 1 master
  master

## slave-keeps-its-role
  $ bspctl -b 1 master grab
  $ bspctl reboot
  [     0 ms] reboot marker: CPLD RAM 0xd970 = 0x00
  [     0 ms] operation log: Begin to reboot bmc with disable watch dog
  [     0 ms] switch watchdog: not a 4U4C enclosure, nothing to stop
  [    60 ms] mastership: kept (not master)
  [    60 ms] PCIe cores: held off
  [    60 ms] console: output flow control off
  [    60 ms] console: START character sent
  [    60 ms] reboot requested
  [    60 ms] BMC restarted
  $ bspctl -b 1 master
  master
  $ bspctl --json reboot
  {"steps": ["reboot marker: CPLD RAM 0xd970 = 0x00", "operation log: Begin to reboot bmc with disable watch dog", "switch watchdog: not a 4U4C enclosure, nothing to stop", "mastership: kept (not master)", "PCIe cores: held off", "console: output flow control off", "console: START character sent", "reboot requested", "BMC restarted"]}

## four-controller-enclosure-stops-the-switch
  $ bspctl -p 4u4c master grab
  $ bspctl -p 4u4c reboot
  [     0 ms] reboot marker: CPLD RAM 0xd970 = 0x00
  [     0 ms] operation log: Begin to reboot bmc with disable watch dog
  [     0 ms] switch watchdog: stop requested
  [  2000 ms] switch watchdog: stopped after 2000 ms
  [  2560 ms] mastership: given up
  [  2560 ms] PCIe cores: held off
  [  2560 ms] console: output flow control off
  [  2560 ms] console: START character sent
  [  2560 ms] reboot requested
  [  2560 ms] BMC restarted
  $ bspctl -p 4u4c sim switch never
  $ bspctl -p 4u4c reboot
  [     0 ms] reboot marker: CPLD RAM 0xd970 = 0x00
  [     0 ms] operation log: Begin to reboot bmc with disable watch dog
  [     0 ms] switch watchdog: stop requested
  [  6000 ms] switch watchdog: no confirmation after 6000 ms, going on
  [  6060 ms] mastership: kept (not master)
  [  6060 ms] PCIe cores: held off
  [  6060 ms] console: output flow control off
  [  6060 ms] console: START character sent
  [  6060 ms] reboot requested
  [  6060 ms] BMC restarted

## smm-skips-the-hand-over
  $ bspctl -p smm reboot
  [     0 ms] reboot marker: CPLD RAM 0xd970 = 0x00
  [     0 ms] operation log: Begin to reboot bmc with disable watch dog
  [     0 ms] switch watchdog: not a 4U4C enclosure, nothing to stop
  [     0 ms] mastership: no hand-over on this board
  [     0 ms] PCIe cores: skipped
  [     0 ms] console: output flow control off
  [     0 ms] console: START character sent
  [     0 ms] reboot requested
  [     0 ms] BMC restarted

## flexible
  $ bspctl reboot --flexible 7
  [     0 ms] library: Caller7 reboot bmc.
  [     0 ms] reboot marker: CPLD RAM 0xd970 = 0x00
  [     0 ms] operation log: Begin to reboot bmc with disable watch dog
  [     0 ms] switch watchdog: not a 4U4C enclosure, nothing to stop
  [    60 ms] mastership: kept (not master)
  [    60 ms] PCIe cores: held off
  [    60 ms] console: output flow control off
  [    60 ms] console: START character sent
  [    60 ms] reboot requested
  [    60 ms] BMC restarted
  $ bspctl reboot --flexible
  2> bspctl: reboot takes nothing or --flexible REQUEST; try 'bspctl reboot --help'
  [2]
  $ bspctl reboot now
  2> bspctl: reboot takes nothing or --flexible REQUEST; try 'bspctl reboot --help'
  [2]

## help
  $ bspctl reboot --help
  usage: bspctl [-p PROFILE] [-b SLOT] [--json] reboot [--flexible REQUEST]
    Reboots this board's BMC through the library and prints each step of the
    hand-over as the board sees it, with the virtual time since the start: the
    reboot marker, the operation log line, the switch watchdog (4U4C enclosures),
    mastership, the PCIe cores, the console's flow control and the reboot request.
    --flexible REQUEST  reboot on behalf of caller REQUEST, which a manufacturing
                        build refuses while a CPLD fails its self test
