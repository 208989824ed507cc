bspctl status on every shipped profile, and its JSON document.

## default
  $ bspctl status
  board id:      0x05
  board type:    0x34
  enclosure:     2U two-controller
  board:         Arm controller

  predicates:
    BSP_IsSmmBoard           0
    BSP_Is2U2CBoard          1
    BSP_IsMiddleBoard        0
    BSP_Is2UExpBoard         0
    BSP_Is2UBoard            1
    BSP_Is7460SBoard         1
    BSP_Is7460SCtrlBoard     1
    BSP_Is5830Board          1
    BSP_Is58204U4CBoard      0
    BSP_Is58304U4CBoard      0
    BSP_Is4U4CBoard          0
    BSP_Is58304u2pBoard      0
    BSP_Is5830SasBoard       0
    BSP_Is5830PalmBoard      0
    BSP_IsLiteBoard          0
    BSP_isX86Board           0

  board table rows for this id:
    slot 0 -> board type 0x34
    slot 1 -> board type 0x35

  cplds:         2, versions 00.05.200T01,00.02.110T03, healthy
  power:         on, standby no, rails ok (power-on check)

  controller boards (2 in this enclosure):
    board 0: present, OS booted
    board 1: present, OS booted

  supplies:      0 present ok on, 1 present ok on
  battery:       present, healthy

## arm-2u2c
  $ bspctl -p arm-2u2c status
  board id:      0x05
  board type:    0x34
  enclosure:     2U two-controller
  board:         Arm controller

  predicates:
    BSP_IsSmmBoard           0
    BSP_Is2U2CBoard          1
    BSP_IsMiddleBoard        0
    BSP_Is2UExpBoard         0
    BSP_Is2UBoard            1
    BSP_Is7460SBoard         1
    BSP_Is7460SCtrlBoard     1
    BSP_Is5830Board          1
    BSP_Is58204U4CBoard      0
    BSP_Is58304U4CBoard      0
    BSP_Is4U4CBoard          0
    BSP_Is58304u2pBoard      0
    BSP_Is5830SasBoard       0
    BSP_Is5830PalmBoard      0
    BSP_IsLiteBoard          0
    BSP_isX86Board           0

  board table rows for this id:
    slot 0 -> board type 0x34
    slot 1 -> board type 0x35

  cplds:         2, versions 00.05.200T01,00.02.110T03, healthy
  power:         on, standby no, rails ok (power-on check)

  controller boards (2 in this enclosure):
    board 0: present, OS booted
    board 1: present, OS booted

  supplies:      0 present ok on, 1 present ok on
  battery:       present, healthy

## x86-2u
  $ bspctl -p x86-2u status
  board id:      0x2d
  board type:    0x38
  enclosure:     2U two-controller
  board:         x86 controller (2 CPUs)

  predicates:
    BSP_IsSmmBoard           0
    BSP_Is2U2CBoard          1
    BSP_IsMiddleBoard        1
    BSP_Is2UExpBoard         0
    BSP_Is2UBoard            1
    BSP_Is7460SBoard         0
    BSP_Is7460SCtrlBoard     0
    BSP_Is5830Board          1
    BSP_Is58204U4CBoard      0
    BSP_Is58304U4CBoard      0
    BSP_Is4U4CBoard          0
    BSP_Is58304u2pBoard      0
    BSP_Is5830SasBoard       0
    BSP_Is5830PalmBoard      0
    BSP_IsLiteBoard          0
    BSP_isX86Board           1

  board table rows for this id:
    slot 0 -> board type 0x38
    slot 1 -> board type 0x39

  cplds:         2, versions 00.07.210T00,00.17.300T02, healthy
  power:         not judged, standby no, rails not judged (no rails known for this board)

  controller boards (2 in this enclosure):
    board 0: present, OS booted
    board 1: present, OS booted

  supplies:      0 present ok on, 1 present ok on
  battery:       present, healthy

## 4u4c
  $ bspctl -p 4u4c status
  board id:      0x71
  board type:    0x00
  enclosure:     4U four-controller
  board:         Arm controller

  predicates:
    BSP_IsSmmBoard           0
    BSP_Is2U2CBoard          0
    BSP_IsMiddleBoard        0
    BSP_Is2UExpBoard         0
    BSP_Is2UBoard            0
    BSP_Is7460SBoard         0
    BSP_Is7460SCtrlBoard     0
    BSP_Is5830Board          1
    BSP_Is58204U4CBoard      0
    BSP_Is58304U4CBoard      1
    BSP_Is4U4CBoard          1
    BSP_Is58304u2pBoard      1
    BSP_Is5830SasBoard       0
    BSP_Is5830PalmBoard      0
    BSP_IsLiteBoard          0
    BSP_isX86Board           0

  board table rows for this id:
    slot 0 -> board type 0x00
    slot 1 -> board type 0x01
    slot 2 -> board type 0x02
    slot 3 -> board type 0x03

  cplds:         2, versions 00.01.400T00,00.01.410T02, healthy
  power:         on, standby no, rails ok (power-on check)

  controller boards (4 in this enclosure):
    board 0: present, OS booted
    board 1: present, OS booted
    board 2: present, OS booted
    board 3: present, OS booted

  supplies:      0 present ok on, 1 present ok on, 2 present ok on, 3 present ok on
  battery:       present, healthy

## exp-2u
  $ bspctl -p exp-2u status
  board id:      0x24
  board type:    0x40
  enclosure:     2U expansion
  board:         expansion board

  predicates:
    BSP_IsSmmBoard           0
    BSP_Is2U2CBoard          0
    BSP_IsMiddleBoard        0
    BSP_Is2UExpBoard         1
    BSP_Is2UBoard            1
    BSP_Is7460SBoard         1
    BSP_Is7460SCtrlBoard     0
    BSP_Is5830Board          1
    BSP_Is58204U4CBoard      0
    BSP_Is58304U4CBoard      0
    BSP_Is4U4CBoard          0
    BSP_Is58304u2pBoard      0
    BSP_Is5830SasBoard       0
    BSP_Is5830PalmBoard      0
    BSP_IsLiteBoard          0
    BSP_isX86Board           0

  board table rows for this id:
    slot 0 -> board type 0x40
    slot 1 -> board type 0x41

  cplds:         2, versions 00.03.120T05,00.03.220T00, healthy
  power:         on, standby no, rails ok (power-on check)

  controller boards (2 in this enclosure):
    board 0: present, OS not booted
    board 1: present, OS not booted

  supplies:      0 present ok on, 1 present ok on
  battery:       healthy

## smm
  $ bspctl -p smm status
  board id:      0x81
  board type:    0x20
  enclosure:     system management module
  board:         SMM

  predicates:
    BSP_IsSmmBoard           1
    BSP_Is2U2CBoard          0
    BSP_IsMiddleBoard        0
    BSP_Is2UExpBoard         0
    BSP_Is2UBoard            0
    BSP_Is7460SBoard         0
    BSP_Is7460SCtrlBoard     0
    BSP_Is5830Board          1
    BSP_Is58204U4CBoard      0
    BSP_Is58304U4CBoard      0
    BSP_Is4U4CBoard          0
    BSP_Is58304u2pBoard      0
    BSP_Is5830SasBoard       0
    BSP_Is5830PalmBoard      0
    BSP_IsLiteBoard          0
    BSP_isX86Board           0

  board table rows for this id:
    none

  cplds:         count unknown, healthy
  power:         not judged, standby no, rails not judged (no rails known for this board)

  controller boards (2 in this enclosure):
    board 0: present, OS booted
    board 1: present, OS booted

  supplies:      0 present ok on, 1 present ok on
  battery:       healthy

## json-default
  $ bspctl --json status
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
    "bbu": {"present": true, "status": "healthy"}
  }

## json-smm
  $ bspctl --json -p smm status
  {
    "board_id": 129,
    "board_type": 32,
    "enclosure": "system management module",
    "board": "SMM",
    "cpus": 0,
    "predicates": {
      "BSP_IsSmmBoard": 1,
      "BSP_Is2U2CBoard": 0,
      "BSP_IsMiddleBoard": 0,
      "BSP_Is2UExpBoard": 0,
      "BSP_Is2UBoard": 0,
      "BSP_Is7460SBoard": 0,
      "BSP_Is7460SCtrlBoard": 0,
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
    ],
    "cpld_count": null,
    "cpld_versions": "",
    "cpld_healthy": true,
    "power": {"state": "not judged", "standby": false, "rails_ok": null},
    "controller_boards": [
      {"index": 0, "present": true, "os_booted": true},
      {"index": 1, "present": true, "os_booted": true}
    ],
    "supplies": [
      {"index": 0, "present": true, "alarm": false, "ok": true, "on": true, "valid": true},
      {"index": 1, "present": true, "alarm": false, "ok": true, "on": true, "valid": true}
    ],
    "bbu": {"present": null, "status": "healthy"}
  }

## arguments-refused
  $ bspctl status now
  2> bspctl: status takes no arguments; try 'bspctl status --help'
  [2]
  $ bspctl --json status now
  {"error": "status takes no arguments"}
  [2]
