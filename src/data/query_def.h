#pragma once
// A named query stored in the database (or a temporary one): its SQL in the query
// dialect, its parameters, and the recordsets opened from it.

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include <QString>
#include <QStringList>

#include "automation/variant.h"
#include "data/recordset.h"
#include "data/sql_dialect.h"

namespace BrevView::data {

class Connection;

class QueryDef {
public:
    // How the text is proved: prepared at once (a query about to be stored, a temporary one),
    // or only when its parameters or rows are first asked for (a query found stored, as the
    // catalogue lookup must not wait on the tables it reads: a table another session locks
    // is the recordset's error 3260, not a query not found).
    enum class Proof { Now, WhenUsed };
    QueryDef(std::shared_ptr<Connection> connection, QString name, QString sql, Proof proof = Proof::Now);

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
    // Prepares the text once, learning the parameter names it declares.
    void Prove() const;

    std::shared_ptr<Connection> conn_;
    QString name_;
    QString sql_;
    TranslatedSql translated_;
    mutable QStringList parameterNames_;
    mutable bool proved_ = false;
    std::vector<std::pair<QString, automation::Variant>> values_;
    bool closed_ = false;
};

// The SQL for a dynaset over `translatedSql`: when it reads one table, that table's row
// key (`keyColumn` of the table, asked of the engine) is added as a hidden last column
// named brev_rowid; `*updateTable` names the table (even when it has no key, so that an
// edit can say why it is refused). Otherwise the statement is returned unchanged and
// `*updateTable` is empty. Without the hidden column the dynaset is read-only.
QString WithRowId(const QString& translatedSql, QString* updateTable,
                  const std::function<QString(const QString& table)>& keyColumn);

}  // namespace BrevView::data
