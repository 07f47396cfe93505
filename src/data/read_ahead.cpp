#include "data/read_ahead.h"

namespace BrevView::data {
namespace {

// The first batch is small so that the caller starts on it at once; the later ones are
// large enough that handing them over costs nothing next to reading them.
constexpr int kFirstRows = 64;
constexpr int kRows = 1024;
// Batches read and not yet taken: how far the reader may run ahead of the caller.
constexpr size_t kAhead = 8;

thread_local quint64 t_started = 0;

}  // namespace

ReadAhead::ReadAhead(std::unique_ptr<Statement> stmt, int columns) : ReadAhead(*stmt, columns)
{
    owned_ = std::move(stmt);
}

ReadAhead::ReadAhead(Statement& stmt, int columns) : stmt_(&stmt), columns_(columns)
{
    stmt_->Launch();
    thread_ = std::thread([this] {
        // Nothing may leave the thread (that would end the process): a failure outside a
        // row's reading, such as no memory for a batch, reaches the caller as the read's end.
        try {
            Run();
        } catch (...) {
            {
                std::lock_guard<std::mutex> lock(mutex_);
                failure_ = std::current_exception();
                ended_ = true;
            }
            changed_.notify_all();
        }
    });
    ++t_started;
}

quint64 ReadAhead::StartedOnThisThread()
{
    return t_started;
}

ReadAhead::~ReadAhead()
{
    bool reading = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
        reading = !ended_;
    }
    changed_.notify_all();
    // A read let go before its end: the engine stops sending rows instead of the thread
    // receiving them all (or waiting on a server that has stopped answering).
    if (reading)
        stmt_->Interrupt();
    thread_.join();
}

std::unique_ptr<ReadAhead::Batch> ReadAhead::TakeSpare()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (spare_.empty())
        return std::make_unique<Batch>();
    std::unique_ptr<Batch> b = std::move(spare_.back());
    spare_.pop_back();
    return b;
}

void ReadAhead::Run()
{
    int limit = kFirstRows;
    for (;;) {
        std::unique_ptr<Batch> batch = TakeSpare();
        if (batch->cells.size() < size_t(limit) * size_t(columns_))
            batch->cells.resize(size_t(limit) * size_t(columns_));
        batch->text.clear();
        batch->rows = 0;
        batch->end = false;
        batch->error = nullptr;
        try {
            while (batch->rows < limit) {
                if (!stmt_->Step()) {
                    batch->end = true;
                    break;
                }
                stmt_->StoreRow(batch->cells.data() + size_t(batch->rows) * size_t(columns_), columns_, batch->text);
                ++batch->rows;
            }
        } catch (...) {
            batch->error = std::current_exception();
        }
        limit = kRows;
        const bool last = batch->end || batch->error;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            ended_ = last;
            changed_.wait(lock, [this] { return stop_ || ready_.size() < kAhead; });
            if (stop_)
                return;
            ready_.push_back(std::move(batch));
        }
        changed_.notify_all();
        if (last)
            return;
    }
}

bool ReadAhead::Next()
{
    if (current_ && row_ + 1 < current_->rows) {
        ++row_;
        return true;
    }
    for (;;) {
        if (current_ && (current_->end || current_->error)) {
            // The rows of the last batch are done: what ended it now comes due (once).
            std::exception_ptr error = current_->error;
            current_->error = nullptr;
            current_->end = true;
            current_->rows = 0;
            row_ = -1;
            if (error)
                std::rethrow_exception(error);
            return false;
        }
        std::unique_ptr<Batch> next;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            changed_.wait(lock, [this] { return !ready_.empty() || failure_; });
            if (ready_.empty()) {
                std::exception_ptr failure = failure_;
                failure_ = nullptr;
                ready_.push_back(std::make_unique<Batch>());  // what comes after it: the end
                ready_.back()->end = true;
                std::rethrow_exception(failure);
            }
            next = std::move(ready_.front());
            ready_.pop_front();
            if (current_)
                spare_.push_back(std::move(current_));
        }
        changed_.notify_all();
        current_ = std::move(next);
        row_ = -1;
        if (current_->rows > 0) {
            row_ = 0;
            return true;
        }
    }
}

}  // namespace BrevView::data
