#pragma once
// The SQL that creates the IBO tables (IboMain, IboArchive), for the sample
// database, the benchmark databases and the tests.

#include <QString>

namespace BrevView::detail {

QString IboSchemaSql();

}  // namespace BrevView::detail
