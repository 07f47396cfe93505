#pragma once
// The SQL that creates the IBO tables (IboMain, IboArchive), for the sample
// database, the benchmark databases and the tests: one script per engine.

#include <QString>

#include "data/engine.h"

namespace BrevView::detail {

QString IboSchemaSql(data::Dialect dialect = data::Dialect::SQLite);

}  // namespace BrevView::detail
