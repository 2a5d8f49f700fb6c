#pragma once

struct RunState;

// Routines that exist by name so that every routine declaration table loads
// and runs, but that do nothing yet, grouped by rule family. Writing a rule
// moves its names from here to the family's own file.

// Attribute values.
void NOLEADZERO(RunState& state);
void ATTRIBUNCONENTITY(RunState& state);
void ATTRIBRANGEVALIDITY(RunState& state);
void ATTRIBNUMBERVALIDITY(RunState& state);

// Conversion to a tag or an attribute.
void CONVERT2TAG(RunState& state);
void CONVERT2ATTRIB(RunState& state);

// Rules that are not specified further: they stay empty.
void IMGNAMEARTIDEQUALITY(RunState& state);
void IMGNAMELENGTHEQUALITY(RunState& state);
void CheckImageValidation(RunState& state); // whole-file
void StartImageCrossCheck(RunState& state); // before the first file of a batch
void ReportImagesWithoutCallout(RunState& state); // after the last file of a run
void CheckFileName(RunState& state); // whole-file
void CITATIONVALIDITY(RunState& state);
void COMPCONT(RunState& state);
void CHECKPAIRVALIDITY(RunState& state);
void CHECKPAIRCONTVALIDITY(RunState& state);
void CHECKCOUNTREFVALIDITY(RunState& state);
void PCPDATACOMPARE(RunState& state);
