#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Takes one connection, one row of a table or one case of a switch out of the code at a time, and says
which test notices.

Nearly all are made removable by a number in the environment, so that the programs are built once: a
connection is made unless it is the removed one, a switch does not know the removed case, and a removed
row of an array is the row beside it once more. What that cannot be done with (a table that the compiler
reads, a map) is taken out of the text, and the programs are built for it.

  tests/removals/removals.py [--build build/dev] [--list] [--only REGEX] [--report FILE] [FOLDER...]

Run it in the root of a checkout that nobody else works in, with a configured build folder
(-DCMAKE_UNITY_BUILD=OFF: each file has the same switch). Every
program is ended at its first failure, and every file is put back. Exit status 1 when something could be
removed unnoticed.
"""
import argparse
import atexit
import concurrent.futures
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import threading
import time

# Which programs answer for a file, the quickest first; the first line that fits counts.
RESPONSIBLE = [
    (r"account/texts/", "tst_statustext"),
    (r"account/(records|commonutils)", "tst_publicrecords tst_statustext tst_profile"),
    (r"account/accountsignout", "tst_story_signout tst_story_signout_processes"),
    (r"account/(calls|refusal|sentrequests|serviceroad|settings)\.",
     "tst_callparts tst_calls tst_serviceoperations tst_serviceanswers tst_kelaccounts"),
    (r"account/sessionroad", "tst_sessionroad tst_calls tst_abandonedcalls"),
    (r"account/(setuptable|accountsetup|setupsteps|.*_setup)",
     "tst_accountsetup tst_everymethod tst_setup tst_setupfailures tst_accountsdatabase "
     "tst_setupstogether tst_abandonedcalls tst_story_signout"),
    (r"account/", "tst_serviceanswers tst_serviceoperations tst_kelaccounts tst_everymethod tst_calls "
     "tst_abandonedcalls tst_profile tst_sessionoperations tst_registering tst_setup "
     "tst_setupfailures tst_setupstogether tst_story_signout"),
    (r"rest/records/", "tst_datarecords tst_msgparser tst_profile"),
    (r"rest/reply/", "tst_msgparser tst_operationcoverage tst_dispatch tst_receivedreply "
     "tst_knownanswers"),
    (r"rest/request/serviceaddress", "tst_knownanswers tst_serviceoperations"),
    (r"rest/request/", "tst_msgcreator tst_clientidentification tst_requestmodel "
     "tst_signing tst_operations tst_signedaddress tst_knownanswers"),
    (r"rest/transport/", "tst_transport tst_transport_abandoned tst_transport_requests "
     "tst_transport_servers tst_transport_connections tst_transport_endings "
     "tst_transport_statuses tst_transport_floods tst_receivewatch tst_connectionlatency tst_knownanswers "
     "tst_servernames tst_requesthandler tst_firstcall tst_transportmemory"),
    (r"rest/picture/", "tst_captchapicture tst_captchawithoutgui"),
    (r"rest/", "tst_operationcoverage tst_operations tst_dispatch tst_msgparser "
     "tst_requestcreation tst_requesthandler"),
]
# Texts that a program runs; of the others, ninja knows the names.
PROGRAMS = {
    **dict.fromkeys("tst_abandonedcalls tst_accountsdatabase tst_registering tst_sessionoperations tst_setup "
                    "tst_setupfailures".split(), "account_tests"),
    **dict.fromkeys("tst_transport_abandoned tst_transport_requests tst_transport_servers tst_transport_connections "
                    "tst_transport_endings tst_transport_statuses tst_transport_floods".split(), "rest_tests")}
# Programs that no busy machine makes fail.
STEADY = set("tst_accountsetup tst_callparts tst_captchapicture tst_captchawithoutgui tst_clientidentification "
             "tst_datarecords tst_dispatch tst_msgcreator tst_msgparser "
             "tst_operationcoverage tst_operations tst_publicrecords tst_receivedreply "
             "tst_requestmodel tst_serviceanswers tst_sessionroad tst_signedaddress tst_signing tst_statustext "
             "tst_knownanswers".split())
PATIENCE = 90  # seconds for a program that hangs
CONTAINERS = r"\b(QHash|QMap|QMultiMap|QVector|QList|QStringList|QSet|array|initializer_list|QVariantMap)\b"


def masked(text):
    """The text with everything in comments and strings blanked out, character for character."""
    pattern = r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\''
    return re.sub(pattern, lambda m: re.sub(r"[^\n]", "_" if m[0][0] in "\"'" else " ", m[0]), text,
                  flags=re.S)


def end_of(code, start, opening, closing):
    depth = 0
    for at in range(start, len(code)):
        depth += (code[at] == opening) - (code[at] == closing)
        if depth == 0:
            return at + 1
    return len(code)


class Place:
    """Something that can be removed. `edits` makes it removable by its number; without, only its text
    can be taken out."""

    def __init__(self, kind, begin, end, edits=None):
        self.kind, self.begin, self.end, self.edits = kind, begin, end, edits
        self.path = self.line = self.shown = self.number = None


def connections(code):
    for m in re.finditer(r"^ *((QObject::|QMetaObject::)?connect|ServiceSignals::relay)\(", code, re.M):
        end = end_of(code, m.end() - 1, "(", ")")
        if code[end:end + 1] == ";":
            begin = m.start() + len(m[0]) - len(m[0].lstrip())
            yield Place("connection", begin, end + 1, lambda n, b=begin, e=end: [
                (b, "kelRemoved(%d) ? void() : void(" % n), (e, ")")])


def cases(code):
    for m in re.finditer(r"\bswitch (\()", code):
        closing = end_of(code, m.start(1), "(", ")")
        block = code.index("{", closing)
        last = end_of(code, block, "{", "}")
        labels = []
        for c in re.finditer(r"^( *)case ([^\n]*?)(?<!:):(?!:)", code[:last], re.M):
            if c.start() > block and code.count("{", block, c.start()) - code.count(
                    "}", block, c.start()) == 1:
                labels.append(c)
        for c in labels:
            following = re.compile(r"^ {0,%d}(case |default:|\})" % len(c[1]), re.M).search(
                code, c.end())
            body = code[c.end():following.start()].strip()
            end = following.start() if body else c.end()
            # All labels of a switch share its expression, so their edits are one nested call. One
            # that is to know every value of an enumeration is the compiler's.
            complete = "default:" not in code[block:last]
            yield Place("case", c.start() + len(c[1]), end, None if complete else
                        lambda n, o=m.end(), e=closing - 1, c=c: [
                (o, "kelCase("), (e, ", (long long)(@%d:%d@), %d)" % (c.start(2), c.end(2), n))])


def items_of(code, begin):
    end = end_of(code, begin, "{", "}")
    items, depth, start = [], 0, begin + 1
    for at in range(begin + 1, end):
        depth += (code[at] in "({[") - (code[at] in ")}]")
        if (depth == 0 and code[at] == ",") or at == end - 1:
            if code[start:at].strip():
                items.append((start, at + 1 if code[at] == "," else at))
            start = at + 1
    return items, end


def rows(code):
    for m in re.finditer(r"(?:=|\breturn)\s*\{|\w\{\{", code):
        begin = code.rindex("{", m.start(), m.end()) if m[0][-2:] != "{{" else m.start() + 1
        statement = re.split(r"[;{}]", code[:m.start() + 1])[-1]
        array = re.search(r"(\w+)\s*\[\]\s*=?$", statement)
        if not (re.search(r"\[[^\]]*\]\s*=?$", statement) or re.search(CONTAINERS, statement)):
            continue
        items, end = items_of(code, begin)
        if len(items) < 2:
            continue
        start = m.start() + 1 - len(statement.lstrip())
        constant = re.match(r"(?:static )?(?:inline )?(?:constexpr|const)\s", code[start:])
        for first, last in items:
            first += len(code[first:last]) - len(code[first:last].lstrip())
            edits = None
            if array and constant and code[end:end + 1] == ";":
                def edits(n, s=start, c=constant, e=end, at=len([i for i in items if i[1] <= first]),
                          name=array[1]):
                    return [(s, "static ", s + len(c[0])),
                            (e + 1, " [[maybe_unused]] static const bool kelRow%d = kelRemoveRow(%s, "
                             "%d, %d);" % (n, name, at, n))]
            yield Place("row", first, last, edits)


SWITCHES = """
#include <cstddef>
#include <cstdlib>
namespace {
[[maybe_unused]] bool kelRemoved(int number)
{
    static const char* const removed = std::getenv("KEL_REMOVED");
    return removed && std::atoi(removed) == number;
}
template <class Value>
Value kelCase(Value value, long long label, int number)
{
    return (long long)(value) == label && kelRemoved(number) ? static_cast<Value>(-987654) : value;
}
template <class Row, std::size_t count>
bool kelRemoveRow(Row (&rows)[count], std::size_t at, int number)
{
    if (kelRemoved(number))
        rows[at] = rows[at > 0 ? at - 1 : 1];
    return true;
}
} // namespace
"""


def places(path, first):
    text = path.read_text()
    code = masked(text)
    found = sorted([*connections(code), *cases(code), *rows(code)], key=lambda place: place.begin)
    for number, place in enumerate(found, first):
        place.path, place.number = path, number
        place.line = text.count("\n", 0, place.begin) + 1
        place.shown = " ".join(text[place.begin:place.end].split()).rstrip(",;")
    return found


def with_switches(text, found):
    """The text in which each place can be removed by its number."""
    insertions = {}
    cuts = {}
    for place in found:
        for edit in place.edits(place.number) if place.edits else []:
            new = re.sub(r"@(\d+):(\d+)@", lambda m: text[int(m[1]):int(m[2])], edit[1])
            if len(edit) > 2:
                cuts[edit[0]] = (edit[2], new)
            elif new == "kelCase(":
                insertions[edit[0]] = new + insertions.get(edit[0], "")
            else:
                insertions[edit[0]] = insertions.get(edit[0], "") + new
    result, at = [], 0
    for position in sorted(set(insertions) | set(cuts)):
        result += [text[at:position], insertions.get(position, "")]
        at = position
        if position in cuts:
            result.append(cuts[position][1])
            at = cuts[position][0]
    result.append(text[at:])
    return SWITCHES.strip("\n") + "\n" + "".join(result)


def programs_of(path):
    return next(names.split() for pattern, names in RESPONSIBLE if re.search(pattern, str(path)))


def commands(build):
    listed = json.loads(subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"],
                                       stdout=subprocess.PIPE, check=True, text=True).stdout)
    known = {}
    for test in listed["tests"]:
        settings = {p["name"]: p["value"] for p in test.get("properties", [])}
        known[test["name"]] = (test.get("command", []), settings.get("ENVIRONMENT", []))
    return known


def run(command, environment, removed):
    """The first failure of a program, or an empty text."""
    variables = dict(os.environ, **dict(v.split("=", 1) for v in environment))
    if removed is not None:
        variables["KEL_REMOVED"] = str(removed)
    program = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                               errors="replace", env=variables)
    guard = threading.Timer(PATIENCE, program.terminate)
    guard.start()
    begin, failure = time.monotonic(), ""
    for line in program.stdout:
        found = re.match(r"(?:FAIL!|QFATAL)\s*: (.*)", line)
        if found:
            failure = re.sub(r"^(\w+::\w+\(.*?\)) .*", r"\1", found[1]).strip()
            program.terminate()
            break
    program.stdout.close()
    status = program.wait()
    guard.cancel()
    if failure or status == 0:
        return failure
    return "hangs" if time.monotonic() - begin >= PATIENCE else "ends with status %d" % status


def build(folder, names):
    targets = {PROGRAMS.get(name, name) for name in names}
    return subprocess.run(["ninja", "-k", "0", "-C", folder, *targets], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)


def noticed(place, folder, known, within, removed):
    for name in programs_of(place.path):
        if not known.get(name, ([], []))[0]:
            continue
        if removed is None:
            built = build(folder, [name])
            if built.returncode:
                error = re.search(r"error: (.*)", built.stdout)
                return "the compiler: " + (error[1] if error else "it does not link")
        command, environment = known[name]
        command = [*within, *command]
        # On a busy machine others may fail for want of time, and that notices nothing.
        for attempt in range(3):
            failure = run(command, environment, removed)
            if not failure or name in STEADY or isItsDoing(failure, command, environment, removed):
                break
            failure = ""
        if failure:
            return failure if failure.startswith("Test") else "%s %s" % (name, failure)
    return ""


def isItsDoing(failure, command, environment, removed):
    """Whether the function and row of a failure fail again, and do not without the removal."""
    named = re.match(r"Test\w*::(\w+)\((.*)\)$", failure) or re.match(r"\w+Test::(\w+)\((.*)\)$",
                                                                    failure)
    if removed is None or not named:
        return True
    alone = [*command, named[1] + (":" + named[2] if named[2] else "")]
    return bool(run(alone, environment, removed)) and not run(alone, environment, None)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build/dev")
    parser.add_argument("--list", action="store_true", help="say what would be removed")
    parser.add_argument("--only", default="", help="only places whose file, kind or text fits")
    parser.add_argument("--jobs", type=int, default=1, help="how many programs at a time")
    parser.add_argument("--within", default="", help="a command that runs each of them; with more "
                        "than one job they need a network namespace each, such as of \"unshare -n\"")
    parser.add_argument("--report", type=pathlib.Path, help="write the listing there, as Markdown")
    parser.add_argument("folders", nargs="*", default=["src/account", "src/rest"])
    given = parser.parse_args()

    files = [f for folder in given.folders for f in sorted(pathlib.Path(folder).rglob("*"))
             if f.suffix in (".cpp", ".h")]
    found = []
    for path in files:
        found += places(path, len(found))
    chosen = [p for p in found if re.search(given.only, "%s %s %s" % (p.path, p.kind, p.shown))]
    if given.list:
        for p in chosen:
            print("%s:%d: %s: %s" % (p.path, p.line, p.kind, p.shown[:90]))
        return 0

    known = commands(given.build)
    originals = {path: path.read_text() for path in {p.path for p in chosen}}
    atexit.register(lambda: [restore(path, text) for path, text in originals.items()])
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))

    # Once for all that can be removed by number.
    for path, text in originals.items():
        path.write_text(with_switches(text, [p for p in chosen if p.path == path]))
    names = sorted({n for p in chosen for n in programs_of(p.path) if n in known})
    begun = time.monotonic()
    for attempt in range(3):
        output = build(given.build, names).stdout
        failed = [p for p in originals if re.search(r"FAILED: \S*/%s\.o" % re.escape(p.name), output)
                  or re.search(r"%s:\d+:\d+: error" % re.escape(str(p)), output)]
        if not failed:
            break
        for path in failed: # what stands in it can only be taken out of the text
            restore(path, originals[path])
            for place in chosen:
                if place.path == path:
                    place.edits = None
    known = commands(given.build) # of programs that had not been built there were none
    print("built in %d s" % (time.monotonic() - begun), flush=True)
    results = {}
    within = given.within.split()

    def tell(place, by):
        results[place.number] = by
        print("%s:%d: %s: %s\n     %s" % (place.path, place.line, place.kind, place.shown[:90],
                                          by or "NOBODY NOTICES"), flush=True)
    pool = concurrent.futures.ThreadPoolExecutor(given.jobs)
    try:
        for place, by in [(p, pool.submit(noticed, p, given.build, known, within, p.number))
                          for p in chosen if p.edits]:
            tell(place, by.result())
    finally:
        pool.shutdown(cancel_futures=True)
    for path, text in originals.items():
        restore(path, text)
    for place in chosen:
        if place.edits:
            continue
        text = originals[place.path]
        place.path.write_text(text[:place.begin] + text[place.end:])
        tell(place, noticed(place, given.build, known, within, None))
        restore(place.path, text)
    missed = [p for p in chosen if not results[p.number]]
    print("%d removed, %d unnoticed" % (len(chosen), len(missed)))
    if given.report:
        write_report(given.report, [(p.path, p.kind, p.shown, results[p.number]) for p in chosen],
                     missed)
    return 1 if missed else 0


def restore(path, text):
    if path.read_text() != text:
        path.write_text(text)


def write_report(report, results, missed):
    def cell(text):
        return "`" + text.replace("|", "\\|").replace("`", "'")[:110] + "`"
    lines = ["# What notices a removal", "",
             "%d places, %d of them unnoticed. Made by `tests/removals/removals.py` on %s." %
             (len(results), len(missed), time.strftime("%Y-%m-%d")), ""]
    last = None
    for path, kind, shown, noticed in results:
        if path != last:
            lines += ["", "### `%s`" % path, "", "| Removed | | Noticed by |", "|---|---|---|"]
            last = path
        lines.append("| %s | %s | %s |" % (cell(shown), kind, cell(noticed) if noticed else "nobody"))
    report.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    sys.exit(main())
