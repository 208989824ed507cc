#!/usr/bin/env python3
"""Runs one golden-output case of bspctl and compares exit codes and exact output.

usage: run_case.py BSPCTL CASEFILE CASE      run one case (exit 0 pass, 1 fail, 77 skip)
       run_case.py --list CASEFILE           print the case names
       run_case.py --update BSPCTL CASEFILE  rewrite CASEFILE with what bspctl prints now

A case file holds cases:

    ## name                 starts a case; each runs in a scratch directory with its own
                            BSPSIM_HOME, so on fresh boards
    %require SHELL-COMMAND  the case is skipped when the command fails
      $ bspctl ARGS...      a command, run by bash with `bspctl` on PATH
      text                  a line the command prints on stdout
      2> text               a line it prints on stderr
      [N]                   its exit code, when not 0

Other lines that start in the first column are comments. The case's scratch directory is
written $SCRATCH in the output. BSPCTL_EMULATOR, when set, is the command line that runs a
cross-built bspctl (such as "qemu-aarch64 -L /usr/aarch64-linux-gnu"). A command that runs bspctl with
--json must also print exactly one JSON document on stdout.
"""
import ctypes
import difflib
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile

INDENT = "  "
SKIP = 77


class Command:
    def __init__(self, line):
        self.line = line
        self.out, self.err, self.code = [], [], 0

    def expected_lines(self):
        lines = [INDENT + "$ " + self.line]
        lines += [INDENT + t if t else "" for t in self.out]
        lines += [INDENT + "2> " + t for t in self.err]
        if self.code:
            lines.append(INDENT + "[%d]" % self.code)
        return lines


class Case:
    def __init__(self, name):
        self.name, self.requires, self.commands = name, [], []


def parse(path):
    """Cases of the file, in order, and every line that is not part of a case's commands."""
    cases, cur, pending_blank = [], None, 0
    with open(path, encoding="utf-8") as f:
        for raw in f.read().splitlines():
            if raw.startswith("## "):
                cur = Case(raw[3:].strip())
                cases.append(cur)
                pending_blank = 0
            elif cur and raw.startswith("%require "):
                cur.requires.append(raw[len("%require "):])
            elif cur and raw.startswith(INDENT + "$ "):
                cur.commands.append(Command(raw[len(INDENT) + 2:]))
                pending_blank = 0
            elif cur and cur.commands and raw.startswith(INDENT):
                # Blank lines count as output only when more output of the command follows.
                cmd = cur.commands[-1]
                cmd.out += [""] * pending_blank
                pending_blank = 0
                body = raw[len(INDENT):]
                if body.startswith("2> ") or body == "2>":
                    cmd.err.append(body[3:])
                elif body.startswith("[") and body.endswith("]") and body[1:-1].isdigit():
                    cmd.code = int(body[1:-1])
                else:
                    cmd.out.append(body)
            elif cur and cur.commands and raw.strip() == "":
                pending_blank += 1
    return cases


def private_ipc():
    """Runs the case in its own SysV IPC namespace where the machine allows it: the boards'
    semaphore sets then vanish with the case instead of staying behind, and no case can meet
    another's."""
    try:
        libc = ctypes.CDLL(None, use_errno=True)
        libc.unshare(0x08000000)  # CLONE_NEWIPC; refused without privilege, then shared
    except (OSError, AttributeError):
        pass


def run_command(cmd, bspctl, scratch):
    bindir = os.path.join(scratch, "bin")
    if not os.path.exists(bindir):
        os.mkdir(bindir)
        emulator = os.environ.get("BSPCTL_EMULATOR", "")
        if emulator:
            # A cross-built bspctl runs through its emulator (binfmt_misc may be missing),
            # still called "bspctl" (qemu's -0), as cases that read their own command line expect.
            argv0 = " -0 bspctl" if os.path.basename(shlex.split(emulator)[0]).startswith("qemu") else ""
            with open(os.path.join(bindir, "bspctl"), "w") as f:
                f.write('#!/bin/sh\nexec %s%s %s "$@"\n' % (emulator, argv0, shlex.quote(os.path.abspath(bspctl))))
            os.chmod(os.path.join(bindir, "bspctl"), 0o755)
        else:
            os.symlink(os.path.abspath(bspctl), os.path.join(bindir, "bspctl"))
    env = {k: v for k, v in os.environ.items() if not k.startswith("BSPSIM_")}
    env.update(PATH=bindir + os.pathsep + env.get("PATH", "/usr/bin:/bin"),
               BSPSIM_HOME=os.path.join(scratch, "home"), LC_ALL="C")
    p = subprocess.run(["bash", "-c", cmd.line], cwd=scratch, env=env, stdin=subprocess.DEVNULL,
                       capture_output=True, timeout=60)
    # The scratch directory differs from run to run; the text names it $SCRATCH.
    # Log lines name the library's source line, which moves with every edit of the file: the
    # text keeps the file and shows the line as '#'.
    out, err = (re.sub(r"(\w+\.cpp)([:(])\d+", r"\1\2#", b.decode("utf-8", "replace").replace(scratch, "$SCRATCH"))
                for b in (p.stdout, p.stderr))
    return p.returncode, out, err


def lines_of(text):
    return text.split("\n")[:-1] if text.endswith("\n") else (text.split("\n") if text else [])


def json_problem(cmd, stdout):
    words = shlex.split(cmd.line) if "|" not in cmd.line and ";" not in cmd.line else []
    if not words or words[0] != "bspctl" or "--json" not in words:
        return None
    try:
        json.loads(stdout)
    except ValueError as e:
        return "stdout of `%s` is not exactly one JSON document: %s" % (cmd.line, e)
    return None


def run_case(bspctl, case):
    for req in case.requires:
        if subprocess.run(["bash", "-c", req], capture_output=True).returncode != 0:
            print("SKIP: %s: `%s` fails here" % (case.name, req))
            return SKIP
    private_ipc()
    failures = []
    with tempfile.TemporaryDirectory(prefix="bspctl-golden.") as scratch:
        for cmd in case.commands:
            code, out, err = run_command(cmd, bspctl, scratch)
            got = Command(cmd.line)
            got.out, got.err, got.code = lines_of(out), lines_of(err), code
            if got.expected_lines() != cmd.expected_lines():
                diff = difflib.unified_diff(cmd.expected_lines(), got.expected_lines(), "expected", "actual",
                                            lineterm="")
                failures.append("\n".join(diff))
            problem = json_problem(cmd, out)
            if problem:
                failures.append(problem)
    for f in failures:
        print(f)
    print("%s: %s" % (case.name, "FAIL" if failures else "pass"))
    return 1 if failures else 0


def update(bspctl, path):
    """Rewrites the file with the output bspctl gives now, keeping comments and requirements.
    For writing new cases: read the result before committing it."""
    private_ipc()
    with open(path, encoding="utf-8") as f:
        raw_lines = f.read().splitlines()
    cases = iter(parse(path))
    out, commands = [], iter(())
    for raw in raw_lines:
        if raw.startswith("## "):
            case = next(cases)
            with tempfile.TemporaryDirectory(prefix="bspctl-golden.") as scratch:
                for cmd in case.commands:
                    code, o, e = run_command(cmd, bspctl, scratch)
                    cmd.out, cmd.err, cmd.code = lines_of(o), lines_of(e), code
            commands = iter(case.commands)
            if out and out[-1] != "":
                out.append("")
            out.append(raw)
        elif raw.startswith(INDENT + "$ "):
            out += next(commands).expected_lines()
        elif not raw.startswith(INDENT) and raw.strip():
            out.append(raw)
    with open(path, "w", encoding="utf-8") as f:
        f.write("\n".join(out) + "\n")


def main(argv):
    if len(argv) == 3 and argv[1] == "--list":
        for c in parse(argv[2]):
            print(c.name)
        return 0
    if len(argv) == 4 and argv[1] == "--update":
        update(argv[2], argv[3])
        return 0
    if len(argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    bspctl, path, name = argv[1:]
    matches = [c for c in parse(path) if c.name == name]
    if len(matches) != 1:
        print("%s: %d cases named %s" % (path, len(matches), name), file=sys.stderr)
        return 2
    return run_case(bspctl, matches[0])


if __name__ == "__main__":
    sys.exit(main(sys.argv))
