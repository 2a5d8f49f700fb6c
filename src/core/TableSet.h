#pragma once

#include "core/TableCodes.h"

#include <QString>
#include <QStringList>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <typeinfo>

// The nineteen support files, in the order of the configuration's table-set
// fields (which is also the order of the missing-field list and of the
// existence check; the loading order differs and lives with the loaders).
enum class SupportFile : int {
    RoutineDeclTbl,
    TextValidityTbl,
    NoHRTDeclTbl,
    WithHRTDeclTbl,
    HyphenatedTbl,
    UnConEntitiesTbl,
    NoLeadZeroTbl,
    AttribUnconTbl,
    SpecialCharTbl,
    Convert2AttribTbl,
    Convert2TagTbl,
    CompContTbl,
    CitationValTbl,
    CheckPairTbl,
    CheckPairContTbl,
    FilenameCheck,
    CountRefCheck,
    PCPDataCompare,
    ImageValidationTbl,
};
constexpr int kSupportFileCount = 19;

// One loaded support table. Each rule family derives its own row type; the
// loaded tables are immutable once loaded, so table sets share them freely.
struct SupportTable {
    virtual ~SupportTable() = default;
};

// One set of support-table names, rule settings and loaded tables.
// Lists are plain zero-based lists: a list that holds nothing is empty, with
// no unused element 0 in front.
struct TableSet {
    std::array<QString, kSupportFileCount> files; // file names as configured, in SupportFile order

    QStringList AttribRangeSeparators;
    bool AttribRangeSeparatorGiven = false;
    QString ImageExtension;
    // The severity written after "True|" in CHECKMULTIHRT; unset when none was.
    std::optional<Severity> MultiHrtSeverity;
    std::int32_t MultiHrtMaxCount = 0;
    bool MultiHrtMaxCountGiven = false;
    Switch CheckMultiHrt = Switch::Unset;
    Switch CheckSpecialChar = Switch::Unset;
    Switch CheckExcessImgFiles = Switch::Unset;
    Switch CheckFilename = Switch::Unset;
    QStringList ValidFilenameChars;
    QStringList InvalidFilenameChars;
    std::array<std::shared_ptr<const SupportTable>, kSupportFileCount> tables; // loaded, in SupportFile order
    QStringList InputPlugins;
    QStringList OutputPlugins;
    Switch CheckImageZeroBytes = Switch::Unset;

    QString& file(SupportFile which) { return files[static_cast<int>(which)]; }
    const QString& file(SupportFile which) const { return files[static_cast<int>(which)]; }

    std::shared_ptr<const SupportTable>& table(SupportFile which) { return tables[static_cast<int>(which)]; }

    // The loaded table of the given file as its concrete type; null when the
    // table was not loaded (or is of another type).
    // Rules ask for their tables at every call, several times a tag: a table
    // of exactly the asked type, the only kind loaders make, is told by its
    // type's identity, without the hierarchy search of a cast.
    template <typename Table> const Table* loaded(SupportFile which) const
    {
        const SupportTable* table = tables[static_cast<int>(which)].get();
        if (!table)
            return nullptr;
        if (typeid(*table) == typeid(Table))
            return static_cast<const Table*>(table);
        return dynamic_cast<const Table*>(table);
    }
};

struct TaskTableSet {
    QString TaskCode; // as written in the file
    TableSet set;
};
