#include "rules/HyphenatedWords.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "engine/RuleContext.h"
#include "rules/ElementContents.h"
#include "text/TagScanner.h"

#include <optional>

namespace {

constexpr int kSuggestionDepth = 35;
constexpr int kSuggestionCount = 2;

bool isWordCharacter(QChar c)
{
    // ASCII without the case tables; some letters beyond it upper-case
    // into A to Z and go the long way.
    if (c.unicode() < 0x80) {
        const char16_t u = c.unicode();
        return (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z') || (u >= u'0' && u <= u'9');
    }
    const QChar upper = c.toUpper();
    return (upper >= u'A' && upper <= u'Z') || (upper >= u'0' && upper <= u'9');
}

// What a number parser reads from letters and digits: digits, with an
// exponent when "E" and more digits follow. Words like "inf" stay words.
bool isNumber(const QString& text)
{
    const auto digitsFrom = [&](qsizetype from) {
        qsizetype end = from;
        while (end < text.size() && text[end] >= u'0' && text[end] <= u'9')
            ++end;
        return end;
    };
    qsizetype i = digitsFrom(0);
    if (i == 0)
        return false;
    if (i < text.size() && (text[i] == u'e' || text[i] == u'E')) {
        const qsizetype end = digitsFrom(i + 1);
        if (end == i + 1)
            return false;
        i = end;
    }
    return i == text.size();
}

qsizetype wordRunEnd(const QString& text, qsizetype from)
{
    while (from < text.size() && isWordCharacter(text[from]))
        ++from;
    return from;
}

// The answer for the text, asking the engine only the first time.
SpellingAnswer& answerFor(SpellingState& spelling, const QString& text)
{
    const auto known = spelling.answers.find(text);
    if (known != spelling.answers.end())
        return *known;
    SpellingAnswer answer;
    // An empty text holds no misspelt word; without an engine nothing else is known.
    answer.misspelt = !text.isEmpty()
        && (!spelling.engine || spelling.engine->CheckString(text) != SpellingEngine::kNoMisspelling);
    return *spelling.answers.insert(text, answer);
}

// Whether the engine finds nothing wrong with the text, without asking for
// suggestions.
bool isWordKnown(SpellingState& spelling, const QString& text)
{
    return !answerFor(spelling, text).misspelt;
}

// Both checks are usually declared for the same elements: the text of the
// element last asked for is kept for the other.
struct HyphensInElement {
    bool any = false;
    bool atLineEnd = false;
};

struct ElementTextCache : RuleFileState {
    std::int32_t filePosition = -1;
    QString tagText;
    QString text;
    // Whether the element as it stands in the file holds hyphens.
    std::int32_t hyphensAt = -1;
    QString hyphensTag;
    HyphensInElement hyphens;
};

// The element's text that both checks search: the start tag, its content with
// every nested element replaced by "<?>", and the end tag.
QString elementText(RuleContext& rule)
{
    const ValidationContext& context = rule.tag;
    auto& cache = rule.ownState<ElementTextCache>();
    if (cache.filePosition == context.filePosition && cache.tagText == context.tagText)
        return cache.text;
    TagScanner xml(rule.toolkit);
    const QString endTag = QStringLiteral("</") + context.tagName + QLatin1Char('>');
    QString content;
    // The content is read in place when the file's index finds it, as
    // GetPCDATA would; only its text with the elements removed is made.
    if (const std::optional<ContentRange> range
        = CurrentElementContent(rule.document, rule.toolkit, context)) {
        content
            = xml.ElementsRemoved(QStringView(rule.document).sliced(range->start, range->end - range->start));
    } else {
        std::int32_t position = context.filePosition;
        content = xml.GetPCDATA(rule.document, context.tagText, endTag, position);
        xml.RemoveTags(content, true);
    }
    // Put together in one string, each removed element's marker turned into
    // "<?>" on the way (as a replace of the whole content would, left to
    // right), so the content is copied once.
    // The marker is found by its one "M" (seldom a capital in running text,
    // and found by the one-character search); two markers never overlap,
    // so every one found is turned.
    static constexpr QStringView marker = u"teMpSEparAtor";
    constexpr qsizetype mAt = 2;
    QString text;
    text.reserve(context.tagText.size() + content.size() + endTag.size());
    text += context.tagText;
    qsizetype copied = 0;
    for (qsizetype m = content.indexOf(u'M', mAt); m >= 0; m = content.indexOf(u'M', m + 1)) {
        const qsizetype at = m - mAt;
        if (at + marker.size() > content.size() || QStringView(content).sliced(at, marker.size()) != marker)
            continue;
        text += QStringView(content).sliced(copied, at - copied);
        text += u"<?>";
        copied = at + marker.size();
    }
    text += QStringView(content).sliced(copied);
    text += endTag;
    cache.filePosition = context.filePosition;
    cache.tagText = context.tagText;
    cache.text = std::move(text);
    return cache.text;
}

} // namespace

std::unique_ptr<RuleFileState> MakeWordCheckFileState()
{
    return MakeFileState<ElementTextCache>();
}

namespace {

const HyphenatedTable* acceptedWords(const RuleContext& rule)
{
    return rule.settings.loaded<HyphenatedTable>(SupportFile::HyphenatedTbl);
}

bool isAccepted(const HyphenatedTable* table, const QString& word)
{
    return table && table->accepts(word);
}

} // namespace

bool LoadHyphenatedTable(const ConfigurationLoading& loading, TableSet& set)
{
    const QString& path = set.file(SupportFile::HyphenatedTbl);
    QStringList lines;
    if (!TableReading::ReadLines(loading, path, lines))
        return false;
    auto table = std::make_shared<HyphenatedTable>();
    bool badEntrySeen = false;
    // The first line names the column, as in every headed table.
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QString& line = lines[i];
        if (line.trimmed().isEmpty())
            continue;
        if (!line.contains(QLatin1Char('-'))) {
            badEntrySeen = true;
            TableReading::Lint(loading, path, i, QStringLiteral("entry dropped: no hyphen (-) in it"));
            continue;
        }
        table->entries.append(line);
        table->upperEntries.insert(line.toUpper());
    }
    if (badEntrySeen && !TableReading::Linting(loading)) {
        loading.ui.messageBox(QStringLiteral("Hyphen (-) not found in some of the entries in ") + path,
            kProgramTitle, MessageIcon::Warning);
    }
    set.table(SupportFile::HyphenatedTbl) = std::move(table);
    return true;
}

QString ExtractHyphenatedWord(const QString& text, std::int32_t hyphenPosition, HyphenAt mode)
{
    const qsizetype hyphen = hyphenPosition - 1;
    qsizetype first = hyphen;
    while (first > 0 && isWordCharacter(text[first - 1]))
        --first;
    QString word = text.sliced(first, hyphen + 1 - first);
    if (mode == HyphenAt::LineEnd) {
        // After the hyphen come CR and LF; the line break is dropped.
        const qsizetype secondStart = std::min(hyphen + 3, text.size());
        word += QStringView(text).sliced(secondStart, wordRunEnd(text, secondStart) - secondStart);
    } else {
        qsizetype end = wordRunEnd(text, hyphen + 1);
        while (end < text.size() && text[end] == u'-')
            end = wordRunEnd(text, end + 1);
        if (end == hyphen + 1)
            return {};
        word += QStringView(text).sliced(hyphen + 1, end - hyphen - 1);
    }
    if (isNumber(QString(word).remove(QLatin1Char('-'))))
        return {};
    return word;
}

SpellingVerdict SpellCheckWord(SpellingState& spelling, const QString& word)
{
    SpellingAnswer& answer = answerFor(spelling, word);
    if (!answer.misspelt)
        return {};
    SpellingVerdict verdict { true, {} };
    if (!answer.suggested) {
        answer.suggested = true;
        if (spelling.engine)
            answer.suggestions = spelling.engine->Suggest(word, kSuggestionDepth, kSuggestionCount);
    }
    for (QString suggestion : answer.suggestions) {
        // The engine's texts end at their first NUL.
        const qsizetype nul = suggestion.indexOf(QChar(u'\0'));
        if (nul >= 0)
            suggestion.truncate(nul);
        if (suggestion.isEmpty())
            continue;
        if (!verdict.suggestions.isEmpty())
            verdict.suggestions += QStringLiteral(", ");
        verdict.suggestions += suggestion;
    }
    return verdict;
}

namespace {

// What both word checks need of the current element, or nothing for any
// other tag than a start tag.
struct WordCheck {
    QString text;
    const HyphenatedTable* accepted;
    QStringView tagText; // the start tag, named only when a finding is made

    // "<kind><word> found in <tag>", or with the suggestions in its place.
    QString message(const char* kind, const QString& word, const QString& suggestions) const
    {
        QString text = QLatin1String(kind) + word;
        if (suggestions.isEmpty())
            (text += QStringLiteral(" found in ")) += tagText;
        else
            text += QStringLiteral(" Suggested Words: ") + suggestions;
        return text;
    }
};

// Adds to `hyphens` what the text holds: a hyphen, a hyphen just before CR LF.
void scanHyphens(QStringView text, HyphensInElement& hyphens)
{
    for (qsizetype at = text.indexOf(u'-'); at >= 0 && !hyphens.atLineEnd; at = text.indexOf(u'-', at + 1)) {
        hyphens.any = true;
        hyphens.atLineEnd = text.sliced(at + 1).startsWith(u"\r\n");
    }
}

// Whether the element's text can hold what a check looks for. That text is
// the start tag (which ends in ">"), the content with whole elements put
// back as a marker without hyphens, and the end tag (which begins with "<"):
// a hyphen, or one before a line break, found in none of the three parts as
// they stand in the file is in none of the text. Most elements are decided
// so without making their text; both checks of an element share one look.
bool mayHoldHyphen(RuleContext& rule, bool atLineEnd)
{
    const ValidationContext& context = rule.tag;
    auto& cache = rule.ownState<ElementTextCache>();
    if (cache.hyphensAt != context.filePosition || cache.hyphensTag != context.tagText) {
        HyphensInElement& hyphens = cache.hyphens;
        hyphens = {};
        scanHyphens(context.tagText, hyphens);
        scanHyphens(context.tagName, hyphens);
        if (const std::optional<ContentRange> range
            = CurrentElementContent(rule.document, rule.toolkit, context))
            scanHyphens(QStringView(rule.document).sliced(range->start, range->end - range->start), hyphens);
        else
            hyphens = { true, true }; // read the slow way
        cache.hyphensAt = context.filePosition;
        cache.hyphensTag = context.tagText;
    }
    return atLineEnd ? cache.hyphens.atLineEnd : cache.hyphens.any;
}

std::optional<WordCheck> startWordCheck(RuleContext& rule, bool atLineEnd)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType != TagKind::Start || !mayHoldHyphen(rule, atLineEnd))
        return std::nullopt;
    return WordCheck { elementText(rule), acceptedWords(rule), context.tagText };
}

} // namespace

void HYPHENATEDWORDCHECK(RuleContext& rule)
{
    const std::optional<WordCheck> check = startWordCheck(rule, true);
    if (!check)
        return;
    const ValidationContext& context = rule.tag;
    const QString& text = check->text;
    // Every "-" CR LF in turn: the hyphens are found by the library's fast
    // one-character search and the line break looked at after each.
    const auto nextBreak = [&text](qsizetype from) {
        for (qsizetype at = text.indexOf(u'-', from); at >= 0; at = text.indexOf(u'-', at + 1)) {
            if (at + 2 < text.size() && text[at + 1] == u'\r' && text[at + 2] == u'\n')
                return at;
        }
        return qsizetype(-1);
    };
    for (qsizetype hit = nextBreak(0); hit >= 0; hit = nextBreak(hit + 1)) {
        const QString word
            = ExtractHyphenatedWord(text, static_cast<std::int32_t>(hit + 1), HyphenAt::LineEnd);
        bool open = true;
        // A joined form the engine knows means the hyphen should have gone.
        // (An empty word, from a split number, is such a joined form too.)
        if (!word.endsWith(QLatin1Char('-'))
            && isWordKnown(rule.spelling, QString(word).remove(QLatin1Char('-')))) {
            rule.findings.report(rule.parameterSeverity, context.lineNumber,
                check->message("Hyphenated word: ", word, {}), rule.dataFrom(0), context.linePosition);
            open = false;
        }
        if (open && isAccepted(check->accepted, word))
            open = false;
        if (!open)
            continue;
        const SpellingVerdict verdict = SpellCheckWord(rule.spelling, word);
        if (!verdict.misspelt)
            continue;
        rule.findings.report(Severity::Warning, context.lineNumber,
            check->message("Hyphenated word: ", word, verdict.suggestions), rule.dataFrom(0),
            context.linePosition);
    }
}

void COMPOUNDWORDCHECK(RuleContext& rule)
{
    const std::optional<WordCheck> check = startWordCheck(rule, false);
    if (!check)
        return;
    const ValidationContext& context = rule.tag;
    const QString& text = check->text;
    qsizetype hit = text.indexOf(QLatin1Char('-'));
    while (hit >= 0) {
        const QString word
            = ExtractHyphenatedWord(text, static_cast<std::int32_t>(hit + 1), HyphenAt::InLine);
        if (word.isEmpty()) {
            hit = text.indexOf(QLatin1Char('-'), hit + 1);
            continue;
        }
        if (!isAccepted(check->accepted, word)) {
            const SpellingVerdict verdict = SpellCheckWord(rule.spelling, word);
            if (!verdict.misspelt)
                rule.findings.report(Severity::Warning, context.lineNumber,
                    check->message("Compound Word: ", word, {}), rule.dataFrom(0), context.linePosition);
            else
                rule.findings.report(rule.parameterSeverity, context.lineNumber,
                    check->message("Compound Word: ", word, verdict.suggestions), rule.dataFrom(0),
                    context.linePosition);
        }
        // Resuming at the word's first hyphen is deliberate: in "a-b-c" the
        // search goes on at the second hyphen and examines "b-c" as well.
        hit = text.indexOf(QLatin1Char('-'), hit + word.indexOf(QLatin1Char('-')) + 1);
    }
}
