#include "data/recordset.h"

#include <cstring>
#include <limits>

#include "automation/conversions.h"
#include "automation/runtime_error.h"
#include "data/engine.h"
#include "data/read_ahead.h"
#include "data/sql_dialect.h"

namespace BrevView::data {
namespace {

using automation::Raise;
using automation::Variant;
using automation::VarType;

const QString kSource = QStringLiteral("BrevView.Data");

void Bind(Statement& stmt, int index, const Variant& v)
{
    switch (v.type()) {
    case VarType::Empty:
    case VarType::Null:
        stmt.BindNull(index);
        break;
    case VarType::Boolean:
        stmt.BindInt(index, v.boolValue() ? 1 : 0);
        break;
    case VarType::Long:
        stmt.BindInt(index, v.longValue());
        break;
    case VarType::Double:
        stmt.BindReal(index, v.doubleValue());
        break;
    case VarType::Currency:
        stmt.BindReal(index, v.currencyValue().ToDouble());
        break;
    case VarType::Date:
        stmt.BindText(index, v.dateValue().ToCanonicalText().toUtf8());
        break;
    case VarType::String:
        stmt.BindText(index, v.stringValue().toUtf8());
        break;
    }
}

// Binds the parameters by name, as the query's parameter collection holds them; returns how
// many the statement declares that have no value.
int BindParameters(Statement& stmt, const RecordsetSource& source)
{
    const int count = stmt.ParameterCount();
    int missing = 0;
    for (int p = 1; p <= count; ++p) {
        const QString name = stmt.ParameterName(p);
        bool bound = false;
        for (const auto& [pname, value] : source.parameters) {
            if (pname.compare(name, Qt::CaseInsensitive) == 0) {
                Bind(stmt, p, value);
                bound = true;
                break;
            }
        }
        if (!bound)
            ++missing;
    }
    return missing;
}

}  // namespace

std::shared_ptr<Recordset> Recordset::Open(std::shared_ptr<Connection> connection, RecordsetSource source, int type)
{
    if (!connection)
        Raise(automation::ErrObjectNotSet, kSource);
    if (type != dbOpenDynaset && type != dbOpenSnapshot && type != dbOpenForwardOnly && type != dbOpenTable)
        Raise(automation::ErrInvalidProcedureCall, kSource, QStringLiteral("Invalid recordset type %1").arg(type));
    std::shared_ptr<Recordset> rs(new Recordset);
    rs->conn_ = std::move(connection);
    rs->source_ = std::move(source);
    rs->type_ = type == dbOpenTable ? dbOpenDynaset : type;
    rs->sql_ = rs->ComposeSql(rs->source_);
    rs->stmt_ = rs->conn_->Prepare(rs->sql_, rs->source_.parameterNames);

    const int missing = BindParameters(*rs->stmt_, rs->source_);
    if (missing > 0) {
        rs->Close();
        Raise(automation::ErrTooFewParameters, kSource,
              QStringLiteral("Too few parameters. Expected %1.").arg(missing));
    }

    rs->columnCount_ = rs->stmt_->ColumnCount();
    for (int c = 0; c < rs->columnCount_; ++c) {
        rs->names_.append(rs->stmt_->ColumnName(c));
        // A server that folds unquoted names to lower case gives "ibonumber" for IboNumber:
        // the field keeps the spelling of the query's text.
        rs->shown_.append(rs->names_.back());
        if (rs->names_.back() == rs->names_.back().toLower()) {
            for (const QString& spelled : std::as_const(rs->source_.spellings)) {
                if (spelled.compare(rs->names_.back(), Qt::CaseInsensitive) == 0) {
                    rs->shown_.back() = spelled;
                    break;
                }
            }
        }
        const ColumnKind kind = rs->stmt_->Kind(c);
        rs->isDate_.push_back(kind == ColumnKind::Date);
        rs->isBool_.push_back(kind == ColumnKind::Bool);
    }
    // A dynaset over a table with a row key reads it as a hidden last column.
    rs->hasRowId_ = !rs->source_.updateTable.isEmpty() && rs->columnCount_ > 0 &&
                    rs->names_.back().compare(QLatin1String("brev_rowid"), Qt::CaseInsensitive) == 0;
    rs->fieldCount_ = rs->columnCount_ - (rs->hasRowId_ ? 1 : 0);
    return rs;
}

Recordset::~Recordset()
{
    ahead_.reset();  // its thread stops before anything it reads for goes
}

void Recordset::StartReadAhead()
{
    const bool forwardOnly = type_ == dbOpenForwardOnly;
    switch (conn_->WayToReadAhead(forwardOnly)) {
    case Connection::ReadAheadWay::NotAhead:
        return;
    case Connection::ReadAheadWay::CallersStatement:
        // stmt_ itself is read, so it is no longer at its start: only for rows read once.
        // A failure to send it is the read's own failure, raised here as a Step would.
        if (forwardOnly)
            ahead_ = std::make_unique<ReadAhead>(*stmt_, columnCount_);
        return;
    case Connection::ReadAheadWay::StatementOfItsOwn:
        try {
            std::unique_ptr<Statement> reader = conn_->PrepareToReadAhead(sql_, source_.parameterNames);
            if (reader && reader->ColumnCount() == columnCount_ && BindParameters(*reader, source_) == 0)
                ahead_ = std::make_unique<ReadAhead>(std::move(reader), columnCount_);
        } catch (const std::exception&) {
            ahead_.reset();  // read on this thread, through stmt_, as without it
        }
        return;
    }
}

bool Recordset::FieldUtf8Read(int index, const char** text, int* length)
{
    Start();
    if (index < 0 || index >= fieldCount_)
        FieldName(index);
    RequireCurrent();
    if (editing_)
        return false;
    const char* bytes = nullptr;
    const Cell& cell = CurrentCell(index, &bytes);
    if (cell.type != CellType::Text)
        return false;
    *text = bytes;
    *length = int(cell.len);
    return true;
}

const StoredCell& Recordset::CurrentCell(int index, const char** text) const
{
    if (!Streams()) {
        const Cell& cell = cells_[size_t(pos_ * columnCount_ + index)];
        *text = TextOf(cell);
        return cell;
    }
    const Cell* held = HeldCell(index);
    if (!held)
        Raise(automation::ErrNoCurrentRecord, kSource, QStringLiteral("No current record."));
    *text = StreamedText(*held);
    return *held;
}

QString Recordset::ComposeSql(const RecordsetSource& source) const
{
    if (source.where.isEmpty() && source.order.isEmpty())
        return source.baseSql;
    // PostgreSQL wants a name for a sub-query in FROM; SQLite takes one as well.
    QString sql = QStringLiteral("SELECT * FROM (") + source.baseSql + QStringLiteral(") AS brev_q");
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

namespace {
std::function<void()>& RowHook()
{
    static std::function<void()> hook;
    return hook;
}
}  // namespace

void SetRowHookForTesting(std::function<void()> hook)
{
    RowHook() = std::move(hook);
}

bool Recordset::Step()
{
    if (done_ || !stmt_)
        return false;
    bool row = false;
    rowStored_ = false;
    try {
        if (ahead_) {
            row = ahead_->Next();
        } else if ((row = stmt_->Step())) {
            rowCells_.resize(size_t(columnCount_));
            rowText_.clear();
            stmt_->StoreRow(rowCells_.data(), columnCount_, rowText_);
            rowStored_ = true;
        }
    } catch (...) {
        done_ = true;
        ahead_.reset();
        throw;
    }
    if (!row) {
        // The reading connection is free for the next recordset as soon as this one is read.
        done_ = true;
        ahead_.reset();
    } else if (RowHook()) [[unlikely]]
        RowHook()();
    return row;
}

void Recordset::CacheCurrentRow()
{
    for (int c = 0; c < columnCount_; ++c) {
        Cell* slot = nullptr;
        cells_.Append(1, &slot);
        const Cell& held = *HeldCell(c);
        *slot = held;
        if (held.type == CellType::Text)
            slot->i = KeepText(StreamedText(held), held.len);
    }
    ++rows_;
}

qint64 Recordset::KeepText(const char* text, size_t length)
{
    if (length == 0)
        return 0;
    char* room = nullptr;
    const qint64 at = qint64(text_.Append(length, &room));
    std::memcpy(room, text, length);
    return at;
}

void Recordset::Start()
{
    CheckOpen();
    if (started_)
        return;
    started_ = true;
    // A first read that fails leaves the recordset at its end, with no current record.
    pos_ = 0;
    if (type_ == dbOpenDynaset) {
        // A dynaset is read whole before the first record is shown, so that writes
        // through Update never meet a statement still walking the same table.
        StartReadAhead();
        FetchAll();
    } else {
        streaming_ = type_ == dbOpenSnapshot;
        StartReadAhead();
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
    ahead_.reset();
    stmt_->Reset();
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
    return shown_[index];
}

int Recordset::FieldIndex(const QString& name) const
{
    for (int c = 0; c < fieldCount_; ++c) {
        if (names_[c].compare(name, Qt::CaseInsensitive) == 0)
            return c;
    }
    Raise(automation::ErrItemNotFound, kSource,
          QStringLiteral("Item not found in this collection: field '%1'.").arg(name));
}

Variant Recordset::ValueOf(int col, CellType kind, qint64 i, double d, const char* text, int len) const
{
    switch (kind) {
    case CellType::Null:
        return Variant::Null();
    case CellType::Int:
        if (isBool_[col])
            return Variant(i != 0);
        if (i >= std::numeric_limits<qint32>::min() && i <= std::numeric_limits<qint32>::max())
            return Variant(qint32(i));
        return Variant(double(i));
    case CellType::Real:
        return Variant(d);
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

Variant Recordset::FieldRead(int index)
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
    const char* text = nullptr;
    const Cell& cell = CurrentCell(index, &text);
    return ValueOfCell(index, cell, text);
}

std::shared_ptr<Recordset> Recordset::OpenRecordset(int type)
{
    CheckOpen();
    RecordsetSource next = source_;
    const Dialect dialect = conn_->dialect();
    if (!filter_.trimmed().isEmpty()) {
        const TranslatedSql where = TranslateJetSql(filter_, dialect);
        if (!where.parameters.isEmpty())
            Raise(automation::ErrTooFewParameters, kSource,
                  QStringLiteral("Too few parameters. Expected %1.").arg(where.parameters.size()));
        next.where.append(where.text);
    }
    if (!sort_.trimmed().isEmpty())
        next.order = TranslateJetOrder(sort_, dialect);
    const int t = type < 0 ? type_ : type;
    if (t != dbOpenDynaset)
        next.updateTable.clear();
    if (next.updateTable.isEmpty() && hasRowId_) {
        // The hidden row id stays in the base statement; narrow the outer select to the fields.
        QStringList cols;
        for (int c = 0; c < fieldCount_; ++c)
            cols.append(QuoteIdentifier(names_[c]));
        next.baseSql = QStringLiteral("SELECT ") + cols.join(QStringLiteral(", ")) + QStringLiteral(" FROM (") +
                       ComposeSql(next) + QStringLiteral(") AS brev_f");
        next.where.clear();
        next.order.clear();
    }
    return Open(conn_, std::move(next), t);
}

void Recordset::Edit()
{
    Start();
    RequireCurrent();
    if (type_ == dbOpenDynaset && !hasRowId_ && !source_.updateTable.isEmpty())
        Raise(automation::ErrCantUpdate, kSource,
              QStringLiteral("Cannot update. Database or object is read-only: table '%1' has no primary key or unique "
                             "index on one column to update a row by.")
                  .arg(source_.updateTable));
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
        Raise(automation::ErrUpdateWithoutEdit, kSource,
              QStringLiteral("Update or CancelUpdate without AddNew or Edit."));
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
        Raise(automation::ErrUpdateWithoutEdit, kSource,
              QStringLiteral("Update or CancelUpdate without AddNew or Edit."));
    RequireCurrent();
    if (!edits_.empty()) {
        const Cell& idCell = cells_[size_t(pos_ * columnCount_ + fieldCount_)];
        // One statement per set of edited fields, made when that set changes: a refresh that
        // writes a date into many rows prepares it once.
        bool same = updateStmt_ && updateColumns_.size() == edits_.size();
        for (size_t i = 0; same && i < edits_.size(); ++i)
            same = updateColumns_[i] == edits_[i].first;
        if (!same) {
            // Positional parameters written $1, $2, ...: both engines read them so.
            QStringList sets;
            int n = 1;
            updateColumns_.clear();
            for (const auto& e : edits_) {
                sets.append(QuoteIdentifier(names_[e.first]) + QStringLiteral(" = $") + QString::number(n++));
                updateColumns_.push_back(e.first);
            }
            // PostgreSQL's tables have folded names: the table is named as the query named it.
            const QString table =
                conn_->dialect() == Dialect::PostgreSQL ? source_.updateTable : QuoteIdentifier(source_.updateTable);
            updateStmt_.reset();
            updateStmt_ = conn_->Prepare(QStringLiteral("UPDATE %1 SET %2 WHERE %3 = $%4")
                                             .arg(table, sets.join(QStringLiteral(", ")), source_.keyColumn)
                                             .arg(n));
        }
        Statement& stmt = *updateStmt_;
        stmt.Reset();
        int p = 1;
        for (const auto& e : edits_)
            Bind(stmt, p++, e.second);
        switch (idCell.type) {
        case CellType::Int:
            stmt.BindInt(p, idCell.i);
            break;
        case CellType::Real:
            stmt.BindReal(p, idCell.d);
            break;
        case CellType::Text:
            stmt.BindText(p, QByteArray(TextOf(idCell), int(idCell.len)));
            break;
        default:
            stmt.BindNull(p);
            break;
        }
        stmt.Step();
        stmt.Reset();
        // Keep the cached record in step with what was written.
        for (const auto& [col, value] : edits_) {
            Cell& cell = cells_[size_t(pos_ * columnCount_ + col)];
            cell.i = 0;
            cell.len = 0;
            switch (value.type()) {
            case VarType::Empty:
            case VarType::Null:
                cell.type = CellType::Null;
                break;
            case VarType::Boolean:
                cell.type = CellType::Int;
                cell.i = value.boolValue() ? 1 : 0;
                break;
            case VarType::Long:
                cell.type = CellType::Int;
                cell.i = value.longValue();
                break;
            case VarType::Double:
                cell.type = CellType::Real;
                cell.d = value.doubleValue();
                break;
            case VarType::Currency:
                cell.type = CellType::Real;
                cell.d = value.currencyValue().ToDouble();
                break;
            case VarType::Date:
            case VarType::String: {
                const QByteArray t =
                    (value.type() == VarType::Date ? value.dateValue().ToCanonicalText() : value.stringValue())
                        .toUtf8();
                cell.type = CellType::Text;
                cell.len = quint32(t.size());
                cell.i = KeepText(t.constData(), size_t(t.size()));
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
    ahead_.reset();
    stmt_.reset();
    updateStmt_.reset();
    closed_ = true;
    cells_.Clear();
    text_.Clear();
    rows_ = 0;
    pos_ = -1;
    started_ = true;
    done_ = true;
}

}  // namespace BrevView::data
