#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""usage: memcheck.py [--without-plugin] PATIENT-DAEMON COMMAND... -- PROGRAM [ARGUMENT...]

Runs PROGRAM under valgrind's memcheck, inside COMMAND, and each process that the session's sign-on daemon starts for a
plugin meanwhile. PATIENT-DAEMON is preloaded: it has the daemon wait longer for such a process. Fails as PROGRAM does, on
each error, on each block of memory that nobody knows any more, and when no plugin's process was looked at.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
PLUGIN_PROGRAM = "signonpluginprocess"
FOUND = 97
PATIENCE = 10
# How long a plugin's process may go on without the daemon that it had.
ENDING_SECONDS = 60

VALGRIND = [
    "valgrind",
    "--tool=memcheck",
    f"--error-exitcode={FOUND}",
    "--leak-check=full",
    "--show-leak-kinds=definite",
    "--errors-for-leak-kinds=definite",
    "--num-callers=40",
    "--child-silent-after-fork=yes",
    "--vgdb=no",
    f"--suppressions={HERE}/others.supp",
]
ENVIRONMENT = {
    # Code that is made while the program runs reads past the end of texts on purpose.
    "QT_ENABLE_REGEXP_JIT": "0",
    # Blocks that glib divides are not seen one by one.
    "G_SLICE": "always-malloc",
    "KELACCOUNT_TEST_PATIENCE": str(PATIENCE),
    "QTEST_FUNCTION_TIMEOUT": str(PATIENCE * 300000),
}
ADVICE = f"""
==> What the library, the plugin or a test does is mended there: the first function in the list that is one of ours is
    where to begin. A lost block is shown by who made it; who knew it last forgot it. VALGRIND_OPTS=--track-origins=yes in
    the environment tells where a value without a beginning comes from. Only what Qt, glib or another library does by
    itself goes into tests/{HERE.name}/others.supp, with the reason and by that library's functions."""
SUMMARY = re.compile(r"^==\d+== ERROR SUMMARY: (\d+) errors", re.MULTILINE)
STACK = re.compile(r"^==\d+==    at 0x", re.MULTILINE)


def under_valgrind(folder, kind):
    return [*VALGRIND, f"--log-file={folder}/{kind}-%p.log"]


def write_plugin_program(folder):
    """What the daemon finds first on PATH, instead of the program that a plugin runs in."""
    real = shutil.which(PLUGIN_PROGRAM)
    if not real:
        sys.exit("this test needs the package signond")
    programs = folder / "programs"
    programs.mkdir()
    program = programs / PLUGIN_PROGRAM
    command = " ".join(f"'{word}'" for word in [*under_valgrind(folder, "plugin"), real])
    program.write_text(f'#!/bin/sh\nexec {command} "$@"\n')
    program.chmod(0o755)
    return programs


def wait_for_ends(folder):
    deadline = time.monotonic() + ENDING_SECONDS
    while time.monotonic() < deadline:
        if all(SUMMARY.search(log.read_text(errors="replace")) for log in folder.glob("*.log")):
            return
        time.sleep(0.05)


def problem_of(log):
    """What a process has shown that ought not to be; empty when there is nothing."""
    text = log.read_text(errors="replace")
    summary = SUMMARY.search(text)
    if summary and summary.group(1) == "0":
        return ""
    if not summary and not STACK.search(text):
        return f"{log.stem} was ended before it could be asked what it has lost:\n{text}"
    return f"{log.stem}:\n{text}"


def run(folder, module, command, needs_plugin):
    at = len(command) - 1 - command[::-1].index("--")
    preloaded = ":".join(filter(None, [os.environ.get("LD_PRELOAD"), module]))
    path = f"{write_plugin_program(folder)}:{os.environ['PATH']}"
    status = subprocess.run(
        [*command[:at], *(["--"] if at else []), *under_valgrind(folder, "program"), *command[at + 1 :]],
        env={**os.environ, **ENVIRONMENT, "PATH": path, "LD_PRELOAD": preloaded},
        check=False,
    ).returncode
    wait_for_ends(folder)
    logs = sorted(folder.glob("*.log"))
    problems = [problem for problem in map(problem_of, logs) if problem]
    if not any(log.name.startswith("program") for log in logs):
        problems.append("no program was looked at")
    if needs_plugin and not any(log.name.startswith("plugin") for log in logs):
        problems.append(f"no plugin's process was looked at: the daemon has not found {PLUGIN_PROGRAM} on PATH")
    for problem in problems:
        print(f"==> {problem}")
    if problems:
        print(ADVICE)
    return 1 if problems else status


def main():
    arguments = sys.argv[1:]
    needs_plugin = arguments[:1] != ["--without-plugin"]
    if not needs_plugin:
        del arguments[0]
    if len(arguments) < 3 or "--" not in arguments[:-1]:
        sys.exit(__doc__)
    if not shutil.which("valgrind"):
        sys.exit("this test needs the package valgrind")
    with tempfile.TemporaryDirectory(prefix="kelmemcheck-") as folder:
        sys.exit(run(Path(folder), arguments[0], arguments[1:], needs_plugin))


if __name__ == "__main__":
    main()
