bspctl --trace: the platform calls and log lines a command caused, after its output.

## cpld-get
  $ bspctl --trace cpld get 0x13
  0x00
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd 13=00
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## cpld-set-reads-back
  $ bspctl --trace cpld set 0x13 5
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr 13=05
    led frame-locate on
    led frame-fault on
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd 13=05
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)
  $ bspctl --trace --no-verify cpld set 0x13 6
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr 13=06
    led frame-locate off
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## write-protected
  $ bspctl --trace cpld set 0xe9 1
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr e9=01!wp
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd e9=00
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)
  2> bspctl: CPLD register 0x0e9 reads 0x00 after writing 0x01: the write did not take (write-protected or read-only?)
  [1]
  $ bspctl --json --trace cpld set 0xe9 1
  {"error": "CPLD register 0x0e9 reads 0x00 after writing 0x01: the write did not take (write-protected or read-only?)", "addr": 233, "written": 1, "readback": 0,
    "trace": [
      "open sys_info",
      "ioctl 80047306=52",
      "close sys_info",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "wr e9=01!wp",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd e9=00",
      "log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)"
    ]
  }
  [1]

## ram-under-its-semaphore
  $ bspctl --trace ram dump 0xD900 2
         0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef
  d900: 00 00                                              ..
  trace:
    P29
    open sys_info
    ioctl 80047306=52
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr ba=00
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr bb=19
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd bc=00
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr ba=01
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr bb=19
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd bc=00
    V29
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## spi-board
  $ bspctl -p 4u4c --trace cpld get 0x13
  0x00
  trace:
    open sys_info
    ioctl 80047306=710
    close sys_info
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name spi1
    srd 13=00
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x71)

## status-json
  $ bspctl --json --trace status
  {
    "board_id": 5,
    "board_type": 52,
    "enclosure": "2U two-controller",
    "board": "Arm controller",
    "cpus": 0,
    "predicates": {
      "BSP_IsSmmBoard": 0,
      "BSP_Is2U2CBoard": 1,
      "BSP_IsMiddleBoard": 0,
      "BSP_Is2UExpBoard": 0,
      "BSP_Is2UBoard": 1,
      "BSP_Is7460SBoard": 1,
      "BSP_Is7460SCtrlBoard": 1,
      "BSP_Is5830Board": 1,
      "BSP_Is58204U4CBoard": 0,
      "BSP_Is58304U4CBoard": 0,
      "BSP_Is4U4CBoard": 0,
      "BSP_Is58304u2pBoard": 0,
      "BSP_Is5830SasBoard": 0,
      "BSP_Is5830PalmBoard": 0,
      "BSP_IsLiteBoard": 0,
      "BSP_isX86Board": 0
    },
    "board_table": [
      {"board_id": 5, "slot": 0, "board_type": 52},
      {"board_id": 5, "slot": 1, "board_type": 53}
    ],
    "cpld_count": 2,
    "cpld_versions": "00.05.200T01,00.02.110T03",
    "cpld_healthy": true,
    "power": {"state": "on", "standby": false, "rails_ok": true},
    "controller_boards": [
      {"index": 0, "present": true, "os_booted": true},
      {"index": 1, "present": true, "os_booted": true}
    ],
    "supplies": [
      {"index": 0, "present": true, "alarm": false, "ok": true, "on": true, "valid": true},
      {"index": 1, "present": true, "alarm": false, "ok": true, "on": true, "valid": true}
    ],
    "bbu": {"present": true, "status": "healthy"},
    "trace": [
      "open sys_info",
      "ioctl 80047306=52",
      "close sys_info",
      "gi 26=in",
      "gi 27=in",
      "gi 28=in",
      "gr 26=0",
      "gr 27=1",
      "P12/2",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "wr 2=aa",
      "delay 50",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 2=55",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "wr 2=55",
      "delay 50",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 2=aa",
      "V12",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 0=04",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 1=01",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd e=05",
      "P12/2",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "wr 24a=aa",
      "delay 50",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 24a=55",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "wr 24a=55",
      "delay 50",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 24a=aa",
      "V12",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 248=21",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 249=03",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 24e=02",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd fb=00",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 33=03",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd f9&02=1",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 33=03",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd f9&20=1",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d6=99",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d7=66",
      "access /var/log/zelm/app_debug_log=0",
      "access /var/log/zelm/dfm_debug_log=0",
      "access /var/log/zelm/linux_kernel_log=0",
      "access /var/log/zelm/operate_log=0",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d8=99",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d9=99",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd da=99",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd db=66",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d3=03",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d6=99",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d7=66",
      "access /var/log/zelm/app_debug_log=0",
      "access /var/log/zelm/dfm_debug_log=0",
      "access /var/log/zelm/linux_kernel_log=0",
      "access /var/log/zelm/operate_log=0",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d8=99",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d9=99",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd da=99",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd db=66",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd d3=03",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd f2=09",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd f3=19",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 1b1=03",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 47&10=0",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd f9&08=0",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd f9&80=0",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 37=0f",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 37=0f",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 37=0f",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 39=03",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 3a=7f",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 3a=7f",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 3c=83",
      "dfl_get_handle cpld1",
      "dfl_get_ref cpld1.LBus",
      "dfl_get_name localbus",
      "rd 3e=03",
      "log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)",
      "log 1 bmc_bsp_cpld.cpp:# Health status of cpld(0xf) change from 0 to 1, reg[0xfb]=0x0, modules of iocard and disk will stop routine if the cpld is fault.",
      "log 1 bmc_bsp_power.cpp:# Power0 present state change from 0 to 1.",
      "log 0 bmc_bsp_misc.cpp:# /var/log/zelm/app_debug_log is not exist.",
      "log 0 bmc_bsp_misc.cpp:# /var/log/zelm/dfm_debug_log is not exist.",
      "log 0 bmc_bsp_misc.cpp:# /var/log/zelm/linux_kernel_log is not exist.",
      "log 0 bmc_bsp_misc.cpp:# /var/log/zelm/operate_log is not exist.",
      "log 1 bmc_bsp_power.cpp:# Power1 present state change from 0 to 1.",
      "log 0 bmc_bsp_misc.cpp:# /var/log/zelm/app_debug_log is not exist.",
      "log 0 bmc_bsp_misc.cpp:# /var/log/zelm/dfm_debug_log is not exist.",
      "log 0 bmc_bsp_misc.cpp:# /var/log/zelm/linux_kernel_log is not exist.",
      "log 0 bmc_bsp_misc.cpp:# /var/log/zelm/operate_log is not exist.",
      "log 1 bmc_bsp_power.cpp:# Bbu(0) status(cpld) change from 0x0 to 0x19.",
      "log 0 bmc_bsp_power.cpp:# BSP_IsAnyBoardPowerGood--cpld addr(0x37) val(0x0a)\r\n"
    ]
  }

## selftest
  $ bspctl cpld selftest 0 --trace
  self test of CPLD 0: pass
  trace:
    open sys_info
    ioctl 80047306=52
    close sys_info
    P12/2
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr 2=aa
    delay 50
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd 2=55
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    wr 2=55
    delay 50
    dfl_get_handle cpld1
    dfl_get_ref cpld1.LBus
    dfl_get_name localbus
    rd 2=aa
    V12
    log 2 bmc_bsp_board.cpp:# get bmc boardid (0x5)

## crc32-and-sim
  $ seq 1 10 > f; bspctl --trace crc32 f
  944657915 21 f
  trace: no platform calls
  $ bspctl --json --trace sim profiles
  {"profiles": ["4u4c", "arm-2u2c", "default", "exp-2u", "smm", "x86-2u"],
    "trace": []
  }
