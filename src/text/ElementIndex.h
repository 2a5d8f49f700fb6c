#pragma once

#include <QHash>
#include <QString>
#include <QStringView>
#include <optional>
#include <vector>

// Where every "<name>", "<name " and "</name>" of one text lies, found in one
// pass. Removing whole elements asks for the content of every start tag;
// searching the text afresh each time would cost a pass per tag (a document
// full of unclosed "<p>" would then be quadratic).
class ElementIndex {
public:
    explicit ElementIndex(QStringView text);

    // The element content that GetPCDATA gives for the start tag at `tagStart`
    // (zero-based) whose end tag is "</" + name + ">": nothing when that
    // element cannot be closed. The name holds no blank, "<" or ">".
    std::optional<QStringView> elementContent(
        qsizetype tagStart, qsizetype tagLength, const QString& name) const;

private:
    using Positions = std::vector<qsizetype>;

    // Every "<name>", "<name " and "</name>" of one name in text order, with
    // the answer for each: where the content that begins there ends.
    struct Matching {
        Positions positions; // of every open and end, ascending
        std::vector<qsizetype>
            contentEnd; // per event: the "</name>" that closes content starting there, or -1
    };

    const Positions& positionsOf(const QHash<QStringView, Positions>& map, QStringView key) const;
    const Matching& matchingOf(const QString& name) const;

    QStringView text_;
    QHash<QStringView, Positions> closedByGt_; // key: text between "<" and ">"
    QHash<QStringView, Positions> closedByBlank_; // key: text between "<" and the blank
    Positions none_;
    mutable QHash<QString, Matching> matchings_; // built on first use of a name
};
