#pragma once
// A recordset over a statement of the database engine, with the navigation of the original data objects:
// snapshot, dynaset and forward-only; Filter and Sort followed by OpenRecordset;
// Edit, field assignment and Update on dynasets. Rows are read straight from the
// statement: a forward-only recordset keeps nothing, the others keep each fetched
// row once in a flat cell array (no object per cell).

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include <QString>
#include <QStringList>

#include "automation/block_buffer.h"
#include "automation/variant.h"
#include "data/engine.h"
#include "data/read_ahead.h"

namespace BrevView::data {

class Connection;
class Statement;

enum RecordsetTypeEnum : int {
    dbOpenTable = 1,
    dbOpenDynaset = 2,
    dbOpenSnapshot = 4,
    dbOpenForwardOnly = 8,
};

// What a recordset reads: a statement (already translated), its parameter values,
// and the filters and order stacked on it by OpenRecordset.
struct RecordsetSource {
    QString baseSql;
    QStringList parameterNames;  // of $1, $2, ... where the engine numbers them
    std::vector<std::pair<QString, automation::Variant>> parameters;
    QStringList where;
    QString order;
    QString updateTable;    // dynasets over one table: the table that Update writes to
    QString keyColumn;      // the column of updateTable that Update finds a row by
    QStringList spellings;  // the names as the query's text spells them (a server may fold them)
};

// Called after every row a recordset reads from its statement, when set: the tests' way of
// making something happen between two rows (a server stopped in the middle of a read).
void SetRowHookForTesting(std::function<void()> hook);

class Recordset : public std::enable_shared_from_this<Recordset> {
public:
    static std::shared_ptr<Recordset> Open(std::shared_ptr<Connection> connection, RecordsetSource source, int type);
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    int Type() const { return type_; }
    bool Eof();
    bool Bof();
    void MoveFirst();
    void MoveLast();
    void MoveNext();
    void MovePrevious();
    // Rows fetched so far (all of them after MoveLast).
    qint64 RecordCount();

    int FieldCount() const { return fieldCount_; }
    QString FieldName(int index) const;         // error 3265 out of range
    int FieldIndex(const QString& name) const;  // error 3265 for an unknown name
    // The current record's value.
    automation::Variant Field(int index)
    {
        if (const StoredCell* cell = StreamedCell(index))
            return ValueOfCell(index, *cell, StreamedText(*cell));
        return FieldRead(index);
    }
    automation::Variant Field(const QString& name) { return Field(FieldIndex(name)); }
    // The current record's text field as stored (UTF-8), without making a Variant; false
    // when the value is not text (Null, a number), so that the caller takes Field().
    bool FieldUtf8(int index, const char** text, int* length)
    {
        if (const StoredCell* cell = StreamedCell(index)) {
            if (cell->type != CellType::Text)
                return false;
            *text = StreamedText(*cell);
            *length = int(cell->len);
            return true;
        }
        return FieldUtf8Read(index, text, length);
    }

    QString Filter() const { return filter_; }
    void SetFilter(const QString& filter) { filter_ = filter; }
    QString Sort() const { return sort_; }
    void SetSort(const QString& sort) { sort_ = sort; }
    // A new recordset of the same rows narrowed by Filter and ordered by Sort; type -1
    // keeps this one's type. Changing this recordset's Filter later leaves it alone.
    std::shared_ptr<Recordset> OpenRecordset(int type = -1);

    // Dynasets: Edit the current record, assign fields, Update writes them.
    void Edit();
    void SetField(int index, const automation::Variant& value);
    void SetField(const QString& name, const automation::Variant& value) { SetField(FieldIndex(name), value); }
    void Update();
    void CancelUpdate();

    void Close();
    bool IsOpen() const { return !closed_; }

    // The statement that was run, for diagnostics and tests.
    QString Sql() const { return sql_; }

private:
    using Cell = StoredCell;

    Recordset() = default;
    void CheckOpen() const;
    void Start();
    void StartReadAhead();
    bool Step();  // steps the statement; false at the end
    void CacheCurrentRow();
    void FetchAll();
    void RequireCurrent() const;
    automation::Variant ValueOf(int col, CellType kind, qint64 i, double d, const char* text, int len) const;
    // `cell` of field `index` as a value; `text` is where a text cell's bytes are.
    automation::Variant ValueOfCell(int index, const StoredCell& cell, const char* text) const
    {
        return ValueOf(index, cell.type, cell.type == CellType::Int ? cell.i : 0,
                       cell.type == CellType::Real ? cell.d : 0, cell.type == CellType::Text ? text : nullptr,
                       int(cell.len));
    }
    // The current record's cell, `*text` where a text cell's bytes are; 3021 for a record a
    // read front to back no longer holds (its read failed on the next row).
    const StoredCell& CurrentCell(int index, const char** text) const;
    automation::Variant FieldRead(int index);
    bool FieldUtf8Read(int index, const char** text, int* length);
    bool Streams() const { return type_ == dbOpenForwardOnly || streaming_; }
    // Where a read front to back holds its current row: the batch read ahead, or the row stored
    // at the last step; null when it holds none.
    const StoredCell* HeldCell(int index) const
    {
        if (ahead_)
            return &ahead_->CellOf(index);
        return rowStored_ ? &rowCells_[size_t(index)] : nullptr;
    }
    const char* StreamedText(const StoredCell& cell) const
    {
        if (ahead_)
            return ahead_->TextOf(cell);
        return cell.len == 0 ? "" : rowText_.data() + cell.i;
    }
    // The current record's held cell when nothing else has a say in its value (an open
    // recordset read front to back, a current record, no edit pending): a fill loop reads
    // every field of a long list without the checks of each call.
    const StoredCell* StreamedCell(int index) const
    {
        if (closed_ || editing_ || !Streams() || pos_ < 0 || pos_ >= rows_ || index < 0 || index >= fieldCount_)
            return nullptr;
        return HeldCell(index);
    }
    QString ComposeSql(const RecordsetSource& source) const;

    std::shared_ptr<Connection> conn_;
    RecordsetSource source_;
    QString sql_;
    int type_ = dbOpenSnapshot;
    std::unique_ptr<Statement> stmt_;
    // A read steps through the rows on a thread of its own when the engine can (see
    // Connection::WayToReadAhead); then the current row is read from here. On a statement of
    // its own, stmt_ stays unstepped for a read from the start; a forward-only read on a
    // server steps stmt_ itself.
    std::unique_ptr<ReadAhead> ahead_;
    // A row stepped on this thread is stored whole at once (one call to the engine per row),
    // and its fields are read from here.
    std::vector<StoredCell> rowCells_;
    TextBuffer rowText_;
    bool rowStored_ = false;
    int columnCount_ = 0;
    int fieldCount_ = 0;
    bool hasRowId_ = false;
    QStringList names_;  // as the engine names the columns, for the statements built here
    QStringList shown_;  // as the query spells them, for FieldName
    std::vector<bool> isDate_;
    std::vector<bool> isBool_;

    // A snapshot read front to back keeps nothing: it streams from the statement like a
    // forward-only recordset until something needs an earlier row (MoveFirst after
    // moving, MovePrevious, MoveLast); then it reads the statement again, keeping every row.
    bool streaming_ = false;
    void Materialize();
    bool started_ = false;
    bool done_ = false;
    bool closed_ = false;
    qint64 pos_ = -1;  // current record; -1 before the first
    qint64 rows_ = 0;  // rows cached (non-forward-only) or read (forward-only)
    // The cached rows' cells, row after row, and their texts end to end; neither moves as
    // rows are added, so a million-row read copies nothing twice.
    platform::BlockBuffer<Cell, 12> cells_;
    platform::BlockBuffer<char, 16> text_;
    // Where a cached text cell's bytes are ("" for an empty text, which takes no room).
    const char* TextOf(const Cell& cell) const { return cell.len == 0 ? "" : text_.At(size_t(cell.i)); }
    // Keeps a text cell's bytes with the cached rows; returns where (0 for an empty text).
    qint64 KeepText(const char* text, size_t length);

    QString filter_;
    QString sort_;

    std::unique_ptr<Statement> updateStmt_;  // the last UPDATE, kept for the next record
    std::vector<int> updateColumns_;         // the fields updateStmt_ sets, in order
    bool editing_ = false;
    std::vector<std::pair<int, automation::Variant>> edits_;
};

}  // namespace BrevView::data
