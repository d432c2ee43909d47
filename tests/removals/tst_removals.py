#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
import pathlib
import tempfile
import unittest

import removals

SAMPLE = '''
#include <QObject>
// connect(a, b); in a comment
const char* const text = "case 1: connect(a, b);";
constexpr const char* roots[] = {
    "one",
    "two, three", // 2
};
void f(int kind)
{
    connect(a, &A::b, this, [this] {
        g();
    });
    switch (kind) {
    case N::One:
    case N::Two:
        g();
        return;
    default:
        h();
    }
    const QVariantMap map = {
        {"a", 1},
        {"b", 2},
    };
    const Point point = {1, 2};
}
'''


class TestRemovals(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = pathlib.Path(folder.name) / "sample.cpp"
        self.path.write_text(SAMPLE)
        self.found = removals.places(self.path, 7)

    def test_every_connection_row_and_case_is_found_once(self):
        self.assertEqual([(p.kind, p.shown) for p in self.found], [
            ("row", '"one"'), ("row", '"two, three"'),
            ("connection", "connect(a, &A::b, this, [this] { g(); })"),
            ("case", "case N::One:"), ("case", "case N::Two: g(); return"),
            ("row", '{"a", 1}'), ("row", '{"b", 2}')])
        self.assertEqual([p.number for p in self.found], list(range(7, 14)))

    def test_what_is_taken_out_is_what_is_shown(self):
        for place in self.found:
            removed = SAMPLE[place.begin:place.end]
            self.assertEqual(" ".join(removed.split()).rstrip(",;"), place.shown)

    def test_each_is_made_removable_by_its_number(self):
        text = removals.with_switches(SAMPLE, self.found)
        self.assertIn('static const char* roots[] = {', text)
        self.assertIn("kelRemoveRow(roots, 0, 7);", text)
        self.assertIn("kelRemoveRow(roots, 1, 8);", text)
        self.assertIn("kelRemoved(9) ? void() : void(connect(a, &A::b, this, [this] {", text)
        self.assertIn("switch (kelCase(kelCase(kind, (long long)(N::One), 10), "
                      "(long long)(N::Two), 11)) {", text)
        self.assertNotIn("12", text.split("QVariantMap")[1])

    def test_each_file_has_programs_that_answer_for_it(self):
        root = pathlib.Path(__file__).resolve().parents[2]
        for folder in ("src/account", "src/rest"):
            for path in (root / folder).rglob("*.cpp"):
                self.assertTrue(removals.programs_of(path), path)


if __name__ == "__main__":
    unittest.main()
