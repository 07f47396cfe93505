#pragma once
// Find as you type over a view's item model: IBO numbers, names and companies, in the order
// the view shows its rows. The search runs in slices of a few milliseconds on the event
// loop, so that typing into the find box is never held up, even by a million IBOs: each
// keystroke starts the search anew and drops the one under way.

#include <vector>

#include <QElapsedTimer>
#include <QModelIndex>
#include <QObject>
#include <QPointer>
#include <QTimer>

class QAbstractItemModel;

class IncrementalFind : public QObject {
    Q_OBJECT

public:
    explicit IncrementalFind(QObject* parent = nullptr);

    // Looks for `text` (any case, anywhere in a cell) in the columns captioned "IBO#",
    // "Last Name", "First Name" and "Company" of `model`'s IBO rows: from the top, or with
    // `again` from the row after the last match, round to where it began.
    void Start(QAbstractItemModel* model, const QString& text, bool again);
    void Cancel();
    bool Running() const { return timer_.isActive(); }
    // The longest slice of work so far, in milliseconds (the benchmark's measure).
    qint64 LongestSliceMs() const { return longestSliceMs_; }

    // A slice stops after this many milliseconds and gives the event loop its turn.
    static constexpr int kSliceMs = 8;

signals:
    // The row data (the IBO id) of the row that matched.
    void Found(const QString& text, const QVariant& rowData);
    void NotFound(const QString& text);

private:
    struct Place {
        QModelIndex parent;
        int row = 0;
    };
    void Step();
    bool Next();  // to the next row, depth first; false past the last one
    bool Matches() const;
    QModelIndex Current() const;

    QPointer<QAbstractItemModel> model_;
    QString text_;
    std::vector<int> columns_;
    std::vector<Place> path_;       // where the search is: the row at each depth
    std::vector<Place> lastMatch_;  // where the last match was
    std::vector<Place> begin_;      // where this search began
    bool wrapped_ = false;
    bool checkCurrent_ = true;
    QTimer timer_;
    qint64 longestSliceMs_ = 0;
};
