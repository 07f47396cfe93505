#include "incremental_find.h"

#include <QAbstractItemModel>

IncrementalFind::IncrementalFind(QObject* parent) : QObject(parent)
{
    timer_.setInterval(0);
    connect(&timer_, &QTimer::timeout, this, &IncrementalFind::Step);
}

void IncrementalFind::Start(QAbstractItemModel* model, const QString& text, bool again)
{
    Cancel();
    if (!model || text.isEmpty())
        return;
    if (model != model_) {
        if (model_)
            disconnect(model_, nullptr, this, nullptr);
        model_ = model;
        lastMatch_.clear();
        // Rows that change under a search leave its place meaningless: it starts again.
        auto restart = [this] {
            lastMatch_.clear();
            if (Running())
                Start(model_, text_, false);
        };
        connect(model, &QAbstractItemModel::modelReset, this, restart);
        connect(model, &QAbstractItemModel::layoutChanged, this, restart);
    }
    text_ = text;
    columns_.clear();
    static const QStringList captions{QStringLiteral("IBO#"), QStringLiteral("Last Name"), QStringLiteral("First Name"),
                                      QStringLiteral("Company")};
    for (int c = 0; c < model->columnCount(); ++c) {
        if (captions.contains(model->headerData(c, Qt::Horizontal).toString()))
            columns_.push_back(c);
    }
    if (model->rowCount() == 0 || columns_.empty()) {
        emit NotFound(text);
        return;
    }
    wrapped_ = false;
    if (again && !lastMatch_.empty()) {
        path_ = lastMatch_;
        checkCurrent_ = false;  // the row after the last match first
    } else {
        path_ = {Place{QModelIndex(), 0}};
        checkCurrent_ = true;
    }
    begin_ = path_;
    timer_.start();
}

void IncrementalFind::Cancel()
{
    timer_.stop();
}

QModelIndex IncrementalFind::Current() const
{
    return model_->index(path_.back().row, 0, path_.back().parent);
}

bool IncrementalFind::Next()
{
    const QModelIndex here = Current();
    if (model_->rowCount(here) > 0) {
        path_.push_back(Place{here, 0});
        return true;
    }
    while (!path_.empty()) {
        Place& place = path_.back();
        if (place.row + 1 < model_->rowCount(place.parent)) {
            ++place.row;
            return true;
        }
        path_.pop_back();
    }
    return false;
}

bool IncrementalFind::Matches() const
{
    const QModelIndex row = Current();
    // Node rows (their row data is a node key such as "N3") are not IBOs.
    const QVariant data = row.data(Qt::UserRole);
    if (data.toString().startsWith(QLatin1Char('N')))
        return false;
    for (int c : columns_) {
        if (model_->index(row.row(), c, row.parent()).data().toString().contains(text_, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

void IncrementalFind::Step()
{
    if (!model_) {
        Cancel();
        return;
    }
    QElapsedTimer slice;
    slice.start();
    auto samePlace = [](const std::vector<Place>& a, const std::vector<Place>& b) {
        if (a.size() != b.size())
            return false;
        for (size_t i = 0; i < a.size(); ++i) {
            if (a[i].row != b[i].row || a[i].parent != b[i].parent)
                return false;
        }
        return true;
    };
    int rows = 0;
    for (;;) {
        if (checkCurrent_ && Matches()) {
            Cancel();
            lastMatch_ = path_;
            longestSliceMs_ = std::max(longestSliceMs_, slice.elapsed());
            emit Found(text_, Current().data(Qt::UserRole));
            return;
        }
        checkCurrent_ = true;
        if (!Next()) {
            if (wrapped_ || samePlace(begin_, {Place{QModelIndex(), 0}})) {
                Cancel();
                longestSliceMs_ = std::max(longestSliceMs_, slice.elapsed());
                emit NotFound(text_);
                return;
            }
            wrapped_ = true;
            path_ = {Place{QModelIndex(), 0}};
        }
        if (wrapped_ && samePlace(path_, begin_)) {
            // Round to the last match again: it is the only one, or none is left.
            const bool found = Matches();
            Cancel();
            longestSliceMs_ = std::max(longestSliceMs_, slice.elapsed());
            if (found)
                emit Found(text_, Current().data(Qt::UserRole));
            else
                emit NotFound(text_);
            return;
        }
        // The clock is read every few rows: reading it costs more than a row.
        if (++rows % 64 == 0 && slice.elapsed() >= kSliceMs)
            break;
    }
    longestSliceMs_ = std::max(longestSliceMs_, slice.elapsed());
}
