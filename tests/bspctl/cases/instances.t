Simulated boards that cannot be used: one line naming what and why, exit 1, nothing deleted
that the simulator did not make, and no semaphore set left behind (each case runs in an IPC
namespace of its own, so `ipcs` counts only its own sets).

## unknown-profile-leaves-nothing
%require unshare --ipc true
  $ bspctl -p nosuch status 2>&1 | sed 's|/[^ ]*/sim/profiles|PROFILES|'; ls home; ipcs -s | grep -c '^0x'
  bspctl: no profile nosuch in PROFILES
  0
  [1]

## bad-homes-and-instances
%require unshare --ipc true
  $ BSPSIM_HOME=/dev/null bspctl status
  2> bspctl: BSPSIM_HOME /dev/null: not a directory
  [1]
  $ BSPSIM_INSTANCE=/nonexistent bspctl status
  2> bspctl: BSPSIM_INSTANCE /nonexistent: no simulated board there (No such file or directory)
  [1]
  $ BSPSIM_PROFILE_DIR=/nonexistent bspctl -p smm status
  2> bspctl: BSPSIM_PROFILE_DIR /nonexistent: not a directory
  [1]
  $ ipcs -s | grep -c '^0x'; ls home
  0

## failed-reset-keeps-the-board
  $ bspctl -p smm cpld set 0x13 7
  $ BSPSIM_PROFILE_DIR=/nonexistent bspctl -p smm sim reset
  2> bspctl: BSPSIM_PROFILE_DIR /nonexistent: not a directory
  [1]
  $ bspctl -p smm cpld get 0x13
  0x07

## profile-from-the-environment
  $ BSPSIM_PROFILE=smm bspctl --json sim where
  {"dir": "$SCRATCH/home/smm"}
  $ BSPSIM_PROFILE=smm bspctl -p x86-2u sim where
  $SCRATCH/home/x86-2u

## damaged-state-is-rebuilt-and-said
%require unshare --ipc true
  $ bspctl cpld set 0x13 7 && : > "$(bspctl sim where)/state"
  $ bspctl cpld get 0x13; ipcs -s | grep -c '^0x'
  0x00
  1
  2> bspsim: board state damaged, rebuilt from profile default

## garbage-after-the-header-fails-calls-not-the-tool
Every byte of the board's regions 0xFF: counts and indexes are checked before use, so the
library's calls fail and report it instead of crashing.
  $ bspctl status >/dev/null; f=$(bspctl sim where)/state; n=$(stat -c %s "$f"); { head -c 4096 "$f"; head -c $((n - 4096)) /dev/zero | tr '\0' '\377'; } > s && cat s > "$f"
  $ bspctl version
  cpld:          unknown (no CPLD count for this board)
  bmc:           66.25.01T13
  pcb:           H
  boot loader:   unknown
  sdk:           unknown / unknown
  cpld vendors:  Undentified Undentified
  soc chip info: unknown
