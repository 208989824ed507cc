bspctl psu and bspctl sim psu: the power supplies and the backup battery.

## table
  $ bspctl psu
  supply  present  alarm  power-ok  on
  0       yes      no     yes       yes
  1       yes      no     yes       yes

  backup battery: present, status healthy
  $ bspctl --json psu
  {"supplies": [{"index": 0, "present": true, "alarm": false, "ok": true, "on": true, "valid": true}, {"index": 1, "present": true, "alarm": false, "ok": true, "on": true, "valid": true}], "bbu": {"present": true, "status": "healthy"}}
  $ bspctl -p 4u4c psu
  supply  present  alarm  power-ok  on
  0       yes      no     yes       yes
  1       yes      no     yes       yes
  2       yes      no     yes       yes
  3       yes      no     yes       yes

  backup battery: present, status healthy
  $ bspctl -p smm --json psu
  {"supplies": [{"index": 0, "present": true, "alarm": false, "ok": true, "on": true, "valid": true}, {"index": 1, "present": true, "alarm": false, "ok": true, "on": true, "valid": true}], "bbu": {"present": null, "status": "healthy"}}

## pull-and-fail-supplies
  $ bspctl sim psu 1 absent
  $ bspctl psu
  supply  present  alarm  power-ok  on
  0       yes      no     yes       yes
  1       no       no     no        no

  backup battery: present, status healthy
  $ bspctl sim psu 1 present
  $ bspctl sim psu 0 fail
  $ bspctl sim psu 1 alarm
  $ bspctl psu
  supply  present  alarm  power-ok  on
  0       yes      yes    no        yes
  1       yes      yes    yes       yes

  backup battery: present, status healthy
  $ bspctl --json sim psu 0 ok
  {"psu": 0, "present": true, "alarm": false, "ok": true, "on": true, "glitch_reads": 0}
  $ bspctl -p 4u4c sim psu 3 absent
  $ bspctl -p 4u4c status | tail -2
  supplies:      0 present ok on, 1 present ok on, 2 present ok on, 3 absent
  battery:       present, healthy

## glitch-shows-the-last-good-state
  $ bspctl sim psu 0 glitch 2
  $ bspctl psu
  supply  present  alarm  power-ok  on
  0       no?      no?    yes       yes
  1       yes      no     yes       yes

  backup battery: present, status healthy
  ? no valid code from the CPLD: the last good state is shown
  $ bspctl psu
  supply  present  alarm  power-ok  on
  0       yes      no     yes       yes
  1       yes      no     yes       yes

  backup battery: present, status healthy

## watch-counts-polls
  $ bspctl sim psu 1 fail
  $ bspctl psu watch --count 3 --interval 1
  Power0 present state change from 0 to 1.
  Power1 present state change from 0 to 1.
  Power1 alarm state change from 0 to 1.
  Power1 ok state change from 1 to 0, reg(0xdb) val(0x66), reg(0xda) val(0x69)
  Bbu(0) status(cpld) change from 0x0 to 0x19.
  $ bspctl --json psu watch --count 2 --interval 1
  {"polls": 2, "changes": ["Power0 present state change from 0 to 1.", "Power1 present state change from 0 to 1.", "Power1 alarm state change from 0 to 1.", "Power1 ok state change from 1 to 0, reg(0xdb) val(0x66), reg(0xda) val(0x69)", "Bbu(0) status(cpld) change from 0x0 to 0x19."]}
A watch in one process sees a supply pulled by another, and prints the library's change lines
(sorted: the poll that sees the change may fall between two of the supply's registers).

## watch-sees-another-process
  $ : > w; bspctl psu watch --interval 20 >> w & until grep -q Bbu w; do sleep 0.01; done; bspctl sim psu 1 absent; until grep -q 'Power1 onoff' w; do sleep 0.01; done; kill $!; wait $!; echo "watch exit $?"; sort w
  watch exit 0
  Bbu(0) status(cpld) change from 0x0 to 0x19.
  Power0 present state change from 0 to 1.
  Power1 ok state change from 1 to 0, reg(0xdb) val(0x66), reg(0xda) val(0x69)
  Power1 onoff state change from 1 to 0.
  Power1 present state change from 0 to 1.
  Power1 present state change from 1 to 0.
  $ bspctl psu
  supply  present  alarm  power-ok  on
  0       yes      no     yes       yes
  1       no       no     no        no

  backup battery: present, status healthy

## trace
  $ bspctl --trace psu
  supply  present  alarm  power-ok  on
  0       yes      no     yes       yes
  1       yes      no     yes       yes

  backup battery: present, status healthy
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d6=99
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d7=66
    access /var/log/zelm/app_debug_log=0
    access /var/log/zelm/dfm_debug_log=0
    access /var/log/zelm/linux_kernel_log=0
    access /var/log/zelm/operate_log=0
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d8=99
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d9=99
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd da=99
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd db=66
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d3=03
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d6=99
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d7=66
    access /var/log/zelm/app_debug_log=0
    access /var/log/zelm/dfm_debug_log=0
    access /var/log/zelm/linux_kernel_log=0
    access /var/log/zelm/operate_log=0
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d8=99
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d9=99
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd da=99
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd db=66
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd d3=03
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd f2=09
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd f3=19
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)
    log 1 bmc_bsp_power.cpp:# Power0 present state change from 0 to 1.
    log 0 bmc_bsp_misc.cpp:# /var/log/zelm/app_debug_log is not exist.
    log 0 bmc_bsp_misc.cpp:# /var/log/zelm/dfm_debug_log is not exist.
    log 0 bmc_bsp_misc.cpp:# /var/log/zelm/linux_kernel_log is not exist.
    log 0 bmc_bsp_misc.cpp:# /var/log/zelm/operate_log is not exist.
    log 1 bmc_bsp_power.cpp:# Power1 present state change from 0 to 1.
    log 0 bmc_bsp_misc.cpp:# /var/log/zelm/app_debug_log is not exist.
    log 0 bmc_bsp_misc.cpp:# /var/log/zelm/dfm_debug_log is not exist.
    log 0 bmc_bsp_misc.cpp:# /var/log/zelm/linux_kernel_log is not exist.
    log 0 bmc_bsp_misc.cpp:# /var/log/zelm/operate_log is not exist.
    log 1 bmc_bsp_power.cpp:# Bbu(0) status(cpld) change from 0x0 to 0x19.

## usage-errors
  $ bspctl psu --help
  usage: bspctl [-p PROFILE] [--json] psu
         bspctl [-p PROFILE] [--json] psu watch [--interval MS] [--count N]
    (none)  a table of each supply's presence, alarm, power-ok and on state, and the
            backup battery's presence and status
    watch   polls every MS milliseconds (default 1000) and prints each change, and each
            invalid code, as the library logs it, until interrupted or after N polls; the
            first poll prints the supplies found present and the battery's status byte.
            With --json, one document at the end.
  A state the CPLD gave no valid code for shows the last good one, marked '?'.
  $ bspctl psu nope
  2> bspctl: psu: unknown subcommand 'nope' (watch); try 'bspctl psu --help'
  [2]
  $ bspctl psu watch --count
  2> bspctl: psu watch: --count needs a number; try 'bspctl psu --help'
  [2]
  $ bspctl psu watch --interval 0
  2> bspctl: psu watch: bad --interval '0'; try 'bspctl psu --help'
  [2]
  $ bspctl --json psu watch --every 5
  {"error": "psu watch: unknown argument '--every'"}
  [2]
  $ bspctl sim psu 2 absent
  2> bspctl: no supply 2: this enclosure has 2 (0 to 1)
  [1]
  $ bspctl --json sim psu 2 absent
  {"error": "no supply 2: this enclosure has 2 (0 to 1)"}
  [1]
  $ bspctl sim psu x absent
  2> bspctl: sim psu: bad supply number 'x'; try 'bspctl sim --help'
  [2]
  $ bspctl sim psu 0 explode
  2> bspctl: sim psu: unknown state 'explode' (present|absent|alarm|ok|fail|glitch); try 'bspctl sim --help'
  [2]
  $ bspctl sim psu 0 absent 3
  2> bspctl: sim psu takes N present|absent|alarm|ok|fail|glitch [COUNT]; try 'bspctl sim --help'
  [2]
  $ bspctl sim psu 0 glitch many
  2> bspctl: sim psu: bad glitch count 'many'; try 'bspctl sim --help'
  [2]
  $ bspctl sim psu 0
  2> bspctl: sim psu takes N present|absent|alarm|ok|fail|glitch [COUNT]; try 'bspctl sim --help'
  [2]
