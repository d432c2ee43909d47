#!/usr/bin/python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""usage: checksnippets.py SOURCES BUILD COMPILER FLAGS

Tries what the pages and the public headers show as code: C++ is compiled, alone or, where the line before says "<!-- snippet: NAME -->",
within tests/docs/around/NAME.cpp.in, and QML likewise; shell is read by bash, and its programs and their options have to be there; CMake,
JSON, YAML and QML are read by their own. Every piece has to say what it is; "text" is none of these.
FLAGS is a file with a compiler's flag on each line.
"""
import json
import re
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
FENCE = re.compile(r"(?:^<!-- snippet: (?P<around>[\w-]+) -->\n)?^(?P<indent> *)```(?P<language>[^\n`]*)\n"
                   r"(?P<text>.*?)^(?P=indent)```$", re.M | re.S)
IN_HEADER = re.compile(r"^ */// @code\{\.cpp\}\n(?P<text>.*?)^ */// @endcode$", re.M | re.S)
# What a page stands for with a name of its own.
PLACEHOLDERS = {"./my-program", "./recover-password", "first/build/first", "exit"}
# Of Debian, and not needed here.
ELSEWHERE = {"apt", "jq", "curl"}
SCRIPTS = {"./test", "./package", "./demo"}


class Snippet:
    def __init__(self, page, line, around, language, text):
        self.page, self.line, self.around, self.language, self.text = page, line, around, language, text

    def surroundings(self):
        if not self.around:
            return "SNIPPET\n"
        path = HERE / "around" / f"{self.around}.{self.language}.in"
        if not path.is_file():
            raise FileNotFoundError(f"{self}: there is no {path.name} in tests/docs/around")
        return path.read_text()

    def __str__(self):
        return f"{self.page}:{self.line}"


def pages(source):
    return sorted([*source.glob("*.md"), *source.glob("docs/*.md")])


def line_of(text, position):
    return text[:position].count("\n") + 1


def without_margin(text, margin):
    return "".join(line[len(margin):] + "\n" for line in text.splitlines())


def snippets(source):
    for page in pages(source):
        text = page.read_text(encoding="utf-8")
        name = page.relative_to(source)
        found = [Snippet(name, line_of(text, each.start("language")), each["around"], each["language"].strip(),
                         without_margin(each["text"], each["indent"])) for each in FENCE.finditer(text)]
        # Each fence is one of a pair; a mark stands before one.
        marks = len(re.findall(r"^<!-- snippet:", text, re.M))
        if 2 * len(found) != len(re.findall(r"^ *```", text, re.M)) or marks != sum(bool(s.around) for s in found):
            yield Snippet(name, 1, "", "", "")
        yield from found
    for header in sorted(source.glob("include/kelaccount/*.h")):
        text = header.read_text(encoding="utf-8")
        for each in IN_HEADER.finditer(text):
            yield Snippet(header.relative_to(source), line_of(text, each.start("text")) - 1, "owner", "cpp",
                          re.sub(r"^ */// ?", "", each["text"], flags=re.M))


def output_of(command, **options):
    done = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    return done.returncode, done.stdout


class Cpp:
    """Collects the pieces, and compiles them together: most of the time goes to the headers."""

    def __init__(self, compiler, flags):
        self.compiler = compiler
        self.flags = Path(flags).read_text().split("\n")
        self.includes, self.body, self.alone = [], [], []

    def add(self, snippet):
        try:
            around = snippet.surroundings()
        except FileNotFoundError as error:
            return [str(error)]
        lines = [line for line in snippet.text.splitlines() if not line.startswith("#include")]
        first = snippet.line + 1
        shown = "".join(f'#line {first + number} "{snippet.page}"\n{line}\n'
                        for number, line in enumerate(snippet.text.splitlines()) if line in lines and line)
        includes = [line for line in (around + snippet.text).splitlines() if line.startswith("#include")]
        rest = "\n".join(line for line in around.splitlines() if not line.startswith("#include"))
        whole = rest.replace("SNIPPET", "\n" + shown)
        if "// alone" in around:
            self.alone.append("\n".join(includes) + "\n" + whole)
        else:
            self.includes += includes
            self.body.append(f"namespace snippet{len(self.body)} {{\n{whole}\n}}\n")
        return []

    def compile(self):
        together = "\n".join(dict.fromkeys(self.includes)) + "\n" + "".join(self.body)
        faults = []
        for text in [together, *self.alone]:
            status, said = output_of([self.compiler, *filter(None, self.flags), "-fsyntax-only", "-x", "c++", "-"],
                                     input=text)
            if status != 0:
                faults.append(said)
        return faults


class Shell:
    def __init__(self, source, build):
        self.source, self.programs = source, build / "bin"
        self.helps = {}

    def help(self, program, *arguments):
        key = (program, *arguments)
        if key not in self.helps:
            command = [str(self.source / program)] if program in SCRIPTS else [str(self.programs / program)]
            status, said = output_of([*command, *(["help", *arguments] if arguments else ["--help"])])
            self.helps[key] = said if status == 0 else ""
        return self.helps[key]

    @staticmethod
    def commands(words):
        """Splits at what separates commands, and at "--" of a program that runs another."""
        command = []
        for word in words:
            if set(word) <= set("|&;()<>"):
                if set(word) & set("|&;()"):
                    yield command
                    command = []
            else:
                command.append(word)
        yield command

    def check(self, snippet):
        status, said = output_of(["bash", "-n"], input=snippet.text)
        if status != 0:
            return [f"{snippet}: {said}"]
        faults = []
        for line in snippet.text.replace("\\\n", " ").splitlines():
            lexer = shlex.shlex(line, posix=True, punctuation_chars="|&;()<>")
            lexer.whitespace_split = True
            lexer.commenters = "#"
            for command in self.commands(list(lexer)):
                faults += [f"{snippet}: {fault}" for fault in self.check_command(command)]
        return faults

    def check_command(self, words):
        while words and (re.match(r"\w+=", words[0]) or words[0] in ("do", "then", "else", "env", "sudo", "eval", "for")):
            if words[0] == "for":
                return []
            if words[0] == "eval":
                return self.check_inside(words[1:])
            words = words[1:]
        if not words:
            return []
        name, arguments = words[0], words[1:]
        program = name[2:] if name.startswith("./kelaccount") else name
        if (self.programs / program).is_file():
            return self.check_own(program, arguments)
        if name in SCRIPTS:
            options = self.help(name)
            return [f"{name} has no option {option}" for option in self.options(arguments) if option not in options]
        if name in PLACEHOLDERS or name in ELSEWHERE or (self.source / name).is_file():
            return []
        status, _ = output_of(["bash", "-c", 'type -t "$1" >/dev/null', "bash", name])
        return [] if status == 0 else [f"there is no program {name}"]

    def check_inside(self, texts):
        faults = []
        for text in texts:
            for inner in re.findall(r"\$\(([^)]*)\)", text) or [text]:
                faults += self.check(Inner(inner))
        return faults

    @staticmethod
    def options(arguments):
        found = []
        for word in arguments:
            if word == "--":
                break
            if re.match(r"--[a-z]", word):
                found.append(word.split("=")[0])
        return found

    def check_own(self, program, arguments):
        faults, known = [], self.help(program)
        if "--" in arguments:
            place = arguments.index("--")
            inner = arguments[place + 1:]
            if inner[:2] in (["sh", "-c"], ["bash", "-c"]):
                faults += self.check_inside(inner[2:3])
            else:
                faults += self.check_command(inner)
            arguments = arguments[:place]
        commands = [word for word in arguments if re.search(rf"^  {re.escape(word)}\b", known, re.M)]
        if commands:
            known += self.help(program, commands[0])
        elif program in ("kelaccount", "kelaccount-emulator", "kelaccount-settings") and not self.options(arguments):
            faults.append(f"{program} has no command {' '.join(arguments)}")
        return faults + [f"{program} has no option {option}" for option in self.options(arguments)
                         if not re.search(rf"{re.escape(option)}\b", known) and option not in ("--help", "--version")]


class Inner:
    def __init__(self, text):
        self.text = text

    def __str__(self):
        return "within a command"


def read_by(command, suffix, text):
    with tempfile.NamedTemporaryFile("w", suffix=suffix) as file:
        file.write(text)
        file.flush()
        status, said = output_of([*command, file.name])
    return "" if status == 0 else said


def check_data(snippet):
    language, text = snippet.language, snippet.text
    if language == "json":
        json.loads(text)
    elif language == "yaml":
        import yaml
        yaml.safe_load(text)
    elif language == "cmake":
        # Read, and not carried out.
        return read_by(["cmake", "-P"], ".cmake", f"function(shown)\n{text}\nendfunction()\n")
    elif language == "qml":
        return read_by(["/usr/lib/qt5/bin/qmllint"], ".qml", snippet.surroundings().replace("SNIPPET", text))
    else:
        return f"'{language}' is no language that is known here; 'text' is for what is no code"
    return ""


def main():
    source, build = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
    cpp, shell = Cpp(sys.argv[3], sys.argv[4]), Shell(source, build)
    faults, count = [], {}
    for snippet in snippets(source):
        count[snippet.language] = count.get(snippet.language, 0) + 1
        if snippet.language == "cpp":
            faults += cpp.add(snippet)
        elif snippet.language == "sh":
            faults += shell.check(snippet)
        elif snippet.language != "text":
            try:
                said = check_data(snippet)
            except Exception as error:  # of whichever reader
                said = str(error)
            if said:
                faults.append(f"{snippet}: {said}")
    faults += cpp.compile()
    for fault in faults:
        print(fault)
    print(", ".join(f"{number} {language}" for language, number in sorted(count.items())), f"- {len(faults)} faults")
    sys.exit(1 if faults or not count else 0)


if __name__ == "__main__":
    main()
