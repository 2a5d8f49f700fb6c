#pragma once

struct RunState;

// Every validation routine takes nothing but the run state: it reads the
// current tag's context, the routine parameter and the active table set, and
// reports through the report writer.

// Routines declared per element in the routine declaration table.
void TEXTVALIDITY(RunState& state);
void IMGNAMEARTIDEQUALITY(RunState& state);
void IMGNAMELENGTHEQUALITY(RunState& state);
void NOHRT(RunState& state);
void WITHHRT(RunState& state);
void HYPHENATEDWORDCHECK(RunState& state);
void COMPOUNDWORDCHECK(RunState& state);
void UNCONENTITIES(RunState& state);
void CONVERT2TAG(RunState& state);
void NOLEADZERO(RunState& state);
void ATTRIBUNCONENTITY(RunState& state);
void ATTRIBRANGEVALIDITY(RunState& state);
void ATTRIBNUMBERVALIDITY(RunState& state);
void CONVERT2ATTRIB(RunState& state);
void UNDELFNREF(RunState& state);
void CITATIONVALIDITY(RunState& state);
void COMPCONT(RunState& state);
void CHECKPAIRVALIDITY(RunState& state);
void CHECKPAIRCONTVALIDITY(RunState& state);
void CHECKCOUNTREFVALIDITY(RunState& state);
void PCPDATACOMPARE(RunState& state);

// Whole-file checks, run once per file before the line scan.
void CheckMultipleHardReturns(RunState& state);
void CheckSpecialCharacters(RunState& state);
void CheckFileName(RunState& state);
void CheckImageValidation(RunState& state);
