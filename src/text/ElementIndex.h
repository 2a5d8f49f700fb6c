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

    // The start and end tags of one name in text order, with every end tag
    // filed under the balance (start tags less end tags) in front of it. An
    // element ends at the first end tag after its content start whose
    // balance equals the balance there, so each query is two look-ups
    // however many unmatched tags of the name the text holds.
    struct Pairing {
        Positions opens; // "<name>" and "<name ", ascending
        QHash<qsizetype, Positions> endsByBalance;
    };

    const Positions& positionsOf(const QHash<QStringView, Positions>& map, QStringView key) const;
    const Pairing& pairingOf(const QString& name) const;

    QStringView text_;
    QHash<QStringView, Positions> closedByGt_; // key: text between "<" and ">"
    QHash<QStringView, Positions> closedByBlank_; // key: text between "<" and the blank
    Positions none_;
    mutable QHash<QString, Pairing> pairings_; // by name, made on the first query of the name
};
