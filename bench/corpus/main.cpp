#include "Corpus.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdio>

namespace {

const char kUsage[] = "Usage: quorvane_corpus [--seed N] [--spelling] [--open] --size BYTES FILE\n"
                      "       quorvane_corpus [--seed N] [--split] [--spelling] [--open] [--per-folder N]\n"
                      "                       --files COUNT --file-size BYTES FOLDER\n"
                      "Writes generated tagged documents: one of at least BYTES, or a tree of COUNT\n"
                      "files a hundred (or N) to a folder. BYTES may end in K or M (1000s). --split lets a\n"
                      "document run on into the next file now and then. --spelling writes text dense in\n"
                      "hyphenated compounds and line-end hyphenations, many unknown to the dictionary.\n"
                      "--open leaves every article's last section and the article itself open. The same\n"
                      "seed writes the same bytes.\n";

// "10M" is ten million bytes; 0 when the text is no size.
qint64 readSize(const QString& text)
{
    qint64 factor = 1;
    QString digits = text;
    if (digits.endsWith(u'K', Qt::CaseInsensitive))
        factor = 1000;
    else if (digits.endsWith(u'M', Qt::CaseInsensitive))
        factor = 1000 * 1000;
    if (factor > 1)
        digits.chop(1);
    bool number = false;
    const qint64 value = digits.toLongLong(&number);
    return number && value > 0 ? value * factor : 0;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

int refuse(const char* why)
{
    std::fprintf(stderr, "quorvane_corpus: %s\n\n%s", why, kUsage);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    quint64 seed = 1;
    qint64 size = 0;
    qint64 fileSize = 0;
    int files = 0;
    bool split = false;
    Corpus::Style style;
    QString target;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == u"--help") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (argument == u"--split") {
            split = true;
        } else if (argument == u"--spelling") {
            style.spellingHeavy = true;
        } else if (argument == u"--open") {
            style.leaveOpen = true;
        } else if (argument == u"--per-folder" && hasValue) {
            style.perFolder = arguments[++i].toInt();
            if (style.perFolder < 1)
                return refuse("--per-folder needs a number above 0");
        } else if (argument == u"--seed" && hasValue) {
            seed = arguments[++i].toULongLong();
        } else if (argument == u"--size" && hasValue) {
            size = readSize(arguments[++i]);
        } else if (argument == u"--file-size" && hasValue) {
            fileSize = readSize(arguments[++i]);
        } else if (argument == u"--files" && hasValue) {
            files = arguments[++i].toInt();
        } else if (!argument.startsWith(u"--") && target.isEmpty()) {
            target = argument;
        } else {
            return refuse("unknown or incomplete option");
        }
    }
    if (target.isEmpty())
        return refuse("no FILE or FOLDER given");
    if (files > 0) {
        if (fileSize <= 0)
            return refuse("--files needs --file-size");
        for (const Corpus::TreeFile& file : Corpus::Tree(seed, files, fileSize, split, style)) {
            if (!writeFile(target + QLatin1Char('/') + file.path, file.bytes))
                return refuse("cannot write the tree");
        }
        return 0;
    }
    if (size <= 0)
        return refuse("--size needs a size");
    return writeFile(target, Corpus::Document(seed, size, style)) ? 0 : refuse("cannot write the file");
}
