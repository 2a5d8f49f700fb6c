#pragma once

#include "core/ToolkitState.h"

#include <QString>
#include <cstdint>

// The toolkit operations whose fast versions are non-obvious, written the
// plain way: one-based searches, whole recounts, restarts from position 1,
// string rebuilds. Slow on purpose; the differential test holds the real
// operations to these results.
class LiteralToolkit {
public:
    explicit LiteralToolkit(ToolkitState& shared)
        : shared_(shared)
    {
    }

    QString GetPCDATA(
        const QString& source, const QString& startTag, const QString& endTag, std::int32_t& position);
    QString RetrieveTags(const QString& str, std::int32_t& tagPos);
    QString RemoveTags(QString& str, bool includePcdata);

private:
    // Runs the candidate search from `start`; returns the accepted tag and its
    // position, or an empty text and 0. Quoted candidates go to the note when `note`.
    QString candidateSearch(const QString& str, std::int32_t start, std::int32_t& foundAt, bool note);
    void noteQuotedMarkup(const QString& tag, std::int32_t position, const QString& text);

    ToolkitState& shared_;
};
