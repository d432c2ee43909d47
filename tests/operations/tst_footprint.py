#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""What footprint.py says about documents that are not right.

usage: tst_footprint.py SOURCE-FOLDER
"""
import contextlib
import io
import os
import sys
import tempfile
import unittest

import footprint

TOP = None


def said(change):
    """What it says, and its result, with each line of the document given to change()."""
    with open(os.path.join(TOP, footprint.DOCUMENT), encoding='utf-8') as text:
        lines = [change(line) for line in text.read().splitlines()]
    with tempfile.NamedTemporaryFile('w', encoding='utf-8', suffix='.md') as document:
        document.write('\n'.join(lines))
        document.flush()
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            result = footprint.main(['footprint.py', TOP, document.name])
    return output.getvalue(), result


class Footprint(unittest.TestCase):
    def test_a_file_that_is_not_listed(self):
        for path in ('src/rest/request/netrequesttype.h', 'tests/operations/table.h',
                     'src/account/kelaccountsprivate.h', 'tests/operations/facadecalls.cpp'):
            text, result = said(lambda line, row=f'| `{path}`':
                                '' if line.startswith(row) else line)
            self.assertEqual(result, 1)
            self.assertIn(f'{path}: names ', text)
            self.assertIn('does not list it', text)

    def test_a_file_that_does_not_name_it(self):
        text, result = said(lambda line: line.replace('| `src/rest/restrequesthandler.cpp`',
                                                      '| `src/rest/transport/servernames.cpp`'))
        self.assertEqual(result, 1)
        self.assertIn('src/rest/transport/servernames.cpp: is listed', text)
        self.assertIn('src/rest/restrequesthandler.cpp: names ', text)

    def test_too_many_files(self):
        text, result = said(lambda line: line + '\n| `src/common/logging.h` | |'
                            if line.startswith('| `src/rest/request/netrequesttype.h`') else line)
        self.assertEqual(result, 1)
        self.assertIn('takes 9 files in src/ and include/, and is to take 8', text)
        self.assertIn('takes 19 files in all, and is to take 18', text)

    def test_a_file_of_the_facade_counts_as_well(self):
        text, result = said(lambda line: line + '\n| `docs/testing.md` | |'
                            if line.startswith('| `README.md`') else line)
        self.assertEqual(result, 1)
        self.assertIn('docs/testing.md: is listed', text)
        self.assertIn('takes 19 files in all, and is to take 18', text)


if __name__ == '__main__':
    TOP = sys.argv.pop()
    unittest.main()
