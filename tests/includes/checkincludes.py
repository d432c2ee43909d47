#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Holds every include of the product against the table of rooms beside this file.

usage: checkincludes.py SOURCE-FOLDER [TABLE]
"""
import os
import re
import sys

ENDINGS = ('.h', '.cpp', '.h.in')
INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^">]+)[">]')
# Where includes are looked for, as the build does; what is made from NAME.in counts as NAME.
ROOTS = ('include', 'src', '', 'emulator', 'tests')


class Table:
    """The rooms in their order, and for each what it may include from."""

    def __init__(self, path, top):
        self.path = os.path.relpath(path, top)
        self.rooms = {}  # name: {room or header allowed: line in the table}
        self.lines = {}  # name: line in the table
        self.problems = []
        with open(path, encoding='utf-8') as text:
            for number, line in enumerate(text, 1):
                line = line.partition('#')[0].strip()
                if line:
                    self._read(line, number)

    def _read(self, line, number):
        name, colon, uses = line.partition(':')
        name = name.strip()
        if not colon or name in self.rooms:
            self.problem(number, f'"{line}" is no line "room: rooms", or the second of its room')
            return
        for used in uses.split():
            if not used.endswith('.h') and used not in self.rooms:
                self.problem(number, f'{name} may only use rooms that stand further up, and '
                             f'{used} does not. Move the line, or what both need to a lower room')
        self.rooms[name] = dict.fromkeys(uses.split(), number)
        self.lines[name] = number

    def problem(self, number, text):
        self.problems.append(f'{self.path}:{number}: {text}')

    def room_of(self, path):
        """The longest room that the path lies in."""
        inside = [room for room in self.rooms if path.startswith(room + '/')]
        return max(inside, key=len, default=None)


def sources(top, table):
    """Every source file below the folders in which the table has rooms."""
    for folder in sorted({room.split('/')[0] for room in table.rooms}):
        for where, _, names in os.walk(os.path.join(top, folder)):
            for name in sorted(names):
                if name.endswith(ENDINGS):
                    yield os.path.relpath(os.path.join(where, name), top)


def target_of(top, source, quote, name):
    """The file of ours that an include names; None when it is none of ours."""
    folders = list(ROOTS)
    if quote == '"':
        folders.insert(0, os.path.dirname(source))
    for folder in folders:
        path = os.path.normpath(os.path.join(folder, name))
        for candidate in (path, path + '.in'):
            if os.path.isfile(os.path.join(top, candidate)):
                return path
    return None


def check(top, table):
    problems = list(table.problems)
    needed = set()
    roomless = set()
    seen = set()
    for source in sources(top, table):
        room = table.room_of(source)
        if room is None:
            roomless.add(os.path.dirname(source))
            continue
        seen.add(room)
        with open(os.path.join(top, source), encoding='utf-8') as text:
            lines = text.read().splitlines()
        for number, line in enumerate(lines, 1):
            match = INCLUDE.match(line)
            target = match and target_of(top, source, *match.groups())
            if not target:
                continue
            used = table.room_of(target)
            if used == room:
                continue
            allowed = table.rooms[room]
            if target in allowed:
                needed.add((room, target))
            elif used in allowed:
                needed.add((room, used))
            else:
                problems.append(
                    f'{source}:{number}: {room} must not include {target}'
                    f'{"" if used else " (which lies in no room)"}. Move what is needed to a room '
                    f'below both, pass it in through an interface that {room} declares, or, when '
                    f'the dependency is meant, allow it in {table.path}:{table.lines[room]}')
    for folder in sorted(roomless):
        problems.append(f'{folder}: lies in no room. Give it a line in {table.path}')
    for room, allowed in table.rooms.items():
        if room not in seen:
            table_line = table.lines[room]
            problems.append(f'{table.path}:{table_line}: {room} has no sources. Take it out')
        for used, number in allowed.items():
            if room in seen and (room, used) not in needed:
                problems.append(f'{table.path}:{number}: {room} includes nothing of {used} any '
                                f'more. Take it out')
    return problems


def main(arguments):
    if not 2 <= len(arguments) <= 3:
        sys.exit(__doc__)
    beside = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'rooms.txt')
    table = Table(arguments[2] if len(arguments) == 3 else beside, arguments[1])
    problems = check(arguments[1], table)
    print('\n'.join(problems) or f'{len(table.rooms)} rooms, all includes point one way')
    return 1 if problems else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv))
