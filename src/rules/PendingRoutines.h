#pragma once

struct RunState;

// Routines and checks that exist by name so that every routine declaration
// table loads and runs, but that do nothing: their rules are not specified.
// Writing one moves its name from here to its family's own file.
void IMGNAMEARTIDEQUALITY(RunState& state);
void IMGNAMELENGTHEQUALITY(RunState& state);
void CheckImageValidation(RunState& state); // whole-file
void StartImageCrossCheck(RunState& state); // before the first file of a batch
void ReportImagesWithoutCallout(RunState& state); // after the last file of a run
void CheckFileName(RunState& state); // whole-file
