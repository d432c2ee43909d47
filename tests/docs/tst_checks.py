#!/usr/bin/python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""usage: tst_checks.py SOURCES BUILD COMPILER FLAGS: what is wrong on a page is noticed by the checks of the pages."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
SOURCES, BUILD, COMPILER, FLAGS = sys.argv[1:5]

# What is shown, and what has to be said of it.
WRONG_SNIPPETS = {
    "```cpp\nint x = undeclared;\n```": "undeclared",
    "<!-- snippet: screen -->\n```cpp\nclient.inventedOperation();\n```": "inventedOperation",
    "<!-- snippet: screen -->\n```cpp\nshow(\"a\", \"b\")\n```": "README.md:4",
    "<!-- snippet: nowhere -->\n```cpp\nint x;\n```": "there is no",
    "<!-- snippet: nowhere -->\n```qml\nItem {}\n```": "there is no",
    "```sh\nif then\n```": "syntax error",
    "```sh\ntrue && no-such-program --help\n```": "no program no-such-program",
    "```sh\nkelaccount chek-user bob\n```": "no command chek-user",
    "```sh\nkelaccount check-user --invented bob\n```": "no option --invented",
    "```sh\nkelaccount-emulator run --invented -- true\n```": "no option --invented",
    "```sh\nkelaccount-emulator run -- kelaccount check-user --invented bob\n```": "no option --invented",
    "```sh\nkelaccount-emulator run -- sh -c 'echo x | kelaccount --invented profile'\n```": "no option --invented",
    "```sh\neval \"$(kelaccount-emulator serve --invented &)\"\n```": "no option --invented",
    "```sh\n./test --invented\n```": "no option --invented",
    "```json\n{\n```": "Expecting",
    "```yaml\na: [\n```": "expected",
    "```cmake\nadd_test(\n```": "Parse error",
    "```qml\nItem {\n```": "Expected",
    "```\nkelaccount profile\n```": "no language",
    "```klingon\nmaj\n```": "no language",
    "```sh\ntrue\n": "no language",
    "<!-- snippet: screen -->\n\n```cpp\nint x;\n```": "no language",
}
RIGHT_SNIPPETS = """<!-- snippet: screen -->
```cpp
show("a", "b");
```
```sh
X=1 kelaccount-emulator run --fault hang -- kelaccount --json check-user bob | jq .status > out
./test --preset dev -- -R anything
```
"""
WRONG_SITES = {
    '<a href="missing.html">x</a>': "leads nowhere",
    '<a href="#missing">x</a>': "no such place",
    '<a href="other.html#missing">x</a>': "no such place",
    '<a href="../outside.html">x</a>': "leads nowhere",
    '<a href="/other.html">x</a>': "root of a server",
    '<img src="missing.png">': "leads nowhere",
    '<img src="https://cdn.example/x.png">': "loads https://cdn.example/x.png",
    '<img srcset="other.html 1x, //cdn.example/x.png 2x">': "loads //cdn.example/x.png",
    '<script src="//cdn.example/x.js"></script>': "loads //cdn.example/x.js",
    '<link rel="stylesheet" href="http://cdn.example/x.css">': "loads http://cdn.example/x.css",
    '<style>body { background: url("https://cdn.example/x.png") }</style>': "loads https://cdn.example/x.png",
    '<p style="background: url(https://cdn.example/x.png)">x</p>': "loads https://cdn.example/x.png",
    '<style>@import "https://cdn.example/x.css";</style>': "loads https://cdn.example/x.css",
}
RIGHT_SITE = '<h1 id="here">x</h1><a href="#here">x</a><a href="other.html#there">x</a><a href="https://a.example">x</a>'


def output_of(*command):
    done = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.returncode, done.stdout


class TestChecks(unittest.TestCase):
    def setUp(self):
        self.work = tempfile.TemporaryDirectory()
        self.folder = Path(self.work.name)

    def tearDown(self):
        self.work.cleanup()

    def snippets(self, page):
        for name in ("test", "scripts"):
            if not (self.folder / name).exists():
                os.symlink(Path(SOURCES) / name, self.folder / name)
        (self.folder / "README.md").write_text(page)
        return output_of(HERE / "checksnippets.py", str(self.folder), BUILD, COMPILER, FLAGS)

    def site(self, page, style=""):
        folder = self.folder / "site"
        folder.mkdir(exist_ok=True)
        (folder / "index.html").write_text(page)
        (folder / "other.html").write_text('<a name="there"></a>')
        (folder / "x.css").write_text(style)
        return output_of(HERE / "checksite.py", str(folder))

    def test_wrong_snippets_are_noticed(self):
        for page, said in WRONG_SNIPPETS.items():
            with self.subTest(page=page):
                status, output = self.snippets(f"# Page\n{page}\n")
                self.assertEqual(status, 1, output)
                self.assertIn(said, output)

    def test_right_snippets_are_not(self):
        status, output = self.snippets(RIGHT_SNIPPETS)
        self.assertEqual(status, 0, output)

    def test_wrong_links_and_loads_are_noticed(self):
        for page, said in WRONG_SITES.items():
            with self.subTest(page=page):
                status, output = self.site(page)
                self.assertEqual(status, 1, output)
                self.assertIn(said, output)

    def test_wrong_loads_of_a_style_sheet_are_noticed(self):
        status, output = self.site("x", "body { background: url(//cdn.example/x.png) }")
        self.assertEqual(status, 1, output)
        self.assertIn("loads //cdn.example/x.png", output)

    def test_right_links_are_not(self):
        status, output = self.site(RIGHT_SITE, "/* url(https://a.example) */")
        self.assertEqual(status, 0, output)

    def test_wrong_snippets_of_a_header_are_noticed(self):
        headers = self.folder / "include/kelaccount"
        headers.mkdir(parents=True)
        (headers / "x.h").write_text("/// @code{.cpp}\n/// complain(undeclared);\n/// @endcode\n")
        status, output = self.snippets(RIGHT_SNIPPETS)
        self.assertEqual(status, 1, output)
        self.assertIn("include/kelaccount/x.h:2", output)

    def test_what_is_wrong_with_the_page_of_the_statuses_is_noticed(self):
        page = (Path(SOURCES) / "docs/statuses.md").read_text()
        row = re.search(r"^\| 404 .*\n", page, re.M)[0]
        wrong = {"missing": page.replace(row, ""),
                 "invented": page.replace(row, row + row.replace("404", "405", 1).replace("| 405", "| 4040", 1)),
                 "told otherwise": page.replace(row, row.replace("in time", "quickly")),
                 "without a remedy": page.replace(row, re.sub(r"\|[^|]*\|$", "| |", row))}
        for name, text in {**wrong, "right": page}.items():
            with self.subTest(name=name):
                (self.folder / "statuses.md").write_text(text)
                status, output = output_of(f"{BUILD}/tests/kelaccount-status-page", str(self.folder / "statuses.md"))
                self.assertEqual(status, 0 if name == "right" else 1, output)

    def site_of(self, change):
        """Builds the site of a copy of the sources that was changed."""
        copy = self.folder / "copy"
        shutil.rmtree(copy, ignore_errors=True)
        for name in ("docs", "examples", "include", "tests/examples", "scripts"):
            shutil.copytree(Path(SOURCES) / name, copy / name)
        for name in ("README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md", "LICENSE", "mkdocs.yml",
                     "CMakeLists.txt"):
            shutil.copy(Path(SOURCES) / name, copy / name)
        change(copy)
        return output_of(copy / "scripts/site", "--output", str(self.folder / "built"))

    def test_warnings_of_the_sites_programs_are_noticed(self):
        def append(name, text):
            return lambda copy: (copy / name).write_text((copy / name).read_text() + text)
        wrong = {
            "NoSuchPage": append("docs/recovery.md", "\n[x](NoSuchPage.md)\n"),
            "NoSuchParameter": append("include/kelaccount/call.h", "/// Does it.\n/// @param NoSuchParameter  x\n"
                                                                   "void wrong(int parameter);\n"),
            "texts.md": lambda copy: (copy / "docs/texts.md").unlink(),
        }
        for said, change in wrong.items():
            with self.subTest(said=said):
                status, output = self.site_of(change)
                self.assertEqual(status, 1, output)
                self.assertIn(said, output)
        self.assertEqual(self.site_of(lambda copy: None)[0], 0)

    def test_a_public_change_that_nobody_is_told_of_is_noticed(self):
        copy = self.folder / "changed"
        for name in ("include", "packaging", "scripts"):
            shutil.copytree(Path(SOURCES) / name, copy / name)
        changelog = copy / "CHANGELOG.md"
        changelog.write_text("# Changelog\n\n## [Unreleased]\n\n## [1.0.0]\n\n- `overNow` and `goneNow`.\n")
        self.assertEqual(output_of(copy / "scripts/interface", "--renew", BUILD)[0], 0)
        self.assertEqual(output_of(copy / "scripts/interface", BUILD), (0, ""))
        released = copy / "packaging/released-interface.txt"
        released.write_text(released.read_text() + "slot void KelAccount::KelAccounts::goneNow()\n")
        with open(copy / "include/kelaccount/statustext.h", "a") as header:
            header.write("namespace KelAccount {\nint overNow(int status);\n}\n")
        status, output = output_of(copy / "scripts/interface", BUILD)
        self.assertEqual(status, 1)
        for name in ("overNow", "goneNow"):
            self.assertIn(f"does not name {name}", output)
        changelog.write_text(changelog.read_text().replace("[1.0.0]", "").replace("## \n", ""))
        self.assertEqual(output_of(copy / "scripts/interface", BUILD), (0, ""))

    def test_a_release_in_pieces_is_noticed(self):
        copy = self.folder / "released"
        (copy / "debian").mkdir(parents=True)

        def output_with(changelog="1.2.0] - 2026-03-04", packaged="1.2.0", day="Wed, 04 Mar 2026", symbol="1.2.0"):
            (copy / "CHANGELOG.md").write_text(f"# Changelog\n\n## [Unreleased]\n\n## [{changelog}\n\n- New.\n")
            (copy / "debian/changelog").write_text(
                f"libaccounts-kel ({packaged}) unstable; urgency=medium\n\n  * New.\n\n"
                f" -- Some Body <some@body.example>  {day} 18:00:00 +0000\n")
            (copy / "debian/libaccounts-kel1.symbols").write_text(
                f"libaccounts-kel.so.1 libaccounts-kel1 #MINVER#\n KELACCOUNT_1@KELACCOUNT_1 1.0.0\n"
                f" later@KELACCOUNT_1 {symbol}\n")
            return output_of(Path(SOURCES) / "tests/docs/release.sh", copy, "1.2.0")

        self.assertEqual(output_with(), (0, ""))
        self.assertEqual(output_with(changelog="1.1.9] - 2025-03-04"), (0, ""))
        for spoiled, named in (({"changelog": "1.10.0] - 2026-03-04"}, "1.10.0"),
                               ({"changelog": "1.2.0]"}, "has no release"),
                               ({"packaged": "1.1.0"}, "1.1.0"),
                               ({"day": "Thu, 05 Mar 2026"}, "2026-03-05"),
                               ({"symbol": "1.10.0"}, "1.10.0")):
            status, output = output_with(**spoiled)
            self.assertEqual(status, 1, spoiled)
            self.assertIn(named, output)
            self.assertIn("docs/releasing.md", output)

    def test_a_picture_of_another_source_is_noticed(self):
        self.site_of(lambda copy: None)
        copy = self.folder / "copy"
        self.assertEqual(output_of(copy / "scripts/diagrams", "--check")[0], 0)
        with open(copy / "docs/diagrams/set-up.msc", "a") as source:
            source.write("# changed\n")
        status, output = output_of(copy / "scripts/diagrams", "--check")
        self.assertEqual(status, 1, output)
        self.assertIn("docs/images/set-up.svg", output)

    def test_no_page_is_a_fault(self):
        self.assertNotEqual(self.snippets("nothing")[0], 0)
        self.assertNotEqual(output_of(HERE / "checksite.py", str(self.folder))[0], 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
