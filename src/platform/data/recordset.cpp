#include "recordset.h"

#include <sqlite3.h>

#include <cstring>
#include <limits>

#include "../automation/conversions.h"
#include "../automation/runtime_error.h"
#include "sql_dialect.h"
#include "sqlite_connection.h"

namespace BrevView::data {
namespace {

using automation::Raise;
using automation::Variant;
using automation::VarType;

const QString kSource = QStringLiteral("BrevView.Data");

bool DeclaredAs(const char* decl, std::initializer_list<const char*> words)
{
    if (!decl)
        return false;
    const QByteArray upper = QByteArray(decl).toUpper();
    for (const char* w : words) {
        if (upper.contains(w))
            return true;
    }
    return false;
}

void Bind(SqliteConnection& conn, sqlite3_stmt* stmt, int index, const Variant& v)
{
    int rc = SQLITE_OK;
    switch (v.type()) {
    case VarType::Empty:
    case VarType::Null: rc = sqlite3_bind_null(stmt, index); break;
    case VarType::Boolean: rc = sqlite3_bind_int(stmt, index, v.boolValue() ? 1 : 0); break;
    case VarType::Long: rc = sqlite3_bind_int(stmt, index, v.longValue()); break;
    case VarType::Double: rc = sqlite3_bind_double(stmt, index, v.doubleValue()); break;
    case VarType::Currency: rc = sqlite3_bind_double(stmt, index, v.currencyValue().ToDouble()); break;
    case VarType::Date: {
        const QByteArray t = v.dateValue().ToCanonicalText().toUtf8();
        rc = sqlite3_bind_text(stmt, index, t.constData(), int(t.size()), SQLITE_TRANSIENT);
        break;
    }
    case VarType::String: {
        const QByteArray t = v.stringValue().toUtf8();
        rc = sqlite3_bind_text(stmt, index, t.constData(), int(t.size()), SQLITE_TRANSIENT);
        break;
    }
    }
    if (rc != SQLITE_OK)
        conn.RaiseFor(rc, QStringLiteral("Binding parameter %1").arg(index));
}

}  // namespace

std::shared_ptr<Recordset> Recordset::Open(std::shared_ptr<SqliteConnection> connection, RecordsetSource source, int type)
{
    if (!connection)
        Raise(automation::ErrObjectNotSet, kSource);
    if (type != dbOpenDynaset && type != dbOpenSnapshot && type != dbOpenForwardOnly && type != dbOpenTable)
        Raise(automation::ErrInvalidProcedureCall, kSource, QStringLiteral("Invalid recordset type %1").arg(type));
    std::shared_ptr<Recordset> rs(new Recordset);
    rs->conn_ = std::move(connection);
    rs->source_ = std::move(source);
    rs->type_ = type == dbOpenTable ? dbOpenDynaset : type;
    rs->hasRowId_ = !rs->source_.updateTable.isEmpty();
    rs->sql_ = ComposeSql(rs->source_);
    rs->stmt_ = rs->conn_->Prepare(rs->sql_);

    // Parameters by name, as the query's parameter collection holds them.
    const int count = sqlite3_bind_parameter_count(rs->stmt_);
    int missing = 0;
    for (int p = 1; p <= count; ++p) {
        const char* raw = sqlite3_bind_parameter_name(rs->stmt_, p);
        const QString name = raw ? QString::fromUtf8(raw) : QString();
        bool bound = false;
        for (const auto& [pname, value] : rs->source_.parameters) {
            if (pname.compare(name, Qt::CaseInsensitive) == 0) {
                Bind(*rs->conn_, rs->stmt_, p, value);
                bound = true;
                break;
            }
        }
        if (!bound)
            ++missing;
    }
    if (missing > 0) {
        rs->Close();
        Raise(automation::ErrTooFewParameters, kSource, QStringLiteral("Too few parameters. Expected %1.").arg(missing));
    }

    rs->columnCount_ = sqlite3_column_count(rs->stmt_);
    rs->fieldCount_ = rs->columnCount_ - (rs->hasRowId_ ? 1 : 0);
    for (int c = 0; c < rs->columnCount_; ++c) {
        rs->names_.append(QString::fromUtf8(sqlite3_column_name(rs->stmt_, c)));
        const char* decl = sqlite3_column_decltype(rs->stmt_, c);
        rs->isDate_.push_back(DeclaredAs(decl, {"DATE", "TIME"}));
        rs->isBool_.push_back(DeclaredAs(decl, {"BOOL", "BIT", "YESNO"}));
    }
    return rs;
}

Recordset::~Recordset()
{
    if (stmt_)
        sqlite3_finalize(stmt_);
    if (updateStmt_)
        sqlite3_finalize(updateStmt_);
}

bool Recordset::FieldUtf8(int index, const char** text, int* length)
{
    Start();
    if (index < 0 || index >= fieldCount_)
        FieldName(index);
    RequireCurrent();
    if (editing_)
        return false;
    if (type_ == dbOpenForwardOnly || streaming_) {
        if (sqlite3_column_type(stmt_, index) != SQLITE_TEXT)
            return false;
        *text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, index));
        *length = sqlite3_column_bytes(stmt_, index);
        return true;
    }
    const Cell& cell = cells_[size_t(pos_ * columnCount_ + index)];
    if (cell.kind != kText)
        return false;
    *text = TextOf(cell);
    *length = int(cell.len);
    return true;
}

QString Recordset::ComposeSql(const RecordsetSource& source)
{
    if (source.where.isEmpty() && source.order.isEmpty())
        return source.baseSql;
    QString sql = QStringLiteral("SELECT * FROM (") + source.baseSql + QLatin1Char(')');
    if (!source.where.isEmpty())
        sql += QStringLiteral(" WHERE (") + source.where.join(QStringLiteral(") AND (")) + QLatin1Char(')');
    if (!source.order.isEmpty())
        sql += QStringLiteral(" ORDER BY ") + source.order;
    return sql;
}

void Recordset::CheckOpen() const
{
    if (closed_)
        Raise(3420, kSource, QStringLiteral("Object invalid or no longer set."));
}

bool Recordset::Step()
{
    if (done_ || !stmt_)
        return false;
    const int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW)
        return true;
    done_ = true;
    if (rc != SQLITE_DONE)
        conn_->RaiseFor(rc, QStringLiteral("Reading \"%1\"").arg(sql_.left(200)));
    return false;
}

void Recordset::CacheCurrentRow()
{
    for (int c = 0; c < columnCount_; ++c) {
        Cell cell;
        cell.i = 0;
        cell.len = 0;
        switch (sqlite3_column_type(stmt_, c)) {
        case SQLITE_NULL: cell.kind = kNull; break;
        case SQLITE_INTEGER: cell.kind = kInt; cell.i = sqlite3_column_int64(stmt_, c); break;
        case SQLITE_FLOAT: cell.kind = kReal; cell.d = sqlite3_column_double(stmt_, c); break;
        default: {
            const char* t = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, c));
            const int n = sqlite3_column_bytes(stmt_, c);
            cell.kind = kText;
            StoreText(cell, t, size_t(n));
            break;
        }
        }
        Cell* slot = nullptr;
        cells_.Append(1, &slot);
        *slot = cell;
    }
    ++rows_;
}

void Recordset::StoreText(Cell& cell, const char* text, size_t length)
{
    cell.i = 0;
    cell.len = quint32(length);
    if (length == 0)
        return;
    char* room = nullptr;
    cell.i = qint64(text_.Append(length, &room));
    std::memcpy(room, text, length);
}

void Recordset::Start()
{
    CheckOpen();
    if (started_)
        return;
    started_ = true;
    if (type_ == dbOpenDynaset) {
        // A dynaset is read whole before the first record is shown, so that writes
        // through Update never meet a statement still walking the same table.
        FetchAll();
    } else {
        streaming_ = type_ == dbOpenSnapshot;
        if (Step())
            rows_ = 1;
    }
    pos_ = 0;
}

void Recordset::FetchAll()
{
    if (type_ == dbOpenForwardOnly)
        Raise(3251, kSource, QStringLiteral("Operation is not supported for this type of object."));
    if (streaming_)
        Materialize();
    while (Step())
        CacheCurrentRow();
}

void Recordset::Materialize()
{
    streaming_ = false;
    cells_.Clear();
    text_.Clear();
    if (pos_ == 0 && rows_ <= 1) {
        // Still on the first record (or there is none): nothing has been passed, so keep
        // it and read on from here. Running a sorted statement again would sort it again.
        rows_ = 0;
        if (!done_)
            CacheCurrentRow();
        return;
    }
    // Records were passed without being kept: read the statement again from its start,
    // keeping every row, and stay on the same record.
    sqlite3_reset(stmt_);
    done_ = false;
    const qint64 keep = pos_;
    rows_ = 0;
    while (rows_ <= keep && Step())
        CacheCurrentRow();
    pos_ = std::min(keep, rows_);
}

bool Recordset::Eof()
{
    Start();
    return pos_ >= rows_;
}

bool Recordset::Bof()
{
    Start();
    return pos_ < 0 || rows_ == 0;
}

void Recordset::RequireCurrent() const
{
    if (pos_ < 0 || pos_ >= rows_)
        Raise(automation::ErrNoCurrentRecord, kSource, QStringLiteral("No current record."));
}

void Recordset::MoveNext()
{
    Start();
    if (pos_ >= rows_)
        Raise(automation::ErrNoCurrentRecord, kSource, QStringLiteral("No current record."));
    editing_ = false;
    if (type_ == dbOpenForwardOnly || streaming_) {
        if (Step())
            ++rows_;
        ++pos_;
        return;
    }
    ++pos_;
    if (pos_ == rows_ && Step())
        CacheCurrentRow();
}

void Recordset::MovePrevious()
{
    Start();
    if (type_ == dbOpenForwardOnly)
        Raise(3251, kSource, QStringLiteral("Operation is not supported for this type of object."));
    if (pos_ < 0)
        Raise(automation::ErrNoCurrentRecord, kSource, QStringLiteral("No current record."));
    editing_ = false;
    if (streaming_)
        Materialize();
    --pos_;
}

void Recordset::MoveFirst()
{
    Start();
    editing_ = false;
    if (type_ == dbOpenForwardOnly) {
        if (pos_ != 0)
            Raise(3251, kSource, QStringLiteral("Operation is not supported for this type of object."));
        return;
    }
    if (rows_ == 0)
        Raise(automation::ErrNoCurrentRecord, kSource, QStringLiteral("No current record."));
    if (streaming_ && pos_ != 0)
        Materialize();
    pos_ = 0;
}

void Recordset::MoveLast()
{
    Start();
    editing_ = false;
    FetchAll();
    if (rows_ == 0)
        Raise(automation::ErrNoCurrentRecord, kSource, QStringLiteral("No current record."));
    pos_ = rows_ - 1;
}

qint64 Recordset::RecordCount()
{
    Start();
    return rows_;
}

QString Recordset::FieldName(int index) const
{
    if (index < 0 || index >= fieldCount_)
        Raise(automation::ErrItemNotFound, kSource,
              QStringLiteral("Item not found in this collection: field %1 of %2.").arg(index).arg(fieldCount_));
    return names_[index];
}

int Recordset::FieldIndex(const QString& name) const
{
    for (int c = 0; c < fieldCount_; ++c) {
        if (names_[c].compare(name, Qt::CaseInsensitive) == 0)
            return c;
    }
    Raise(automation::ErrItemNotFound, kSource, QStringLiteral("Item not found in this collection: field '%1'.").arg(name));
}

Variant Recordset::ValueOf(int col, int kind, qint64 i, double d, const char* text, int len) const
{
    switch (kind) {
    case kNull: return Variant::Null();
    case kInt:
        if (isBool_[col])
            return Variant(i != 0);
        if (i >= std::numeric_limits<qint32>::min() && i <= std::numeric_limits<qint32>::max())
            return Variant(qint32(i));
        return Variant(double(i));
    case kReal: return Variant(d);
    default: {
        if (isDate_[col]) {
            automation::Date date;
            if (automation::Date::FromCanonicalUtf8(text, len, &date))
                return Variant(date);
        }
        return Variant(QString::fromUtf8(text, len));
    }
    }
}

Variant Recordset::Field(int index)
{
    Start();
    if (index < 0 || index >= fieldCount_)
        FieldName(index);  // raises 3265
    RequireCurrent();
    if (editing_) {
        for (const auto& [col, value] : edits_) {
            if (col == index)
                return value;
        }
    }
    if (type_ == dbOpenForwardOnly || streaming_) {
        const int t = sqlite3_column_type(stmt_, index);
        switch (t) {
        case SQLITE_NULL: return ValueOf(index, kNull, 0, 0, nullptr, 0);
        case SQLITE_INTEGER: return ValueOf(index, kInt, sqlite3_column_int64(stmt_, index), 0, nullptr, 0);
        case SQLITE_FLOAT: return ValueOf(index, kReal, 0, sqlite3_column_double(stmt_, index), nullptr, 0);
        default: {
            const char* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, index));
            return ValueOf(index, kText, 0, 0, text ? text : "", sqlite3_column_bytes(stmt_, index));
        }
        }
    }
    const Cell& cell = cells_[size_t(pos_ * columnCount_ + index)];
    if (cell.kind == kText)
        return ValueOf(index, kText, 0, 0, TextOf(cell), int(cell.len));
    return ValueOf(index, cell.kind, cell.kind == kInt ? cell.i : 0, cell.kind == kReal ? cell.d : 0, nullptr, 0);
}

std::shared_ptr<Recordset> Recordset::OpenRecordset(int type)
{
    CheckOpen();
    RecordsetSource next = source_;
    if (!filter_.trimmed().isEmpty())
        next.where.append(TranslateJetSql(filter_));
    if (!sort_.trimmed().isEmpty())
        next.order = TranslateJetSql(sort_);
    const int t = type < 0 ? type_ : type;
    if (t != dbOpenDynaset)
        next.updateTable.clear();
    if (next.updateTable.isEmpty() && hasRowId_) {
        // The hidden row id stays in the base statement; narrow the outer select to the fields.
        QStringList cols;
        for (int c = 0; c < fieldCount_; ++c)
            cols.append(QLatin1Char('"') + QString(names_[c]).replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"'));
        next.baseSql = QStringLiteral("SELECT ") + cols.join(QStringLiteral(", ")) + QStringLiteral(" FROM (") + ComposeSql(next) + QLatin1Char(')');
        next.where.clear();
        next.order.clear();
    }
    return Open(conn_, std::move(next), t);
}

void Recordset::Edit()
{
    Start();
    RequireCurrent();
    if (type_ != dbOpenDynaset || !hasRowId_)
        Raise(automation::ErrCantUpdate, kSource, QStringLiteral("Cannot update. Database or object is read-only."));
    editing_ = true;
    edits_.clear();
}

void Recordset::SetField(int index, const Variant& value)
{
    if (index < 0 || index >= fieldCount_)
        FieldName(index);
    if (!editing_)
        Raise(automation::ErrUpdateWithoutEdit, kSource, QStringLiteral("Update or CancelUpdate without AddNew or Edit."));
    for (auto& [col, v] : edits_) {
        if (col == index) {
            v = value;
            return;
        }
    }
    edits_.emplace_back(index, value);
}

void Recordset::CancelUpdate()
{
    editing_ = false;
    edits_.clear();
}

void Recordset::Update()
{
    if (!editing_)
        Raise(automation::ErrUpdateWithoutEdit, kSource, QStringLiteral("Update or CancelUpdate without AddNew or Edit."));
    RequireCurrent();
    if (!edits_.empty()) {
        const Cell& idCell = cells_[size_t(pos_ * columnCount_ + fieldCount_)];
        QStringList sets;
        for (const auto& e : edits_)
            sets.append(QLatin1Char('"') + names_[e.first] + QStringLiteral("\" = ?"));
        const QString sql = QStringLiteral("UPDATE \"%1\" SET %2 WHERE rowid = ?").arg(source_.updateTable, sets.join(QStringLiteral(", ")));
        if (!updateStmt_ || sql != updateSql_) {
            if (updateStmt_)
                sqlite3_finalize(updateStmt_);
            updateStmt_ = nullptr;
            updateStmt_ = conn_->Prepare(sql);
            updateSql_ = sql;
        }
        sqlite3_stmt* stmt = updateStmt_;
        sqlite3_reset(stmt);
        sqlite3_clear_bindings(stmt);
        int p = 1;
        for (const auto& e : edits_)
            Bind(*conn_, stmt, p++, e.second);
        sqlite3_bind_int64(stmt, p, idCell.i);
        const int rc = sqlite3_step(stmt);
        sqlite3_reset(stmt);
        if (rc != SQLITE_DONE)
            conn_->RaiseFor(rc, QStringLiteral("Updating %1").arg(source_.updateTable));
        // Keep the cached record in step with what was written.
        for (const auto& [col, value] : edits_) {
            Cell& cell = cells_[size_t(pos_ * columnCount_ + col)];
            cell.i = 0;
            cell.len = 0;
            switch (value.type()) {
            case VarType::Empty:
            case VarType::Null: cell.kind = kNull; break;
            case VarType::Boolean: cell.kind = kInt; cell.i = value.boolValue() ? 1 : 0; break;
            case VarType::Long: cell.kind = kInt; cell.i = value.longValue(); break;
            case VarType::Double: cell.kind = kReal; cell.d = value.doubleValue(); break;
            case VarType::Currency: cell.kind = kReal; cell.d = value.currencyValue().ToDouble(); break;
            case VarType::Date:
            case VarType::String: {
                const QByteArray t = (value.type() == VarType::Date ? value.dateValue().ToCanonicalText() : value.stringValue()).toUtf8();
                cell.kind = kText;
                StoreText(cell, t.constData(), size_t(t.size()));
                break;
            }
            }
        }
    }
    editing_ = false;
    edits_.clear();
}

void Recordset::Close()
{
    if (stmt_) {
        sqlite3_finalize(stmt_);
        stmt_ = nullptr;
    }
    if (updateStmt_) {
        sqlite3_finalize(updateStmt_);
        updateStmt_ = nullptr;
    }
    closed_ = true;
    cells_.Clear();
    text_.Clear();
    rows_ = 0;
    pos_ = -1;
    started_ = true;
    done_ = true;
}

}  // namespace BrevView::data
