#pragma once

#include "core/SpellingEngine.h"

#include <QHash>
#include <QSet>
#include <QStringList>

// A spelling engine for rule tests: it knows the words it is given (whole
// texts, no splitting), suggests what it is told, and counts its questions.
class FakeSpellingEngine : public SpellingEngine {
public:
    FakeSpellingEngine(QSet<QString> known, QHash<QString, QStringList> suggestions = {})
        : known_(std::move(known))
        , suggestions_(std::move(suggestions))
    {
    }

    void SetMainLexPath(const QString&) override { }
    void SetUserLexPath(const QString&) override { }
    void SetUserLexFiles(const QString&) override { }
    void SetOption(std::uint32_t, std::int32_t) override { }
    int CheckString(const QString& text) override
    {
        checked.append(text);
        return text.isEmpty() || known_.contains(text) ? kNoMisspelling : 0;
    }
    QStringList Suggest(const QString& text, int, int maxCount) override
    {
        suggested.append(text);
        return suggestions_.value(text).mid(0, maxCount);
    }

    QStringList checked; // every text asked about, in order
    QStringList suggested;

private:
    QSet<QString> known_;
    QHash<QString, QStringList> suggestions_;
};
