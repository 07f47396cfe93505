#pragma once
// Writes a realistic, deterministic set of IBOs into a new SQLite database or into a
// PostgreSQL database: the sample database of the demo and the benchmark databases.

#include <QDate>
#include <QString>

typedef struct pg_conn PGconn;

namespace BrevView::sample {

struct Options {
    int count = 500;          // IBOs in IboMain
    quint32 seed = 20261122;  // same seed, same database
    QDate today;              // dates are placed around this day (default: the clock's today)
    int archivePercent = 4;   // extra rows in IboArchive, as a share of count
    bool replace = false;     // on a server: empty tables that already hold IBOs
};

// Creates `path` (replacing an existing file) with the IBO tables and the IBOs; or, when
// `path` is a postgresql:// URI, creates the tables there when missing and loads the IBOs.
// Returns an empty text on success, else what went wrong.
QString Generate(const QString& path, const Options& options);

// Vacuums a server's IboMain until its pages are marked visible to every session, so that the
// views' statements can be answered from an index alone; false (and `error`) on failure.
bool VacuumIboMain(PGconn* conn, QString* error);

}  // namespace BrevView::sample
