#pragma once

struct RunState;
struct RuleContext;

// Routines and checks that exist by name so that every routine declaration
// table loads and runs, but that do nothing yet: their checks are not written.
// Writing one moves its name from here to its family's own file.
void IMGNAMEARTIDEQUALITY(RuleContext& rule);
void IMGNAMELENGTHEQUALITY(RuleContext& rule);
void CheckImageValidation(RuleContext& rule); // whole-file
void StartImageCrossCheck(RunState& state); // before the first file of a batch
void ReportImagesWithoutCallout(RunState& state); // after the last file of a run
void CheckFileName(RuleContext& rule); // whole-file
void CITATIONVALIDITY(RuleContext& rule);
void COMPCONT(RuleContext& rule);
void CHECKPAIRVALIDITY(RuleContext& rule);
void CHECKPAIRCONTVALIDITY(RuleContext& rule);
void CHECKCOUNTREFVALIDITY(RuleContext& rule);
void PCPDATACOMPARE(RuleContext& rule);
