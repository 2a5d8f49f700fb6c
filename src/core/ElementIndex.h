#pragma once

#include <QHash>
#include <QString>
#include <QStringView>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

// Where every "<name>", "<name " and "</name>" of one text lies, found in one
// pass, and for each element name which end tag closes which start tag.
// Element content is asked for start tag after start tag; searching the text
// afresh each time would cost a pass per tag, and walking end tag after end
// tag would make deep nesting quadratic.
//
// The index looks at the text it was built on; that text must outlive it and
// stay unchanged.
class ElementIndex {
public:
    explicit ElementIndex(QStringView text);

    QStringView text() const { return text_; }
    // How many "<" the text holds.
    std::size_t openerCount() const { return openers_; }

    // The element content that GetPCDATA gives for the start tag at `tagStart`
    // (zero-based) whose end tag is "</" + name + ">": nothing when that
    // element cannot be closed. The name holds no blank, "<" or ">".
    std::optional<QStringView> elementContent(
        qsizetype tagStart, qsizetype tagLength, QStringView name) const;

private:
    // Offsets fit in 32 bits, as line positions do everywhere in a run; half
    // the width keeps a large file's index in half the memory.
    using Positions = std::vector<std::int32_t>;

    // The start and end tags of one name in text order, with what closes what.
    struct Matching {
        Positions positions; // every "<name>", "<name " and "</name>"
        std::vector<std::int32_t> closer; // per position: the index of the end tag that brings the
                                          // nesting below its level, -1 for none
        // Where the last content asked for started among the positions:
        // contents are mostly asked for in text order, so the next answer is
        // usually a step or two further on and needs no search.
        mutable std::size_t cursor = 0;
    };

    // Positions by the name read at each "<". A file has a few dozen names
    // and a great many tags: a name met again is found in a slot chosen by
    // its length and outer characters by comparing a few characters, and
    // only a name new to its slot is hashed.
    class PositionsByName {
    public:
        Positions& at(QStringView key);
        const Positions* find(QStringView key) const;

    private:
        struct Slot {
            QStringView key; // a view into the indexed text
            std::size_t list = 0;
            bool filled = false;
        };
        QHash<QStringView, std::size_t> lists_;
        std::vector<Positions> positions_;
        std::array<Slot, 64> recent_ {};
    };

    static std::size_t slotOf(QStringView name)
    {
        return name.isEmpty()
            ? 0
            : std::size_t(name.size()) * 31 + name.front().unicode() * 7 + name.back().unicode();
    }
    // Names are short and mostly the very same string: compared here, a
    // name costs a few instructions instead of a library call.
    static bool sameName(QStringView a, QStringView b)
    {
        if (a.size() != b.size())
            return false;
        if (a.data() == b.data())
            return true;
        for (qsizetype i = 0; i < a.size(); ++i) {
            if (a[i] != b[i])
                return false;
        }
        return true;
    }
    const Positions& positionsOf(const PositionsByName& map, QStringView key) const;
    const Matching& matchingOf(QStringView name) const;
    const Matching& builtMatching(QStringView name) const;
    // The index of the first position at or after `at`, as a binary search
    // finds it; positions.size() when there is none.
    static std::size_t firstAtOrAfter(const Matching& matching, qsizetype at);

    QStringView text_;
    std::size_t openers_ = 0;
    PositionsByName closedByGt_; // key: text between "<" and ">"
    PositionsByName closedByBlank_; // key: text between "<" and the blank
    Positions none_;
    // Built on first use of a name; each stays where it was made, so the
    // recent names can point at it.
    mutable QHash<QString, std::shared_ptr<Matching>> matchings_;
    // The names asked for lately, each in a slot chosen by its length and
    // outer characters: a name is found again by comparing a few characters,
    // not by hashing it, and a name read out of the text as a view is found
    // as well as one held in a string. Two names that share a slot only cost
    // a hash look-up each.
    struct Recent {
        QString name;
        const Matching* matching = nullptr;
    };
    mutable std::array<Recent, 64> recent_ {};
};
