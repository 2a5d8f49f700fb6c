// Both word checks against a plain literal version kept here: character by
// character extraction, the accepted list compared entry by entry in order,
// and the engine asked every time (suggestions included), with no cache.
#include "rules/HyphenatedWords.h"
#include "support/RuleFixture.h"
#include "text/LiteralToolkit.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

// Knows the texts of even length; suggests a blank, the text reversed and "z".
class ParityEngine : public SpellingEngine {
public:
    void SetMainLexPath(const QString&) override { }
    void SetUserLexPath(const QString&) override { }
    void SetUserLexFiles(const QString&) override { }
    void SetOption(std::uint32_t, std::int32_t) override { }
    int CheckString(const QString& text) override { return text.size() % 2 == 0 ? kNoMisspelling : 7; }
    QStringList Suggest(const QString& text, int, int maxCount) override
    {
        QString reversed;
        for (qsizetype i = text.size() - 1; i >= 0; --i)
            reversed += text[i];
        return QStringList { text.size() % 3 == 0 ? QString() : reversed, QStringLiteral("z"), text }.mid(
            0, maxCount);
    }
};

struct Literal {
    QStringList accepted; // as read
    ParityEngine engine;
    QString suggestions;
    QStringList findings; // "K message", K being the severity letter or W

    static bool isLetterOrDigit(QChar c)
    {
        static const QRegularExpression letter(QStringLiteral("[A-Z]"));
        static const QRegularExpression digit(QStringLiteral("[0-9]"));
        const QString upper = QString(c).toUpper();
        return letter.match(upper).hasMatch() || digit.match(upper).hasMatch();
    }

    static QString extract(const QString& text, int position, int mode) // one-based, as the design counts
    {
        const auto mid = [&](int from, int length) { return text.mid(from - 1, length); };
        int start = position;
        while (start > 1 && isLetterOrDigit(text[start - 2]))
            --start;
        const QString firstPart = mid(start, position - start + 1);
        QString word;
        if (mode == 1) {
            int end = position + 3;
            while (end <= text.size() && isLetterOrDigit(text[end - 1]))
                ++end;
            word = firstPart + mid(position + 3, end - position - 3);
        } else {
            int end = position + 1;
            while (end <= text.size() && isLetterOrDigit(text[end - 1]))
                ++end;
            while (end <= text.size() && text[end - 1] == u'-') {
                ++end;
                while (end <= text.size() && isLetterOrDigit(text[end - 1]))
                    ++end;
            }
            const QString secondPart = mid(position + 1, end - position - 1);
            if (!secondPart.isEmpty())
                word = firstPart + secondPart;
        }
        static const QRegularExpression number(QStringLiteral("^[0-9]+([eE][0-9]+)?$"));
        if (number.match(QString(word).remove(u'-')).hasMatch())
            return {};
        return word;
    }

    int spellCheckWord(const QString& word)
    {
        if (word.isEmpty() || engine.CheckString(word) == SpellingEngine::kNoMisspelling)
            return 0;
        for (const QString& suggestion : engine.Suggest(word, 35, 2)) {
            if (suggestion.isEmpty())
                continue;
            if (!suggestions.isEmpty())
                suggestions += QStringLiteral(", ");
            suggestions += suggestion;
        }
        return -1;
    }

    bool isAccepted(const QString& word) const
    {
        for (const QString& entry : accepted) {
            if (entry.toUpper() == word.toUpper())
                return true;
        }
        return false;
    }

    void hyphenated(const QString& text, const QString& tag, const QString& severity)
    {
        for (int hit = text.indexOf(QStringLiteral("-\r\n")) + 1; hit > 0;
             hit = text.indexOf(QStringLiteral("-\r\n"), hit) + 1) {
            const QString word = extract(text, hit, 1);
            bool open = true;
            suggestions.clear();
            if (word.right(1) != QStringLiteral("-") && spellCheckWord(QString(word).remove(u'-')) == 0) {
                findings << severity + " Hyphenated word: " + word + " found in " + tag;
                open = false;
            }
            if (open && isAccepted(word))
                open = false;
            if (open) {
                suggestions.clear();
                if (spellCheckWord(word) == -1) {
                    findings << (suggestions.isEmpty()
                            ? "W Hyphenated word: " + word + " found in " + tag
                            : "W Hyphenated word: " + word + " Suggested Words: " + suggestions);
                }
            }
        }
    }

    void compound(const QString& text, const QString& tag, const QString& severity)
    {
        int hit = text.indexOf(u'-') + 1;
        while (hit > 0) {
            const QString word = extract(text, hit, 2);
            if (word.isEmpty()) {
                hit = text.indexOf(u'-', hit) + 1;
                continue;
            }
            bool open = !isAccepted(word);
            suggestions.clear();
            if (open && spellCheckWord(word) == 0) {
                findings << "W Compound Word: " + word + " found in " + tag;
                open = false;
            }
            if (open) {
                findings << severity
                        + (suggestions.isEmpty()
                                ? " Compound Word: " + word + " found in " + tag
                                : " Compound Word: " + word + " Suggested Words: " + suggestions);
            }
            hit = text.indexOf(u'-', hit - 1 + word.indexOf(u'-') + 1) + 1;
        }
    }
};

QString randomContent(QRandomGenerator& random)
{
    static const QStringList pieces = { "a", "b", "ab", "x9", "1", "22", "e", "-", "-", "-", "\r\n", "-\r\n",
        " ", u"\u00e9"_qs, "<i>c-d</i>", "<?>", "<p>", "</p>", "<i>", "</i>", "<p a=\"-x\">" };
    QString content;
    const int count = random.bounded(1, 30);
    for (int i = 0; i < count; ++i)
        content += pieces[random.bounded(pieces.size())];
    return content;
}

} // namespace

TEST(HyphenatedWordsDifferential, MatchesTheLiteralVersion)
{
    const QByteArray accepted = "Accepted\r\nab-b\r\nA-\r\nx9-a  \r\n-ab\r\n";
    // One fixture per severity, kept for every round: the engine's answers
    // are cached across the elements, while the literal version asks afresh.
    std::unique_ptr<RuleFixture> fixtures[2];
    const QString severities[2] = { QStringLiteral("E"), QStringLiteral("W") };
    for (int i = 0; i < 2; ++i) {
        fixtures[i] = std::make_unique<RuleFixture>(("<p> | HYPHENATEDWORDCHECK | " + severities[i]
            + "\r\n | COMPOUNDWORDCHECK | " + severities[i] + "\r\n")
                                                        .toUtf8());
        fixtures[i]->setTable(SupportFile::HyphenatedTbl, accepted, LoadHyphenatedTable);
        fixtures[i]->state.spelling.engine = std::make_unique<ParityEngine>();
    }
    QRandomGenerator random(13);
    for (int round = 0; round < 300; ++round) {
        const QString content = randomContent(random);
        const QString tag = round % 3 ? QStringLiteral("<p>") : QStringLiteral("<p a=\"b-1\">");
        const int which = round % 2;

        QStringList fast;
        // The element's own findings are the ones at its start tag; nested
        // elements are checked on their own and land elsewhere. The fixture
        // reads its input as Windows-1252.
        for (const QString& entry : fixtures[which]->run((tag + content + "</p>").toLatin1())) {
            if (entry.startsWith(QStringLiteral("1:1 ")))
                fast << entry.mid(4).section(QStringLiteral(" | "), 0, 0);
        }

        Literal literal;
        literal.accepted = { "ab-b", "A-", "x9-a  ", "-ab" };
        // The element text the plain way: GetPCDATA searching from the tag,
        // RemoveTags restarting from position 1.
        ToolkitState toolkit;
        LiteralToolkit xml(toolkit);
        std::int32_t position = 1;
        QString elementContent = xml.GetPCDATA(tag + content + "</p>", tag, "</p>", position);
        xml.RemoveTags(elementContent, true);
        const QString elementText
            = tag + elementContent.replace(QStringLiteral("teMpSEparAtor"), QStringLiteral("<?>")) + "</p>";
        literal.hyphenated(elementText, tag, severities[which]);
        literal.compound(elementText, tag, severities[which]);
        ASSERT_EQ(fast, literal.findings) << content.toStdString();
    }
}
