#include "spelling/SpellingAnswerStore.h"

#include "spelling/HunspellEngine.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <algorithm>

namespace {

const QByteArray kMagic = "quorvane-spelling-answers 1";
// Cheap answers are written in blocks; suggestions, which are dear, at once.
constexpr qsizetype kPendingBytes = 16 * 1024;

// FNV-1a: a torn or altered record is all it has to catch.
QByteArray checksum(QByteArrayView payload)
{
    std::uint64_t hash = 0xCBF29CE484222325ULL;
    for (const char c : payload) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001B3ULL;
    }
    return QByteArray::number(static_cast<qulonglong>(hash), 16).rightJustified(16, '0');
}

QByteArray field(const QString& text)
{
    return text.toUtf8().toPercentEncoding();
}

QString unfield(QByteArrayView bytes)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(bytes.toByteArray()));
}

QByteArray record(const QByteArray& payload)
{
    return checksum(payload) + ' ' + payload + '\n';
}

QString suggestionKey(const QString& text, int depth, int maxCount)
{
    return QString::number(depth) + u':' + QString::number(maxCount) + u'\t' + text;
}

// A text that is no valid UTF-16 would not come back from the file as it
// went in: it is answered for the run only.
bool keepable(const QString& text)
{
    return QStringView(text).isValidUtf16();
}

} // namespace

SpellingAnswerStore::SpellingAnswerStore() = default;

SpellingAnswerStore::SpellingAnswerStore(
    const QString& folder, const QString& identity, Warn warn, SpellingCacheBounds bounds)
    : warn_(std::move(warn))
    , bounds_(bounds)
{
    if (!QDir().mkpath(folder)) {
        warn_(QStringLiteral(
            "quorvane: cannot create the spelling cache folder %1; answers are kept for this run only")
                  .arg(folder));
        return;
    }
    const QByteArray name
        = QCryptographicHash::hash(identity.toUtf8(), QCryptographicHash::Sha256).toHex().left(24);
    path_ = QDir(folder).filePath(QString::fromLatin1(name) + QStringLiteral(".answers"));
    load(identity);
    // Marked used even by a run that only reads it.
    if (file_)
        file_->setFileTime(QDateTime::currentDateTimeUtc(), QFileDevice::FileModificationTime);
    removeUnusedFiles(folder);
}

// Answer files by their names alone (a QSaveFile's unfinished copy too): a
// folder given with --cache-dir may hold anything else.
void SpellingAnswerStore::removeUnusedFiles(const QString& folder)
{
    static const QRegularExpression answerFile(QStringLiteral("^[0-9a-f]{24}\\.answers(\\..+)?$"));
    const QDateTime unusedSince = QDateTime::currentDateTimeUtc().addSecs(
        -std::chrono::duration_cast<std::chrono::seconds>(bounds_.unusedFor).count());
    const QString own = QFileInfo(path_).fileName();
    for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files | QDir::Hidden)) {
        if (file.fileName() != own && answerFile.match(file.fileName()).hasMatch()
            && file.lastModified() < unusedSince)
            QFile::remove(file.filePath());
    }
}

SpellingAnswerStore::~SpellingAnswerStore()
{
    flush();
}

void SpellingAnswerStore::load(const QString& identity)
{
    QFile in(path_);
    if (!in.exists()) {
        startFile(identity, {});
        return;
    }
    if (!in.open(QIODevice::ReadOnly)) {
        stopKeeping(QStringLiteral("cannot read %1: %2").arg(path_, in.errorString()));
        return;
    }
    const QByteArray bytes = in.readAll();
    in.close();
    const QByteArray header = kMagic + '\t' + field(identity);
    QList<QByteArray> good;
    bool torn = false;
    QString distrust;
    qsizetype from = 0;
    for (qsizetype line = 0; from < bytes.size() && distrust.isEmpty(); ++line) {
        const qsizetype end = bytes.indexOf('\n', from);
        if (end < 0) {
            // A killed run's last record; the first is written whole or not at all.
            if (line == 0)
                distrust = QStringLiteral("it is no spelling cache");
            torn = true;
            break;
        }
        const QByteArrayView text = QByteArrayView(bytes).sliced(from, end - from);
        from = end + 1;
        const QByteArrayView payload = text.size() > 17 ? text.sliced(17) : QByteArrayView();
        if (text.size() <= 17 || text[16] != ' ' || text.first(16) != checksum(payload)) {
            distrust = QStringLiteral("a record does not match its checksum");
            break;
        }
        if (line == 0) {
            if (payload != header)
                distrust = QStringLiteral("it was not written for these lexicon files");
            continue;
        }
        const QList<QByteArray> fields = payload.toByteArray().split('\t');
        bool numbers = true;
        if (fields[0] == "C" && fields.size() == 3) {
            const int answer = fields[2].toInt(&numbers);
            if (numbers)
                checks_.insert(unfield(fields[1]), answer);
        } else if (fields[0] == "S" && fields.size() >= 4) {
            bool depthIsNumber = false;
            const int depth = fields[2].toInt(&depthIsNumber);
            const int maxCount = fields[3].toInt(&numbers);
            numbers = numbers && depthIsNumber;
            QStringList suggestions;
            for (qsizetype i = 4; i < fields.size(); ++i)
                suggestions << unfield(fields[i]);
            if (numbers)
                suggestions_.insert(suggestionKey(unfield(fields[1]), depth, maxCount), suggestions);
        } else {
            numbers = false;
        }
        if (!numbers) {
            distrust = QStringLiteral("a record cannot be read");
            break;
        }
        good << text.toByteArray() + '\n';
    }
    if (bytes.isEmpty())
        distrust = QStringLiteral("it is empty");
    if (!distrust.isEmpty()) {
        warn_(QStringLiteral("quorvane: ignoring the spelling cache %1: %2").arg(path_, distrust));
        checks_.clear();
        suggestions_.clear();
        startFile(identity, {});
        return;
    }
    loaded_ = checks_.size() + suggestions_.size();
    if (bytes.size() > bounds_.longestFile) {
        // Answers are appended as they are first asked for: the last ones
        // are the newest.
        qsizetype kept = 0;
        qint64 size = 0;
        while (kept < good.size() && size + good[good.size() - 1 - kept].size() <= bounds_.longestFile / 2)
            size += good[good.size() - 1 - kept++].size();
        warn_(QStringLiteral("quorvane: the spelling cache %1 grew past %2 MB: its oldest answers go")
                  .arg(path_)
                  .arg(bounds_.longestFile / (1024 * 1024)));
        startFile(identity, good.mid(good.size() - kept));
        return;
    }
    if (torn) {
        // Appending after a cut line would spoil the next record: the good
        // ones are written anew, in one step.
        startFile(identity, good);
        return;
    }
    file_ = std::make_unique<QFile>(path_);
    if (!file_->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        stopKeeping(QStringLiteral("cannot write %1: %2").arg(path_, file_->errorString()));
}

// Replaces the file in one step, so that no reader ever sees half of it.
void SpellingAnswerStore::startFile(const QString& identity, const QList<QByteArray>& records)
{
    QSaveFile out(path_);
    bool written = out.open(QIODevice::WriteOnly);
    written = written && out.write(record(kMagic + '\t' + field(identity))) >= 0;
    for (const QByteArray& kept : records)
        written = written && out.write(kept) >= 0;
    if (!written || !out.commit()) {
        stopKeeping(QStringLiteral("cannot write %1: %2").arg(path_, out.errorString()));
        return;
    }
    file_ = std::make_unique<QFile>(path_);
    if (!file_->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        stopKeeping(QStringLiteral("cannot write %1: %2").arg(path_, file_->errorString()));
}

void SpellingAnswerStore::stopKeeping(const QString& why)
{
    warn_(QStringLiteral("quorvane: spelling answers are kept for this run only: %1").arg(why));
    file_.reset();
    pending_.clear();
}

std::optional<int> SpellingAnswerStore::check(const QString& text)
{
    const std::lock_guard hold(lock_);
    const auto found = checks_.constFind(text);
    if (found == checks_.constEnd())
        return std::nullopt;
    return *found;
}

void SpellingAnswerStore::keepCheck(const QString& text, int answer)
{
    const std::lock_guard hold(lock_);
    if (checks_.contains(text))
        return; // another thread asked at the same time
    checks_.insert(text, answer);
    if (keepable(text))
        append("C\t" + field(text) + '\t' + QByteArray::number(answer), false);
}

std::optional<QStringList> SpellingAnswerStore::suggestions(const QString& text, int depth, int maxCount)
{
    const std::lock_guard hold(lock_);
    const auto found = suggestions_.constFind(suggestionKey(text, depth, maxCount));
    if (found == suggestions_.constEnd())
        return std::nullopt;
    return *found;
}

void SpellingAnswerStore::keepSuggestions(
    const QString& text, int depth, int maxCount, const QStringList& suggestions)
{
    const std::lock_guard hold(lock_);
    const QString key = suggestionKey(text, depth, maxCount);
    if (suggestions_.contains(key))
        return;
    suggestions_.insert(key, suggestions);
    if (!keepable(text) || !std::all_of(suggestions.begin(), suggestions.end(), keepable))
        return;
    QByteArray payload
        = "S\t" + field(text) + '\t' + QByteArray::number(depth) + '\t' + QByteArray::number(maxCount);
    for (const QString& suggestion : suggestions)
        payload += '\t' + field(suggestion);
    append(payload, true);
}

QStringList SpellingAnswerStore::suggestionsOr(
    const QString& text, int depth, int maxCount, const std::function<QStringList()>& ask)
{
    const QString key = suggestionKey(text, depth, maxCount);
    std::unique_lock hold(lock_);
    if (const auto kept = suggestions_.constFind(key); kept != suggestions_.constEnd())
        return *kept;
    if (const auto asking = asking_.constFind(key); asking != asking_.constEnd()) {
        const std::shared_future<QStringList> answer = *asking;
        hold.unlock();
        return answer.get();
    }
    std::promise<QStringList> promise;
    asking_.insert(key, promise.get_future().share());
    hold.unlock();
    QStringList answer;
    try {
        answer = ask();
    } catch (...) {
        promise.set_exception(std::current_exception());
        hold.lock();
        asking_.remove(key);
        throw;
    }
    keepSuggestions(text, depth, maxCount, answer);
    hold.lock();
    asking_.remove(key);
    hold.unlock();
    promise.set_value(answer);
    return answer;
}

void SpellingAnswerStore::append(QByteArray payload, bool now)
{
    if (!file_)
        return;
    pending_ += record(payload);
    if (now || pending_.size() >= kPendingBytes)
        writePending();
}

// One write for all that is pending: another run appending to the same file
// at the same time writes its records between this run's, never inside one.
void SpellingAnswerStore::writePending()
{
    if (!file_ || pending_.isEmpty())
        return;
    if (file_->write(pending_) != pending_.size()) {
        stopKeeping(QStringLiteral("cannot write %1: %2").arg(path_, file_->errorString()));
        return;
    }
    pending_.clear();
}

void SpellingAnswerStore::flush()
{
    const std::lock_guard hold(lock_);
    writePending();
}

QString SpellingAnswerStore::filePath() const
{
    return file_ ? path_ : QString();
}

qsizetype SpellingAnswerStore::loadedCount() const
{
    return loaded_;
}

CachingSpellingEngine::CachingSpellingEngine(
    std::shared_ptr<SpellingAnswerStore> store, std::unique_ptr<SpellingEngine> engine)
    : store_(std::move(store))
    , engine_(std::move(engine))
{
}

void CachingSpellingEngine::SetMainLexPath(const QString& folder)
{
    engine_->SetMainLexPath(folder);
}

void CachingSpellingEngine::SetUserLexPath(const QString& folder)
{
    engine_->SetUserLexPath(folder);
}

void CachingSpellingEngine::SetUserLexFiles(const QString& names)
{
    engine_->SetUserLexFiles(names);
}

void CachingSpellingEngine::SetOption(std::uint32_t option, std::int32_t value)
{
    engine_->SetOption(option, value);
}

int CachingSpellingEngine::CheckString(const QString& text)
{
    if (const std::optional<int> known = store_->check(text))
        return *known;
    const int answer = engine_->CheckString(text);
    store_->keepCheck(text, answer);
    return answer;
}

QStringList CachingSpellingEngine::Suggest(const QString& text, int depth, int maxCount)
{
    return store_->suggestionsOr(
        text, depth, maxCount, [&] { return engine_->Suggest(text, depth, maxCount); });
}

QString LexiconIdentity(const QString& mainLexPath, const QString& userLexPath, const QString& names)
{
    HunspellEngine finder;
    finder.SetMainLexPath(mainLexPath);
    finder.SetUserLexPath(userLexPath);
    QString identity;
    auto describe = [&](const QString& path) {
        const QFileInfo info(path);
        identity += info.absoluteFilePath() + u'|'
            + (info.isFile() ? QString::number(info.size()) + u'|'
                        + QString::number(info.lastModified().toMSecsSinceEpoch())
                             : QStringLiteral("missing"))
            + u'\n';
    };
    // The library first: a new Hunspell may answer the same words otherwise.
    if (const QString library = HunspellLibraryFile(); !library.isEmpty())
        describe(library);
    else
        identity += QStringLiteral("an unknown Hunspell library\n");
    for (const QString& rawName : names.split(QLatin1Char(','))) {
        const QString name = rawName.trimmed();
        if (name.isEmpty())
            continue;
        const QString path = finder.LexiconFilePath(name);
        describe(path);
        if (path.endsWith(QLatin1String(".dic"), Qt::CaseInsensitive))
            describe(path.chopped(3) + QStringLiteral("aff"));
    }
    return identity;
}

QString DefaultSpellingCacheFolder()
{
    const QString chosen = qEnvironmentVariable("QUORVANE_CACHE_DIR");
    if (!chosen.isEmpty())
        return chosen;
    QString base = qEnvironmentVariable("XDG_CACHE_HOME");
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.cache");
    return base + QStringLiteral("/quorvane");
}
