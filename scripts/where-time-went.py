#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Says where the time of ./test went.

usage: where-time-went.py BUILD-FOLDER OFFSET CONFIGURED BUILT TESTED

OFFSET is where .ninja_log ended before the build; the others are seconds on the clock. What compiling and linking
took is the sum over all that ran at once. The slowest tests stand in what ctest wrote for JUnit."""
import pathlib
import sys
import xml.etree.ElementTree


def kinds(log, offset):
    """Seconds by kind of what ninja did after the offset, and how many of each."""
    spent = {}
    with open(log, "rb") as lines:
        if lines.seek(0, 2) < offset:
            offset = 0  # ninja has written it anew
        lines.seek(offset)
        seen = set()
        for line in lines.read().decode(errors="replace").splitlines():
            fields = line.split("\t")
            if len(fields) != 5:
                continue
            begin, end, _, target, command = fields
            if (begin, end, command) in seen:
                continue  # another file of the same command
            seen.add((begin, end, command))
            name = pathlib.PurePath(target).name
            if name == "build.ninja":
                continue
            if name.endswith(".o"):
                kind = "compiling moc's output" if name.startswith("mocs_compilation") else "compiling"
            elif "autogen" in target:
                kind = "moc"
            elif ".so" in name or name.endswith(".a") or "." not in name:
                kind = "linking"
            else:
                kind = "the rest"
            count, seconds = spent.get(kind, (0, 0))
            spent[kind] = (count + 1, seconds + (int(end) - int(begin)) / 1000)
    return spent


def slowest(junit):
    cases = xml.etree.ElementTree.parse(junit).iter("testcase")
    return sorted(((float(case.get("time", 0)), case.get("name")) for case in cases), reverse=True)


def main():
    folder = pathlib.Path(sys.argv[1])
    configured, built, tested = map(int, sys.argv[3:6])
    print(f"==> configured in {configured} s, built in {built} s, tested in {tested} s")
    log = folder / ".ninja_log"
    for kind, (count, seconds) in sorted(kinds(log, int(sys.argv[2])).items(), key=lambda k: -k[1][1]):
        print(f"    {kind}: {count} in {seconds:.0f} s")
    junit = folder / "Testing" / "times.xml"
    if junit.exists():
        tests = slowest(junit)
        print(f"    tests: {len(tests)} in {sum(t[0] for t in tests):.0f} s, the slowest")
        for seconds, name in tests[:10]:
            print(f"    {seconds:7.1f} s  {name}")


main()
