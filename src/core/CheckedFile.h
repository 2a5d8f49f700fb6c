#pragma once

#include <QFile>
#include <QString>

// A file the run writes, which keeps the first failure of any write, flush
// or close: a later success (a close that flushes nothing) does not clear
// it, so a report cut short by a full disk is never taken for a whole one.
class CheckedFile : public QFile {
public:
    using QFile::QFile;

    // Flushes and closes; true when every write since the file was opened
    // reached the file system.
    bool finish()
    {
        if (isOpen()) {
            if (!flush())
                noteFailure();
            close();
            if (error() != QFileDevice::NoError)
                noteFailure();
        }
        return failure_.isEmpty();
    }
    bool flushChecked()
    {
        if (isOpen() && !flush())
            noteFailure();
        return failure_.isEmpty();
    }
    // Empty while nothing failed; else the system's reason.
    const QString& failure() const { return failure_; }
    // Keeps a copy of every byte that reaches the file in `into`, so that
    // the file can be copied without reading it back, up to `atMost` bytes:
    // past them, `into` is emptied and `whole` turns false.
    void keepWritten(QByteArray* into, bool* whole, qsizetype atMost)
    {
        kept_ = into;
        keptWhole_ = whole;
        keepAtMost_ = atMost;
        *keptWhole_ = true;
    }

protected:
    qint64 writeData(const char* data, qint64 length) override
    {
        const qint64 written = QFile::writeData(data, length);
        if (written != length)
            noteFailure();
        if (kept_ && written > 0) {
            if (kept_->size() + written <= keepAtMost_) {
                kept_->append(data, written);
            } else {
                kept_->clear();
                *keptWhole_ = false;
                kept_ = nullptr;
            }
        }
        return written;
    }

private:
    void noteFailure()
    {
        if (failure_.isEmpty())
            failure_ = errorString().isEmpty() ? QStringLiteral("write failed") : errorString();
    }

    QString failure_;
    QByteArray* kept_ = nullptr;
    bool* keptWhole_ = nullptr;
    qsizetype keepAtMost_ = 0;
};
