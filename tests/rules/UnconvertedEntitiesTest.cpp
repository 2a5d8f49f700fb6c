#include "rules/UnconvertedEntities.h"

#include "support/RuleFixture.h"
#include "text/LiteralToolkit.h"
#include "text/TagScanner.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

const QByteArray kTable = "Search string      Message\r\n"
                          "&amp;amp; E / Double-escaped ampersand\r\n"
                          "~ e / Tilde left in text\r\n"
                          "&lt;<HRT> W / Escaped bracket before a line break\r\n"
                          "x<space>&amp; w / Ampersand after x\r\n"
                          "&nbsp; X / No severity, never reported\r\n";

// Deletes every occurrence of `piece`, left to right, from the text and from
// the positions that travel with its characters.
void removeEvery(QString& text, QList<int>& positions, const QString& piece)
{
    for (qsizetype at = text.indexOf(piece); at >= 0; at = text.indexOf(piece, at)) {
        text.remove(at, piece.size());
        positions.remove(at, piece.size());
    }
}

// The tag removal of the toolkit, step by step as it is defined (first tag
// found, every copy of it and of its end tag deleted, then from the start
// again), carrying each character's original position along.
QString literalPlainText(ToolkitState& shared, const QString& content, QList<int>& positions)
{
    LiteralToolkit literal(shared);
    const TagScanner xml(shared);
    QString text = content;
    positions.clear();
    for (int i = 0; i < content.size(); ++i)
        positions.append(i);
    std::int32_t tagPos = 1;
    for (QString tag = literal.RetrieveTags(text, tagPos); tagPos != -1;
         tag = literal.RetrieveTags(text, tagPos)) {
        removeEvery(text, positions, tag);
        if (!tag.contains("/>"))
            removeEvery(text, positions, "</" + xml.GetTagName(tag) + ">");
        tagPos = 1;
    }
    return text;
}

// UNCONENTITIES read the plain way for every tag the scanner meets: the
// content by the literal GetPCDATA, its tags removed step by step, each row
// searched on its own, the hit's line and column counted in the file.
QStringList literalEntities(const QString& text, const QStringList& searches, const QStringList& messages)
{
    ToolkitState shared;
    LiteralToolkit literal(shared);
    const TagScanner xml(shared);
    QStringList found;
    const QStringList lines = text.split("\r\n");
    qsizetype lineStart = 0;
    for (const QString& line : lines) {
        std::int32_t counter = 0;
        for (;;) {
            ++counter;
            const QString tag = literal.RetrieveTags(line, counter);
            if (counter == -1)
                break;
            if (tag.isEmpty() || tag.contains("<!") || tag.contains("<?"))
                continue;
            const QString name = xml.GetTagName(tag);
            if (xml.GetTagType(tag) != TagKind::Start || name == "D")
                continue;
            std::int32_t position = std::int32_t(lineStart + counter);
            const QString content = literal.GetPCDATA(text, tag, "</" + name + ">", position);
            const qsizetype contentStart = lineStart + counter - 1 + tag.size();
            QList<int> positions;
            const QString plain = literalPlainText(shared, content, positions);
            for (int row = 0; row < searches.size(); ++row) {
                const qsizetype hit = plain.indexOf(searches[row]);
                if (hit < 0)
                    continue;
                const qsizetype offset = contentStart + positions[hit];
                const qsizetype hitLineStart = text.lastIndexOf("\r\n", offset - 1) + (offset == 0 ? 0 : 2);
                const qsizetype lineStartOfHit = text.left(offset).lastIndexOf("\r\n") < 0 ? 0 : hitLineStart;
                const qsizetype lineEnd
                    = text.indexOf("\r\n", offset) < 0 ? text.size() : text.indexOf("\r\n", offset);
                found << QStringLiteral("%1:%2 W %3 in %4 | %5")
                             .arg(text.left(offset).count("\r\n") + 1)
                             .arg(offset - lineStartOfHit + 1)
                             .arg(messages[row], tag, text.mid(offset, lineEnd - offset));
            }
        }
        lineStart += line.size() + 2;
    }
    return found;
}

} // namespace

TEST(UnconEntityTable, OverLongMessageIsShownAndKept)
{
    const QByteArray sixty = "E / " + QByteArray(56, 'm');
    RuleFixture fixture("");
    ASSERT_TRUE(fixture.loadTable(
        SupportFile::UnConEntitiesTbl, "&a; " + sixty + "\r\n&b; " + sixty + "n\r\n&c; W / short\r\n"));
    const QString path = fixture.state.activeTables.file(SupportFile::UnConEntitiesTbl);
    EXPECT_EQ(fixture.op.messages,
        QList<RecordedMessage>(
            { { "Please check " + path + "\r\nLength of Error Message should not be greater than 60.",
                "Quorvane", MessageIcon::Critical } }));
    const auto* table = fixture.state.activeTables.loaded<UnconEntitiesTable>(SupportFile::UnConEntitiesTbl);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->rows.size(), 3);
}

TEST(UNCONENTITIES, FindsStringsInThePlainTextOfTheElement)
{
    ExpectRuleCases("<p> | UNCONENTITIES | N/A\r\n", SupportFile::UnConEntitiesTbl, kTable,
        {
            { "<p>x\r\nyy &amp;amp;</p>", { "2:4 E Double-escaped ampersand in <p> | &amp;amp;</p>" } },
            { "<p>&lt;\r\nx</p>", { "1:4 W Escaped bracket before a line break in <p> | &lt;" } },
            { "<p>&nbsp;</p>", {} }, { "<p>teMpSEparAtor</p>", {} }, // a "~" row finds only "~"
        });
}

TEST(UNCONENTITIES, AgreesWithAPlainReadingOnRandomTexts)
{
    const QStringList pieces = { "<", ">", " ", "\r\n", "&", "a", "b", "~", ";", "<a>", "</a>", "<b x=\"1\">",
        "</b>", "<a/>", "<D>", "</D>", "<a", "/>", "&amp;", "<!c>", "\"" };
    // Without stray brackets every tag stands alone, which the rule reads another way.
    const QStringList alonePieces = { " ", "\r\n", "&", "a", "b", "~", ";", "<a>", "</a>", "<b x=\"1\">",
        "</b>", "<a/>", "<D>", "</D>", "&amp;", "<!c>", "<>", "< a>" };
    const QStringList searches = { "&", "a&", "b a", "&amp;", "~;", ";\r\n", "a" };
    std::mt19937 rng(2026);
    QByteArray table;
    QStringList messages;
    for (int row = 0; row < searches.size(); ++row) {
        QString written = searches[row];
        written.replace(" ", "<space>").replace("\r\n", "<hrt>");
        messages << QStringLiteral("Row %1").arg(row);
        table += (written + " W / " + messages.last() + "\r\n").toUtf8();
    }
    // One fixture for every text, as one run reads file after file.
    RuleFixture fixture("N/A | UNCONENTITIES | N/A\r\n");
    ASSERT_TRUE(fixture.loadTable(SupportFile::UnConEntitiesTbl, table));
    int withFindings = 0;
    for (int round = 0; round < 300; ++round) {
        QString text;
        const int length = int(rng() % 40);
        for (int i = 0; i < length; ++i)
            text += round % 2 ? pieces[rng() % pieces.size()] : alonePieces[rng() % alonePieces.size()];
        const QStringList actual = fixture.run(text.toUtf8());
        EXPECT_EQ(actual, literalEntities(fixture.state.file.wholeText, searches, messages))
            << text.toStdString();
        withFindings += actual.isEmpty() ? 0 : 1;
    }
    EXPECT_GT(withFindings, 50); // the texts do exercise the search
}

TEST(MultiStringSearch, FindsWhatSearchingEachStringFinds)
{
    // Units inside needles that begin none of them ("m", "p", ";") keep the
    // start state; the text is cut into pieces at random to cross the joins.
    // The second table is of the sample's kind: few first units, one of them
    // a blank, looked for eight places at a time in the longer texts.
    std::mt19937 rng(41);
    for (const auto& [needles, alphabet] :
        { std::pair {
              QStringList { "&amp;", "amp", "mp;", "p", "&&", "", "; &", "ma" }, QStringLiteral("&amp; x") },
            std::pair { QStringList { "&amp;#", "&lt;i&gt;", "--", " ,", "~", "``", "&nbsp " },
                QStringLiteral("     &-,~`abltgnp;#") } }) {
        const MultiStringSearch search(needles);
        for (int round = 0; round < 500; ++round) {
            QString text;
            for (int i = int(rng() % 60); i > 0; --i)
                text += alphabet[rng() % alphabet.size()];
            std::vector<qsizetype> cuts = { 0, text.size() };
            for (int c = int(rng() % 4); c > 0; --c)
                cuts.push_back(qsizetype(rng() % (text.size() + 1)));
            std::sort(cuts.begin(), cuts.end());
            const auto found = search.allOccurrencesIn([&](auto&& piece) {
                for (std::size_t c = 0; c + 1 < cuts.size(); ++c)
                    piece(QStringView(text).sliced(cuts[c], cuts[c + 1] - cuts[c]));
            });
            for (qsizetype n = 0; n < needles.size(); ++n) {
                std::vector<qsizetype> expected;
                for (qsizetype at = needles[n].isEmpty() ? -1 : text.indexOf(needles[n]); at >= 0;
                     at = text.indexOf(needles[n], at + 1))
                    expected.push_back(at);
                ASSERT_EQ(found[n], expected) << text.toStdString() << " | " << needles[n].toStdString();
            }
        }
    }
}
