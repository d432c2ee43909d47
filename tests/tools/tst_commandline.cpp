// SPDX-License-Identifier: LGPL-2.1-or-later
// What the command lines of our programs have in common, with a program of the test's own.
#include "support/literals.h"
#include "support/rows.h"
#include "tools/commandline/checks.h"
#include "tools/commandline/reader.h"

#include <QTest>

using namespace CommandLine;
using namespace KelTest;

namespace {

using Words = std::vector<std::string>;

std::string shortText(const std::string& text)
{
    return text.size() <= 3 ? std::string() : "needs three letters at most, not '" + text + '\'';
}

const Program& program()
{
    static const Program made{
        "oven",
        "1.0",
        "bake",
        "Bakes.",
        {{"--heat", {"DEGREES", number<50, 300>}, "how hot"}, {"--fan", {}, "with the fan"}},
        {},
        {{"bake",
          {{{"CAKE[,SIZE]"}, "what"}, {{"SHORT[,ER]", shortText}, "how", true}},
          {{"--with", {"THING"}, "something in it", true}, {"--for", {"NAME"}, "for whom"}},
          "bake something",
          "bake bread"},
         {"run",
          {},
          {{"--quietly", {}, "without a word"}},
          "run something",
          "run -- cook",
          {},
          true},
         {"help", {{{"COMMAND"}, "about", true}}, {}, "tell", "help bake"}},
        {},
    };
    return made;
}

} // namespace

Q_DECLARE_METATYPE(Words)
Q_DECLARE_METATYPE(std::string)

class TestCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void argumentsAreTakenAsTheyAre_data()
    {
        columns<Words, Words>("words", "arguments");
        const auto row = [](const char* name, const Words& words, const Words& arguments) {
            QTest::newRow(name) << words << arguments;
        };
        row("one", {"bake", "bread"}, {"bread"});
        row("two", {"bake", "bread", "hot"}, {"bread", "hot"});
        row("empty", {"bake", ""}, {""});
        row("a command's name", {"bake", "run"}, {"run"});
        row("its own name", {"bake", "bake"}, {"bake"});
        row("like a list", {"bake", "[a,b]"}, {"[a,b]"});
        row("braces", {"bake", "{}"}, {"{}"});
        row("a negative number", {"bake", "-1"}, {"-1"});
        row("a dash", {"bake", "-"}, {"-"});
        row("like an option", {"bake", "--", "--fan"}, {"--fan"});
        row("a second mark", {"bake", "--", "--", "x"}, {"--", "x"});
        row("plus signs", {"bake", "--", "++"}, {"++"});
        row("with a sign", {"bake", "--", "--with="}, {"--with="});
        row("quotes", {"bake", "\"a b\""}, {"\"a b\""});
        row("not UTF-8", {"bake", "\xff\xfe"}, {"\xff\xfe"});
    }

    void argumentsAreTakenAsTheyAre()
    {
        const auto [words, arguments] = fetch<Words, Words>("words", "arguments");
        Line line;
        std::string problem;
        QVERIFY2(read(program(), words, line, problem) == Wish::Run, problem.c_str());
        QCOMPARE(line.command, std::string("bake"));
        QCOMPARE(line.arguments, arguments);
    }

    void optionsStandAnywhereAndTheLastOneCounts()
    {
        Line line;
        std::string problem;
        QVERIFY2(read(program(),
                      {"--heat", "60", "--fan", "bake", "--with", "salt", "bread",
                       "--with=", "--for=", "--for", "[me]", "--heat=200", "--with", "-x", "--fan"},
                      line, problem) == Wish::Run,
                 problem.c_str());
        QCOMPARE(line.arguments, Words{"bread"});
        QCOMPARE(line.value("--heat"), std::string("200"));
        QCOMPARE(line.values("--with"), (Words{"salt", "", "-x"}));
        QCOMPARE(line.value("--for"), std::string("[me]"));
        QVERIFY(line.has("--fan"));
        QVERIFY(!line.has("--quietly"));
        QCOMPARE(line.value("--none", "otherwise"), std::string("otherwise"));
    }

    void whatStandsBehindTheOptionsIsAnothersCommand_data()
    {
        columns<Words, Words>("words", "rest");
        QTest::newRow("plain") << Words{"run", "cook", "--fan"} << Words{"cook", "--fan"};
        QTest::newRow("marked") << Words{"run", "--", "cook", "-h"} << Words{"cook", "-h"};
        QTest::newRow("marked twice")
            << Words{"run", "--quietly", "--", "cook", "--", "x"} << Words{"cook", "--", "x"};
        QTest::newRow("a command of this program's")
            << Words{"run", "bake", "x"} << Words{"bake", "x"};
        QTest::newRow("like an option") << Words{"run", "--", "--odd"} << Words{"--odd"};
        QTest::newRow("with empty words")
            << Words{"run", "sh", "", "--with="} << Words{"sh", "", "--with="};
    }

    void whatStandsBehindTheOptionsIsAnothersCommand()
    {
        const auto [words, rest] = fetch<Words, Words>("words", "rest");
        Line line;
        std::string problem;
        QVERIFY2(read(program(), words, line, problem) == Wish::Run, problem.c_str());
        QCOMPARE(line.rest, rest);
    }

    void misuseSaysWhatIsExpected_data()
    {
        columns<Words, std::string>("words", "problem");
        const auto row = [](const Words& words, const char* problem) {
            QTest::newRow(problem) << words << std::string(problem);
        };
        row({}, "no command given; oven --help lists them");
        row({"bakke"}, "unknown command 'bakke', did you mean bake? oven --help lists them");
        row({"bake"}, "usage: oven bake CAKE[,SIZE] [SHORT[,ER]] [OPTIONS]");
        row({"bake", "a", "b", "secret"}, "usage: oven bake CAKE[,SIZE] [SHORT[,ER]] [OPTIONS]");
        row({"bake", "a", "long"},
            "SHORT[,ER] needs three letters at most, not 'long'; oven help bake tells more");
        row({"bake", "a", "--heat", "301"},
            "--heat needs a number from 50 to 300, not '301'; oven help bake tells more");
        row({"bake", "a", "--heat="},
            "--heat needs a number from 50 to 300, not ''; oven help bake tells more");
        row({"--heat", "hot", "bake", "a"},
            "--heat needs a number from 50 to 300, not 'hot'; oven help bake tells more");
        row({"bake", "a", "--heat"}, "--heat needs a value; oven help bake tells more");
        row({"bake", "a", "--fan=yes"}, "--fan takes no value; oven help bake tells more");
        row({"bake", "a", "--wiht=secret"},
            "unknown option '--wiht', did you mean --with? oven help bake tells more");
        row({"--with", "secret", "bake", "a"},
            "--with stands behind bake; oven help bake tells more");
        row({"bake", "a", "-x"}, "unknown option '-x'; oven help bake tells more");
        row({"run"}, "run needs a command: oven run [OPTIONS] -- COMMAND [ARGUMENT...]");
        row({"run", "--"}, "run needs a command: oven run [OPTIONS] -- COMMAND [ARGUMENT...]");
        row({"run", "--odd", "--", "x"}, "unknown option '--odd'; oven help run tells more");
        row({"run", "-x", "y"}, "unknown option '-x'; oven help run tells more");
    }

    void misuseSaysWhatIsExpected()
    {
        const auto [words, expected] = fetch<Words, std::string>("words", "problem");
        Line line;
        std::string problem;
        QVERIFY(read(program(), words, line, problem) == Wish::Misuse);
        QCOMPARE(problem, expected);
    }

    void helpGoesBeforeWhatIsWrong()
    {
        for (const Words& words : {Words{"--help"}, Words{"-h"}, Words{"bake", "--help"},
                                   Words{"bake", "-h", "--heat", "9"}, Words{"--help", "bake"}}) {
            Line line;
            std::string problem;
            QVERIFY(read(program(), words, line, problem) == Wish::Help);
        }
    }

    void linesAreBrokenBetweenWords()
    {
        QCOMPARE(wrapped("one two three", 7, 2, 0), std::string("one two\n  three"));
        QCOMPARE(wrapped("one two three", 8, 1, 5), std::string("one\n two\n three"));
        QCOMPARE(wrapped("unbreakable", 4, 2, 0), std::string("unbreakable"));
    }

    void datesAreDaysOfTheCalendar()
    {
        for (const char* good : {"1990-02-28", "2000-02-29", "2024-02-29", "9999-12-31"})
            QCOMPARE(date(good), std::string());
        for (const char* bad : {"1900-02-29", "2023-04-31", "2023-00-01", "2023-1-01", "+023-01-01",
                                "2023-01-0x", "2023/01/01", "", "2023-01-011"})
            QVERIFY2(!date(bad).empty(), bad);
    }
};

QTEST_APPLESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
