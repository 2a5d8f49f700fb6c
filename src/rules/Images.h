#pragma once

struct RunState;

// The run-wide image cross-check: the image list is started before the first
// file and, after the last, every image that no file of the run calls out is
// reported. The image rules that fill the list are not written yet, so the
// list stays empty and both operations have nothing to do.
void StartRunImageList(RunState& state);
void ReportImagesWithoutCallout(RunState& state);
