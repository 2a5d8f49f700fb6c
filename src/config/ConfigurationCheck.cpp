#include "config/ConfigurationCheck.h"

#include "config/ConfigurationLoading.h"
#include "config/TableSetFields.h"
#include "core/Configuration.h"
#include "core/MoveFiles.h"
#include "core/OperatorInterface.h"
#include "core/TempFolderClaim.h"

#include <QLockFile>
#include <utility>
#include <vector>

namespace {

using Field = std::pair<QString, bool>; // name shown, whether it is missing

std::vector<Field> requiredFields(const Configuration& config)
{
    const TableSet& set = config.DefaultTableSet;
    std::vector<Field> fields = {
        { QStringLiteral("WorkPath"), config.WorkPath.isEmpty() },
        { QStringLiteral("InputPath"), config.InputPath.isEmpty() },
        { QStringLiteral("ImagePath"), config.ImagePath.isEmpty() },
        { QStringLiteral("OutputPath"), config.OutputPath.isEmpty() },
        { QStringLiteral("TempPath"), config.TempPath.isEmpty() },
        { QStringLiteral("InputType"), config.InputType.isEmpty() },
    };
    for (int index = 0; index < kSupportFileCount; ++index)
        fields.emplace_back(QString(kSupportFileFields[index].name), set.files[index].isEmpty());
    const std::vector<Field> rest = {
        { QStringLiteral("MainLexPath"), config.MainLexPath.isEmpty() },
        { QStringLiteral("UserLexPath"), config.UserLexPath.isEmpty() },
        { QStringLiteral("MainLexFiles"), config.MainLexFiles.isEmpty() },
        { QStringLiteral("CheckMultiHrt"), set.CheckMultiHrt == Switch::Unset },
        { QStringLiteral("CheckSpecialChar"), set.CheckSpecialChar == Switch::Unset },
        { QStringLiteral("MultiHrtMaxCount"), !set.MultiHrtMaxCountGiven },
        { QStringLiteral("AttribRangeSeparator"), !set.AttribRangeSeparatorGiven },
        { QStringLiteral("ImageExtension"), set.ImageExtension.isEmpty() },
        { QStringLiteral("CheckExcessImgFiles"), set.CheckExcessImgFiles == Switch::Unset },
        { QStringLiteral("CheckFilename"), set.CheckFilename == Switch::Unset },
        { QStringLiteral("ValidFilenameChar"), set.ValidFilenameChars.isEmpty() },
        { QStringLiteral("InValidFilenameChars"), set.InvalidFilenameChars.isEmpty() },
        { QStringLiteral("CheckImageZeroBytes"), set.CheckImageZeroBytes == Switch::Unset },
    };
    fields.insert(fields.end(), rest.begin(), rest.end());
    return fields;
}

// The folder check shows its own message; a missing lexicon file gets the
// same warning text as a missing folder, so the operator sees one style of
// message for everything about the lexicon.
bool checkLexicon(const ConfigurationLoading& loading)
{
    Configuration& config = loading.config;
    if (!FolderServices::CheckPath(
            loading.ui, config.ApplicationPath, config.MainLexPath, FolderServices::Folder))
        return false;
    bool allFound = true;
    for (const QString& rawName : config.MainLexFiles.split(QLatin1Char(','))) {
        // Blanks after the commas and a trailing comma are how people write lists.
        const QString name = rawName.trimmed();
        if (name.isEmpty())
            continue;
        // The engine looks for each file in the user lexicon folder before
        // the main one (a project word list lives beside the project), so a
        // file found there is as good as one in the main folder.
        QString userPath = config.UserLexPath + name;
        if (FolderServices::CheckPath(loading.ui, config.ApplicationPath, userPath, FolderServices::File))
            continue;
        QString path = config.MainLexPath + name;
        if (!FolderServices::CheckPath(loading.ui, config.ApplicationPath, path, FolderServices::File)) {
            loading.ui.messageBox(
                FolderServices::PathNotFoundText(path), kProgramTitle, MessageIcon::Warning);
            allFound = false;
        }
    }
    return allFound;
}

bool checkFolderAccess(const ConfigurationLoading& loading)
{
    Configuration& config = loading.config;
    bool usable = FolderServices::CheckReadAccess(loading.ui, config.InputPath);
    usable = FolderServices::CheckReadAccess(loading.ui, config.ImagePath) && usable;
    usable = FolderServices::CheckWriteAccess(loading.ui, config.WorkPath) && usable;
    usable = FolderServices::CheckWriteAccess(loading.ui, config.OutputPath) && usable;
    if (config.TempPath.compare(config.WorkPath, Qt::CaseInsensitive) == 0) {
        loading.ui.messageBox(QStringLiteral("TempPath should not be equal to WorkPath. Check INI file."),
            kProgramTitle, MessageIcon::Critical);
        usable = false;
    }
    return usable;
}

} // namespace

QString MissingConfigurationFields(const Configuration& config)
{
    QString list;
    for (const auto& [name, missing] : requiredFields(config)) {
        if (!missing)
            continue;
        // Only "WorkPath" opens the list; every other name comes after a line
        // break, so the list starts on a new line when WorkPath is present.
        if (name == QLatin1String("WorkPath"))
            list = name;
        else
            list += QStringLiteral("\r\n") + name;
    }
    return list;
}

bool CheckConfiguredPaths(const ConfigurationLoading& loading, TempFolderClaim* claim)
{
    Configuration& config = loading.config;
    bool usable = checkLexicon(loading);
    usable = checkFolderAccess(loading) && usable;
    if (!FolderServices::CheckWriteAccess(loading.ui, config.TempPath))
        return false;
    if (!claim)
        return usable;
    return ClaimTempFolder(loading.ui, config, *claim) && usable;
}

bool ClaimTempFolder(OperatorInterface& ui, const Configuration& config, TempFolderClaim& claim)
{
    if (claim.held())
        return true;
    // Runs that share a temporary folder take turns: one run's clean-up would
    // otherwise delete the input another run has staged there.
    claim.lock = std::make_unique<QLockFile>(config.TempPath + QStringLiteral("Quorvane_Temp.lock"));
    claim.lock->setStaleLockTime(0); // only a lock whose process is gone is stale
    if (!claim.lock->tryLock(0)) {
        ui.diagnostic(QStringLiteral("waiting for another run that uses %1").arg(config.TempPath));
        claim.lock->lock();
    }
    const QString folder = config.TempPath + QStringLiteral("Quorvane_Temp/");
    if (!FolderServices::MakeFolder(folder)) {
        // Only possible when something else already holds that name.
        ui.messageBox(
            folder + QStringLiteral(" could not be created."), kProgramTitle, MessageIcon::Critical);
        claim.lock.reset();
        return false;
    }
    claim.workingFolder = folder;
    return true;
}
