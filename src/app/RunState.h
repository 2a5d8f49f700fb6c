#pragma once

#include "core/FileRecord.h"
#include "core/RunRecord.h"
#include "core/RunServices.h"

#include <memory>

// A run with the file it checks now: the three records together, as the
// runners hand them around. The engine takes the file's record with the
// services of the run (services()); the report writer takes the run record.
struct RunState : RunRecord {
    explicit RunState(OperatorInterface& operatorInterface)
        : RunRecord(operatorInterface)
    {
    }
    RunState(OperatorInterface& operatorInterface, std::shared_ptr<LoadedInstallation> shared)
        : RunRecord(operatorInterface, std::move(shared))
    {
    }

    // The file being checked: its text, the scanner's records and the
    // rules' own state of it.
    FileRecord file;

    // What of this run the engine uses while it checks the file.
    RunServices services()
    {
        return { ui, *installation, activeTables, installation->spelling, carriedStates, receiver(),
            report.now };
    }
};
