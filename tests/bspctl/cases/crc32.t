bspctl crc32 prints what cksum prints, for anything that can be read to its end.

## regular-file
  $ seq 1 20000 > f; bspctl crc32 f; cksum f
  3231941463 108894 f
  3231941463 108894 f
  $ bspctl --json crc32 f
  {"crc": 3231941463, "size": 108894, "file": "f"}

## empty-file
  $ : > e; bspctl crc32 e; cksum e
  4294967295 0 e
  4294967295 0 e

## pipe
  $ seq 1 20000 | bspctl crc32 /dev/stdin; seq 1 20000 | cksum /dev/stdin
  3231941463 108894 /dev/stdin
  3231941463 108894 /dev/stdin

## standard-input
  $ seq 1 20000 | bspctl crc32; seq 1 20000 | cksum
  3231941463 108894
  3231941463 108894
  $ seq 1 20000 | bspctl crc32 -; seq 1 20000 | cksum -
  3231941463 108894 -
  3231941463 108894 -
  $ seq 1 20000 | bspctl --json crc32
  {"crc": 3231941463, "size": 108894, "file": null}

## fifo
  $ mkfifo p; (seq 1 20000 > p &); bspctl crc32 p
  3231941463 108894 p

## proc-files
Their size says 0; the checksum is of what they hold.
  $ diff <(bspctl crc32 /proc/version) <(cksum /proc/version) && echo same
  same
  $ bspctl crc32 /proc/self/cmdline | cut -d' ' -f2
  32

## sys-file
A sysfs file says 4096 bytes whatever it holds.
%require test -r /sys/devices/system/cpu/online
  $ diff <(bspctl crc32 /sys/devices/system/cpu/online) <(cksum /sys/devices/system/cpu/online) && echo same
  same

## loop-block-device
%require losetup -f >/dev/null 2>&1
  $ seq 1 100000 > img; truncate -s 1M img; dev=$(losetup -f --show img); bspctl crc32 $dev | cut -d' ' -f1-2; cksum $dev | cut -d' ' -f1-2; losetup -d $dev
  4277543858 1048576
  4277543858 1048576

## errors
  $ bspctl crc32 missing
  2> bspctl: missing: No such file or directory
  [1]
  $ bspctl --json crc32 missing
  {"error": "missing: No such file or directory"}
  [1]
  $ mkdir d; bspctl crc32 d
  2> bspctl: d: Is a directory
  [1]
  $ bspctl crc32 a b
  2> bspctl: crc32 takes at most one FILE; try 'bspctl crc32 --help'
  [2]
