#include "rules/HardReturns.h"

#include "support/RuleFixture.h"

#include <gtest/gtest.h>
#include <random>

namespace {

QStringList runMultiHrt(
    Switch checkSwitch, std::optional<Severity> severity, int maxCount, const QByteArray& input)
{
    RuleFixture fixture("");
    TableSet& set = fixture.state.activeTables;
    set.CheckMultiHrt = checkSwitch;
    set.MultiHrtSeverity = severity;
    set.MultiHrtMaxCount = maxCount;
    return fixture.run(input);
}

// The check read the plain way: every marker rewritten as CR LF, then a
// search for one line break more than allowed.
bool literalTooManyHardReturns(QString text, int maxCount)
{
    text.replace(QStringLiteral("<HRT/>"), QStringLiteral("\r\n"), Qt::CaseInsensitive);
    text.replace(QStringLiteral("<HRT />"), QStringLiteral("\r\n"), Qt::CaseInsensitive);
    return text.contains(QStringLiteral("\r\n").repeated(maxCount + 1));
}

} // namespace

TEST(CheckMultipleHardReturns, SwitchSeverityAndCount)
{
    EXPECT_EQ(runMultiHrt(Switch::Off, Severity::Error, 0, "a\r\n\r\n\r\nb"), QStringList());
    EXPECT_EQ(runMultiHrt(Switch::On, Severity::Error, 1, "a\r\n\r\nb"),
        QStringList { "0:1 E Consecutive hard returns exceed allowable count | Max. Count: 1" });
    EXPECT_EQ(runMultiHrt(Switch::On, std::nullopt, 0, "a\r\nb"),
        QStringList { "0:1 W Consecutive hard returns exceed allowable count | Max. Count: 0" });
    // A negative count reads as 0: any hard return is one too many.
    EXPECT_EQ(runMultiHrt(Switch::On, std::nullopt, -1, "a<HRT/>b"),
        QStringList { "0:1 W Consecutive hard returns exceed allowable count | Max. Count: -1" });
    // A huge count builds nothing of that size.
    EXPECT_EQ(
        runMultiHrt(Switch::On, std::nullopt, 1000000, QByteArray("\r\n").repeated(1000)), QStringList());
}

TEST(CheckMultipleHardReturns, AgreesWithRewritingMarkersOnRandomTexts)
{
    const QList<QByteArray> pieces = { "\r\n", "<HRT/>", "<hRt />", "\r", "x", "<HRT>", "<HRT", "/>", "<" };
    std::mt19937 rng(11);
    for (int round = 0; round < 150; ++round) {
        QByteArray input;
        const int length = int(rng() % 30);
        for (int i = 0; i < length; ++i)
            input += pieces[rng() % pieces.size()];
        const int maxCount = int(rng() % 4);
        RuleFixture fixture("");
        TableSet& set = fixture.state.activeTables;
        set.CheckMultiHrt = Switch::On;
        set.MultiHrtMaxCount = maxCount;
        const bool reported = !fixture.run(input).isEmpty();
        EXPECT_EQ(reported, literalTooManyHardReturns(fixture.state.file.wholeText, maxCount))
            << input.constData() << " max " << maxCount;
    }
}
