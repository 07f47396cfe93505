#pragma once
// The rows of a read that gave its session up to another statement before its end: received
// at once and kept in their order, a few thousand in memory and the rest in a temporary file,
// so that keeping a long read costs a bounded amount of memory whatever its length.

#include <deque>
#include <memory>
#include <vector>

#include <QTemporaryFile>

#include "data/engine.h"

namespace BrevView::data {

class PgKeptRows {
public:
    explicit PgKeptRows(int columns);
    ~PgKeptRows();
    PgKeptRows(const PgKeptRows&) = delete;
    PgKeptRows& operator=(const PgKeptRows&) = delete;

    // Room for one more row: its `columns` cells, its texts appended to `text` (a text cell's
    // `i` is where its bytes start there). Then Added(). A file that cannot be written raises.
    StoredCell* NewRow(TextBuffer** text);
    void Added();

    // Moves to the next kept row; false after the last. A file that cannot be read raises.
    bool Next();
    const StoredCell& Cell(int column) const
    {
        return reading_->cells[size_t(row_) * size_t(columns_) + size_t(column)];
    }
    const char* TextOf(const StoredCell& cell) const { return cell.len == 0 ? "" : reading_->text.data() + cell.i; }

private:
    struct Chunk {
        std::vector<StoredCell> cells;
        TextBuffer text;
        int rows = 0;
        qint64 offset = -1;  // where it is in the file; -1 while in memory
    };
    void Spill(Chunk& chunk);
    void Load(Chunk& chunk);

    const int columns_;
    std::deque<std::unique_ptr<Chunk>> queue_;  // full chunks, in their order
    std::unique_ptr<Chunk> filling_;            // the newest rows
    std::unique_ptr<Chunk> reading_;            // the chunk of the current row
    int row_ = -1;
    int inMemory_ = 0;  // full chunks of queue_ in memory
    std::unique_ptr<QTemporaryFile> file_;
    qint64 fileEnd_ = 0;
};

}  // namespace BrevView::data
