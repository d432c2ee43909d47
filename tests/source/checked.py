#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""usage: checked.py BUILD-FOLDER clang-tidy|clazy ROOM...

Has a checker read what the folders ROOM are compiled from, and for "include" each public header alone, as
BUILD-FOLDER/compile_commands.json compiles them. The checkers' front end is clang: what does not compile with that
is a finding, too. Prints the findings; the exit status is 1 when there are any.
"""
import concurrent.futures
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
ROOMS = ("src", "plugin", "tools", "emulator", "include")
HEADERS = f"^{re.escape(str(SOURCE))}/({'|'.join(ROOMS)})/"
# Options of gcc's that clang does not know.
ARGUMENTS = ["--extra-arg=-Wno-unknown-warning-option", "--extra-arg=-Wno-ignored-optimization-argument"]
CHECKERS = {
    # Where parts of files are compiled together, a .cpp is as much a header as others.
    "clang-tidy": ["clang-tidy", "--quiet", "--warnings-as-errors=*", f"--header-filter={HEADERS}"],
    "clazy": ["clazy-standalone", "--checks=level1", f"--header-filter={HEADERS}"],
}
# What gcc has precompiled clang cannot read, and finds beside the header.
PRECOMPILED = re.compile(r" -include \S+/cmake_pch\.hxx(?= )")
FINDING = re.compile(rf"{HEADERS[1:]}.*?: (warning|error|fatal error): |^error: ", re.MULTILINE)


def sources(build, rooms):
    compiled = json.loads((build / "compile_commands.json").read_text())
    for command in compiled:
        path = Path(command["directory"], command["file"]).resolve()
        if "autogen" in str(path) or path.name.startswith("qrc_"):
            continue
        below = path.relative_to(build) if path.is_relative_to(build) else path.relative_to(SOURCE)
        # A public header alone.
        room = "include" if re.fullmatch(r"selfcontained_.*\.h\.cpp", path.name) else below.parts[0]
        if room in rooms:
            yield room, path


def readable(build, folder):
    """Writes the database anew, without what is precompiled."""
    text = PRECOMPILED.sub("", (build / "compile_commands.json").read_text())
    Path(folder, "compile_commands.json").write_text(text)


def findings(folder, checker, path):
    command = [*CHECKERS[checker], "-p", folder, *ARGUMENTS, str(path)]
    run = subprocess.run(command, capture_output=True, text=True, check=False)
    text = run.stdout + run.stderr
    return text if run.returncode or FINDING.search(text) else ""


def main():
    if len(sys.argv) < 4 or sys.argv[2] not in CHECKERS or not set(sys.argv[3:]) <= set(ROOMS):
        sys.exit(__doc__)
    build, checker, rooms = Path(sys.argv[1]).resolve(), sys.argv[2], sys.argv[3:]
    program = CHECKERS[checker][0]
    if not shutil.which(program):
        sys.exit(f"{program} is not installed: ./test --ci installs it (packaging/packages.txt, [tidy])")
    found_rooms = list(sources(build, rooms))
    for room in rooms:
        if room not in (found for found, _ in found_rooms):
            sys.exit(f"{build}/compile_commands.json compiles nothing of {room}: configure with preset dev")
    paths = sorted({path for _, path in found_rooms})
    found = 0
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        readable(build, folder)
        for text in pool.map(lambda path: findings(folder, checker, path), paths):
            if text:
                found += 1
                print(text, flush=True)
    print(f"{checker}: {len(paths)} files read, {found} with findings")
    sys.exit(1 if found else 0)


main()
