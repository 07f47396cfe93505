#pragma once
// The rows of one statement read on a thread of their own and handed over in batches, so
// that the engine steps through the next rows while the caller fills a grid with the ones
// before: a refresh then takes about as long as the slower of the two instead of both.
// The rows arrive in the statement's order; an error the engine raises reaches the caller
// at the row where it happened, after every row before it. Only a few batches are read
// ahead, so a long result is never held whole.

#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <QtGlobal>

#include "data/engine.h"

namespace BrevView::data {

class ReadAhead {
public:
    // Launches `stmt` (bound, not yet stepped) on this thread and starts reading it on
    // another; nothing else may touch the statement until this object is gone, nor its
    // connection unless the engine says otherwise (see PgConnection). A failure to launch raises.
    ReadAhead(std::unique_ptr<Statement> stmt, int columns);
    // The same for a statement that stays its owner's, and outlives this object.
    ReadAhead(Statement& stmt, int columns);
    // Stops the reading thread (after the batch it is reading) and waits for it.
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // Reads started on this thread so far (for tests that show a read went ahead).
    static quint64 StartedOnThisThread();

    // Moves to the next row: false after the last one; the engine's error, raised again
    // here, at the row where it happened.
    bool Next();

    // The current row's cells, and where a text cell's bytes are.
    const StoredCell& CellOf(int column) const { return CellAt(column); }
    const char* TextOf(const StoredCell& cell) const { return cell.len == 0 ? "" : current_->text.data() + cell.i; }

private:
    using Cell = StoredCell;
    struct Batch {
        std::vector<Cell> cells;  // room for a whole batch, kept from one batch to the next
        TextBuffer text;
        int rows = 0;
        bool end = false;          // the statement has no rows after these
        std::exception_ptr error;  // raised after these rows
    };

    const Cell& CellAt(int column) const { return current_->cells[size_t(row_) * size_t(columns_) + size_t(column)]; }
    void Run();
    std::unique_ptr<Batch> TakeSpare();

    std::unique_ptr<Statement> owned_;
    Statement* const stmt_;
    const int columns_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::unique_ptr<Batch>> ready_;   // read, not yet handed over
    std::vector<std::unique_ptr<Batch>> spare_;  // handed back, to be filled again
    bool stop_ = false;
    bool ended_ = false;          // the reader has read the statement's last row (or its error)
    std::exception_ptr failure_;  // what ended the reading thread outside a row

    std::unique_ptr<Batch> current_;  // the caller's batch
    int row_ = -1;
    std::thread thread_;
};

}  // namespace BrevView::data
