#!/usr/bin/env python3
"""Checks bspctl's man page and bash completion against the commands bspctl registers.

usage: check_docs.py BSPCTL MANPAGE COMPLETION              every command documented
       check_docs.py --complete BSPCTL COMPLETION            the completion answers (77: skip
                                                             when bash-completion is missing)

A command added to bspctl without its .SS section in the man page, or without its name in
the completion's command list, fails the first check and is named; so does a section left
for a command that no longer exists. BSPCTL_EMULATOR, when set, runs a cross-built bspctl.
"""
import os
import re
import shlex
import subprocess
import sys
import tempfile

SKIP = 77
BASH_COMPLETION = "/usr/share/bash-completion/bash_completion"


def bspctl_command(bspctl):
    emulator = os.environ.get("BSPCTL_EMULATOR", "")
    return shlex.split(emulator) + [os.path.abspath(bspctl)]


def registered(bspctl, home):
    env = dict(os.environ, BSPSIM_HOME=home, LC_ALL="C")
    out = subprocess.run(bspctl_command(bspctl) + ["--help"], env=env, capture_output=True, text=True,
                         check=True).stdout
    names = re.findall(r"^  (\S+) ", out.split("\ncommands:\n", 1)[1], re.M)
    if not names:
        sys.exit("no commands in `bspctl --help`")
    for name in names:
        help_run = subprocess.run(bspctl_command(bspctl) + [name, "--help"], env=env, capture_output=True)
        if help_run.returncode != 0:
            sys.exit("`bspctl %s --help` exits %d" % (name, help_run.returncode))
    return names


def check_documented(bspctl, manpage, completion):
    with tempfile.TemporaryDirectory() as home:
        names = registered(bspctl, home)
    man_sections = re.findall(r"^\.SS (\S+)$", open(manpage).read(), re.M)
    listed = re.search(r'^\s*local commands="([^"]*)"', open(completion).read(), re.M)
    completed = listed.group(1).split() if listed else []
    problems = ["%s: no .SS section in %s" % (n, manpage) for n in names if n not in man_sections]
    problems += ["%s: not in the command list of %s" % (n, completion) for n in names if n not in completed]
    problems += ["%s: documented in %s, but bspctl has no such command" % (n, manpage)
                 for n in man_sections if n not in names]
    problems += ["%s: completed by %s, but bspctl has no such command" % (n, completion)
                 for n in completed if n not in names]
    for p in problems:
        print(p)
    print("%d commands: %s" % (len(names), " ".join(names)))
    return 1 if problems else 0


def check_completion(bspctl, completion):
    if not os.path.exists(BASH_COMPLETION):
        print("skipped: %s is missing (package bash-completion)" % BASH_COMPLETION)
        return SKIP
    # Each line typed so far, and words the completion must offer for the word being typed.
    cases = [("bspctl ", ["cpld", "status", "version", "sim"]),
             ("bspctl st", ["status"]),
             ("bspctl -p ", ["default", "smm", "4u4c"]),
             ("bspctl --json -p smm cpld ", ["get", "set", "upgrade-mode", "health"]),
             ("bspctl sim psu 1 ", ["present", "absent", "glitch"]),
             ("bspctl led board-alarm ", ["on", "off"]),
             ("bspctl psu watch --", ["--interval", "--count", "--json"]),
             ("bspctl -b ", ["0", "3"])]
    failures = 0
    with tempfile.TemporaryDirectory() as scratch:
        bindir = os.path.join(scratch, "bin")
        os.mkdir(bindir)
        with open(os.path.join(bindir, "bspctl"), "w") as f:
            f.write("#!/bin/sh\nexec %s \"$@\"\n" % " ".join(shlex.quote(w) for w in bspctl_command(bspctl)))
        os.chmod(os.path.join(bindir, "bspctl"), 0o755)
        env = dict(os.environ, PATH=bindir + os.pathsep + os.environ.get("PATH", "/usr/bin:/bin"),
                   BSPSIM_HOME=os.path.join(scratch, "home"), LC_ALL="C")
        for line, want in cases:
            words = line.split(" ")
            script = ("source %s; source %s; COMP_LINE=%s; COMP_POINT=${#COMP_LINE}; COMP_WORDS=(%s); "
                      "COMP_CWORD=%d; _bspctl bspctl %s %s; printf '%%s\\n' \"${COMPREPLY[@]}\""
                      % (BASH_COMPLETION, shlex.quote(completion), shlex.quote(line),
                         " ".join(shlex.quote(w) for w in words), len(words) - 1, shlex.quote(words[-1]),
                         shlex.quote(words[-2])))
            got = subprocess.run(["bash", "-c", script], env=env, capture_output=True, text=True).stdout.split()
            missing = [w for w in want if w not in got]
            if missing:
                failures += 1
                print("'%s<TAB>' offers %s: lacks %s" % (line, got, missing))
    return 1 if failures else 0


def main(argv):
    if len(argv) == 4 and argv[1] == "--complete":
        return check_completion(argv[2], argv[3])
    if len(argv) == 4:
        return check_documented(argv[1], argv[2], argv[3])
    sys.exit(__doc__)


if __name__ == "__main__":
    sys.exit(main(sys.argv))
