#include "config/ConfigurationFile.h"

#include "config/ConfigurationCheck.h"
#include "config/ConfigurationLoading.h"
#include "core/Configuration.h"
#include "core/MoveFiles.h"
#include "core/OperatorInterface.h"
#include "core/RunAborted.h"
#include "text/Encoding.h"

#include <QFile>
#include <QFileInfo>
#include <optional>
#include <utility>

namespace {

enum class Section { None, Default, IoPaths, SupportFiles, Settings, Sentry, Task, PlugIn };

// What the reader remembers from one line to the next.
struct ReaderState {
    Section section = Section::None;
    bool taskMode = false;
    int currentTask = -1; // index into Tasks; -1 while no task code has been read
    bool allValuesGood = true;
};

// Blanks are spaces only; tabs in key lines are removed separately.
QString trimBlanks(const QString& text)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && text[start] == QLatin1Char(' '))
        ++start;
    while (end > start && text[end - 1] == QLatin1Char(' '))
        --end;
    return text.sliced(start, end - start);
}

std::optional<Section> sectionOf(const QString& line)
{
    static const std::pair<QLatin1StringView, Section> headers[] = {
        { QLatin1StringView("[DEFAULT]"), Section::Default },
        { QLatin1StringView("[I/O PATHS]"), Section::IoPaths },
        { QLatin1StringView("[SUPPORT FILES]"), Section::SupportFiles },
        { QLatin1StringView("[SETTINGS]"), Section::Settings },
        { QLatin1StringView("[SENTRY]"), Section::Sentry },
        { QLatin1StringView("[TASK]"), Section::Task },
        { QLatin1StringView("[PLUG-IN]"), Section::PlugIn },
    };
    const QString upper = line.toUpper();
    for (const auto& [header, section] : headers) {
        if (upper == header)
            return section;
    }
    return std::nullopt;
}

void enterSection(ReaderState& reader, Section section)
{
    reader.section = section;
    if (section == Section::Default)
        reader.taskMode = false;
    if (section == Section::Task) {
        reader.taskMode = true;
        // Until this block names its task code, its keys go nowhere (not into
        // the task before it).
        reader.currentTask = -1;
    }
}

// ERRORLOGCOLOR is accepted and left unread: no part of the program colours
// an error log.
void readIoPathKey(Configuration& config, const QString& key, const QString& value)
{
    static const std::pair<QLatin1StringView, QString Configuration::*> folders[] = {
        { QLatin1StringView("WORKPATH"), &Configuration::WorkPath },
        { QLatin1StringView("INPUTPATH"), &Configuration::InputPath },
        { QLatin1StringView("IMAGEPATH"), &Configuration::ImagePath },
        { QLatin1StringView("OUTPUTPATH"), &Configuration::OutputPath },
        { QLatin1StringView("TEMPPATH"), &Configuration::TempPath },
    };
    static const std::pair<QLatin1StringView, QString Configuration::*> texts[] = {
        { QLatin1StringView("KLMXINIFILE"), &Configuration::KlmxIniFile },
        { QLatin1StringView("EDITORPROGRAM"), &Configuration::EditorProgram },
        { QLatin1StringView("INPUTTYPE"), &Configuration::InputType },
        { QLatin1StringView("CREATELOGFOLDER"), &Configuration::CreateLogFolder },
    };
    // An empty folder value still gets its "/", so "KEY=" counts as given.
    for (const auto& [name, field] : folders) {
        if (key == name)
            config.*field = FolderServices::WithTrailingSlash(value);
    }
    for (const auto& [name, field] : texts) {
        if (key == name)
            config.*field = value;
    }
    if (key == QLatin1String("XYCOORDINATES") && value.toLower() == QLatin1String("yes"))
        config.XYCoordinates = true;
    if (key == QLatin1String("IMAGEFOLDER"))
        config.ImageFolder = value.isEmpty() ? value : FolderServices::WithTrailingSlash(value);
    if (key == QLatin1String("INPUTFILEMASK") && !value.isEmpty())
        config.InputFileMask = QLatin1Char('|') + value + QLatin1Char('|');
    if (key == QLatin1String("UTF8INPUT") && value.toLower() == QLatin1String("true"))
        config.Utf8Input = true;
}

void readSentryKey(Configuration& config, const QString& key, const QString& value)
{
    if (key == QLatin1String("MAINLEXPATH"))
        config.MainLexPath = FolderServices::WithTrailingSlash(value);
    else if (key == QLatin1String("USERLEXPATH"))
        config.UserLexPath = FolderServices::WithTrailingSlash(value);
    else if (key == QLatin1String("MAINLEXFILES"))
        config.MainLexFiles = value;
}

void readTaskKey(Configuration& config, ReaderState& reader, const QString& key, const QString& value)
{
    if (key != QLatin1String("TASKCODE"))
        return;
    config.Tasks.append(TaskTableSet { value, TableSet {} });
    reader.currentTask = static_cast<int>(config.Tasks.size()) - 1;
}

void readTableSetLine(
    const ConfigurationLoading& loading, ReaderState& reader, const QString& key, const QString& value)
{
    TableSet* target = &loading.config.DefaultTableSet;
    if (reader.taskMode) {
        if (reader.currentTask < 0)
            return;
        TaskTableSet& task = loading.config.Tasks[reader.currentTask];
        // A task's [SUPPORT FILES] section starts its file-name character
        // lists afresh, so a task gives its [SETTINGS] after it.
        if (reader.section == Section::SupportFiles) {
            task.set.ValidFilenameChars.clear();
            task.set.InvalidFilenameChars.clear();
        }
        if (task.TaskCode.isEmpty())
            return;
        target = &task.set;
    }
    if (!ReadTableSetKey(loading, *target, key, value))
        reader.allValuesGood = false;
}

void dispatchLine(
    const ConfigurationLoading& loading, ReaderState& reader, const QString& key, const QString& value)
{
    const QString upperKey = key.toUpper();
    switch (reader.section) {
    case Section::IoPaths:
        readIoPathKey(loading.config, upperKey, value);
        break;
    case Section::Sentry:
        readSentryKey(loading.config, upperKey, value);
        break;
    case Section::Task:
        readTaskKey(loading.config, reader, upperKey, value);
        break;
    case Section::SupportFiles:
    case Section::Settings:
    case Section::PlugIn:
        readTableSetLine(loading, reader, key, value);
        break;
    case Section::None:
    case Section::Default:
        break;
    }
}

void readLine(const ConfigurationLoading& loading, ReaderState& reader, const QString& rawLine)
{
    QString line = trimBlanks(rawLine);
    QString key;
    QString value;
    if (line.contains(QLatin1Char('='))) {
        line.remove(QLatin1Char('\t'));
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        key = trimBlanks(line.first(equals));
        value = trimBlanks(line.sliced(equals + 1));
    } else if (const auto section = sectionOf(line)) {
        enterSection(reader, *section);
    }
    dispatchLine(loading, reader, key, value);
}

QString readConfigurationText(OperatorInterface& ui, const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        // There is no box for this refusal; a shell user still needs to know why.
        ui.diagnostic(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
        throw RunAborted(ExitStatus::Refused, "Quorvane.INI could not be read");
    }
    return DecodeTableText(file.readAll());
}

void resetBeforeReading(Configuration& config)
{
    config.Tasks.clear();
    config.DefaultTableSet.InputPlugins.clear();
    config.DefaultTableSet.OutputPlugins.clear();
    config.Utf8Input = false;
}

} // namespace

namespace {

// A null claim leaves the temporary folder alone.
bool readConfiguration(const ConfigurationLoading& loading, TempFolderClaim* claim)
{
    Configuration& config = loading.config;
    if (!config.ApplicationPath.isEmpty())
        config.ApplicationPath = FolderServices::WithTrailingSlash(config.ApplicationPath);
    const QString path = config.ApplicationPath + QStringLiteral("Quorvane.INI");
    if (!QFileInfo(path).isFile()) {
        loading.ui.messageBox(QStringLiteral("Missing Quorvane.INI in the application path"), kProgramTitle,
            MessageIcon::Critical);
        loading.ui.diagnostic(
            QStringLiteral("no Quorvane.INI in %1 (the application folder; choose another with "
                           "--app-dir)")
                .arg(QFileInfo(path).absolutePath()));
        return false;
    }
    resetBeforeReading(config);
    ReaderState reader;
    for (const QString& line : SplitTextLines(readConfigurationText(loading.ui, path)))
        readLine(loading, reader, line);
    if (!reader.allValuesGood)
        return false;
    const QString missing = MissingConfigurationFields(config);
    if (!missing.isEmpty()) {
        loading.ui.messageBox(
            QStringLiteral("Missing/Empty Fields found in the [DEFAULT] part of the INI file:") + missing,
            kProgramTitle, MessageIcon::Warning);
        return false;
    }
    return CheckConfiguredPaths(loading, claim);
}

} // namespace

bool ReadConfigurationFile(const ConfigurationLoading& loading)
{
    return readConfiguration(loading, nullptr);
}

bool ReadConfigurationFile(const ConfigurationLoading& loading, TempFolderClaim& claim)
{
    return readConfiguration(loading, &claim);
}

namespace {

void overlayText(QString& active, const QString& task)
{
    if (!task.isEmpty())
        active = task;
}

void overlaySwitch(Switch& active, Switch task)
{
    if (task != Switch::Unset)
        active = task;
}

void overlayList(QStringList& active, const QStringList& task)
{
    if (!task.isEmpty())
        active = task;
}

void overlayTaskSet(TableSet& active, const TableSet& task)
{
    for (int index = 0; index < kSupportFileCount; ++index) {
        if (task.files[index].isEmpty())
            continue;
        // The task's own table was loaded from the task's own file name.
        active.files[index] = task.files[index];
        active.tables[index] = task.tables[index];
    }
    overlayText(active.ImageExtension, task.ImageExtension);
    overlaySwitch(active.CheckMultiHrt, task.CheckMultiHrt);
    if (task.MultiHrtSeverity)
        active.MultiHrtSeverity = task.MultiHrtSeverity;
    overlaySwitch(active.CheckSpecialChar, task.CheckSpecialChar);
    overlaySwitch(active.CheckExcessImgFiles, task.CheckExcessImgFiles);
    overlaySwitch(active.CheckFilename, task.CheckFilename);
    overlaySwitch(active.CheckImageZeroBytes, task.CheckImageZeroBytes);
    if (task.MultiHrtMaxCountGiven) {
        active.MultiHrtMaxCount = task.MultiHrtMaxCount;
        active.MultiHrtMaxCountGiven = true;
    }
    if (task.AttribRangeSeparatorGiven) {
        active.AttribRangeSeparators = task.AttribRangeSeparators;
        active.AttribRangeSeparatorGiven = true;
    }
    overlayList(active.ValidFilenameChars, task.ValidFilenameChars);
    overlayList(active.InvalidFilenameChars, task.InvalidFilenameChars);
    overlayList(active.InputPlugins, task.InputPlugins);
    overlayList(active.OutputPlugins, task.OutputPlugins);
}

} // namespace

TableSet TableSetForTask(OperatorInterface& ui, const Configuration& config, const QString& taskCode)
{
    TableSet active = config.DefaultTableSet;
    if (taskCode.isEmpty())
        return active;
    const QString wanted = taskCode.toUpper();
    for (const TaskTableSet& task : config.Tasks) {
        if (task.TaskCode.toUpper() == wanted) {
            overlayTaskSet(active, task.set);
            return active;
        }
    }
    // Falling back to the default tables is right for a task without tables of
    // its own, but a mistyped task code should not pass unnoticed.
    ui.diagnostic(QStringLiteral(
        "task code %1 is not named by any [TASK] section of Quorvane.INI; the default tables are used")
                      .arg(taskCode));
    return active;
}
