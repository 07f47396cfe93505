#include "data/query_def.h"

#include <QRegularExpression>

#include "automation/runtime_error.h"
#include "data/engine.h"
#include "data/sql_dialect.h"

namespace BrevView::data {
namespace {
const QString kSource = QStringLiteral("BrevView.Data");
}

QString WithRowId(const QString& sql, QString* updateTable, const std::function<QString(const QString&)>& keyColumn)
{
    updateTable->clear();
    // SELECT <list> FROM <one table> [WHERE|ORDER|GROUP ...]
    static const QRegularExpression re(
        QStringLiteral(
            R"(^\s*SELECT\s+(?!DISTINCT\b)(.*?)\s+FROM\s+("[^"]+"|[A-Za-z_][A-Za-z0-9_]*)\s*(WHERE\b.*|ORDER\b.*|GROUP\b.*)?$)"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch m = re.match(sql);
    if (!m.hasMatch())
        return sql;
    QString table = m.captured(2);
    if (table.startsWith(QLatin1Char('"')))
        table = table.mid(1, table.size() - 2);
    *updateTable = table;
    const QString key = keyColumn(table);
    if (key.isEmpty())
        return sql;  // no key to update a row by: read-only

    return sql.left(m.capturedEnd(1)) + QStringLiteral(", ") + key + QStringLiteral(" AS brev_rowid") +
           sql.mid(m.capturedEnd(1));
}

QueryDef::QueryDef(std::shared_ptr<Connection> connection, QString name, QString sql, Proof proof)
    : conn_(std::move(connection)),
      name_(std::move(name)),
      sql_(std::move(sql))
{
    translated_ = TranslateJetSql(sql_, conn_->dialect());
    if (proof == Proof::Now)
        Prove();
}

void QueryDef::Prove() const
{
    if (proved_)
        return;
    // Preparing proves the text before anything relies on it.
    const std::unique_ptr<Statement> stmt = conn_->Prepare(translated_.text, translated_.parameters);
    const int count = stmt->ParameterCount();
    for (int p = 1; p <= count; ++p) {
        const QString pname = stmt->ParameterName(p);
        if (!pname.isEmpty())
            parameterNames_.append(pname);
    }
    proved_ = true;
}

QStringList QueryDef::ParameterNames() const
{
    Prove();
    return parameterNames_;
}

void QueryDef::SetParameter(const QString& name, const automation::Variant& value)
{
    Prove();
    bool known = false;
    for (const QString& p : parameterNames_)
        known = known || p.compare(name, Qt::CaseInsensitive) == 0;
    if (!known)
        automation::Raise(
            automation::ErrItemNotFound, kSource,
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
    source.baseSql = translated_.text;
    source.parameterNames = translated_.parameters;
    source.spellings = translated_.names;
    if (type == dbOpenDynaset || type == dbOpenTable) {
        Connection* conn = conn_.get();
        QString* key = &source.keyColumn;
        source.baseSql = WithRowId(translated_.text, &source.updateTable, [conn, key](const QString& table) {
            *key = conn->RowKeyColumn(table);
            return *key;
        });
    }
    source.parameters = values_;
    return Recordset::Open(conn_, std::move(source), type);
}

void QueryDef::Close()
{
    closed_ = true;
}

}  // namespace BrevView::data
