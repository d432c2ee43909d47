#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""The check of includes, tried on small trees with one thing wrong in each."""
import os
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'checkincludes.py')
TABLE = 'src/low:\nsrc/high: src/low\n'


class CheckIncludes(unittest.TestCase):
    def run_on(self, table, **files):
        """Exit status and output of the check on a tree; a file's name has "__" for "/"."""
        with tempfile.TemporaryDirectory() as top:
            contents = {'src/low/base.h': '', 'src/high/user.cpp': '#include "low/base.h"\n'}
            contents.update((name.replace('__', '/').replace('_h', '.h').replace('_cpp', '.cpp'),
                             text) for name, text in files.items())
            for name, text in contents.items():
                path = os.path.join(top, name)
                os.makedirs(os.path.dirname(path), exist_ok=True)
                with open(path, 'w', encoding='utf-8') as file:
                    file.write(text)
            with open(os.path.join(top, 'rooms.txt'), 'w', encoding='utf-8') as file:
                file.write(table)
            ended = subprocess.run([sys.executable, PROGRAM, top, os.path.join(top, 'rooms.txt')],
                                   capture_output=True, text=True, check=False)
            return ended.returncode, ended.stdout + ended.stderr

    def assert_refused(self, beginning, table=TABLE, **files):
        status, output = self.run_on(table, **files)
        self.assertEqual(status, 1, output)
        self.assertTrue(output.startswith(beginning), output)
        self.assertEqual(output.count('\n'), 1, output)
        return output

    def test_a_tree_as_the_table_says_passes(self):
        status, output = self.run_on(TABLE, src__low__more_cpp='#include <vector>\n#include "base.h"\n')
        self.assertEqual(status, 0, output)

    def test_an_include_upwards_is_named_with_file_and_line_and_what_to_do(self):
        output = self.assert_refused('src/low/wrong.cpp:2: src/low must not include src/high/tip.h. ',
                                     src__low__wrong_cpp='// first\n#include "high/tip.h"\n',
                                     src__high__tip_h='')
        self.assertIn('rooms.txt:1', output)

    def test_angle_brackets_and_relative_ways_are_seen_through(self):
        for include in ('#include <high/tip.h>', '#  include "../high/tip.h"'):
            self.assert_refused('src/low/wrong.h:1: ', src__low__wrong_h=include + '\n',
                                src__high__tip_h='')

    def test_a_header_made_while_configuring_counts_as_its_origin(self):
        self.assert_refused('src/low/wrong.cpp:1: src/low must not include src/high/made.h. ',
                            src__low__wrong_cpp='#include "high/made.h"\n',
                            **{'src__high__made_h.in': ''})

    def test_a_named_header_is_allowed_alone(self):
        table = 'src/low: src/high/tip.h\nsrc/high: src/low\n'
        status, output = self.run_on(table, src__low__friend_cpp='#include "high/tip.h"\n',
                                     src__high__tip_h='')
        self.assertEqual(status, 0, output)
        self.assert_refused('src/low/friend.cpp:2: src/low must not include src/high/top.h. ', table,
                            src__low__friend_cpp='#include "high/tip.h"\n#include "high/top.h"\n',
                            src__high__tip_h='', src__high__top_h='')

    def test_a_room_within_a_room_has_rules_of_its_own(self):
        self.assert_refused('src/high/deep/wrong.cpp:1: src/high/deep must not include src/high/tip.h. ',
                            'src/low:\nsrc/high/deep:\nsrc/high: src/low\n',
                            src__high__deep__wrong_cpp='#include "high/tip.h"\n',
                            src__high__tip_h='')

    def test_nobody_includes_from_the_tests(self):
        self.assert_refused('src/low/wrong.cpp:1: src/low must not include tests/fake.h (which ',
                            src__low__wrong_cpp='#include "fake.h"\n', tests__fake_h='')

    def test_a_table_with_a_ring_is_refused(self):
        status, output = self.run_on('src/low: src/high\nsrc/high: src/low\n')
        self.assertEqual(status, 1, output)
        self.assertTrue(output.startswith('rooms.txt:1: src/low may only use rooms that stand'), output)

    def test_a_folder_without_a_room_is_refused(self):
        self.assert_refused('src/new: lies in no room. ', src__new__thing_cpp='')

    def test_what_nobody_uses_any_more_is_refused(self):
        self.assert_refused('rooms.txt:2: src/high includes nothing of src/low any more. ',
                            src__high__user_cpp='')
        self.assert_refused('rooms.txt:3: src/gone has no sources. ', TABLE + 'src/gone:\n')


if __name__ == '__main__':
    unittest.main()
