#include "rules/ContentComparison.h"

#include "core/TableLint.h"
#include "support/QtPrinters.h"
#include "support/RuleFixture.h"

#include <gtest/gtest.h>

TEST(COMPCONT, ComparisonsReadTheirCodes)
{
    struct Row {
        Comparison comparison;
        QString first, second;
        bool agree;
    };
    const QList<Row> rows = {
        { Comparison::Equal, "Ab", "Ab", true },
        { Comparison::Equal, "Ab", "ab", false },
        { Comparison::EqualIgnoringCase, "Ab", "aB", true },
        { Comparison::BeginsWith, "Abc", "Ab", true },
        { Comparison::BeginsWith, "Ab", "Abc", false },
        { Comparison::Differs, "Ab", "Ab", false },
        { Comparison::Differs, "Ab", "ab", true },
    };
    for (const Row& row : rows)
        EXPECT_EQ(ContentsAgree(row.comparison, row.first, row.second), row.agree) << qPrintable(row.first);
}

TEST(PCPDATACOMPARE, AnUnreadableValuesFileStopsTheRun)
{
    RuleFixture fixture("");
    EXPECT_FALSE(fixture.loadTable(SupportFile::PCPDataCompare, "h\r\ncountry | @missing.txt | E | C\r\n"));
    ASSERT_EQ(fixture.op.messages.size(), 1);
    EXPECT_TRUE(fixture.op.messages[0].text.startsWith("Error while reading "))
        << qPrintable(fixture.op.messages[0].text);
}

namespace {

class LintNotes : public TableLint {
public:
    void note(const QString&, qsizetype line, const QString& message) override
    {
        notes << QStringLiteral("%1: %2").arg(line).arg(message);
    }
    QStringList notes;
};

} // namespace

TEST(CrossReferenceTables, TheConfigurationCheckHearsOfRowsThatCheckNothing)
{
    struct Row {
        SupportFile file;
        QByteArray table;
        QStringList notes; // besides the pattern engine's own words, which the first row also hears
    };
    const QList<Row> rows = {
        { SupportFile::CitationValTbl, "h\r\ncite | | ([ | X | M\r\n | rid | | E | M\r\n",
            { "2: severity \"X\" is none of E, W: the row reports warnings",
                "3: row dropped: no citation tag" } },
        { SupportFile::CountRefCheck,
            "h\r\nxref | rid | ref | id | maybe | E\r\nxref | | ref | id | Y | E\r\n",
            { "2: uncited code \"maybe\" is none of Y, N: uncited targets go unreported",
                "3: row dropped: a tag or attribute column is empty" } },
        { SupportFile::CheckPairTbl, "h\r\np | ( | | E | M\r\np | ( | ) | E\r\n",
            { "2: row dropped: the tag, opening or closing column is empty",
                "3: row dropped: 4 field(s) where the table has 5" } },
        { SupportFile::CheckPairContTbl, "h\r\np | ( | ) | | E | M\r\n", { "2: row dropped: no pattern" } },
        { SupportFile::CompContTbl, "h\r\na | b | SAME | E | M\r\na | a | EQUAL | E | M\r\n",
            { "2: row dropped: comparison \"SAME\" is none of EQUAL, EQUALIGNORECASE, BEGINSWITH, DIFFERS",
                "3: row dropped: an element compared with itself" } },
        { SupportFile::PCPDataCompare, "h\r\ncountry | | E | M\r\n",
            { "2: row dropped: the tag or values column is empty" } },
    };
    for (const Row& row : rows) {
        RuleFixture fixture("");
        LintNotes lint;
        fixture.lint = &lint;
        EXPECT_TRUE(fixture.loadTable(row.file, row.table));
        const qsizetype engineNotes = row.file == SupportFile::CitationValTbl ? 1 : 0;
        EXPECT_EQ(lint.notes.size(), row.notes.size() + engineNotes) << qPrintable(lint.notes.join('\n'));
        for (const QString& note : row.notes)
            EXPECT_TRUE(lint.notes.contains(note)) << qPrintable(note);
    }
}
