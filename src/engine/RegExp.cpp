#include "engine/RegExp.h"

#include <ctime>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <mutex>

#define PCRE2_CODE_UNIT_WIDTH 16
#include <algorithm>
#include <cstdint>
#include <optional>
#include <pcre2.h>
#include <utility>
#include <vector>

struct CompiledPattern {
    CompiledPattern(pcre2_code* compiledCode, int groups)
        : code(compiledCode)
        , captureCount(groups)
    {
    }
    CompiledPattern(const CompiledPattern&) = delete;
    CompiledPattern& operator=(const CompiledPattern&) = delete;
    ~CompiledPattern() { pcre2_code_free(code); }

    pcre2_code* code;
    int captureCount;
    // The two code units every match begins with, when the pattern says so
    // plainly (a straight run of literal characters at its start).
    std::optional<std::pair<char16_t, char16_t>> leadPair;
};

namespace {

// Give up on one attempt (the search from one start position) after this
// many internal steps: a runaway attempt then fails well within a second
// instead of hanging the run, while a greedy "((\S|\s)*)" over several
// megabytes of content stays well inside it. PCRE2 counts the steps afresh
// at every start position, so this alone does not bound a search that
// backtracks a little less than this from each of many positions; the time
// budget below does.
constexpr std::uint32_t kMatchLimit = 100'000'000;
constexpr std::uint32_t kHeapLimitKiB = 1024 * 1024; // only the interpreter (no JIT) uses the heap
constexpr PCRE2_SIZE kJitStackStart = 64u << 20;
constexpr PCRE2_SIZE kJitStackMax = 256u << 20; // address space is reserved, pages are used on demand
constexpr std::size_t kCacheCapacity = 64;

constexpr std::uint32_t kBaseOptions
    = PCRE2_ALT_BSUX | PCRE2_MATCH_UNSET_BACKREF | PCRE2_DOLLAR_ENDONLY | PCRE2_ALLOW_EMPTY_CLASS;
// Caseless matching of non-ASCII letters needs Unicode properties; the
// translation below keeps \d \w \s \b ASCII in spite of them.
constexpr std::uint32_t kCaselessOptions = PCRE2_CASELESS | PCRE2_UCP;

[[noreturn]] void failPattern(QStringView pattern, const QString& reason)
{
    const QString text = QStringLiteral("Invalid regular expression \"%1\": %2").arg(pattern, reason);
    throw PatternError(text.toStdString());
}

QString pcreMessage(int errorCode)
{
    PCRE2_UCHAR buffer[256];
    const int length = pcre2_get_error_message(errorCode, buffer, sizeof buffer / sizeof buffer[0]);
    if (length < 0)
        return QStringLiteral("error %1").arg(errorCode);
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(buffer), length);
}

// --- Translation from the scripting dialect to PCRE2 syntax -------------------

// A set of code-unit ranges, as \d \w \s and their negations stand for.
using RangeList = std::vector<std::pair<char16_t, char16_t>>;

const RangeList kDigitRanges { { u'0', u'9' } };
const RangeList kWordRanges { { u'0', u'9' }, { u'A', u'Z' }, { u'_', u'_' }, { u'a', u'z' } };
// The scripting object's whitespace: blank, tab, line feed, vertical tab, form
// feed and carriage return; no-break space and the other Unicode blanks are not in it.
const RangeList kSpaceRanges { { u'\t', u'\r' }, { u' ', u' ' } };

RangeList complement(const RangeList& ranges)
{
    RangeList result;
    char32_t next = 0;
    for (const auto& [low, high] : ranges) {
        if (low > next)
            result.emplace_back(char16_t(next), char16_t(low - 1));
        next = char32_t(high) + 1;
    }
    if (next <= 0xFFFF)
        result.emplace_back(char16_t(next), char16_t(0xFFFF));
    return result;
}

// With PCRE2_ALT_BSUX a code unit is written "\uHHHH" (always four digits).
QString codeUnit(char32_t value)
{
    return QStringLiteral("\\u%1").arg(std::uint32_t(value), 4, 16, QChar(u'0'));
}

QString rangesBody(const RangeList& ranges)
{
    QString body;
    for (const auto& [low, high] : ranges)
        body += low == high ? codeUnit(low) : codeUnit(low) + u'-' + codeUnit(high);
    return body;
}

bool isAsciiDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}
bool isOctalDigit(QChar c)
{
    return c >= u'0' && c <= u'7';
}
bool isAsciiLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}
bool isHexDigit(QChar c)
{
    return isAsciiDigit(c) || (c.toLower() >= u'a' && c.toLower() <= u'f');
}

// One element read inside or outside a class: a single code unit or one of
// the class escapes \d \D \w \W \s \S.
struct Atom {
    bool isSet = false;
    char32_t value = 0;
    RangeList ranges;
};

class Translator {
public:
    Translator(QStringView pattern, bool ignoreCase)
        : in_(pattern)
        , ignoreCase_(ignoreCase)
        , groupCount_(countGroups(pattern))
    {
    }

    QString run()
    {
        while (pos_ < in_.size())
            translateNext();
        return out_;
    }

    // Whether a ")" closes no group of its own: wrapped in a group, the
    // pattern would then compile with another meaning.
    bool closesUnopenedGroup() const { return closesUnopened_; }
    // Whether the pattern has no choice to make: no quantifier, alternative
    // or back-reference. Each attempt then walks the pattern once.
    bool straight() const { return straight_; }
    // Whether the pattern's top level is a choice between alternatives.
    bool topLevelAlternative() const { return topLevelAlternative_; }
    // Where in the translated pattern the first top-level item with a
    // choice in it begins; -1 when there is none.
    qsizetype firstChoiceItem() const { return calloutAt_; }

    static int countGroups(QStringView pattern)
    {
        int count = 0;
        bool inClass = false;
        for (qsizetype i = 0; i < pattern.size(); ++i) {
            const QChar c = pattern[i];
            if (c == u'\\')
                ++i;
            else if (c == u'[')
                inClass = true;
            else if (c == u']')
                inClass = false;
            else if (c == u'(' && !inClass && !(i + 1 < pattern.size() && pattern[i + 1] == u'?'))
                ++count;
        }
        return count;
    }

private:
    bool atEnd() const { return pos_ >= in_.size(); }
    QChar peek(qsizetype ahead = 0) const
    {
        return pos_ + ahead < in_.size() ? in_[pos_ + ahead] : QChar(u'\0');
    }
    bool has(qsizetype ahead) const { return pos_ + ahead < in_.size(); }
    [[noreturn]] void fail(const QString& reason) const
    {
        failPattern(in_, reason + QStringLiteral(" at offset %1").arg(pos_));
    }

    // Without ignore-case "(?:" does; with it "(?-i:" stops the Unicode case
    // folding from letting the Kelvin sign or the long s into an ASCII class.
    QString asciiGroup(const QString& body) const
    {
        return (ignoreCase_ ? QStringLiteral("(?-i:") : QStringLiteral("(?:")) + body + u')';
    }

    QString wordBoundary(bool atBoundary) const
    {
        const QString word = u'[' + rangesBody(kWordRanges) + u']';
        // Before an item that must take a word character the boundary only
        // depends on the character before it. The single look-behind is the
        // same test, and it lets the engine give up at once inside a word:
        // "\b(\w+)" is tried at every letter of a text, and the two-way
        // choice was most of its time.
        if (wordCharacterFollows())
            return asciiGroup((atBoundary ? QStringLiteral("(?<!") : QStringLiteral("(?<=")) + word + u')');
        const QString before = QStringLiteral("(?<=") + word + u')';
        const QString notBefore = QStringLiteral("(?<!") + word + u')';
        const QString after = QStringLiteral("(?=") + word + u')';
        const QString notAfter = QStringLiteral("(?!") + word + u')';
        return atBoundary ? asciiGroup(before + notAfter + u'|' + notBefore + after)
                          : asciiGroup(before + after + u'|' + notBefore + notAfter);
    }

    void translateNext()
    {
        // A new item of the pattern's top level begins here, unless this
        // closes a group or repeats or divides what came before.
        if (openGroups_ == 0 && QStringView(u")|*+?{").indexOf(in_[pos_]) < 0)
            itemStart_ = out_.size();
        const QChar c = in_[pos_++];
        switch (c.unicode()) {
        case u'\\':
            translateEscape();
            break;
        case u'[':
            translateClass();
            break;
        case u'(':
            translateGroupOpening();
            break;
        case u')':
            if (openGroups_ == 0)
                closesUnopened_ = true;
            else
                --openGroups_;
            out_ += c;
            break;
        case u'|':
            if (openGroups_ == 0)
                topLevelAlternative_ = true;
            noteChoice();
            out_ += c;
            break;
        case u'^':
        case u'$':
            out_ += c;
            break;
        case u'.':
            out_ += QStringLiteral("[^\\u000a\\u000d\\u2028\\u2029]");
            break;
        case u'*':
        case u'+':
        case u'?':
            out_ += c;
            finishQuantifier();
            break;
        case u'{':
            if (!translateBraceQuantifier()) {
                if (openGroups_ == 0)
                    itemStart_ = out_.size(); // a literal brace is an item of its own
                emitLiteral(c.unicode());
            }
            break;
        default:
            emitLiteral(c.unicode());
        }
    }

    // A quantifier, an alternative or a back-reference: an attempt may try
    // more than one way from here, so the top-level item that holds it is
    // where a check of the time budget goes.
    void noteChoice()
    {
        straight_ = false;
        if (calloutAt_ < 0)
            calloutAt_ = itemStart_;
    }

    void emitLiteral(char32_t value)
    {
        const QChar c { char16_t(value) };
        const QChar upper = c.toUpper();
        // Unicode folding would let "k" and "s" match the Kelvin sign and the long s;
        // the scripting object never folds an ASCII letter onto a non-ASCII one.
        if (ignoreCase_ && (upper == u'K' || upper == u'S'))
            out_ += asciiGroup(u'[' + QString(c.toLower()) + upper + u']');
        else if (value < 0x80 && (isAsciiLetter(c) || isAsciiDigit(c)))
            out_ += c;
        else
            out_ += codeUnit(value);
    }

    // A class needs the group only where case folding could widen it: a
    // group around a repeated class makes the engine repeat a group, a good
    // deal slower than repeating the class itself.
    void emitSet(const RangeList& ranges)
    {
        const QString set = u'[' + rangesBody(ranges) + u']';
        const bool holdsNoLetter = ranges == kDigitRanges || ranges == kSpaceRanges;
        out_ += ignoreCase_ && !holdsNoLetter ? asciiGroup(set) : set;
    }

    void finishQuantifier()
    {
        noteChoice();
        if (peek() == u'?' && has(0))
            out_ += in_[pos_++];
        if (peek() == u'+' && has(0))
            fail(QStringLiteral("possessive quantifiers are not supported"));
    }

    // "{n}", "{n,}" and "{n,m}" repeat; any other brace is a literal character.
    bool translateBraceQuantifier()
    {
        qsizetype i = pos_;
        auto digits = [&] {
            const qsizetype start = i;
            while (i < in_.size() && isAsciiDigit(in_[i]))
                ++i;
            return i > start;
        };
        if (!digits())
            return false;
        if (i < in_.size() && in_[i] == u',') {
            ++i;
            digits();
        }
        if (i >= in_.size() || in_[i] != u'}')
            return false;
        out_ += u'{' + in_.sliced(pos_, i + 1 - pos_).toString();
        pos_ = i + 1;
        finishQuantifier();
        return true;
    }

    void translateGroupOpening()
    {
        ++openGroups_; // every opening below that does not fail is a group
        if (peek() != u'?' || !has(0)) {
            out_ += u'(';
            return;
        }
        if (!has(1))
            fail(QStringLiteral("missing \")\""));
        const QChar kind = peek(1);
        if (kind == u':' || kind == u'=' || kind == u'!') {
            out_ += u'(' + QString(u'?') + kind;
            pos_ += 2;
            return;
        }
        if (kind == u'<' && (peek(2) == u'=' || peek(2) == u'!'))
            fail(QStringLiteral("lookbehind assertions are not supported"));
        if (kind == u'<' || kind == u'P' || kind == u'\'')
            fail(QStringLiteral("named groups are not supported"));
        if (kind == u'>')
            fail(QStringLiteral("atomic groups are not supported"));
        fail(QStringLiteral("the group construct \"(?%1\" is not supported").arg(kind));
    }

    // Whether the input from pos_ on is "\w", or a capturing group that
    // begins with "\w" and holds no alternative, taken at least once. The
    // look is narrow on purpose: anything else keeps the full boundary test.
    bool wordCharacterFollows() const
    {
        const auto optional
            = [&](qsizetype at) { return at < in_.size() && QStringView(u"?*{").contains(in_[at]); };
        const auto isWordEscape
            = [&](qsizetype at) { return at + 1 < in_.size() && in_[at] == u'\\' && in_[at + 1] == u'w'; };
        if (isWordEscape(pos_))
            return !optional(pos_ + 2);
        if (pos_ >= in_.size() || in_[pos_] != u'(' || !isWordEscape(pos_ + 1) || optional(pos_ + 3))
            return false;
        // The group's end: no "|" of its own on the way, and no quantifier
        // after it that would let it be skipped.
        int depth = 1;
        bool inClass = false;
        for (qsizetype i = pos_ + 1; i < in_.size(); ++i) {
            const QChar c = in_[i];
            if (c == u'\\') {
                ++i;
            } else if (inClass) {
                inClass = c != u']';
            } else if (c == u'[') {
                inClass = true;
            } else if (c == u'(') {
                ++depth;
            } else if (c == u'|' && depth == 1) {
                return false;
            } else if (c == u')' && --depth == 0) {
                return !optional(i + 1);
            }
        }
        return false;
    }

    void translateEscape()
    {
        if (atEnd())
            fail(QStringLiteral("\"\\\" at the end of the pattern"));
        const QChar c = in_[pos_];
        switch (c.unicode()) {
        case u'b':
        case u'B':
            ++pos_;
            out_ += wordBoundary(c == u'b');
            return;
        case u'1':
        case u'2':
        case u'3':
        case u'4':
        case u'5':
        case u'6':
        case u'7':
        case u'8':
        case u'9':
            if (translateBackReference())
                return;
            break;
        default:
            break;
        }
        const Atom atom = readEscapeAtom(false);
        if (atom.isSet)
            emitSet(atom.ranges);
        else
            emitLiteral(atom.value);
    }

    // "\n" is a back-reference when the pattern has at least n groups;
    // otherwise it falls back to an octal escape or a literal digit.
    bool translateBackReference()
    {
        qsizetype end = pos_;
        qint64 number = 0;
        while (end < in_.size() && isAsciiDigit(in_[end])) {
            number = std::min<qint64>(number * 10 + in_[end].digitValue(), 1'000'000);
            ++end;
        }
        if (number > groupCount_)
            return false;
        noteChoice();
        out_ += QStringLiteral("(?:\\g{%1})").arg(number);
        pos_ = end;
        return true;
    }

    // Reads the escape whose backslash was already consumed. Inside a class
    // "\b" is a backspace and "\B" a plain B.
    Atom readEscapeAtom(bool inClass)
    {
        const QChar c = in_[pos_++];
        auto single = [](char32_t value) { return Atom { false, value, {} }; };
        auto set = [](const RangeList& ranges) { return Atom { true, 0, ranges }; };
        switch (c.unicode()) {
        case u'd':
            return set(kDigitRanges);
        case u'D':
            return set(complement(kDigitRanges));
        case u'w':
            return set(kWordRanges);
        case u'W':
            return set(complement(kWordRanges));
        case u's':
            return set(kSpaceRanges);
        case u'S':
            return set(complement(kSpaceRanges));
        case u'f':
            return single(0x0C);
        case u'n':
            return single(0x0A);
        case u'r':
            return single(0x0D);
        case u't':
            return single(0x09);
        case u'v':
            return single(0x0B);
        case u'b':
            return single(inClass ? 0x08 : u'b');
        case u'c':
            if (!atEnd() && isAsciiLetter(peek()))
                return single(in_[pos_++].unicode() % 32);
            --pos_; // an incomplete control escape is a backslash followed by "c"
            return single(u'\\');
        case u'x':
            return single(readHex(2).value_or(u'x'));
        case u'u':
            return single(readHex(4).value_or(u'u'));
        default:
            break;
        }
        if (isOctalDigit(c))
            return single(readOctal(c));
        return single(c.unicode()); // any other escaped character stands for itself
    }

    std::optional<char32_t> readHex(int count)
    {
        if (pos_ + count > in_.size())
            return std::nullopt;
        char32_t value = 0;
        for (int i = 0; i < count; ++i) {
            const QChar c = in_[pos_ + i];
            if (!isHexDigit(c))
                return std::nullopt;
            value = value * 16 + (isAsciiDigit(c) ? c.digitValue() : c.toLower().unicode() - u'a' + 10);
        }
        pos_ += count;
        return value;
    }

    // Up to three octal digits, never above 0377 (so "\400" is "\40" then "0").
    char32_t readOctal(QChar first)
    {
        char32_t value = first.digitValue();
        const int maxDigits = first <= u'3' ? 3 : 2;
        for (int digits = 1; digits < maxDigits && !atEnd() && isOctalDigit(peek()); ++digits)
            value = value * 8 + in_[pos_++].digitValue();
        return value;
    }

    Atom readClassAtom()
    {
        const QChar c = in_[pos_++];
        if (c != u'\\')
            return Atom { false, c.unicode(), {} };
        if (atEnd())
            fail(QStringLiteral("\"\\\" at the end of the pattern"));
        return readEscapeAtom(true);
    }

    void translateClass()
    {
        QString body;
        const bool negated = peek() == u'^' && has(0);
        if (negated)
            ++pos_;
        while (!atEnd() && peek() != u']') {
            const Atom first = readClassAtom();
            if (peek() == u'-' && has(1) && peek(1) != u']') {
                ++pos_;
                const Atom last = readClassAtom();
                body += classRange(first, last);
            } else {
                body += first.isSet ? rangesBody(first.ranges) : codeUnit(first.value);
            }
        }
        if (atEnd())
            fail(QStringLiteral("missing \"]\" at the end of a character class"));
        ++pos_;
        out_ += (negated ? QStringLiteral("[^") : QStringLiteral("[")) + body + u']';
    }

    // A range between two class escapes, or between one and a character, is
    // read as both ends and a literal hyphen.
    QString classRange(const Atom& first, const Atom& last) const
    {
        auto text
            = [](const Atom& atom) { return atom.isSet ? rangesBody(atom.ranges) : codeUnit(atom.value); };
        if (first.isSet || last.isSet)
            return text(first) + codeUnit(u'-') + text(last);
        if (first.value > last.value)
            fail(QStringLiteral("range out of order in character class"));
        return codeUnit(first.value) + u'-' + codeUnit(last.value);
    }

    QStringView in_;
    bool ignoreCase_;
    int groupCount_;
    qsizetype pos_ = 0;
    QString out_;
    int openGroups_ = 0;
    bool closesUnopened_ = false;
    bool straight_ = true;
    bool topLevelAlternative_ = false;
    qsizetype itemStart_ = 0;
    qsizetype calloutAt_ = -1;
};

// --- Compiled-pattern cache and match resources --------------------------------

pcre2_code* compileTranslated(
    const QString& translated, std::uint32_t options, int& errorCode, PCRE2_SIZE& errorOffset)
{
    return pcre2_compile(reinterpret_cast<PCRE2_SPTR>(translated.utf16()), translated.size(), options,
        &errorCode, &errorOffset, nullptr);
}

// Every attempt of a search (the match from one start position) that gets
// as far as the pattern's first choice passes a callout that checks the
// search's time budget, so the budget holds whether the search ever matches
// or not. Neither limit of PCRE2 does this: the match limit counts afresh at
// every start position, and a repeat of one character class ("[^<]*")
// counts nothing while it reads megabytes, so many attempts each under the
// limit can run for hours. An attempt in between callouts is bounded by the
// match limit and the text's length. A callout costs about a hundred
// instructions, so attempts that fail in the straight items before the
// first choice (most of them) never reach it, and a straight pattern goes
// without: an attempt walks it once, and a search of up to kStraightLength
// units costs far less than the budget's one second per million code units.
constexpr qsizetype kStraightLength = 256;

// The first two code units of a straight translated pattern, when both are
// literal: groups without a choice in them only gather what they hold.
// Letters are read as the translation writes them (plain, or in "(?-i:"
// where case could fold them), so under ignore-case only what has no case
// counts.
std::optional<std::pair<char16_t, char16_t>> leadingPair(QStringView translated, bool ignoreCase)
{
    char16_t units[2] = {};
    int found = 0;
    qsizetype i = 0;
    while (found < 2 && i < translated.size()) {
        const QStringView rest = translated.sliced(i);
        if (rest.startsWith(u"(?:")) {
            i += 3;
        } else if (rest.front() == u'(' && !rest.startsWith(u"(?")) {
            ++i;
        } else if (rest.front() == u')') {
            ++i;
        } else if (rest.startsWith(u"\\u") && rest.size() >= 6) {
            bool ok = false;
            const uint value = rest.sliced(2, 4).toUInt(&ok, 16);
            if (!ok || (ignoreCase && value >= 0x80))
                return std::nullopt;
            units[found++] = char16_t(value);
            i += 6;
        } else if (isAsciiDigit(rest.front()) || (!ignoreCase && isAsciiLetter(rest.front()))) {
            units[found++] = rest.front().unicode();
            ++i;
        } else {
            return std::nullopt;
        }
    }
    if (found < 2)
        return std::nullopt;
    return std::pair { units[0], units[1] };
}

// Where the two units next stand side by side, from `from` on; -1 if nowhere.
// The engine looks for the first unit alone, which for a pair such as two
// blanks stops at every word: this looks at both at once.
qsizetype indexOfPair(QStringView text, qsizetype from, std::pair<char16_t, char16_t> pair)
{
    const char16_t* units = text.utf16();
    const qsizetype last = text.size() - 1; // the pair's first unit stands before it
    qsizetype i = from;
#if defined(__SSE2__)
    const __m128i first = _mm_set1_epi16(short(pair.first));
    const __m128i second = _mm_set1_epi16(short(pair.second));
    for (; i + 8 <= last; i += 8) {
        const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + i));
        const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + i + 1));
        const __m128i both = _mm_and_si128(_mm_cmpeq_epi16(here, first), _mm_cmpeq_epi16(next, second));
        if (const int mask = _mm_movemask_epi8(both))
            return i + qsizetype(__builtin_ctz(unsigned(mask)) / 2);
    }
#endif
    for (; i < last; ++i) {
        if (units[i] == pair.first && units[i + 1] == pair.second)
            return i;
    }
    return -1;
}

std::shared_ptr<const CompiledPattern> compilePattern(const QString& pattern, bool ignoreCase)
{
    Translator translator(pattern, ignoreCase);
    const QString translated = translator.run();
    const std::uint32_t options = kBaseOptions | (ignoreCase ? kCaselessOptions : 0);
    int errorCode = 0;
    PCRE2_SIZE errorOffset = 0;
    pcre2_code* code = nullptr;
    if (translator.straight() && translated.size() <= kStraightLength) {
        code = compileTranslated(translated, options, errorCode, errorOffset);
    } else if (translator.topLevelAlternative()) {
        // Every alternative is an attempt of its own: the check goes in front of them all.
        if (!translator.closesUnopenedGroup())
            code = compileTranslated(
                QStringLiteral("(?C)(?:") + translated + u')', options, errorCode, errorOffset);
    } else {
        // An attempt that fails in the straight items before the first
        // choice costs no more than they are long, so the check goes after
        // them: attempts that fail at once, the common kind, skip it.
        const qsizetype at = std::max<qsizetype>(translator.firstChoiceItem(), 0);
        code = compileTranslated(translated.first(at) + QStringLiteral("(?C)") + translated.sliced(at),
            options, errorCode, errorOffset);
    }
    if (!code) {
        // The pattern as it stands tells what is wrong with it; the offset is
        // PCRE2's, in the pattern as handed to it: where the translation
        // changed the pattern, that text is named too.
        if (pcre2_code* plain = compileTranslated(translated, options, errorCode, errorOffset)) {
            // Only what must stand at the very start of a pattern, such as
            // "(*UTF)", compiles alone but not after the callout.
            pcre2_code_free(plain);
            failPattern(pattern, QStringLiteral("\"(*\" at the start of a pattern is not supported"));
        }
        const QString where = translated == pattern
            ? QStringLiteral(" at offset %1").arg(errorOffset)
            : QStringLiteral(" at offset %1 of \"%2\"").arg(errorOffset).arg(translated);
        failPattern(pattern, pcreMessage(errorCode) + where);
    }
    // Without JIT support the interpreter does the same work, only slower.
    pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
    std::uint32_t groups = 0;
    pcre2_pattern_info(code, PCRE2_INFO_CAPTURECOUNT, &groups);
    auto compiled = std::make_shared<CompiledPattern>(code, int(groups));
    if (translator.straight())
        compiled->leadPair = leadingPair(translated, ignoreCase);
    return compiled;
}

// Rules build the same few patterns again for every tag, so the compiled
// form is kept, least recently used first out.
class PatternCache {
public:
    std::shared_ptr<const CompiledPattern> get(const QString& pattern, bool ignoreCase)
    {
        ++clock_;
        for (Entry& entry : entries_) {
            if (entry.ignoreCase == ignoreCase && entry.pattern == pattern) {
                entry.lastUse = clock_;
                return entry.compiled;
            }
        }
        auto compiled = compilePattern(pattern, ignoreCase);
        Entry fresh { pattern, ignoreCase, compiled, clock_ };
        if (entries_.size() < kCacheCapacity) {
            entries_.push_back(std::move(fresh));
        } else {
            auto oldest = std::min_element(entries_.begin(), entries_.end(),
                [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; });
            *oldest = std::move(fresh);
        }
        return compiled;
    }

private:
    struct Entry {
        QString pattern;
        bool ignoreCase;
        std::shared_ptr<const CompiledPattern> compiled;
        std::uint64_t lastUse;
    };
    std::vector<Entry> entries_;
    std::uint64_t clock_ = 0;
};

PatternCache& patternCache()
{
    thread_local PatternCache cache;
    return cache;
}

// One match context with its JIT stack per thread, made on the first search.
class MatchResources {
public:
    MatchResources()
    {
        context_ = pcre2_match_context_create(nullptr);
        jitStack_ = pcre2_jit_stack_create(kJitStackStart, kJitStackMax, nullptr);
        if (!context_ || !jitStack_)
            throw PatternError("Not enough memory for regular-expression matching");
        pcre2_jit_stack_assign(context_, nullptr, jitStack_);
        pcre2_set_match_limit(context_, kMatchLimit);
        pcre2_set_heap_limit(context_, kHeapLimitKiB);
    }
    MatchResources(const MatchResources&) = delete;
    MatchResources& operator=(const MatchResources&) = delete;
    ~MatchResources()
    {
        pcre2_match_context_free(context_);
        pcre2_jit_stack_free(jitStack_);
    }
    pcre2_match_context* context() const { return context_; }

private:
    pcre2_match_context* context_ = nullptr;
    pcre2_jit_stack* jitStack_ = nullptr;
};

pcre2_match_context* matchContext()
{
    thread_local MatchResources resources;
    return resources.context();
}

struct MatchDataDeleter {
    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
};
using MatchData = std::unique_ptr<pcre2_match_data, MatchDataDeleter>;

// Match data is made once per thread and nesting depth and reused by every
// search, so that a search costs no allocation. A visitor may search again
// (with another expression) while its own search is under way: that inner
// search takes the next slot, and the outer one reads nothing of its slot
// after the visitor has run.
class MatchDataPool {
public:
    class Lease {
    public:
        Lease(MatchDataPool& pool, int pairs)
            : pool_(pool)
        {
            const std::size_t depth = pool_.depth_++;
            if (pool_.slots_.size() <= depth)
                pool_.slots_.emplace_back();
            Slot& slot = pool_.slots_[depth];
            if (slot.pairs < pairs) {
                slot.data.reset(pcre2_match_data_create(std::uint32_t(pairs), nullptr));
                slot.pairs = slot.data ? pairs : 0;
            }
            if (!slot.data) {
                --pool_.depth_;
                throw PatternError("Not enough memory for regular-expression matching");
            }
            data_ = slot.data.get();
        }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease() { --pool_.depth_; }
        pcre2_match_data* get() const { return data_; }

    private:
        MatchDataPool& pool_;
        pcre2_match_data* data_ = nullptr;
    };

private:
    struct Slot {
        MatchData data;
        int pairs = 0;
    };
    std::vector<Slot> slots_;
    std::size_t depth_ = 0;
};

MatchDataPool& matchDataPool()
{
    thread_local MatchDataPool pool;
    return pool;
}

// The monotonic clock at its coarse resolution (a few milliseconds): plenty
// for a budget of seconds, and cheap enough to read at every attempt.
qint64 coarseMilliseconds()
{
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return qint64(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

// The time one search may take, from its first attempt on.
struct SearchBudget {
    qint64 limitMs = 0;
    qint64 startedMs = -1;
};

// The callout at the start of every attempt: ends the search once its budget is spent.
int checkBudget(pcre2_callout_block*, void* data)
{
    auto& budget = *static_cast<SearchBudget*>(data);
    const qint64 now = coarseMilliseconds();
    if (budget.startedMs < 0)
        budget.startedMs = now;
    else if (now - budget.startedMs > budget.limitMs)
        return PCRE2_ERROR_CALLOUT;
    return 0;
}

// Expands one "$" token of a replacement at position i (which holds "$");
// returns how many characters of the replacement it used.
qsizetype expandToken(
    QStringView replacement, qsizetype i, const RegExpMatch& match, QStringView text, QString& out)
{
    const QChar next = i + 1 < replacement.size() ? replacement[i + 1] : QChar(u'\0');
    const int groups = int(match.submatches.size());
    if (i + 1 >= replacement.size()) {
        out += u'$';
        return 1;
    }
    switch (next.unicode()) {
    case u'$':
        out += u'$';
        return 2;
    case u'&':
        out += match.value;
        return 2;
    case u'`':
        out += text.first(match.index);
        return 2;
    case u'\'':
        out += text.sliced(match.index + match.length);
        return 2;
    default:
        break;
    }
    if (!isAsciiDigit(next)) {
        out += u'$';
        return 1;
    }
    // Two digits win when they name an existing group ("$10" with ten groups),
    // else one digit followed by a literal digit; "$0" and unknown groups stay as written.
    if (i + 2 < replacement.size() && isAsciiDigit(replacement[i + 2])) {
        const int twoDigits = next.digitValue() * 10 + replacement[i + 2].digitValue();
        if (twoDigits >= 1 && twoDigits <= groups) {
            out += match.submatches[twoDigits - 1];
            return 3;
        }
    }
    const int oneDigit = next.digitValue();
    if (oneDigit >= 1 && oneDigit <= groups) {
        out += match.submatches[oneDigit - 1];
        return 2;
    }
    out += u'$';
    return 1;
}

RegExpMatch matchFromOffsets(QStringView text, const PCRE2_SIZE* offsets, int captureCount)
{
    RegExpMatch match;
    match.index = qsizetype(offsets[0]);
    match.length = qsizetype(offsets[1] - offsets[0]);
    match.value = text.sliced(match.index, match.length).toString();
    for (int group = 1; group <= captureCount; ++group) {
        const PCRE2_SIZE from = offsets[2 * group];
        const PCRE2_SIZE to = offsets[2 * group + 1];
        match.submatches.append(from == PCRE2_UNSET ? QString() : text.sliced(from, to - from).toString());
    }
    return match;
}

} // namespace

RegExp::RegExp(QString pattern, bool global, bool ignoreCase)
    : pattern_(std::move(pattern))
    , global_(global)
    , ignoreCase_(ignoreCase)
{
}

RegExp::RegExp(const RegExp& other)
    : pattern_(other.pattern_)
    , searchBudgetMs_(other.searchBudgetMs_)
    , global_(other.global_)
    , ignoreCase_(other.ignoreCase_)
{
    // Only a published compiled form is taken over; it never changes again.
    if (const CompiledPattern* ready = other.ready_.load(std::memory_order_acquire)) {
        compiled_ = other.compiled_;
        ready_.store(ready, std::memory_order_relaxed);
    }
}

RegExp& RegExp::operator=(const RegExp& other)
{
    if (this != &other) {
        RegExp copy(other);
        pattern_ = std::move(copy.pattern_);
        searchBudgetMs_ = copy.searchBudgetMs_;
        global_ = copy.global_;
        ignoreCase_ = copy.ignoreCase_;
        compiled_ = std::move(copy.compiled_);
        ready_.store(copy.ready_.load(std::memory_order_relaxed), std::memory_order_relaxed);
    }
    return *this;
}

void RegExp::forget()
{
    compiled_.reset();
    ready_.store(nullptr, std::memory_order_relaxed);
}

void RegExp::setPattern(QString pattern)
{
    pattern_ = std::move(pattern);
    forget();
}

void RegExp::setIgnoreCase(bool ignoreCase)
{
    if (ignoreCase != ignoreCase_)
        forget();
    ignoreCase_ = ignoreCase;
}

const CompiledPattern& RegExp::compiled() const
{
    if (const CompiledPattern* ready = ready_.load(std::memory_order_acquire))
        return *ready;
    // Tables share their expressions between the threads of a batch. The
    // first search of an expression publishes its compiled form once; every
    // later one reads it with a single load.
    auto fresh = patternCache().get(pattern_, ignoreCase_);
    static std::mutex publishing;
    const std::lock_guard lock(publishing);
    if (!ready_.load(std::memory_order_relaxed)) {
        compiled_ = std::move(fresh);
        ready_.store(compiled_.get(), std::memory_order_release);
    }
    return *ready_.load(std::memory_order_relaxed);
}

int RegExp::captureCount() const
{
    return compiled().captureCount;
}

// Calls visit(offsets) for the first match, or for every match when `all` is
// on. The offsets are PCRE2's output vector: they are valid only during the
// call, so a visitor copies what it keeps.
template <typename Visitor> void RegExp::forEachMatch(QStringView text, bool all, Visitor&& visit) const
{
    const CompiledPattern& pattern = compiled();
    pcre2_match_context* context = matchContext();
    const MatchDataPool::Lease data(matchDataPool(), pattern.captureCount + 1);
    static const char16_t empty[1] = {};
    const auto* subject = reinterpret_cast<PCRE2_SPTR>(text.utf16() ? text.utf16() : empty);
    PCRE2_SIZE start = 0;
    // The whole search, all its calls together, gets a time budget that grows
    // with the text, far above what any sound pattern needs.
    SearchBudget budget { searchBudgetMs_ + text.size() / 1000 }; // + 1 s per million code units
    while (start <= PCRE2_SIZE(text.size())) {
        // A visitor's own search points the thread's context at its budget:
        // every call points it back.
        pcre2_set_callout(context, checkBudget, &budget);
        if (pattern.leadPair) {
            const qsizetype lead = indexOfPair(text, qsizetype(start), *pattern.leadPair);
            if (lead < 0)
                return;
            start = PCRE2_SIZE(lead);
        }
        const int rc = pcre2_match(pattern.code, subject, text.size(), start, 0, data.get(), context);
        if (rc == PCRE2_ERROR_NOMATCH)
            return;
        if (rc == PCRE2_ERROR_CALLOUT) {
            const QString reason
                = QStringLiteral("Regular expression \"%1\" failed: the search took longer than "
                                 "%2 ms")
                      .arg(pattern_)
                      .arg(budget.limitMs);
            throw PatternError(reason.toStdString());
        }
        if (rc < 0) {
            const QString reason
                = QStringLiteral("Regular expression \"%1\" failed: %2").arg(pattern_, pcreMessage(rc));
            throw PatternError(reason.toStdString());
        }
        const PCRE2_SIZE* offsets = pcre2_get_ovector_pointer(data.get());
        // An empty match would be found again at the same place: move on by one code unit.
        const PCRE2_SIZE next = offsets[1] == offsets[0] ? offsets[1] + 1 : offsets[1];
        visit(offsets, pattern.captureCount);
        if (!all)
            return;
        start = next;
    }
}

bool RegExp::test(QStringView text) const
{
    bool found = false;
    forEachMatch(text, false, [&](const PCRE2_SIZE*, int) { found = true; });
    return found;
}

qsizetype RegExp::countMatches(QStringView text) const
{
    qsizetype count = 0;
    forEachMatch(text, true, [&](const PCRE2_SIZE*, int) { ++count; });
    return count;
}

void RegExp::visitMatches(QStringView text, const std::function<void(const RegExpMatch&)>& visit) const
{
    forEachMatch(text, global_,
        [&](const PCRE2_SIZE* offsets, int groups) { visit(matchFromOffsets(text, offsets, groups)); });
}

QList<RegExpMatch> RegExp::execute(QStringView text) const
{
    QList<RegExpMatch> matches;
    forEachMatch(text, global_, [&](const PCRE2_SIZE* offsets, int groups) {
        matches.append(matchFromOffsets(text, offsets, groups));
    });
    return matches;
}

QString RegExp::replace(QStringView text, QStringView replacement) const
{
    QString result;
    qsizetype copiedUpTo = 0;
    forEachMatch(text, global_, [&](const PCRE2_SIZE* offsets, int groups) {
        const RegExpMatch match = matchFromOffsets(text, offsets, groups);
        result += text.sliced(copiedUpTo, match.index - copiedUpTo);
        for (qsizetype i = 0; i < replacement.size();) {
            if (replacement[i] == u'$') {
                i += expandToken(replacement, i, match, text, result);
            } else {
                result += replacement[i];
                ++i;
            }
        }
        copiedUpTo = match.index + match.length;
    });
    result += text.sliced(copiedUpTo);
    return result;
}
