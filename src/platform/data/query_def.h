#pragma once
// A named query stored in the database (or a temporary one): its SQL in the query
// dialect, its parameters, and the recordsets opened from it.

#include <memory>
#include <utility>
#include <vector>

#include <QString>
#include <QStringList>

#include "../automation/variant.h"
#include "recordset.h"

namespace BrevView::data {

class SqliteConnection;

class QueryDef {
public:
    QueryDef(std::shared_ptr<SqliteConnection> connection, QString name, QString sql);

    const QString& Name() const { return name_; }
    const QString& SQL() const { return sql_; }
    // The parameter names the statement declares ("@Priority").
    QStringList ParameterNames() const;
    // Error 3265 for a name the statement does not declare.
    void SetParameter(const QString& name, const automation::Variant& value);
    automation::Variant Parameter(const QString& name) const;

    // Dynaset by default, as the original data objects open a query.
    std::shared_ptr<Recordset> OpenRecordset(int type = dbOpenDynaset);
    void Close();

private:
    std::shared_ptr<SqliteConnection> conn_;
    QString name_;
    QString sql_;
    QString translated_;
    QStringList parameterNames_;
    std::vector<std::pair<QString, automation::Variant>> values_;
    bool closed_ = false;
};

// The SQL for a dynaset over `translatedSql`: when it reads one table, the row id is
// added as a hidden last column and `*updateTable` names the table; otherwise the
// statement is returned unchanged and `*updateTable` is empty (the dynaset is read-only).
QString WithRowId(const QString& translatedSql, QString* updateTable);

}  // namespace BrevView::data
