#pragma once
// Makes a sample database by running brevview-sampledb, for the programs that use the library's
// public API alone (the reliability tools, the find benchmark): the generator itself writes the
// tables through the engines, which the shared library does not export.

#include <QString>

namespace BrevView::sample {

// Runs brevview-sampledb for `path` (a file or a postgresql:// URI) with `count` IBOs and
// `archivePercent` extra rows in IboArchive. Returns an empty text on success, else what went
// wrong (the program's own message).
QString GenerateWithProgram(const QString& path, int count, int archivePercent = 4);

}  // namespace BrevView::sample
