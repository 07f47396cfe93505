#include "query_def.h"

#include <sqlite3.h>

#include <QRegularExpression>

#include "../automation/runtime_error.h"
#include "sql_dialect.h"
#include "sqlite_connection.h"

namespace BrevView::data {
namespace {
const QString kSource = QStringLiteral("BrevView.Data");
}

QString WithRowId(const QString& sql, QString* updateTable)
{
    updateTable->clear();
    // SELECT <list> FROM <one table> [WHERE|ORDER|GROUP ...]
    static const QRegularExpression re(
        QStringLiteral(R"(^\s*SELECT\s+(?!DISTINCT\b)(.*?)\s+FROM\s+("[^"]+"|[A-Za-z_][A-Za-z0-9_]*)\s*(WHERE\b.*|ORDER\b.*|GROUP\b.*)?$)"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch m = re.match(sql);
    if (!m.hasMatch())
        return sql;
    QString table = m.captured(2);
    if (table.startsWith(QLatin1Char('"')))
        table = table.mid(1, table.size() - 2);
    *updateTable = table;
    return sql.left(m.capturedEnd(1)) + QStringLiteral(", rowid AS brev_rowid") + sql.mid(m.capturedEnd(1));
}

QueryDef::QueryDef(std::shared_ptr<SqliteConnection> connection, QString name, QString sql)
    : conn_(std::move(connection)), name_(std::move(name)), sql_(std::move(sql))
{
    translated_ = TranslateJetSql(sql_);
    sqlite3_stmt* stmt = conn_->Prepare(translated_);
    const int count = sqlite3_bind_parameter_count(stmt);
    for (int p = 1; p <= count; ++p) {
        const char* raw = sqlite3_bind_parameter_name(stmt, p);
        if (raw)
            parameterNames_.append(QString::fromUtf8(raw));
    }
    sqlite3_finalize(stmt);
}

QStringList QueryDef::ParameterNames() const
{
    return parameterNames_;
}

void QueryDef::SetParameter(const QString& name, const automation::Variant& value)
{
    bool known = false;
    for (const QString& p : parameterNames_)
        known = known || p.compare(name, Qt::CaseInsensitive) == 0;
    if (!known)
        automation::Raise(automation::ErrItemNotFound, kSource,
                          QStringLiteral("Item not found in this collection: parameter '%1' of query '%2'.").arg(name, name_));
    for (auto& [n, v] : values_) {
        if (n.compare(name, Qt::CaseInsensitive) == 0) {
            v = value;
            return;
        }
    }
    values_.emplace_back(name, value);
}

automation::Variant QueryDef::Parameter(const QString& name) const
{
    for (const auto& [n, v] : values_) {
        if (n.compare(name, Qt::CaseInsensitive) == 0)
            return v;
    }
    return automation::Variant::Null();
}

std::shared_ptr<Recordset> QueryDef::OpenRecordset(int type)
{
    if (closed_)
        automation::Raise(3420, kSource, QStringLiteral("Object invalid or no longer set."));
    RecordsetSource source;
    source.baseSql = translated_;
    if (type == dbOpenDynaset || type == dbOpenTable)
        source.baseSql = WithRowId(translated_, &source.updateTable);
    source.parameters = values_;
    return Recordset::Open(conn_, std::move(source), type);
}

void QueryDef::Close()
{
    closed_ = true;
}

}  // namespace BrevView::data
