#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

// A temporary folder for one test, with helpers to write files into it.
class TempDir {
public:
    TempDir() { dir_.setAutoRemove(true); }

    // The folder with a trailing "/", as the program's folder paths carry it.
    QString path() const { return dir_.path() + QLatin1Char('/'); }

    QString write(const QString& relativePath, const QByteArray& bytes) const
    {
        const QString full = path() + relativePath;
        QDir().mkpath(QFileInfo(full).absolutePath());
        QFile file(full);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return {};
        file.write(bytes);
        return full;
    }

    QString mkdir(const QString& relativePath) const
    {
        QDir().mkpath(path() + relativePath);
        return path() + relativePath + QLatin1Char('/');
    }

    static QByteArray read(const QString& fullPath)
    {
        QFile file(fullPath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QTemporaryDir dir_;
};
