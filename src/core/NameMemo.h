#pragma once

#include <QString>
#include <array>
#include <cstddef>
#include <cstdint>

// What a table answers for a tag name, remembered for the names met most.
// The tag scanner hands out the same shared string for a name it has seen,
// so a slot is chosen by where the name's characters lie and the answer is
// found again without hashing or folding the name. The slot keeps its own
// reference to the name, so the characters cannot be freed and reused for
// another name while the answer stands; the names are compared all the
// same, so a name that arrives in a string of its own is answered rightly,
// at worst by asking the table once more. Answers hold for one table: a
// memo asked for another forgets what it knew, and its owner makes it
// forget when a table may have been loaded anew at the same place.
template <class Answer> class NameMemo {
public:
    template <class Ask> const Answer& answer(const void* table, const QString& name, Ask&& ask)
    {
        if (table != table_) {
            slots_ = {};
            table_ = table;
        }
        Slot& slot = slots_[(std::uintptr_t(name.constData()) / alignof(std::max_align_t)) % kSlots];
        if (!slot.filled || slot.name != name) {
            slot.answer = ask(name);
            slot.name = name;
            slot.filled = true;
        }
        return slot.answer;
    }

    void forget()
    {
        slots_ = {};
        table_ = nullptr;
    }

private:
    static constexpr std::size_t kSlots = 64;
    struct Slot {
        QString name;
        Answer answer {};
        bool filled = false;
    };
    const void* table_ = nullptr;
    std::array<Slot, kSlots> slots_ {};
};
