#pragma once

#include "core/FileRecord.h"
#include "core/RunRecord.h"
#include "core/RunServices.h"

#include <memory>
#include <stdexcept>

// A run with the file it checks now: the three records together, as the
// runners hand them around. The engine takes the file's record with the
// services of the run (services()); the report writer takes the run record.
struct RunState : RunRecord {
    // A run over an installation of its own, which start-up makes.
    explicit RunState(OperatorInterface& operatorInterface)
        : RunState(operatorInterface, std::make_shared<LoadedInstallation>())
    {
    }
    // A run over an installation made elsewhere, such as a batch worker's
    // over the installation of the run it works for.
    RunState(OperatorInterface& operatorInterface, std::shared_ptr<const LoadedInstallation> shared)
        : RunRecord(operatorInterface, std::move(shared))
    {
    }

    // The installation this run made for itself, for start-up to fill (and a
    // test to set up) before the run reads it. A run over an installation
    // made elsewhere has none to fill.
    LoadedInstallation& ownInstallation()
    {
        if (!own_)
            throw std::logic_error("this run reads an installation made elsewhere");
        return *own_;
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

private:
    RunState(OperatorInterface& operatorInterface, std::shared_ptr<LoadedInstallation> own)
        : RunRecord(operatorInterface, own)
        , own_(std::move(own))
    {
    }

    std::shared_ptr<LoadedInstallation> own_;
};
