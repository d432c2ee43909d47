#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Holds the table of docs/fuzzing.md against the sources and the targets.

usage: readers.py SOURCE-FOLDER REPLAY-PROGRAM
       readers.py --found SOURCE-FOLDER

Every source that reads something from outside has a row, every file of a row is there, each row names targets that
exist or says "tests", each target is in a row and has inputs to begin with. --found lists what looks like a reader.
"""

import os
import re
import subprocess
import sys

FOLDERS = ('src', 'plugin', 'emulator', 'tools')

# What a source does with bytes or values that somebody else made. What only takes the environment's word is left out:
# whoever starts the process says that.
READS = re.compile('|'.join((
    r'::recv\(', r'\brecv\(', r'recvmsg\(', r'(?<!\w)::read\(', r'\.readAll\(', r'->readAll\(', r'\breadLine\(',
    r'std::getline\(', r'std::ifstream', r'fromJson\(', r'readValue\(', r'readBlock\(', r'QDataStream \w+\(\w*[bB]ytes\)',
    r'fromBase64\(', r'QXmlStreamReader', r'setContent\(', r'QImageReader', r'qdbus_cast', r'onlyValue<',
    r'QSettings', r'sqlite3_column_', r'g_variant_get_', r'rawHeader\(', r'rawHeaderPairs\(', r'peerCertificate\(',
    r'subjectAlternativeNames\(', r'file\.read\(', r'QFile file\(', r'SessionData& \w+\)',
    r'elementText\(', r'qFromBigEndian<', r'qFromLittleEndian<', r'getProperty\(', r'fromData\(', r'fromMap\(',
    r'readNumbers\(', r'MarkupWalk', r'QStringView xml\)', r'readJsonObject\(', r'linesOf\(', r'string_view header', r'from_chars\(', r'argument >>')))


def sources(root):
    for folder in FOLDERS:
        for at, folders, names in os.walk(os.path.join(root, folder)):
            folders.sort()
            for name in sorted(names):
                if name.endswith('.cpp') or name.endswith('.h'):
                    yield os.path.relpath(os.path.join(at, name), root)


def without_comments(text):
    return re.sub(r'//[^\n]*|/\*.*?\*/', '', text, flags=re.DOTALL)


def found(root):
    """The sources that read, a header for what is in no other file."""
    result = []
    for path in sources(root):
        with open(os.path.join(root, path), encoding='utf-8') as file:
            text = without_comments(file.read())
        if path.endswith('.h') and os.path.exists(os.path.join(root, path[:-2] + '.cpp')):
            continue
        if READS.search(text):
            result.append(path)
    return result


def rows(page):
    """Files to targets, of the page's tables that say who gives a source any."""
    table = {}
    is_wanted = False
    for line in page.splitlines():
        cells = [cell.strip() for cell in line.split('|')[1:-1]]
        if len(cells) == 3 and cells[0] == 'Source':
            is_wanted = cells[2].startswith('Given any')
        if len(cells) != 3 or not is_wanted or not cells[0].startswith('`'):
            is_wanted = is_wanted and bool(cells)
            continue
        targets = re.findall(r'`(\w+)`', cells[2])
        if re.search(r'\btests\b', cells[2]):
            targets.append('tests')
        for file in re.findall(r'`([^`]+)`', cells[0]):
            table.setdefault(file, set()).update(targets)
    return table


def problems(root, targets, table):
    for path in found(root):
        if path not in table:
            yield f'{path} reads something from outside: docs/fuzzing.md wants a row that says what gives it any'
    for path, named in sorted(table.items()):
        if not os.path.isfile(os.path.join(root, path)):
            yield f'{path} is in a row and not there'
        if not named:
            yield f'{path} has no target and no tests'
        for target in sorted(named - set(targets) - {'tests'}):
            yield f'{path} names the target {target}, which there is not'
    for target in targets:
        if not any(target in named for named in table.values()):
            yield f'the target {target} is in no row'
        corpus = os.path.join(root, 'fuzz', 'corpus', target)
        if not os.path.isdir(corpus) or not os.listdir(corpus):
            yield f'the target {target} has nothing to begin with'
    for name in sorted(os.listdir(os.path.join(root, 'fuzz', 'corpus'))):
        if name not in targets:
            yield f'fuzz/corpus/{name} belongs to no target'
    for name in sorted(os.listdir(os.path.join(root, 'fuzz'))):
        match = re.fullmatch(r'fuzz_(\w+)\.cpp', name)
        if match and match.group(1) not in targets:
            yield f'fuzz/{name} is no target'


def main():
    if len(sys.argv) == 3 and sys.argv[1] == '--found':
        print('\n'.join(found(sys.argv[2])))
        return 0
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    root, program = sys.argv[1:]
    targets = subprocess.run([program, '--list'], check=True, capture_output=True, text=True).stdout.split()
    with open(os.path.join(root, 'docs', 'fuzzing.md'), encoding='utf-8') as file:
        table = rows(file.read())
    if not targets or not table:
        print('nothing to compare', file=sys.stderr)
        return 1
    wrong = list(problems(root, targets, table))
    print('\n'.join(wrong))
    return 1 if wrong else 0


if __name__ == '__main__':
    sys.exit(main())
