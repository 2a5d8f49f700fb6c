#include "Corpus.h"

#include <cstdio>
#include <iterator>

namespace Corpus {
namespace {

// splitmix64: tiny, and the same numbers everywhere (the standard library's
// distributions are not).
class Random {
public:
    explicit Random(std::uint64_t seed)
        : state_(seed)
    {
    }
    std::uint64_t next()
    {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    int below(int bound) { return static_cast<int>(next() % static_cast<std::uint64_t>(bound)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    template <typename List> const char* pick(const List& list) { return list[below(int(std::size(list)))]; }

private:
    std::uint64_t state_;
};

constexpr const char* kNouns[] = { "liner", "cell", "sample", "probe", "layer", "clay", "barrier", "column",
    "gradient", "season", "record", "measurement", "method", "model", "field", "test", "result", "value",
    "surface", "station", "ledger", "harbour", "cargo", "vessel", "clerk", "entry", "account", "voyage",
    "river", "survey", "pressure", "moisture", "profile", "boundary", "structure", "pattern" };
constexpr const char* kVerbs[] = { "shows", "reaches", "follows", "changes", "records", "remains", "exceeds",
    "supports", "reduces", "controls", "describes", "affects", "confirms", "matches", "covers", "holds" };
constexpr const char* kAdjectives[] = { "compacted", "seasonal", "hydraulic", "dry", "wet", "lower", "upper",
    "annual", "careful", "early", "later", "regular", "thin", "dense", "coastal", "local", "detailed",
    "uniform", "average", "complete" };
constexpr const char* kJoins[] = { "and", "while", "because", "although", "so that", "whereas", "since" };
// Compounds the sample's hyphenated-word table accepts.
constexpr const char* kCompounds[] = { "time-domain", "field-scale", "long-term", "well-known",
    "cross-section", "self-healing", "follow-up" };
constexpr const char* kInline[] = { "i", "b" };
// Syllables of made-up words no dictionary knows: unknown stems joined to a
// noun, and hyphenated at line ends.
constexpr const char* kSyllables[] = { "bra", "vel", "tor", "qui", "zen", "mol", "dra", "pex", "lun", "sor",
    "gri", "fax", "nex", "tol", "vyr", "carn", "plo", "ster", "mi", "dox" };
// Unknown stems of the spelling-heavy text, each written in one compound and
// one line-end hyphenation: any MB of the text holds about 600 distinct words
// the dictionary does not know, and a batch of several MB repeats them, as a
// journal's vocabulary repeats from article to article.
constexpr int kUnknownStems = 300;
// Words the dictionary knows whole, split at their line end.
constexpr const char* kSplitKnown[][2] = { { "hydrau", "lic" }, { "measure", "ment" }, { "pres", "sure" },
    { "struc", "ture" }, { "bound", "ary" } };

QByteArray unknownStem(int index)
{
    const int size = int(std::size(kSyllables));
    QByteArray stem = QByteArray(kSyllables[index % size]) + kSyllables[(index / size) % size];
    return stem + (index / (size * size) % 2 == 0 ? "vic" : "ane");
}

// Builds one document line by line; every line ends with CR LF.
class Writer {
public:
    Writer(std::uint64_t seed, std::int64_t bytes, const Style& style = {})
        : random_(seed)
        , target_(bytes)
        , nextFinding_(randomGap())
        , style_(style)
    {
    }

    QByteArray article(std::uint64_t seed);
    QByteArray chapter(std::uint64_t seed);

private:
    int randomGap() { return random_.between(4000, 8000); } // some seeded mistakes give two findings
    void line(const QByteArray& text)
    {
        out_ += text;
        out_ += "\r\n";
    }
    bool full() const { return out_.size() >= target_; }
    // Whether the next paragraph carries a seeded finding.
    bool findingDue()
    {
        if (out_.size() < nextFinding_)
            return false;
        nextFinding_ = out_.size() + randomGap();
        return true;
    }

    // A word written twice in a row is a finding of its own: never the last one again.
    QByteArray word(const char* const* list, int size, const char*& last)
    {
        int index = random_.below(size);
        if (list[index] == last)
            index = (index + 1) % size;
        last = list[index];
        return last;
    }
    QByteArray sentence();
    QByteArray compound();
    void lineEndHyphenation(QByteArray& text);
    QByteArray paragraphText(int sentences);
    void paragraph(const char* tag);
    void footnote(QByteArray& text);
    void figure();
    void table();
    void list();
    void seededFinding(const char* tag);

    Random random_;
    std::int64_t target_;
    std::int64_t nextFinding_;
    QByteArray out_;
    int footnotes_ = 0;
    int figures_ = 0;
    int tables_ = 0;
    const char* lastWord_ = nullptr;
    QByteArray idPrefix_;
    Style style_;
};

// A hyphenated compound: unknown to the dictionary, known in its parts but
// not in the accepted table, or accepted.
QByteArray Writer::compound()
{
    const int kind = random_.below(20);
    if (kind < 9) {
        const int stem = random_.below(kUnknownStems);
        return unknownStem(stem) + "-" + kNouns[stem % int(std::size(kNouns))];
    }
    if (kind < 15)
        return QByteArray(random_.pick(kAdjectives)) + "-" + random_.pick(kNouns);
    return random_.pick(kCompounds);
}

// Ends the paragraph's first line in a hyphenated word: one the dictionary
// knows whole, or an unknown one.
void Writer::lineEndHyphenation(QByteArray& text)
{
    if (random_.below(2) == 0) {
        const auto& split = kSplitKnown[random_.below(int(std::size(kSplitKnown)))];
        text += QByteArray(" the ") + split[0] + "-\r\n" + split[1] + " test.";
        return;
    }
    const QByteArray stem = unknownStem(random_.below(kUnknownStems));
    text += " the " + stem.left(4) + "-\r\n" + stem.mid(4) + " layer.";
}

QByteArray Writer::sentence()
{
    const char* last = lastWord_;
    auto noun = [&] { return word(kNouns, int(std::size(kNouns)), last); };
    auto adjective = [&] { return word(kAdjectives, int(std::size(kAdjectives)), last); };
    QByteArray s = "The " + adjective() + " " + noun() + " " + word(kVerbs, int(std::size(kVerbs)), last);
    s += " the " + noun();
    switch (random_.below(6)) {
    case 0:
        s += QByteArray(" in a ") + random_.pick(kCompounds) + " " + noun();
        break;
    case 1: {
        const QByteArray tag = random_.pick(kInline);
        s += " of <" + tag + ">" + noun() + "</" + tag + ">";
        break;
    }
    case 2:
        s += " at " + QByteArray::number(random_.between(2, 90)) + "&#8211;"
            + QByteArray::number(random_.between(91, 400)) + " m";
        break;
    case 3:
        s += " of 10<sup>" + QByteArray::number(-random_.between(2, 9)) + "</sup> m/s";
        break;
    case 4:
        s += " &amp; " + noun();
        break;
    default:
        break;
    }
    if (style_.spellingHeavy)
        s += " near the " + compound() + " and " + compound();
    s += QByteArray(" ") + random_.pick(kJoins) + " the " + noun() + " "
        + word(kVerbs, int(std::size(kVerbs)), last) + " the " + adjective() + " " + noun() + ".";
    lastWord_ = nullptr;
    return s;
}

QByteArray Writer::paragraphText(int sentences)
{
    QByteArray text;
    for (int i = 0; i < sentences; ++i) {
        if (i > 0)
            text += ' ';
        text += sentence();
    }
    return text;
}

void Writer::footnote(QByteArray& text)
{
    ++footnotes_;
    const QByteArray id = QByteArray::number(footnotes_);
    text += "<fn id=\"" + idPrefix_ + "fn" + id + "\" fnref=\"" + id + "\">" + paragraphText(1) + "</fn>";
}

// One paragraph on one line, with a footnote or a cross-reference now and then.
void Writer::paragraph(const char* tag)
{
    if (findingDue()) {
        seededFinding(tag);
        return;
    }
    QByteArray text = paragraphText(random_.between(2, 4));
    const int extra = random_.below(5);
    if (extra == 0)
        footnote(text);
    else if (extra == 1 && figures_ > 0)
        text += " It is shown in <xref rid=\"" + idPrefix_ + "f"
            + QByteArray::number(random_.between(1, figures_)) + "\" type=\"fig\">"
            + QByteArray::number(figures_) + "</xref>.";
    else if (extra == 2)
        text += " " + paragraphText(1);
    if (style_.spellingHeavy && random_.below(2) == 0)
        lineEndHyphenation(text);
    line("<" + QByteArray(tag) + ">" + text + "</" + QByteArray(tag) + ">");
}

// A paragraph with one mistake that the sample rule set reports.
void Writer::seededFinding(const char* tag)
{
    const QByteArray open = "<" + QByteArray(tag) + ">";
    const QByteArray close = "</" + QByteArray(tag) + ">";
    const QByteArray before = paragraphText(1);
    const QByteArray after = paragraphText(1);
    switch (random_.below(10)) {
    case 0: // a double blank
        line(open + before + "  " + after + close);
        break;
    case 1: // an ampersand escaped twice
        line(open + before + " Chen &amp;amp; Ruiz agree. " + after + close);
        break;
    case 2: // a curly quote left from the word processor
        line(open + before
            + " \xE2\x80\x9C"
              "field"
              "\xE2\x80\x9D "
            + after + close);
        break;
    case 3: // a double hyphen for a dash
        line(open + before + " The range was 0.12--0.31 here. " + after + close);
        break;
    case 4: { // a footnote that kept its reference mark
        ++footnotes_;
        const QByteArray id = QByteArray::number(footnotes_);
        line(open + before + "<fn id=\"" + idPrefix_ + "fn" + id + "\" fnref=\"" + id + "\">" + id + " "
            + after + "</fn>" + close);
        break;
    }
    case 5: // an escaped italic tag
        line(open + before + " The &lt;i&gt;in situ&lt;/i&gt; cells. " + after + close);
        break;
    case 6: // a word hyphenated at the line end that the lexicon knows whole
        line(open + before + " The hydrau-");
        line("lic gradient reversed. " + after + close);
        break;
    case 7: // an empty attribute value
        line("<table-wrap id=\"" + idPrefix_ + "tx" + QByteArray::number(++tables_)
            + "\"><table><tr><td align=\"\">0.31</td></tr></table></table-wrap>");
        line(open + before + close);
        break;
    case 8: // a figure: the sample tables want a hard return after <caption>,
        // and a line break inside it is reported too, so every figure is one finding
        line(open + before + close);
        figure();
        break;
    default: // a blank before a comma
        line(open + before + " The cells , however, stayed wet. " + after + close);
        break;
    }
}

void Writer::figure()
{
    ++figures_;
    const QByteArray id = idPrefix_ + "f" + QByteArray::number(figures_);
    line("<fig id=\"" + id + "\">");
    line("<graphic href=\"" + id + ".tif\"/>");
    line("<caption><p>" + paragraphText(1) + "</p></caption>");
    line("</fig>");
}

void Writer::table()
{
    ++tables_;
    line("<table-wrap id=\"" + idPrefix_ + "t" + QByteArray::number(tables_)
        + "\"><table><tr><td align=\"left\">Cell</td><td>Dry</td><td>Wet</td><td>Total</td></tr>");
    const int rows = random_.between(2, 5);
    for (int r = 0; r < rows; ++r) {
        const int dry = random_.between(100, 250);
        const int wet = random_.between(100, 250);
        line("<tr><td>" + QByteArray(1, char('A' + r)) + "</td><td>" + QByteArray::number(dry) + "</td><td>"
            + QByteArray::number(wet) + "</td><td>" + QByteArray::number(dry + wet) + "</td></tr>"
            + (r + 1 == rows ? "</table></table-wrap>" : ""));
    }
}

void Writer::list()
{
    QByteArray text = "<list list-type=\"order\">";
    const int items = random_.between(2, 5);
    for (int i = 1; i <= items; ++i) {
        text += "<item><label>" + QByteArray::number(i) + ".</label>" + QByteArray(random_.pick(kAdjectives))
            + " " + random_.pick(kNouns) + ".</item>";
    }
    line(text + "</list>");
}

QByteArray Writer::article(std::uint64_t seed)
{
    const QByteArray id
        = "jcs-" + QByteArray::number(2020 + int(seed % 7)) + "-" + QByteArray::number(seed % 10000);
    idPrefix_.clear();
    line("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    line("<!DOCTYPE article SYSTEM \"journal.dtd\">");
    line("<article id=\"" + id + "\" lang=\"en\">");
    line("<front>");
    line("<title>" + QByteArray(random_.pick(kAdjectives)) + " " + random_.pick(kNouns) + " in layered<HRT/>"
        + random_.pick(kNouns) + " barriers</title>");
    line("<authors><author id=\"a1\">M. Okafor</author><author id=\"a2\">L. Brandt</author></authors>");
    line("<abstract><p>" + paragraphText(2) + "</p></abstract>");
    line("</front>");
    if (!style_.leaveOpen)
        line("<body>");
    for (int section = 1; !full(); ++section) {
        if (section > 1 && style_.leaveOpen)
            line("</sec>");
        line("<sec id=\"s" + QByteArray::number(section) + "\">");
        line("<title>" + QByteArray(random_.pick(kAdjectives)) + " " + random_.pick(kNouns) + "</title>");
        const int paragraphs = random_.between(4, 9);
        for (int p = 0; p < paragraphs && !full(); ++p) {
            paragraph("p");
            switch (random_.below(8)) {
            case 1:
                table();
                break;
            case 2:
                list();
                break;
            default:
                break;
            }
        }
        if (!style_.leaveOpen)
            line("</sec>");
    }
    // Converted SGML leaves the end tags out: the last section and the
    // article stay open.
    if (style_.leaveOpen)
        return out_;
    line("</body>");
    line("<back>");
    line("<history><date type=\"received\">02/11/2025</date><date "
         "type=\"accepted\">05/03/2025</date></history>");
    line("<ref-list><ref id=\"b1\"><label>1</label>Hansen, P. (2011). Column tests. <i>Clay Res.</i> 12, "
         "44&#8211;51.</ref>");
    line("<ref id=\"b2\"><label>2</label>Chen, Y. (2018). Field behaviour. <i>Geotechnique</i> 68, "
         "101&#8211;115.</ref></ref-list>");
    line("</back>");
    line("</article>");
    return out_;
}

QByteArray Writer::chapter(std::uint64_t seed)
{
    const QByteArray number = QByteArray::number(1 + int(seed % 30));
    idPrefix_ = "ch" + number + "-";
    line("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    line("<chapter id=\"ch" + number + "\" number=\"" + number + "\">");
    line("<title>Reading the " + QByteArray(random_.pick(kNouns)) + " ledgers</title>");
    for (int section = 1; !full(); ++section) {
        line("<section id=\"" + idPrefix_ + "s" + QByteArray::number(section) + "\">");
        line("<title>The " + QByteArray(random_.pick(kAdjectives)) + " " + random_.pick(kNouns) + "</title>");
        const int paragraphs = random_.between(3, 8);
        for (int p = 0; p < paragraphs && !full(); ++p) {
            paragraph("para");
        }
        line("</section>");
    }
    line("</chapter>");
    return out_;
}

} // namespace

QByteArray Document(std::uint64_t seed, std::int64_t bytes, const Style& style)
{
    Writer writer(seed, bytes, style);
    // Three journal articles to one book chapter; only articles are left open.
    return seed % 4 == 3 && !style.leaveOpen ? writer.chapter(seed) : writer.article(seed);
}

std::vector<TreeFile> Tree(
    std::uint64_t seed, int count, std::int64_t fileBytes, bool split, const Style& style)
{
    std::vector<TreeFile> files;
    files.reserve(std::size_t(count));
    Random random(seed);
    QByteArray carried; // the rest of a document cut at the end of the previous file
    for (int i = 0; i < count; ++i) {
        QByteArray bytes = carried;
        carried.clear();
        if (bytes.size() < fileBytes)
            bytes += Document(random.next(), fileBytes - bytes.size(), style);
        // Every seventh file, when another follows, stops at a line in the
        // middle of its body and hands the rest on.
        if (split && i + 1 < count && random.below(7) == 0) {
            const qsizetype cut = bytes.indexOf("\r\n", bytes.size() / 2);
            if (cut >= 0) {
                carried = bytes.mid(cut + 2);
                bytes.truncate(cut + 2);
            }
        }
        char name[40];
        std::snprintf(name, sizeof name, "part%03d/doc%05d.xml", i / style.perFolder, i);
        files.push_back({ QString::fromLatin1(name), bytes });
    }
    return files;
}

} // namespace Corpus
