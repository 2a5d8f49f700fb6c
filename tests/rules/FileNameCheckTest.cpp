#include "rules/FileNameCheck.h"

#include "support/RuleFixture.h"

#include <gtest/gtest.h>

namespace {

QStringList described(const std::vector<Finding>& findings)
{
    QStringList lines;
    for (const Finding& f : findings)
        lines << QStringLiteral("%1 %2 | %3").arg(f.column).arg(f.message, f.data);
    return lines;
}

} // namespace

TEST(FileNameCheck, CharactersAgainstTheValidAndInvalidLists)
{
    struct Case {
        const char* name;
        QStringList valid;
        QStringList invalid;
        QString fileName;
        QStringList expected;
    };
    const QList<Case> cases = {
        { "ranges and single characters", { "a-z", "0-9", "-", "." }, {}, "jcs-2026-0150.xml", {} },
        { "each offending character once, at its first place", { "a-z", "." }, {}, "aB_B_.x",
            { "2 File name character \"B\" is not a valid one | aB_B_.x",
                "3 File name character \"_\" is not a valid one | aB_B_.x" } },
        { "the invalid list wins; <space> is a blank", { "a-z", "<space>" }, { "<space>", "&" }, "a b&c",
            { "2 File name holds the invalid character \" \" | a b&c",
                "4 File name holds the invalid character \"&\" | a b&c" } },
        { "no valid list: only the invalid one counts; odd pieces stand for their characters", {}, { "#%" },
            "a%b#",
            { "2 File name holds the invalid character \"%\" | a%b#",
                "4 File name holds the invalid character \"#\" | a%b#" } },
        { "a backward range allows its characters alone", { "z-a" }, {}, "za-", {} },
    };
    for (const Case& c : cases) {
        EXPECT_EQ(described(CheckFileNameCharacters(
                      c.fileName, FileNameCharacters(c.valid), FileNameCharacters(c.invalid))),
            c.expected)
            << c.name;
    }
    EXPECT_EQ(FileNameCharacters({ "a-z", "z-a", "abc", "", "<space>" }).oddPieces(),
        (QStringList { "z-a", "abc" }));
}

TEST(FileNameCheck, BaseNameAgainstThePatternsThroughTheDriver)
{
    struct Case {
        const char* name;
        QByteArray table;
        QStringList expected;
    };
    const QByteArray header = "Pattern | Case | Stands for\r\n";
    const QList<Case> cases = {
        { "no rows: no pattern check", header, {} },
        { "one whole-name match is enough", header + "x+ | C | xs\r\ninput | C | the input\r\n", {} },
        { "a pattern matching a piece is no match; case codes",
            header + "inp | C | a piece\r\nINPUT | C | upper case\r\n[a-z]{6} | I |\r\n",
            { "0:1 E File name matches no file-name pattern | input.xml -- tried: a piece; upper case; "
              "[a-z]{6}" } },
        { "ignoring case", header + "INPUT | i | upper case\r\n", {} },
    };
    for (const Case& c : cases) {
        RuleFixture fixture("");
        TableSet& set = fixture.state.activeTables;
        set.CheckFilename = Switch::On;
        set.ValidFilenameChars = QStringList { "a-z", "." };
        ASSERT_TRUE(fixture.loadTable(SupportFile::FilenameCheck, c.table));
        EXPECT_EQ(fixture.run("<p/>"), c.expected) << c.name;
        set.CheckFilename = Switch::Off;
        EXPECT_TRUE(fixture.run("<p/>").isEmpty()) << c.name;
    }

    // A pattern the engine rejects leaves the file not checked: the run fails.
    RuleFixture fixture("");
    fixture.state.activeTables.CheckFilename = Switch::On;
    ASSERT_TRUE(fixture.loadTable(SupportFile::FilenameCheck, header + "(?<=a)b | C | x\r\n"));
    EXPECT_TRUE(fixture.run("<p/>").isEmpty());
    EXPECT_EQ(fixture.state.checkFailures, 1);
}
