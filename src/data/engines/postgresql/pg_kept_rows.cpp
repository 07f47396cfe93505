#include "data/engines/postgresql/pg_kept_rows.h"

#include <QDir>

#include "automation/runtime_error.h"

namespace BrevView::data {
namespace {

const QString kSource = QStringLiteral("BrevView.Data");
constexpr int kChunkRows = 1024;
// Full chunks kept in memory before the next ones go to the file.
constexpr int kChunksInMemory = 2;

[[noreturn]] void RaiseFileError(const QString& why)
{
    automation::Raise(
        automation::ErrDiskIo, kSource,
        QStringLiteral("Disk or network error: keeping the rows of a read in a temporary file failed (%1).").arg(why));
}

}  // namespace

PgKeptRows::PgKeptRows(int columns) : columns_(columns)
{}

PgKeptRows::~PgKeptRows() = default;

StoredCell* PgKeptRows::NewRow(TextBuffer** text)
{
    if (!filling_) {
        filling_ = std::make_unique<Chunk>();
        filling_->cells.resize(size_t(kChunkRows) * size_t(columns_));
    }
    *text = &filling_->text;
    return filling_->cells.data() + size_t(filling_->rows) * size_t(columns_);
}

void PgKeptRows::Added()
{
    if (++filling_->rows < kChunkRows)
        return;
    std::unique_ptr<Chunk> full = std::move(filling_);
    if (inMemory_ >= kChunksInMemory)
        Spill(*full);
    else
        ++inMemory_;
    queue_.push_back(std::move(full));
}

void PgKeptRows::Spill(Chunk& chunk)
{
    if (!file_) {
        file_ = std::make_unique<QTemporaryFile>(QDir::tempPath() + QStringLiteral("/brevview-rows-XXXXXX"));
        if (!file_->open())
            RaiseFileError(file_->errorString());
    }
    const qint64 rows = chunk.rows;
    const qint64 textSize = qint64(chunk.text.size());
    file_->seek(fileEnd_);
    const qint64 cellBytes = rows * columns_ * qint64(sizeof(StoredCell));
    if (file_->write(reinterpret_cast<const char*>(&rows), sizeof rows) != sizeof rows ||
        file_->write(reinterpret_cast<const char*>(&textSize), sizeof textSize) != sizeof textSize ||
        file_->write(reinterpret_cast<const char*>(chunk.cells.data()), cellBytes) != cellBytes ||
        file_->write(chunk.text.data(), textSize) != textSize)
        RaiseFileError(file_->errorString());
    chunk.offset = fileEnd_;
    fileEnd_ = file_->pos();
    std::vector<StoredCell>().swap(chunk.cells);  // its memory goes, not just its rows
    chunk.text = TextBuffer();
}

void PgKeptRows::Load(Chunk& chunk)
{
    qint64 rows = 0, textSize = 0;
    if (!file_->seek(chunk.offset) || file_->read(reinterpret_cast<char*>(&rows), sizeof rows) != sizeof rows ||
        file_->read(reinterpret_cast<char*>(&textSize), sizeof textSize) != sizeof textSize || rows != chunk.rows)
        RaiseFileError(file_->errorString());
    chunk.cells.resize(size_t(rows) * size_t(columns_));
    const qint64 cellBytes = rows * columns_ * qint64(sizeof(StoredCell));
    if (file_->read(reinterpret_cast<char*>(chunk.cells.data()), cellBytes) != cellBytes)
        RaiseFileError(file_->errorString());
    const QByteArray text = file_->read(textSize);
    if (text.size() != textSize)
        RaiseFileError(file_->errorString());
    chunk.text.clear();
    chunk.text.Append(text.constData(), size_t(text.size()));
    chunk.offset = -1;
}

bool PgKeptRows::Next()
{
    if (reading_ && row_ + 1 < reading_->rows) {
        ++row_;
        return true;
    }
    reading_.reset();
    row_ = -1;
    if (!queue_.empty()) {
        reading_ = std::move(queue_.front());
        queue_.pop_front();
        if (reading_->offset >= 0)
            Load(*reading_);
        else
            --inMemory_;
    } else if (filling_ && filling_->rows > 0) {
        reading_ = std::move(filling_);
    } else {
        return false;
    }
    row_ = 0;
    return true;
}

}  // namespace BrevView::data
