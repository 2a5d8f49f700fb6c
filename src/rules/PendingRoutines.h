#pragma once

struct RunState;

// Routines that exist by name so that every routine declaration table loads
// and runs, but that do nothing yet, grouped by rule family. Writing a rule
// moves its names from here to the family's own file.

// Hard returns.
void NOHRT(RunState& state);
void WITHHRT(RunState& state);
void CheckMultipleHardReturns(RunState& state); // whole-file

// Hyphenated and compound words.
void HYPHENATEDWORDCHECK(RunState& state);
void COMPOUNDWORDCHECK(RunState& state);

// Unconverted entities.
void UNCONENTITIES(RunState& state);

// Rules that are not specified further: they stay empty.
void IMGNAMEARTIDEQUALITY(RunState& state);
void IMGNAMELENGTHEQUALITY(RunState& state);
void CheckImageValidation(RunState& state); // whole-file
void ReportImagesWithoutCallout(RunState& state); // after the last file of a run
void CheckFileName(RunState& state); // whole-file
void CITATIONVALIDITY(RunState& state);
void COMPCONT(RunState& state);
void CHECKPAIRVALIDITY(RunState& state);
void CHECKPAIRCONTVALIDITY(RunState& state);
void CHECKCOUNTREFVALIDITY(RunState& state);
void PCPDATACOMPARE(RunState& state);
