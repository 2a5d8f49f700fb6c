#pragma once

#include <QString>
#include <QStringView>
#include <random>

// A text of `length` characters drawn at random from a small alphabet, for
// the tests that hold a fast path against a plain one: with few characters
// the shapes that trip a fast path up (a pair split across its steps, a
// stray '<', a character repeated) turn up often.
inline QString RandomText(std::mt19937& random, int length, QStringView alphabet)
{
    std::uniform_int_distribution<qsizetype> pick(0, alphabet.size() - 1);
    QString text;
    text.reserve(length);
    for (int i = 0; i < length; ++i)
        text += alphabet[pick(random)];
    return text;
}
