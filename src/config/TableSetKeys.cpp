#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "config/TableSetFields.h"
#include "core/MoveFiles.h"

#include <QRegularExpression>
#include <cmath>
#include <limits>
#include <optional>

namespace {

bool warn(const ConfigurationLoading& loading, const QString& text)
{
    loading.ui.messageBox(text, kProgramTitle, MessageIcon::Warning);
    return false;
}

// An empty value gives no pieces at all: "KEY=" leaves the list empty rather
// than holding one empty element.
QStringList splitValue(const QString& value, const QString& separator)
{
    return value.isEmpty() ? QStringList() : value.split(separator);
}

bool readRangeSeparators(const ConfigurationLoading& loading, TableSet& set, const QString& value)
{
    set.AttribRangeSeparatorGiven = true;
    set.AttribRangeSeparators.clear();
    for (const QString& rawPiece : splitValue(value, QStringLiteral("|"))) {
        const QString piece = rawPiece.trimmed();
        if (piece.isEmpty())
            return warn(loading, QStringLiteral("Empty field found in AttribRangeSeparator"));
        set.AttribRangeSeparators.append(
            QString(piece).replace(QStringLiteral("<space>"), QStringLiteral(" ")));
    }
    return true;
}

// Halves go to the even neighbour (banker's rounding): 2.5 gives 2, 3.5 gives 4.
double roundHalfToEven(double number)
{
    const double below = std::floor(number);
    const double fraction = number - below;
    if (fraction != 0.5)
        return fraction < 0.5 ? below : below + 1;
    return std::fmod(below, 2.0) == 0 ? below : below + 1;
}

// A decimal number as a user writes it: optional sign, digits with at most
// one decimal point, no exponent; it must fit a 32-bit integer once rounded.
std::optional<std::int32_t> roundedCount(const QString& value)
{
    static const QRegularExpression decimal(QStringLiteral("^[+-]?(\\d+\\.?\\d*|\\.\\d+)$"));
    const QString text = value.trimmed();
    if (!decimal.match(text).hasMatch())
        return std::nullopt;
    const double rounded = roundHalfToEven(text.toDouble());
    if (rounded < std::numeric_limits<std::int32_t>::min()
        || rounded > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return static_cast<std::int32_t>(rounded);
}

bool readMaxCount(const ConfigurationLoading& loading, TableSet& set, const QString& value)
{
    set.MultiHrtMaxCountGiven = true;
    const auto count = roundedCount(value);
    if (!count)
        return warn(loading, QStringLiteral("MultiHrtMaxCount value in INI file should be numeric"));
    set.MultiHrtMaxCount = *count;
    return true;
}

bool readCheckMultiHrt(const ConfigurationLoading& loading, TableSet& set, const QString& value)
{
    if (value.contains(QStringLiteral("True"), Qt::CaseInsensitive)) {
        set.CheckMultiHrt = Switch::On;
        const QStringList pieces = value.split(QLatin1Char('|'));
        if (pieces.size() == 2) {
            const QString code = pieces[1].trimmed();
            set.MultiHrtSeverity = code.isEmpty() ? std::nullopt : std::optional(SeverityOfCode(code));
        }
        return true;
    }
    if (value.contains(QStringLiteral("False"), Qt::CaseInsensitive)) {
        set.CheckMultiHrt = Switch::Off;
        return true;
    }
    return warn(loading, QStringLiteral("Invalid CheckMultiHrt value in INI file"));
}

bool readSwitch(
    const ConfigurationLoading& loading, Switch& field, const QString& value, const QString& message)
{
    if (value.compare(QLatin1String("TRUE"), Qt::CaseInsensitive) == 0)
        field = Switch::On;
    else if (value.compare(QLatin1String("FALSE"), Qt::CaseInsensitive) == 0)
        field = Switch::Off;
    else
        return warn(loading, message);
    return true;
}

// Plug-in entries without a folder are looked for beside the program.
bool readPlugins(const ConfigurationLoading& loading, QStringList& plugins, const QString& value)
{
    bool allFound = true;
    for (const QString& rawEntry : value.split(QLatin1Char('|'))) {
        QString entry = rawEntry.trimmed();
        if (entry.isEmpty())
            continue;
        if (FolderServices::CheckPath(
                loading.ui, loading.config.ApplicationPath, entry, FolderServices::File)) {
            plugins.append(entry);
            continue;
        }
        loading.ui.messageBox(QStringLiteral("Missing ") + entry, kProgramTitle, MessageIcon::Information);
        allFound = false;
    }
    return allFound;
}

} // namespace

bool ReadTableSetKey(
    const ConfigurationLoading& loading, TableSet& set, const QString& key, const QString& value)
{
    const QString name = key.toUpper();
    for (int index = 0; index < kSupportFileCount; ++index) {
        if (name == kSupportFileFields[index].key) {
            set.files[index] = value;
            return true;
        }
    }
    if (name == QLatin1String("ATTRIBRANGESEPARATOR"))
        return readRangeSeparators(loading, set, value);
    if (name == QLatin1String("IMAGEEXTENSION")) {
        set.ImageExtension = value;
        return true;
    }
    if (name == QLatin1String("MULTIHRTMAXCOUNT"))
        return readMaxCount(loading, set, value);
    if (name == QLatin1String("CHECKMULTIHRT"))
        return readCheckMultiHrt(loading, set, value);
    if (name == QLatin1String("CHECKSPECIALCHAR"))
        return readSwitch(loading, set.CheckSpecialChar, value,
            QStringLiteral("Invalid CheckSpecialChar value in INI file"));
    if (name == QLatin1String("CHECKEXCESSIMGFILES"))
        return readSwitch(loading, set.CheckExcessImgFiles, value,
            QStringLiteral("Invalid CheckExcessImgFiles value in INI file"));
    if (name == QLatin1String("CHECKFILENAME"))
        return readSwitch(
            loading, set.CheckFilename, value, QStringLiteral("Invalid CheckFilename value in INI file"));
    if (name == QLatin1String("CHECKIMAGEZEROBYTES"))
        return readSwitch(loading, set.CheckImageZeroBytes, value,
            QStringLiteral("Invalid CHECKIMAGEZEROBYTES value in INI file"));
    // The singular key beside the plural one is how existing files spell them.
    if (name == QLatin1String("VALIDFILENAMECHAR")) {
        set.ValidFilenameChars = splitValue(value, QStringLiteral("<comma>"));
        return true;
    }
    if (name == QLatin1String("INVALIDFILENAMECHARS")) {
        set.InvalidFilenameChars = splitValue(value, QStringLiteral("<comma>"));
        return true;
    }
    if (name == QLatin1String("INPUTPLUGIN"))
        return readPlugins(loading, set.InputPlugins, value);
    if (name == QLatin1String("OUTPUTPLUGIN"))
        return readPlugins(loading, set.OutputPlugins, value);
    return true;
}
