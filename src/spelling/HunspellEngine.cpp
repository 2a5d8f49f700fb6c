#include "spelling/HunspellEngine.h"

#include "text/Encoding.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <ctime>
#include <dlfcn.h>
#include <hunspell/hunspell.h>
#include <hunspell/hunspell.hxx>
#include <iconv.h>

namespace {

// Whether this thread is inside a question to Hunspell.
thread_local bool answering = false;

class Answering {
public:
    Answering() { answering = true; }
    ~Answering() { answering = false; }
    Answering(const Answering&) = delete;
    Answering& operator=(const Answering&) = delete;
};

} // namespace

// Hunspell gives up parts of a suggestion once clock() has run on by a tenth
// or a quarter of a second since it began, and clock() is the processor time
// of the whole process: with a second worker, or the main thread putting
// reports in place, busy beside it, it runs on two or three times as fast as
// the suggesting thread works, and a word that takes 50 ms loses suggestions
// ("early-harbour" came back as "harbormaster" instead of "early-harbor") or
// gets none. The answers would depend on the job count and on whatever else
// the process did at the time. Defined here and exported by the executable,
// this clock() is the one Hunspell calls: inside a question it counts the
// asking thread's own processor time, so a word gets the same time to work
// in whatever runs beside it; everywhere else it is the usual one.
extern "C" clock_t clock() noexcept
{
    timespec now {};
    if (::clock_gettime(answering ? CLOCK_THREAD_CPUTIME_ID : CLOCK_PROCESS_CPUTIME_ID, &now) != 0)
        return static_cast<clock_t>(-1);
    return static_cast<clock_t>(now.tv_sec) * CLOCKS_PER_SEC
        + static_cast<clock_t>(now.tv_nsec / (1'000'000'000 / CLOCKS_PER_SEC));
}

QString HunspellLibraryFile()
{
    Dl_info library {};
    if (::dladdr(reinterpret_cast<void*>(&Hunspell_create), &library) == 0 || !library.dli_fname)
        return {};
    return QFileInfo(QFile::decodeName(library.dli_fname)).canonicalFilePath();
}

// Hunspell reads and answers in the dictionary's own encoding. UTF-8 and
// Latin-1 are Qt's; any other encoding goes through iconv, which knows the
// names dictionaries use once "microsoft-cp1251" is written "CP1251".
class HunspellEngine::Codec {
public:
    explicit Codec(const QString& hunspellName)
    {
        const QString upper = hunspellName.trimmed().toUpper();
        if (upper == QLatin1String("UTF-8") || upper.isEmpty()) {
            kind_ = Kind::Utf8;
        } else if (upper == QLatin1String("ISO8859-1") || upper == QLatin1String("ISO-8859-1")) {
            kind_ = Kind::Latin1;
        } else {
            QString iconvName = upper;
            if (iconvName.startsWith(QLatin1String("MICROSOFT-")))
                iconvName = iconvName.mid(10);
            const QByteArray name = iconvName.toLatin1();
            toDictionary_ = iconv_open(name.constData(), "UTF-8");
            fromDictionary_ = iconv_open("UTF-8", name.constData());
            // An encoding nobody knows: plain ASCII still reads the same in it.
            kind_ = toDictionary_ == invalid() || fromDictionary_ == invalid() ? Kind::Ascii : Kind::Iconv;
        }
    }
    ~Codec()
    {
        if (toDictionary_ != invalid())
            iconv_close(toDictionary_);
        if (fromDictionary_ != invalid())
            iconv_close(fromDictionary_);
    }
    Codec(const Codec&) = delete;
    Codec& operator=(const Codec&) = delete;

    // False when the text cannot be written in the dictionary's encoding.
    bool encode(const QString& text, std::string& bytes) const
    {
        switch (kind_) {
        case Kind::Utf8:
            return toCheckedUtf8(text, bytes);
        case Kind::Latin1:
            for (const QChar c : text) {
                if (c.unicode() > 0xFF)
                    return false;
            }
            bytes = text.toLatin1().toStdString();
            return true;
        case Kind::Ascii:
            for (const QChar c : text) {
                if (c.unicode() > 0x7F)
                    return false;
            }
            bytes = text.toLatin1().toStdString();
            return true;
        case Kind::Iconv:
            break;
        }
        std::string utf8;
        if (!toCheckedUtf8(text, utf8))
            return false;
        return convert(toDictionary_, utf8, bytes);
    }

    QString decode(const std::string& bytes) const
    {
        switch (kind_) {
        case Kind::Utf8:
            return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
        case Kind::Latin1:
        case Kind::Ascii:
            return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
        case Kind::Iconv:
            break;
        }
        std::string utf8;
        if (!convert(fromDictionary_, bytes, utf8))
            return {};
        return QString::fromStdString(utf8);
    }

private:
    enum class Kind { Utf8, Latin1, Ascii, Iconv };

    static iconv_t invalid() { return reinterpret_cast<iconv_t>(-1); }

    static bool toCheckedUtf8(const QString& text, std::string& bytes)
    {
        // A lone surrogate has no UTF-8 form (the encoder would put a
        // replacement character there, which Hunspell would accept).
        if (!QStringView(text).isValidUtf16())
            return false;
        bytes = text.toStdString();
        return true;
    }

    static bool convert(iconv_t converter, const std::string& in, std::string& out)
    {
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        std::string buffer(in.size() * 4 + 16, '\0');
        char* from = const_cast<char*>(in.data());
        std::size_t fromLeft = in.size();
        char* to = buffer.data();
        std::size_t toLeft = buffer.size();
        if (iconv(converter, &from, &fromLeft, &to, &toLeft) == static_cast<std::size_t>(-1))
            return false;
        if (iconv(converter, nullptr, nullptr, &to, &toLeft) == static_cast<std::size_t>(-1))
            return false;
        out.assign(buffer.data(), buffer.size() - toLeft);
        return true;
    }

    Kind kind_ = Kind::Utf8;
    iconv_t toDictionary_ = invalid();
    iconv_t fromDictionary_ = invalid();
};

HunspellEngine::HunspellEngine()
    : codec_(std::make_unique<Codec>(QStringLiteral("UTF-8")))
{
}

HunspellEngine::~HunspellEngine() = default;

void HunspellEngine::SetMainLexPath(const QString& folder)
{
    mainLexPath_ = folder;
}

void HunspellEngine::SetUserLexPath(const QString& folder)
{
    userLexPath_ = folder;
}

namespace {

QString lexiconFilePath(const QString& mainLexPath, const QString& userLexPath, const QString& name)
{
    const QString inUserFolder = userLexPath + name;
    if (!userLexPath.isEmpty() && QFileInfo(inUserFolder).isFile())
        return inUserFolder;
    return mainLexPath + name;
}

QString unreadableReason(QFile& file)
{
    if (!QFileInfo(file).isFile())
        return QStringLiteral("not found");
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    return {};
}

QString lexiconFileProblem(const QString& path)
{
    QFile file(path);
    QString reason = unreadableReason(file);
    if (!reason.isEmpty() || !path.endsWith(QLatin1String(".dic"), Qt::CaseInsensitive))
        return reason;
    const QByteArray firstLine = file.readLine(64).trimmed();
    if (firstLine.isEmpty() && file.atEnd())
        return QStringLiteral("the dictionary is empty");
    QString affPath = path;
    affPath.replace(affPath.size() - 3, 3, QStringLiteral("aff"));
    // Without its ".aff" the file is read as a word list, which needs no count.
    if (!QFileInfo(affPath).isFile())
        return {};
    if (firstLine.isEmpty() || firstLine.front() < '0' || firstLine.front() > '9')
        return QStringLiteral("the dictionary does not start with its word count");
    QFile aff(affPath);
    reason = unreadableReason(aff);
    return reason.isEmpty() ? QString() : affPath + QStringLiteral(": ") + reason;
}

} // namespace

std::vector<LexiconProblem> LexiconProblems(
    const QString& mainLexPath, const QString& userLexPath, const QString& names)
{
    std::vector<LexiconProblem> problems;
    for (const QString& rawName : names.split(QLatin1Char(','))) {
        const QString name = rawName.trimmed();
        if (name.isEmpty())
            continue;
        const QString path = lexiconFilePath(mainLexPath, userLexPath, name);
        const QString reason = lexiconFileProblem(path);
        if (!reason.isEmpty())
            problems.push_back({ path, reason });
    }
    return problems;
}

QString HunspellEngine::LexiconFilePath(const QString& name) const
{
    return lexiconFilePath(mainLexPath_, userLexPath_, name);
}

void HunspellEngine::SetUserLexFiles(const QString& names)
{
    hunspell_.reset();
    codec_ = std::make_unique<Codec>(QStringLiteral("UTF-8"));
    pendingWords_.clear();
    for (const QString& rawName : names.split(QLatin1Char(','))) {
        // Blanks after the commas are how people write lists.
        const QString name = rawName.trimmed();
        if (name.isEmpty())
            continue;
        const QString path = LexiconFilePath(name);
        if (!QFileInfo(path).isFile())
            continue; // a missing file shows up as the engine's answers, as every engine failure
        if (path.endsWith(QLatin1String(".dic"), Qt::CaseInsensitive)) {
            QString affPath = path;
            affPath.replace(affPath.size() - 3, 3, QStringLiteral("aff"));
            if (QFileInfo(affPath).isFile()) {
                addDictionary(path, affPath);
                continue;
            }
        }
        addWordList(path);
    }
}

void HunspellEngine::addDictionary(const QString& dicPath, const QString& affPath)
{
    const QByteArray dic = QFile::encodeName(dicPath);
    if (hunspell_) {
        hunspell_->add_dic(dic.constData());
        return;
    }
    const QByteArray aff = QFile::encodeName(affPath);
    hunspell_ = std::make_unique<Hunspell>(aff.constData(), dic.constData());
    codec_ = std::make_unique<Codec>(QString::fromLatin1(hunspell_->get_dic_encoding()));
    for (const std::string& utf8 : pendingWords_) {
        std::string bytes;
        if (codec_->encode(QString::fromStdString(utf8), bytes))
            hunspell_->add(bytes);
    }
    pendingWords_.clear();
}

void HunspellEngine::addWordList(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    for (const QString& line : SplitTextLines(DecodeTableText(file.readAll()))) {
        const QString word = line.trimmed();
        if (word.isEmpty())
            continue;
        if (!hunspell_) {
            pendingWords_.push_back(word.toStdString());
            continue;
        }
        std::string bytes;
        if (codec_->encode(word, bytes))
            hunspell_->add(bytes);
    }
}

void HunspellEngine::SetOption(std::uint32_t, std::int32_t) { }

bool HunspellEngine::encode(const QString& text, std::string& bytes) const
{
    return codec_->encode(text, bytes);
}

int HunspellEngine::CheckString(const QString& text)
{
    constexpr int kMisspelling = 1;
    if (text.isEmpty())
        return kNoMisspelling;
    const Answering timed;
    if (!hunspell_) {
        // Without a dictionary only the word-list words are known.
        const std::string utf8 = text.toStdString();
        for (const std::string& word : pendingWords_) {
            if (word == utf8)
                return kNoMisspelling;
        }
        return kMisspelling;
    }
    std::string bytes;
    if (!encode(text, bytes))
        return kMisspelling;
    return hunspell_->spell(bytes) ? kNoMisspelling : kMisspelling;
}

QStringList HunspellEngine::Suggest(const QString& text, int, int maxCount)
{
    QStringList suggestions;
    std::string bytes;
    if (!hunspell_ || !encode(text, bytes))
        return suggestions;
    const Answering timed;
    for (const std::string& suggestion : hunspell_->suggest(bytes)) {
        if (suggestions.size() >= maxCount)
            break;
        suggestions.append(codec_->decode(suggestion));
    }
    return suggestions;
}
