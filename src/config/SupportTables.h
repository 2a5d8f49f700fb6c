#pragma once

#include "config/TableReading.h"
#include "core/TableSet.h"

#include <QList>
#include <QStringList>
#include <array>

struct ConfigurationLoading;

// A table whose rule reads its lines itself (the rules not written yet keep
// their tables this way, so that a bad or unreadable file is still caught at
// start-up).
using TableLoader = bool (*)(const ConfigurationLoading& loading, TableSet& set);

struct TableLoaderEntry {
    SupportFile file;
    TableLoader load;
};

// The order tables are loaded in, for the default set and for each task: the
// first table that fails to load is the one the operator hears about.
inline constexpr std::array<SupportFile, kSupportFileCount> kTableLoadingOrder = {
    SupportFile::RoutineDeclTbl,
    SupportFile::TextValidityTbl,
    SupportFile::NoHRTDeclTbl,
    SupportFile::WithHRTDeclTbl,
    SupportFile::HyphenatedTbl,
    SupportFile::UnConEntitiesTbl,
    SupportFile::NoLeadZeroTbl,
    SupportFile::AttribUnconTbl,
    SupportFile::CitationValTbl,
    SupportFile::SpecialCharTbl,
    SupportFile::Convert2AttribTbl,
    SupportFile::Convert2TagTbl,
    SupportFile::CompContTbl,
    SupportFile::CheckPairTbl,
    SupportFile::CheckPairContTbl,
    SupportFile::FilenameCheck,
    SupportFile::CountRefCheck,
    SupportFile::PCPDataCompare,
    SupportFile::ImageValidationTbl,
};

// Checks that every configured table exists, then loads the default set and
// each task's set with the given loaders, in their order. Shows its own
// messages; false ends the run.
bool LoadAllSupportTables(const ConfigurationLoading& loading, const QList<TableLoaderEntry>& loaders);
