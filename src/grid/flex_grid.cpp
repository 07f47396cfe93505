#include "grid/flex_grid.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <mutex>

#include <QApplication>
#include <QClipboard>
#include <QCollator>
#include <QContextMenuEvent>
#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPageLayout>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QSaveFile>
#include <QScrollBar>
#include <QStyleOptionHeader>
#include <QToolTip>

#include "automation/conversions.h"
#include "automation/locale_info.h"
#include "automation/runtime_error.h"
#include "grid/grid_accessible.h"
#include "grid/grid_export.h"
#include "grid/grid_format.h"
#include "grid/palette_colors.h"

namespace BrevView::grid {
namespace {

using automation::Raise;

const QString kSource = QStringLiteral("flexGrid");
const QByteArray kMagic("BVGRID\r\n", 8);
constexpr quint32 kSnapshotVersion = 1;
constexpr int kIndentPx = 14;
constexpr int kButtonPx = 9;
constexpr int kDefaultColTwips = 960;
// A column narrower than this (two pixels at 96 DPI) is a placeholder that never shows a text.
constexpr int kPlaceholderTwips = 30;

std::mutex g_printMutex;
FlexGrid::PrintDialogHandler g_printDialog;

QColor FromColorRef(qint32 c)
{
    return QColor(c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF);
}

// Whether a cell's text is a number or an amount: such a text is never cut, because its
// leading digits or its sign carry the meaning.
bool IsNumberText(const QString& text, int dataType)
{
    if (dataType == flexDTCurrency || dataType == flexDTDouble || dataType == flexDTLong)
        return true;
    QString t = text.trimmed();
    t.remove(QLatin1Char(',')).remove(QLatin1Char('$')).remove(QLatin1Char('%'));
    if (t.isEmpty())
        return false;
    bool ok = false;
    t.toDouble(&ok);
    return ok;
}

bool DisplayLess()
{
    const QString platform = QGuiApplication::platformName();
    return platform == QLatin1String("offscreen") || platform == QLatin1String("minimal");
}

}  // namespace

FlexGrid::FlexGrid(QWidget* parent) : QAbstractScrollArea(parent)
{
    // Before anything asks for the grid's accessible interface (setting its name does).
    InstallGridAccessibility();
    setObjectName(QStringLiteral("flexGrid"));
    setAccessibleName(QStringLiteral("flexGrid"));
    setAccessibleDescription(tr("Outline grid"));
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    verticalScrollBar()->setSingleStep(1);
    connect(verticalScrollBar(), &QScrollBar::sliderMoved, this, [this](int v) { ScrollTipRequested(v); });
    store_.SetCols(2);
    store_.SetRows(2);
    defaultRowPx_ = fontMetrics().height() + 6;
}

void FlexGrid::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange) {
        defaultRowPx_ = fontMetrics().height() + 6;
        fit_.Invalidate();
        OutlineChanged();
    }
    QAbstractScrollArea::changeEvent(event);
}

FlexGrid::~FlexGrid() = default;

// Emits SelectionChanged when the selected rows differ at the end of its scope.
class FlexGrid::SelectionWatch {
public:
    explicit SelectionWatch(FlexGrid& grid) : grid_(grid), before_(grid.selected_) {}
    ~SelectionWatch()
    {
        if (grid_.selected_ != before_) {
            emit grid_.SelectionChanged();
            grid::NotifyAccessibleSelection(grid_);
        }
    }
    SelectionWatch(const SelectionWatch&) = delete;
    SelectionWatch& operator=(const SelectionWatch&) = delete;

private:
    FlexGrid& grid_;
    std::vector<int> before_;
};

void FlexGrid::BeginStructure()
{
    orderDirty_ = true;
    if (structureChanging_)
        return;
    structureChanging_ = true;
    emit StructureAboutToChange();
}

void FlexGrid::EndStructure()
{
    if (redraw_ == 0 || !structureChanging_)
        return;
    structureChanging_ = false;
    contentPending_ = false;  // a model reads everything again after a change of shape
    emit StructureChanged();
    grid::NotifyAccessibleReset(*this);
}

void FlexGrid::FlushNotices()
{
    if (structureChanging_) {
        structureChanging_ = false;
        contentPending_ = false;
        emit StructureChanged();
        grid::NotifyAccessibleReset(*this);
    } else if (contentPending_) {
        contentPending_ = false;
        emit ContentChanged();
    }
}

void FlexGrid::ContentTouched()
{
    if (sortCol_ >= 0) {
        orderDirty_ = true;
        layoutDirty_ = true;
    }
    if (structureChanging_)
        return;  // StructureChanged says it all
    if (redraw_ == 0) {
        contentPending_ = true;
        return;
    }
    emit ContentChanged();
}

void FlexGrid::NotifyCurrent()
{
    emit CurrentChanged(row_, col_);
    grid::NotifyAccessibleFocus(*this);
}

void FlexGrid::contextMenuEvent(QContextMenuEvent* event)
{
    // The Menu key has raised ContextMenuKey on its press already; the context-menu event
    // that the platform makes of the same key stays here, so that the host's window does not
    // open a menu of its own on top.
    if (event->reason() == QContextMenuEvent::Keyboard) {
        event->accept();
        return;
    }
    QAbstractScrollArea::contextMenuEvent(event);
}

void FlexGrid::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    // Focus from the keyboard lands on a cell, as in Qt's item views: without a current row,
    // the first IBO row on show becomes current (not selected); a current column that never
    // shows (a placeholder) gives way to the row's first cell with a text.
    if (event->reason() != Qt::MouseFocusReason) {
        EnsureLayout();
        bool moved = false;
        if ((row_ < fixedRows_ || row_ >= store_.rows() || VisibleIndexOf(row_) < 0) && !visible_.empty()) {
            const auto ibo =
                std::find_if(visible_.begin(), visible_.end(), [this](int r) { return !store_.Row(r).subtotal; });
            row_ = ibo != visible_.end() ? *ibo : visible_.front();
            moved = true;
        }
        if (row_ >= fixedRows_ && row_ < store_.rows() && !ColShown(col_)) {
            const int col = ReadableCol(row_);
            if (col >= 0) {
                col_ = col;
                moved = true;
            }
        }
        if (moved) {
            ShowCell(row_, col_);
            emit CurrentChanged(row_, col_);
        }
    }
    viewport()->update();  // the focus cue
    grid::NotifyAccessibleFocus(*this);
}

void FlexGrid::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

// ---------------------------------------------------------------- checks and units

void FlexGrid::RaiseBadRow(int row, const char* what) const
{
    Raise(automation::ErrInvalidArrayIndex, kSource,
          QStringLiteral("Invalid row %1 for %2 (the grid has %3 rows)")
              .arg(row)
              .arg(QLatin1String(what))
              .arg(store_.rows()));
}

void FlexGrid::RaiseBadCol(int col, const char* what) const
{
    Raise(automation::ErrInvalidArrayIndex, kSource,
          QStringLiteral("Invalid column %1 for %2 (the grid has %3 columns)")
              .arg(col)
              .arg(QLatin1String(what))
              .arg(store_.cols()));
}

int FlexGrid::TwipsPerPixelX() const
{
    return qMax(1, qRound(1440.0 / qMax(1, logicalDpiX())));
}

int FlexGrid::TwipsPerPixelY() const
{
    return qMax(1, qRound(1440.0 / qMax(1, logicalDpiY())));
}

float FlexGrid::ToTwipsX(int px) const
{
    return float(px * 1440.0 / qMax(1, logicalDpiX()));
}

float FlexGrid::ToTwipsY(int px) const
{
    return float(px * 1440.0 / qMax(1, logicalDpiY()));
}

int FlexGrid::RowPx(int row) const
{
    const qint32 t = store_.Row(row).height;
    if (t < 0)
        return defaultRowPx_;
    const int px = qMax(0, qRound(t * qMax(1, logicalDpiY()) / 1440.0));
    if (row >= fixedRows_ || px == 0)
        return px;
    // A header row is never drawn shorter than the lines of its texts need in the grid's
    // font: a two-line caption keeps its second line with a bigger font.
    int lines = 1;
    for (int c = 0; c < store_.cols(); ++c) {
        const QString text = store_.Text(row, c);
        const auto breaks =
            std::count_if(text.cbegin(), text.cend(), [](QChar ch) { return ch == u'\r' || ch == u'\n'; });
        lines = std::max(lines, int(breaks) + 1);
    }
    return std::max(px, lines * fontMetrics().lineSpacing() + 4);
}

int FlexGrid::OwnColPx(int col) const
{
    const ColInfo& c = store_.Col(col);
    if (c.hidden)
        return 0;
    const qint32 t = c.width < 0 ? kDefaultColTwips : c.width;
    const int px = qMax(0, qRound(t * qMax(1, logicalDpiX()) / 1440.0));
    return c.fitText ? std::max(px, fit_.Px(*this, col)) : px;
}

int FlexGrid::ColPx(int col) const
{
    const int own = OwnColPx(col);
    if (printing_ || own <= 0)
        return own;
    // On screen the last column shown reaches the right edge when the columns are narrower
    // than the grid, as a header's last section stretches; its width in twips stays its own.
    for (int c = col + 1; c < store_.cols(); ++c) {
        if (OwnColPx(c) > 0)
            return own;
    }
    int total = 0;
    for (int c = 0; c < store_.cols(); ++c)
        total += OwnColPx(c);
    return own + std::max(0, viewport()->width() - total);
}

int FlexGrid::FixedHeightPx() const
{
    int h = 0;
    for (int r = 0; r < std::min(fixedRows_, store_.rows()); ++r)
        h += RowPx(r);
    return h;
}

int FlexGrid::TotalWidthPx() const
{
    int w = 0;
    for (int c = 0; c < store_.cols(); ++c)
        w += ColPx(c);
    return w;
}

int FlexGrid::ColLeftPx(int col) const
{
    int x = 0;
    for (int c = 0; c < col; ++c)
        x += ColPx(c);
    return x;
}

// ---------------------------------------------------------------- change tracking

void FlexGrid::Changed()
{
    if (redraw_ != 0)
        viewport()->update();
}

void FlexGrid::OutlineChanged()
{
    layoutDirty_ = true;
    if (redraw_ == 0)
        return;
    viewport()->update();
    // One layout per burst of changes, not one per change: a loop of Rows = Rows + 1
    // stays linear even with redraw on.
    if (!layoutPending_) {
        layoutPending_ = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                layoutPending_ = false;
                if (redraw_ != 0)
                    UpdateScrollBars();
            },
            Qt::QueuedConnection);
    }
}

void FlexGrid::EnsureLayout() const
{
    if (!layoutDirty_ && !(sortCol_ >= 0 && orderDirty_))
        return;
    const int rows = store_.rows();
    // A collapsed node hides every row after it up to the next node of the same or a
    // lower level.
    std::vector<char> shown(size_t(std::max(0, rows)), 0);
    int hideLevel = INT_MAX;
    for (int r = fixedRows_; r < rows; ++r) {
        const RowInfo& info = store_.Row(r);
        if (info.subtotal && info.outlineLevel <= hideLevel)
            hideLevel = INT_MAX;
        if (hideLevel == INT_MAX) {
            shown[size_t(r)] = 1;
            if (info.subtotal && info.collapsed)
                hideLevel = info.outlineLevel;
        }
    }
    if (sortCol_ >= 0 && orderDirty_)
        BuildOrder();
    visible_.clear();
    visible_.reserve(size_t(std::max(0, rows - fixedRows_)));
    visiblePos_.assign(size_t(std::max(0, rows)), -1);
    auto take = [&](int r) {
        if (shown[size_t(r)]) {
            visiblePos_[size_t(r)] = int(visible_.size());
            visible_.push_back(r);
        }
    };
    if (sortCol_ >= 0) {
        for (int r : order_)
            take(r);
    } else {
        for (int r = fixedRows_; r < rows; ++r)
            take(r);
    }
    layoutDirty_ = false;
}

const std::vector<int>& FlexGrid::DisplayOrder() const
{
    EnsureLayout();
    if (sortCol_ < 0) {
        // Unsorted, the order is the rows' own; made when asked for.
        order_.clear();
        for (int r = fixedRows_; r < store_.rows(); ++r)
            order_.push_back(r);
        orderDirty_ = true;
    }
    return order_;
}

int FlexGrid::VisibleIndexOf(int row) const
{
    EnsureLayout();
    return row >= 0 && size_t(row) < visiblePos_.size() ? visiblePos_[size_t(row)] : -1;
}

void FlexGrid::SortByColumn(int col, Qt::SortOrder order)
{
    if (col != -1)
        CheckCol(col, "SortByColumn");
    if (col == sortCol_ && (col < 0 || order == sortOrder_))
        return;
    sortCol_ = col;
    sortOrder_ = order;
    orderDirty_ = true;
    layoutDirty_ = true;
    if (redraw_ != 0) {
        UpdateScrollBars();
        viewport()->update();
    }
    emit SortChanged(col, col < 0 ? -1 : int(order));
    grid::NotifyAccessibleReset(*this);
}

void FlexGrid::BuildOrder() const
{
    const int rows = store_.rows();
    const int col = sortCol_;
    const ColInfo& info = store_.Col(col);
    // One key per row: a number for amounts, numbers and dates (each distinct text parsed
    // once), else the rank of the text among the distinct texts in the locale's collation.
    std::vector<double> key(size_t(std::max(0, rows)), 0.0);
    const bool date = info.dataType == flexDTDate;
    const bool typedNumber =
        info.dataType == flexDTCurrency || info.dataType == flexDTDouble || info.dataType == flexDTLong;
    // Numbers and dates as numbers, each distinct text read once; a column of the general type
    // sorts as numbers when every text of its rows reads as one, else as text.
    bool numeric = true;
    QHash<QString, double> memo;
    constexpr double kUnreadable = -std::numeric_limits<double>::infinity();  // empty or unreadable: first
    for (int r = fixedRows_; r < rows && numeric; ++r) {
        const QString t = store_.Text(r, col).trimmed();
        auto it = memo.constFind(t);
        if (it == memo.constEnd()) {
            double v = kUnreadable;
            try {
                if (!t.isEmpty() && date)
                    v = automation::ToDate(automation::Variant(t)).serial();
                else if (!t.isEmpty() && !automation::ParseNumber(QString(t).remove(QLatin1Char('%')), &v))
                    v = kUnreadable;
            } catch (const std::exception&) {
                v = kUnreadable;
            }
            it = memo.insert(t, v);
        }
        key[size_t(r)] = it.value();
        // An unreadable text makes a general column a text column; a node's caption does
        // not (node rows are not sorted), nor does an empty cell.
        if (it.value() == kUnreadable && !t.isEmpty() && !date && !typedNumber && !store_.Row(r).subtotal)
            numeric = false;
    }
    if (!numeric) {
        QStringList distinct;
        QHash<QString, int> index;
        std::vector<int> textOf(size_t(std::max(0, rows)), 0);
        for (int r = fixedRows_; r < rows; ++r) {
            const QString t = store_.Text(r, col);
            auto it = index.constFind(t);
            if (it == index.constEnd()) {
                it = index.insert(t, int(distinct.size()));
                distinct.append(t);
            }
            textOf[size_t(r)] = it.value();
        }
        QCollator collator(automation::CurrentLocale());
        collator.setNumericMode(true);
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        std::vector<int> byText(size_t(distinct.size()));
        for (size_t i = 0; i < byText.size(); ++i)
            byText[i] = int(i);
        std::vector<QCollatorSortKey> keys;
        keys.reserve(size_t(distinct.size()));
        for (const QString& t : distinct)
            keys.push_back(collator.sortKey(t));
        std::stable_sort(byText.begin(), byText.end(),
                         [&](int a, int b) { return keys[size_t(a)].compare(keys[size_t(b)]) < 0; });
        std::vector<double> rank(byText.size());
        for (size_t i = 0; i < byText.size(); ++i)
            rank[size_t(byText[i])] = double(i);
        for (int r = fixedRows_; r < rows; ++r)
            key[size_t(r)] = rank[size_t(textOf[size_t(r)])];
    }
    // Node rows stay where they are; each run of rows between them is sorted (stably, so
    // equal values keep their own order).
    order_.clear();
    order_.reserve(size_t(std::max(0, rows - fixedRows_)));
    const bool descending = sortOrder_ == Qt::DescendingOrder;
    auto less = [&](int a, int b) {
        return descending ? key[size_t(a)] > key[size_t(b)] : key[size_t(a)] < key[size_t(b)];
    };
    int r = fixedRows_;
    while (r < rows) {
        if (store_.Row(r).subtotal) {
            order_.push_back(r++);
            continue;
        }
        const size_t from = order_.size();
        while (r < rows && !store_.Row(r).subtotal)
            order_.push_back(r++);
        std::stable_sort(order_.begin() + qsizetype(from), order_.end(), less);
    }
    orderDirty_ = false;
}

const std::vector<int>& FlexGrid::VisibleRows() const
{
    EnsureLayout();
    return visible_;
}

void FlexGrid::UpdateScrollBars()
{
    EnsureLayout();
    const int viewH = viewport()->height() - FixedHeightPx();
    // The last top row that still fills the view: walk back from the end.
    int used = 0;
    int lastTop = int(visible_.size());
    while (lastTop > 0) {
        const int h = RowPx(visible_[size_t(lastTop - 1)]);
        if (used + h > viewH && used > 0)
            break;
        used += h;
        --lastTop;
    }
    verticalScrollBar()->setRange(0, std::max(0, lastTop));
    const int perPage = std::max(1, viewH / std::max(1, defaultRowPx_));
    verticalScrollBar()->setPageStep(perPage);
    horizontalScrollBar()->setRange(0, std::max(0, TotalWidthPx() - viewport()->width()));
    horizontalScrollBar()->setPageStep(std::max(1, viewport()->width()));
}

// ---------------------------------------------------------------- shape

void FlexGrid::setRows(int rows)
{
    SelectionWatch watch(*this);
    BeginStructure();
    const int old = store_.rows();
    store_.SetRows(rows);
    if (rows <= fixedRows_ && sortCol_ >= 0) {
        // Filled anew: the rows come in their own order again.
        sortCol_ = -1;
        emit SortChanged(-1, -1);
    }
    if (rows < old) {
        selected_.erase(std::remove_if(selected_.begin(), selected_.end(), [rows](int r) { return r >= rows; }),
                        selected_.end());
        if (row_ >= rows)
            row_ = rows > fixedRows_ ? rows - 1 : -1;
    }
    isSelected_.resize(size_t(rows), false);
    nodeIndexDirty_ = true;
    OutlineChanged();
    EndStructure();
}

void FlexGrid::AddItem(const QString& item, int index)
{
    SelectionWatch watch(*this);
    BeginStructure();
    const int at = index < 0 ? store_.rows() : index;
    store_.InsertRow(at);
    isSelected_.insert(isSelected_.begin() + std::min<size_t>(size_t(at), isSelected_.size()), false);
    for (int& r : selected_) {
        if (r >= at)
            ++r;
    }
    if (row_ >= at)
        ++row_;
    if (!item.isEmpty()) {
        const QStringList parts = item.split(QLatin1Char('\t'));
        for (int c = 0; c < parts.size() && c < store_.cols(); ++c)
            store_.SetText(at, c, parts[c]);
    }
    nodeIndexDirty_ = true;
    OutlineChanged();
    EndStructure();
}

void FlexGrid::setCols(int cols)
{
    BeginStructure();
    store_.SetCols(cols);
    if (col_ >= cols)
        col_ = std::max(0, cols - 1);
    OutlineChanged();
    EndStructure();
}

void FlexGrid::setFixedRows(int n)
{
    if (n < 0 || n > store_.rows())
        Raise(automation::ErrInvalidPropertyValue, kSource, QStringLiteral("Invalid FixedRows value %1").arg(n));
    BeginStructure();
    fixedRows_ = n;
    OutlineChanged();
    EndStructure();
}

void FlexGrid::setFixedCols(int n)
{
    if (n < 0 || n > store_.cols())
        Raise(automation::ErrInvalidPropertyValue, kSource, QStringLiteral("Invalid FixedCols value %1").arg(n));
    fixedCols_ = n;
    Changed();
}

void FlexGrid::setRow(int row)
{
    if (row != -1)
        CheckRow(row, "Row");
    SelectionWatch watch(*this);
    const bool moved = row_ != row;
    row_ = row;
    // A row that is already part of the selection keeps the selection (a right-click
    // on a selected row); any other row becomes the only one selected.
    if (row >= fixedRows_ && !(size_t(row) < isSelected_.size() && isSelected_[size_t(row)]))
        SelectOnly(row);
    Changed();
    if (moved)
        NotifyCurrent();
}

void FlexGrid::setCol(int col)
{
    CheckCol(col, "Col");
    const bool moved = col_ != col;
    col_ = col;
    Changed();
    if (moved)
        NotifyCurrent();
}

// ---------------------------------------------------------------- content

QString FlexGrid::TextMatrix(int row, int col) const
{
    CheckRow(row, "TextMatrix");
    CheckCol(col, "TextMatrix");
    return store_.Text(row, col);
}

void FlexGrid::setTextMatrix(int row, int col, const QString& text)
{
    CheckRow(row, "TextMatrix");
    CheckCol(col, "TextMatrix");
    store_.SetText(row, col, text);
    Changed();
    ContentTouched();
}

void FlexGrid::setTextMatrixUtf8(int row, int col, const char* text, int length)
{
    CheckRow(row, "TextMatrix");
    CheckCol(col, "TextMatrix");
    store_.SetTextUtf8(row, col, text, length);
    Changed();
    ContentTouched();
}

automation::Variant FlexGrid::RowDataValue(int row) const
{
    CheckRow(row, "RowData");
    return store_.Row(row).data;
}

void FlexGrid::setRowDataValue(int row, const automation::Variant& value)
{
    CheckRow(row, "RowData");
    store_.Row(row).data = value;
    if (store_.Row(row).subtotal)
        nodeIndexDirty_ = true;
    ContentTouched();
}

QVariant FlexGrid::RowData(int row) const
{
    const automation::Variant v = RowDataValue(row);
    switch (v.type()) {
    case automation::VarType::Empty:
    case automation::VarType::Null:
        return QVariant();
    case automation::VarType::Boolean:
        return v.boolValue();
    case automation::VarType::Long:
        return v.longValue();
    case automation::VarType::Double:
        return v.doubleValue();
    case automation::VarType::Currency:
        return v.currencyValue().ToDouble();
    case automation::VarType::Date:
        return v.dateValue().ToQDateTime();
    case automation::VarType::String:
        return v.stringValue();
    }
    return QVariant();
}

void FlexGrid::setRowData(int row, const QVariant& value)
{
    automation::Variant v;
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::Short:
    case QMetaType::UInt:
        v = automation::Variant(qint32(value.toInt()));
        break;
    case QMetaType::LongLong:
    case QMetaType::Long:
        if (value.toLongLong() >= INT_MIN && value.toLongLong() <= INT_MAX)
            v = automation::Variant(qint32(value.toLongLong()));
        else
            v = automation::Variant(value.toDouble());
        break;
    case QMetaType::Double:
    case QMetaType::Float:
        v = automation::Variant(value.toDouble());
        break;
    case QMetaType::Bool:
        v = automation::Variant(value.toBool());
        break;
    case QMetaType::UnknownType:
        v = automation::Variant();
        break;
    default:
        v = automation::Variant(value.toString());
        break;
    }
    setRowDataValue(row, v);
}

int FlexGrid::RowHeight(int row) const
{
    CheckRow(row, "RowHeight");
    const qint32 t = store_.Row(row).height;
    return t < 0 ? qRound(RowPx(row) * 1440.0 / qMax(1, logicalDpiY())) : t;
}

void FlexGrid::setRowHeight(int row, int twips)
{
    CheckRow(row, "RowHeight");
    store_.Row(row).height = twips < 0 ? -1 : twips;
    OutlineChanged();
}

int FlexGrid::ColWidth(int col) const
{
    CheckCol(col, "ColWidth");
    const qint32 t = store_.Col(col).width;
    return t < 0 ? kDefaultColTwips : t;
}

void FlexGrid::setColWidth(int col, int twips)
{
    CheckCol(col, "ColWidth");
    const bool shown = ColShown(col);
    store_.Col(col).width = twips < 0 ? -1 : twips;
    if (ColShown(col) != shown)
        emit ColumnsChanged();
    if (redraw_ != 0)
        UpdateScrollBars();
    Changed();
}

bool FlexGrid::ColShown(int col) const
{
    CheckCol(col, "ColShown");
    const ColInfo& info = store_.Col(col);
    return !info.hidden && (info.width < 0 || info.width >= kPlaceholderTwips);
}

std::vector<int> FlexGrid::ShownCols() const
{
    std::vector<int> cols;
    for (int c = 0; c < store_.cols(); ++c) {
        if (ColShown(c))
            cols.push_back(c);
    }
    return cols;
}

int FlexGrid::TextColOf(int row, int col) const
{
    if (row < fixedRows_ || !store_.Row(row).subtotal || !store_.TextIsEmpty(row, col) ||
        outlineBar_ == flexOutlineBarNone || col <= outlineCol_ || outlineCol_ < 0 || outlineCol_ >= store_.cols() ||
        ColShown(outlineCol_))
        return col;
    for (int k = outlineCol_ + 1; k < col; ++k) {
        if (ColShown(k) || !store_.TextIsEmpty(row, k))
            return col;
    }
    return outlineCol_;
}

int FlexGrid::ReadableCol(int row) const
{
    int first = -1;
    for (int c = 0; c < store_.cols(); ++c) {
        if (!ColShown(c))
            continue;
        if (first < 0)
            first = c;
        if (row >= 0 && row < store_.rows() && !store_.TextIsEmpty(row, TextColOf(row, c)))
            return c;
    }
    return first;
}

bool FlexGrid::ColFitText(int col) const
{
    CheckCol(col, "ColFitText");
    return store_.Col(col).fitText;
}

void FlexGrid::setColFitText(int col, bool fit)
{
    CheckCol(col, "ColFitText");
    store_.Col(col).fitText = fit;
    store_.Touch();
    if (redraw_ != 0)
        UpdateScrollBars();
    Changed();
}

bool FlexGrid::ColHidden(int col) const
{
    CheckCol(col, "ColHidden");
    return store_.Col(col).hidden;
}

void FlexGrid::setColHidden(int col, bool hidden)
{
    CheckCol(col, "ColHidden");
    const bool shown = ColShown(col);
    store_.Col(col).hidden = hidden;
    store_.Touch();
    if (ColShown(col) != shown)
        emit ColumnsChanged();
    if (redraw_ != 0)
        UpdateScrollBars();
    Changed();
}

int FlexGrid::ColAlignment(int col) const
{
    CheckCol(col, "ColAlignment");
    return store_.Col(col).alignment;
}

void FlexGrid::setColAlignment(int col, int alignment)
{
    CheckCol(col, "ColAlignment");
    store_.Col(col).alignment = alignment;
    Changed();
}

int FlexGrid::ColDataType(int col) const
{
    CheckCol(col, "ColDataType");
    return store_.Col(col).dataType;
}

void FlexGrid::setColDataType(int col, int type)
{
    CheckCol(col, "ColDataType");
    store_.Col(col).dataType = type;
    Changed();
}

QString FlexGrid::ColFormat(int col) const
{
    CheckCol(col, "ColFormat");
    return store_.Col(col).format;
}

void FlexGrid::setColFormat(int col, const QString& format)
{
    CheckCol(col, "ColFormat");
    store_.Col(col).format = format;
    store_.Touch();
    Changed();
}

QString FlexGrid::DisplayText(int row, int col) const
{
    QString text = TextMatrix(row, col);
    if (row < fixedRows_)
        return text;
    return FormatCellText(text, store_.Col(col).format);
}

QVariant FlexGrid::Cell(int setting, int row1, int col1, int row2, int col2) const
{
    Q_UNUSED(row2);
    Q_UNUSED(col2);
    CheckRow(row1, "Cell");
    CheckCol(col1, "Cell");
    return store_.Setting(setting, row1, col1);
}

void FlexGrid::setCell(int setting, int row1, int col1, int row2, int col2, const QVariant& value)
{
    if (row2 < 0)
        row2 = row1;
    if (col2 < 0)
        col2 = col1;
    CheckRow(row1, "Cell");
    CheckRow(row2, "Cell");
    CheckCol(col1, "Cell");
    CheckCol(col2, "Cell");
    store_.ApplySetting(setting, row1, col1, row2, col2, value);
    Changed();
    ContentTouched();
}

// ---------------------------------------------------------------- outline

bool FlexGrid::IsSubtotal(int row) const
{
    CheckRow(row, "IsSubtotal");
    return store_.Row(row).subtotal;
}

void FlexGrid::setIsSubtotal(int row, bool subtotal)
{
    CheckRow(row, "IsSubtotal");
    BeginStructure();
    store_.Row(row).subtotal = subtotal;
    nodeIndexDirty_ = true;
    OutlineChanged();
    EndStructure();
}

int FlexGrid::RowOutlineLevel(int row) const
{
    CheckRow(row, "RowOutlineLevel");
    return store_.Row(row).outlineLevel;
}

void FlexGrid::setRowOutlineLevel(int row, int level)
{
    CheckRow(row, "RowOutlineLevel");
    BeginStructure();
    store_.Row(row).outlineLevel = qint16(qBound(0, level, 0x7FFF));
    OutlineChanged();
    EndStructure();
}

int FlexGrid::IsCollapsed(int row) const
{
    CheckRow(row, "IsCollapsed");
    int node = row;
    if (!store_.Row(row).subtotal)
        node = GetNodeRow(row, flexNTParent);
    if (node < 0)
        return flexOutlineExpanded;
    return store_.Row(node).collapsed ? flexOutlineCollapsed : flexOutlineExpanded;
}

void FlexGrid::setIsCollapsed(int row, int state)
{
    CheckRow(row, "IsCollapsed");
    if (state != flexOutlineExpanded && state != flexOutlineCollapsed && state != flexOutlineSubtotals)
        Raise(automation::ErrInvalidPropertyValue, kSource, QStringLiteral("Invalid IsCollapsed value %1").arg(state));
    // A plain row's outline state is that of the node holding it.
    int node = row;
    if (!store_.Row(row).subtotal)
        node = GetNodeRow(row, flexNTParent);
    if (node < 0)
        return;
    SetCollapsed(node, state != flexOutlineExpanded, true);
}

void FlexGrid::SetCollapsed(int row, bool collapsed, bool raiseEvent)
{
    const bool toggled = store_.Row(row).collapsed != collapsed;
    store_.Row(row).collapsed = collapsed;
    OutlineChanged();
    if (toggled)
        emit OutlineToggled(row);
    if (raiseEvent)
        emit AfterCollapse(row, collapsed ? flexOutlineCollapsed : flexOutlineExpanded);
    // Told after the view's own handler, which may fill the node anew: a cell named before
    // that would be gone by the time a reader asks about it.
    if (toggled && row < store_.rows())
        grid::NotifyAccessibleToggle(*this, row);
}

int FlexGrid::GetNodeRow(int row, int which) const
{
    CheckRow(row, "GetNodeRow");
    const RowInfo& info = store_.Row(row);
    switch (which) {
    case flexNTParent: {
        // A node's parent is the nearest node above it with a lower level; a plain
        // row belongs to the nearest node above it.
        for (int r = row - 1; r >= fixedRows_; --r) {
            const RowInfo& above = store_.Row(r);
            if (above.subtotal && (!info.subtotal || above.outlineLevel < info.outlineLevel))
                return r;
        }
        return -1;
    }
    case flexNTRoot: {
        int r = row;
        for (int p = GetNodeRow(r, flexNTParent); p != -1; p = GetNodeRow(p, flexNTParent))
            r = p;
        return r == row && !info.subtotal ? -1 : r;
    }
    case flexNTFirstChild:
    case flexNTLastChild: {
        if (!info.subtotal)
            return -1;
        int last = -1;
        for (int r = row + 1; r < store_.rows(); ++r) {
            const RowInfo& below = store_.Row(r);
            if (below.subtotal && below.outlineLevel <= info.outlineLevel)
                break;
            if (GetNodeRow(r, flexNTParent) == row) {
                if (which == flexNTFirstChild)
                    return r;
                last = r;
            }
        }
        return last;
    }
    default:
        Raise(automation::ErrInvalidPropertyValue, kSource,
              QStringLiteral("Invalid GetNodeRow relation %1").arg(which));
    }
}

void FlexGrid::RebuildNodeIndex() const
{
    nodeIndex_.clear();
    for (int r = 0; r < store_.rows(); ++r) {
        const RowInfo& info = store_.Row(r);
        if (!info.subtotal || info.data.IsNull() || info.data.IsEmpty())
            continue;
        const QString key = automation::ToText(info.data);
        if (!nodeIndex_.contains(key))
            nodeIndex_.insert(key, r);
    }
    nodeIndexDirty_ = false;
}

int FlexGrid::GetNode(const QString& key) const
{
    if (nodeIndexDirty_)
        RebuildNodeIndex();
    return nodeIndex_.value(key, -1);
}

bool FlexGrid::NodeExpanded(int nodeRow) const
{
    CheckRow(nodeRow, "NodeExpanded");
    return store_.Row(nodeRow).subtotal && !store_.Row(nodeRow).collapsed;
}

void FlexGrid::setNodeExpanded(int nodeRow, bool expanded)
{
    CheckRow(nodeRow, "NodeExpanded");
    if (!store_.Row(nodeRow).subtotal)
        Raise(automation::ErrInvalidPropertyValue, kSource,
              QStringLiteral("Row %1 is not an outline node").arg(nodeRow));
    SetCollapsed(nodeRow, !expanded, true);
}

bool FlexGrid::RowIsVisible(int row) const
{
    CheckRow(row, "RowIsVisible");
    if (row < fixedRows_)
        return true;
    return VisibleIndexOf(row) >= 0;
}

// ---------------------------------------------------------------- search, scroll, selection

int FlexGrid::FindRow(const QVariant& item, int row, int col, bool caseSensitive, bool fullMatch) const
{
    automation::Variant v;
    switch (item.typeId()) {
    case QMetaType::Int:
    case QMetaType::Short:
        v = automation::Variant(qint32(item.toInt()));
        break;
    case QMetaType::Double:
        v = automation::Variant(item.toDouble());
        break;
    default:
        v = automation::Variant(item.toString());
        break;
    }
    return FindRowValue(v, row, col, caseSensitive, fullMatch);
}

int FlexGrid::FindRowValue(const automation::Variant& item, int row, int col, bool caseSensitive, bool fullMatch) const
{
    const int start = row < 0 ? fixedRows_ : row;
    if (col >= 0)
        CheckCol(col, "FindRow");
    const QString wanted = automation::ToText(item);
    const Qt::CaseSensitivity cs = caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
    // Whole numbers against numeric row data compare as numbers, without text.
    const bool wholeNumber = item.type() == automation::VarType::Long;
    for (int r = std::max(0, start); r < store_.rows(); ++r) {
        if (col < 0) {
            const automation::Variant& data = store_.Row(r).data;
            if (fullMatch && wholeNumber && data.type() == automation::VarType::Long) {
                if (data.longValue() == item.longValue())
                    return r;
                continue;
            }
            if (data.IsNull() || data.IsEmpty())
                continue;
            const QString text = automation::ToText(data);
            if (fullMatch ? text.compare(wanted, cs) == 0 : text.contains(wanted, cs))
                return r;
        } else {
            const QString text = store_.Text(r, col);
            if (fullMatch ? text.compare(wanted, cs) == 0 : text.contains(wanted, cs))
                return r;
        }
    }
    return -1;
}

int FlexGrid::TopRow() const
{
    EnsureLayout();
    const int v = verticalScrollBar()->value();
    return v < int(visible_.size()) ? visible_[size_t(v)] : -1;
}

void FlexGrid::setTopRow(int row)
{
    EnsureLayout();
    UpdateScrollBars();
    // The row itself, or the first row after it that is shown.
    int index = -1;
    for (int r = std::max(row, fixedRows_); r < store_.rows() && index < 0; ++r)
        index = VisibleIndexOf(r);
    verticalScrollBar()->setValue(index < 0 ? int(visible_.size()) : index);
}

void FlexGrid::ShowCell(int row, int col)
{
    CheckRow(row, "ShowCell");
    CheckCol(col, "ShowCell");
    EnsureLayout();
    UpdateScrollBars();
    if (row >= fixedRows_) {
        const int index = VisibleIndexOf(row);
        if (index >= 0) {
            const int top = verticalScrollBar()->value();
            if (index < top) {
                verticalScrollBar()->setValue(index);
            } else {
                const int viewH = viewport()->height() - FixedHeightPx();
                int used = 0;
                for (int i = top; i <= index; ++i)
                    used += RowPx(visible_[size_t(i)]);
                int newTop = top;
                while (used > viewH && newTop < index)
                    used -= RowPx(visible_[size_t(newTop++)]);
                verticalScrollBar()->setValue(newTop);
            }
        }
    }
    const int left = ColLeftPx(col);
    const int right = left + ColPx(col);
    const int h = horizontalScrollBar()->value();
    if (left < h)
        horizontalScrollBar()->setValue(left);
    else if (right > h + viewport()->width())
        horizontalScrollBar()->setValue(right - viewport()->width());
}

void FlexGrid::Refresh()
{
    if (redraw_ != 0) {
        UpdateScrollBars();
        viewport()->repaint();
    }
}

int FlexGrid::SelectedRow(int index) const
{
    if (index < 0 || index >= int(selected_.size()))
        Raise(automation::ErrInvalidArrayIndex, kSource, QStringLiteral("Invalid selection index %1").arg(index));
    return selected_[size_t(index)];
}

void FlexGrid::SelectOnly(int row)
{
    for (int r : selected_)
        isSelected_[size_t(r)] = false;
    selected_.clear();
    if (row >= fixedRows_ && row < store_.rows()) {
        selected_.push_back(row);
        isSelected_[size_t(row)] = true;
    }
    anchor_ = row;
}

void FlexGrid::SelectRows(const QList<int>& rows)
{
    SelectionWatch watch(*this);
    SelectOnly(-1);
    for (int r : rows) {
        if (r >= fixedRows_ && r < store_.rows() && !isSelected_[size_t(r)]) {
            selected_.push_back(r);
            isSelected_[size_t(r)] = true;
        }
    }
    Changed();
}

void FlexGrid::SelectAll()
{
    SelectionWatch watch(*this);
    SelectOnly(-1);
    for (int r = fixedRows_; r < store_.rows(); ++r) {
        selected_.push_back(r);
        isSelected_[size_t(r)] = true;
    }
    anchor_ = row_;
    Changed();
}

void FlexGrid::MoveCurrent(int row, Qt::KeyboardModifiers mods)
{
    if (row < fixedRows_ || row >= store_.rows())
        return;
    SelectionWatch watch(*this);
    const bool moved = row != row_;
    if (mods & Qt::ShiftModifier && anchor_ >= fixedRows_) {
        const int keep = anchor_;
        SelectOnly(-1);
        EnsureLayout();
        // The rows shown between the anchor and the new row, in the order shown.
        const int a = VisibleIndexOf(keep), b = VisibleIndexOf(row);
        const int lo = std::min(a, b), hi = std::max(a, b);
        for (int i = std::max(0, lo); a >= 0 && b >= 0 && i <= hi; ++i) {
            const int r = visible_[size_t(i)];
            selected_.push_back(r);
            isSelected_[size_t(r)] = true;
        }
        anchor_ = keep;
    } else if (mods & Qt::ControlModifier) {
        if (isSelected_[size_t(row)]) {
            isSelected_[size_t(row)] = false;
            selected_.erase(std::find(selected_.begin(), selected_.end(), row));
        } else {
            isSelected_[size_t(row)] = true;
            selected_.push_back(row);
        }
        anchor_ = row;
    } else {
        SelectOnly(row);
    }
    row_ = row;
    ShowCell(row, std::clamp(col_, 0, std::max(0, store_.cols() - 1)));
    Changed();
    if (moved)
        NotifyCurrent();
}

// ---------------------------------------------------------------- look

void FlexGrid::setRedraw(int redraw)
{
    const bool was = redraw_ != 0;
    redraw_ = redraw;
    viewport()->setUpdatesEnabled(redraw != 0);
    if (redraw != 0 && !was) {
        // One layout for everything that changed while redraw was off.
        EnsureLayout();
        UpdateScrollBars();
        viewport()->update();
        // And one notice of it for models and assistive technology.
        EndStructure();
        grid::NotifyAccessibleRedrawOn(*this);
        if (contentPending_) {
            contentPending_ = false;
            emit ContentChanged();
        }
    }
}

QString FlexGrid::ToolTipText() const
{
    return viewport()->toolTip();
}

void FlexGrid::setToolTipText(const QString& text)
{
    if (viewport()->toolTip() != text)
        viewport()->setToolTip(text);
}

void FlexGrid::setAppearance(int a)
{
    appearance_ = a;
    setFrameShape(a == 0 ? QFrame::NoFrame : QFrame::StyledPanel);
    Changed();
}

int FlexGrid::hWnd() const
{
    if (!testAttribute(Qt::WA_WState_Created) || !window()->windowHandle())
        return 0;
    return qint32(effectiveWinId());
}

QColor FlexGrid::ColorOf(qint32 colorref, const QColor& fallback) const
{
    return colorref >= 0 ? FromColorRef(colorref) : fallback;
}

bool FlexGrid::DrawsDark() const
{
    // A print is on white paper whatever the screen's palette.
    return !printing_ && IsDarkPalette(palette());
}

QColor FlexGrid::BackColorOf(int row, int col) const
{
    const CellStyle& cs = store_.Style(row, col);
    const QPalette& pal = palette();
    const bool fixed = row < fixedRows_;
    const QColor base = pal.color(QPalette::Base);
    if (!fixed && cs.back < 0 && backColor_ < 0)
        return base;
    const QColor back = ColorOf(cs.back, fixed ? pal.color(QPalette::Button) : ColorOf(backColor_, base));
    const bool chosen = cs.back >= 0 || (!fixed && backColor_ >= 0);
    return chosen && DrawsDark() ? DarkBackground(back, base) : back;
}

QColor FlexGrid::TextColorOf(int row, int col) const
{
    const CellStyle& cs = store_.Style(row, col);
    const qint32 chosen = cs.fore >= 0 ? cs.fore : foreColor_;
    if (chosen >= 0) {
        // A colour the view chose is drawn as it is, or as its counterpart under a dark palette.
        const QColor fore = FromColorRef(chosen);
        return DrawsDark() ? DarkText(fore, BackColorOf(row, col)) : fore;
    }
    const bool fixed = row < fixedRows_;
    const QColor text = palette().color(fixed ? QPalette::ButtonText : QPalette::Text);
    // Text nobody coloured, on a background somebody did: it must stay readable whatever
    // the palette.
    const bool fixedBack = cs.back >= 0 || (!fixed && backColor_ >= 0);
    return fixedBack ? ReadableOn(BackColorOf(row, col), text) : text;
}

QFont FlexGrid::CellFont(int row, int col, const QFont& base) const
{
    const CellStyle& cs = store_.Style(row, col);
    QFont font = base;
    if (cs.fontName >= 0)
        font.setFamily(store_.FontName(cs.fontName));
    if (cs.fontSize > 0)
        font.setPixelSize(qMax(1, qRound(cs.fontSize * logicalDpiY() / 72.0)));
    if (cs.bold >= 0)
        font.setBold(cs.bold > 0);
    if (cs.italic >= 0)
        font.setItalic(cs.italic > 0);
    if (cs.underline >= 0)
        font.setUnderline(cs.underline > 0);
    return font;
}

Qt::Alignment FlexGrid::TextAlignmentOf(int row, int col) const
{
    const CellStyle& cs = store_.Style(row, col);
    const bool fixed = row < fixedRows_;
    int align = cs.alignment >= 0 ? cs.alignment : store_.Col(col).alignment;
    if (fixed && cs.alignment < 0)
        align = flexAlignLeftCenter;
    Qt::Alignment flags;
    switch (align) {
    case flexAlignLeftTop:
        flags = Qt::AlignLeft | Qt::AlignTop;
        break;
    case flexAlignLeftCenter:
        flags = Qt::AlignLeft | Qt::AlignVCenter;
        break;
    case flexAlignLeftBottom:
        flags = Qt::AlignLeft | Qt::AlignBottom;
        break;
    case flexAlignCenterTop:
        flags = Qt::AlignHCenter | Qt::AlignTop;
        break;
    case flexAlignCenterCenter:
        flags = Qt::AlignHCenter | Qt::AlignVCenter;
        break;
    case flexAlignCenterBottom:
        flags = Qt::AlignHCenter | Qt::AlignBottom;
        break;
    case flexAlignRightTop:
        flags = Qt::AlignRight | Qt::AlignTop;
        break;
    case flexAlignRightCenter:
        flags = Qt::AlignRight | Qt::AlignVCenter;
        break;
    case flexAlignRightBottom:
        flags = Qt::AlignRight | Qt::AlignBottom;
        break;
    default: {
        double ignored = 0;
        bool numeric = false;
        try {
            numeric = automation::ParseNumber(store_.Text(row, col), &ignored);
        } catch (...) {
            numeric = true;
        }
        flags = (numeric ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
    }
    }
    return flags;
}

QSize FlexGrid::sizeHint() const
{
    // The visible columns (up to a wide window) over the header and a dozen rows.
    int width = 0;
    for (int c = 0; c < store_.cols(); ++c)
        width += OwnColPx(c);
    width = std::clamp(width, 200, 1000) + 2 * frameWidth() + verticalScrollBar()->sizeHint().width();
    const int height =
        FixedHeightPx() + 12 * defaultRowPx_ + 2 * frameWidth() + horizontalScrollBar()->sizeHint().height();
    return QSize(width, height);
}

QSize FlexGrid::minimumSizeHint() const
{
    // The header and three rows, as wide as a couple of columns.
    const int width = 2 * qRound(kDefaultColTwips * logicalDpiX() / 1440.0) + 2 * frameWidth() +
                      verticalScrollBar()->sizeHint().width();
    const int height =
        FixedHeightPx() + 3 * defaultRowPx_ + 2 * frameWidth() + horizontalScrollBar()->sizeHint().height();
    return QSize(width, height);
}

// ---------------------------------------------------------------- painting

QRect FlexGrid::OutlineButtonRect(const QRect& cell, int row) const
{
    const int indent = store_.Row(row).outlineLevel * kIndentPx;
    const int x = cell.left() + 3 + indent;
    const int y = cell.top() + (cell.height() - kButtonPx) / 2;
    return QRect(x, y, kButtonPx, kButtonPx);
}

void FlexGrid::PaintCell(QPainter& p, const QRect& rect, int row, int col, bool printing)
{
    const CellStyle& cs = store_.Style(row, col);
    const bool fixed = row < fixedRows_;
    const bool selected =
        !fixed && !printing && highLight_ != 0 && size_t(row) < isSelected_.size() && isSelected_[size_t(row)];
    const QPalette& pal = palette();

    QColor back = BackColorOf(row, col);
    if (fixed && printing && cs.back < 0)
        back = ColorOf(backColor_, Qt::white);
    p.fillRect(rect, back);
    if (fixed && !printing && cs.back < 0 && appearance_ != 0) {
        QStyleOptionHeader opt;
        opt.initFrom(this);
        opt.rect = rect;
        opt.state |= QStyle::State_Raised | QStyle::State_Horizontal;
        opt.orientation = Qt::Horizontal;
        opt.section = col;
        opt.position = QStyleOptionHeader::Middle;
        style()->drawControl(QStyle::CE_HeaderSection, &opt, &p, this);
    }
    if (selected)
        p.fillRect(rect, pal.color(QPalette::Highlight));
    if (fixed && !printing && col == sortCol_ && row == fixedRows_ - 1) {
        // The sort indicator, as Qt's header views draw it (ascending points down in Qt's styles).
        QStyleOptionHeader opt;
        opt.initFrom(this);
        const int side = std::min(rect.height(), 12);
        opt.rect = QRect(rect.right() - side - 2, rect.top() + (rect.height() - side) / 2, side, side);
        opt.sortIndicator =
            sortOrder_ == Qt::AscendingOrder ? QStyleOptionHeader::SortDown : QStyleOptionHeader::SortUp;
        style()->drawPrimitive(QStyle::PE_IndicatorHeaderArrow, &opt, &p, this);
    }

    bool done = false;
    if (ownerDraw_ != 0 && !fixed) {
        p.save();
        p.setClipRect(rect, Qt::IntersectClip);
        emit DrawCell(&p, row, col, rect.left(), rect.top(), rect.right() + 1, rect.bottom() + 1, done);
        p.restore();
    }

    if (!done) {
        QRect textRect = rect.adjusted(3, 1, -3, -1);
        const RowInfo& info = store_.Row(row);
        if (!fixed && col == outlineCol_ && outlineBar_ != flexOutlineBarNone && info.subtotal) {
            const QRect button = OutlineButtonRect(rect, row);
            p.save();
            p.setPen(ColorOf(gridColor_, pal.color(QPalette::Mid)).darker(150));
            p.setBrush(pal.color(QPalette::Base));
            p.drawRect(button.adjusted(0, 0, -1, -1));
            p.setPen(pal.color(QPalette::Text));
            const int cy = button.center().y();
            const int cx = button.center().x();
            p.drawLine(button.left() + 2, cy, button.right() - 2, cy);
            if (info.collapsed)
                p.drawLine(cx, button.top() + 2, cx, button.bottom() - 2);
            p.restore();
            textRect.setLeft(button.right() + 5);
        }
        QString text = fixed ? store_.Text(row, col) : FormatCellText(store_.Text(row, col), store_.Col(col).format);
        if (!text.isEmpty()) {
            text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
            const Qt::Alignment flags = TextAlignmentOf(row, col);
            const QFont font = CellFont(row, col, p.font());
            p.save();
            p.setFont(font);
            QColor fore = TextColorOf(row, col);
            if (printing && cs.fore < 0 && foreColor_ < 0)
                fore = ReadableOn(back, QColor(Qt::black));
            if (selected)
                fore = pal.color(QPalette::HighlightedText);
            p.setPen(fore);
            // Wrap where there is room for a second line (the tall header row), or where asked.
            const bool wrap =
                wordWrap_ || text.contains(QLatin1Char('\n')) || rect.height() >= 2 * fontMetrics().height();
            p.setClipRect(rect, Qt::IntersectClip);
            if (!wrap) {
                // Too long for its cell: a text loses its end ("…"); a number or an amount is
                // shown as "###", as spreadsheets do, never without its leading digits.
                const QFontMetrics fm(font);
                if (fm.horizontalAdvance(text) > textRect.width())
                    text =
                        FitCellText(text, fm, textRect.width(), !fixed && IsNumberText(text, store_.Col(col).dataType));
            }
            p.drawText(textRect, int(flags) | (wrap ? Qt::TextWordWrap : 0), text);
            p.restore();
        }
    }

    const int lines = fixed ? gridLinesFixed_ : gridLines_;
    if (lines != flexGridNone) {
        p.save();
        p.setPen(ColorOf(gridColor_, pal.color(QPalette::Mid)));
        p.drawLine(rect.right(), rect.top(), rect.right(), rect.bottom());
        p.drawLine(rect.left(), rect.bottom(), rect.right(), rect.bottom());
        p.restore();
    }
    if (!printing && !fixed && focusRect_ != 0 && row == row_ && col == col_ && hasFocus()) {
        QStyleOptionFocusRect opt;
        opt.initFrom(this);
        opt.rect = rect.adjusted(1, 1, -2, -2);
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &opt, &p, this);
    }
}

void FlexGrid::PaintRows(QPainter& p, const std::vector<int>& rows, int top, int left, bool printing, const QRect& clip)
{
    const int cols = store_.cols();
    std::vector<int> widths(static_cast<size_t>(cols), 0);
    for (int c = 0; c < cols; ++c)
        widths[size_t(c)] = ColPx(c);
    int y = top;
    for (int row : rows) {
        const int h = RowPx(row);
        if (y > clip.bottom())
            break;
        if (y + h > clip.top() && h > 0) {
            int x = left;
            const bool node = store_.Row(row).subtotal && row >= fixedRows_;
            for (int c = 0; c < cols; ++c) {
                int w = widths[size_t(c)];
                if (w <= 0)
                    continue;
                int last = c;
                // A node's caption runs on over the empty cells to its right.
                if (node && c == outlineCol_) {
                    while (last + 1 < cols && (widths[size_t(last) + 1] <= 0 || store_.TextIsEmpty(row, last + 1))) {
                        ++last;
                        w += widths[size_t(last)];
                    }
                    while (last > c && widths[size_t(last)] <= 0)
                        --last;
                }
                const QRect rect(x, y, w, h);
                if (rect.right() >= clip.left() && rect.left() <= clip.right())
                    PaintCell(p, rect, row, c, printing);
                x += w;
                c = last;
            }
        }
        y += h;
    }
}

void FlexGrid::paintEvent(QPaintEvent* event)
{
    if (layoutDirty_)
        UpdateScrollBars();
    QPainter p(viewport());
    const QRect clip = event->rect();
    p.fillRect(clip, ColorOf(backColorBkg_, palette().color(QPalette::Window)));
    EnsureLayout();
    const int left = -horizontalScrollBar()->value();
    std::vector<int> fixedRows;
    for (int r = 0; r < std::min(fixedRows_, store_.rows()); ++r)
        fixedRows.push_back(r);
    const int fixedH = FixedHeightPx();
    // Only the rows that fit the viewport are handed to the painter.
    std::vector<int> shown;
    int y = fixedH;
    for (size_t i = size_t(verticalScrollBar()->value()); i < visible_.size() && y <= viewport()->height(); ++i) {
        shown.push_back(visible_[i]);
        y += RowPx(visible_[i]);
    }
    p.save();
    p.setClipRect(QRect(0, fixedH, viewport()->width(), viewport()->height() - fixedH));
    PaintRows(p, shown, fixedH, left, false, clip);
    p.restore();
    PaintRows(p, fixedRows, 0, left, false, clip);
}

void FlexGrid::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    if (redraw_ != 0)
        UpdateScrollBars();
}

void FlexGrid::scrollContentsBy(int, int)
{
    if (redraw_ != 0)
        viewport()->update();
}

QRect FlexGrid::CellRect(int row, int col) const
{
    CheckRow(row, "CellRect");
    CheckCol(col, "CellRect");
    EnsureLayout();
    int y = 0;
    if (row < fixedRows_) {
        for (int r = 0; r < row; ++r)
            y += RowPx(r);
    } else {
        const int index = VisibleIndexOf(row);
        if (index < 0)
            return QRect();
        const int top = verticalScrollBar()->value();
        if (index < top)
            return QRect();
        y = FixedHeightPx();
        for (int i = top; i < index; ++i)
            y += RowPx(visible_[size_t(i)]);
        if (y > viewport()->height())
            return QRect();
    }
    return QRect(ColLeftPx(col) - horizontalScrollBar()->value(), y, ColPx(col), RowPx(row));
}

// ---------------------------------------------------------------- input

void FlexGrid::HitTest(const QPoint& pos, int* row, int* col) const
{
    EnsureLayout();
    *row = -1;
    *col = -1;
    int y = 0;
    for (int r = 0; r < std::min(fixedRows_, store_.rows()); ++r) {
        const int h = RowPx(r);
        if (pos.y() >= y && pos.y() < y + h)
            *row = r;
        y += h;
    }
    if (*row < 0) {
        for (size_t i = size_t(verticalScrollBar()->value()); i < visible_.size() && y <= viewport()->height(); ++i) {
            const int h = RowPx(visible_[i]);
            if (pos.y() >= y && pos.y() < y + h) {
                *row = visible_[i];
                break;
            }
            y += h;
        }
    }
    int x = -horizontalScrollBar()->value();
    for (int c = 0; c < store_.cols(); ++c) {
        const int w = ColPx(c);
        if (w > 0 && pos.x() >= x && pos.x() < x + w) {
            *col = c;
            break;
        }
        x += w;
    }
}

int FlexGrid::ColumnBorderAt(const QPoint& pos) const
{
    if (pos.y() >= FixedHeightPx())
        return -1;
    int x = -horizontalScrollBar()->value();
    for (int c = 0; c < store_.cols(); ++c) {
        const int w = ColPx(c);
        if (w <= 0 && store_.Col(c).hidden)
            continue;
        x += w;
        if (std::abs(pos.x() - x) <= 3)
            return c;
    }
    return -1;
}

int FlexGrid::ShiftState(Qt::KeyboardModifiers mods) const
{
    int s = 0;
    if (mods & Qt::ShiftModifier)
        s |= 1;
    if (mods & Qt::ControlModifier)
        s |= 2;
    if (mods & Qt::AltModifier)
        s |= 4;
    return s;
}

namespace {
int ButtonCode(Qt::MouseButtons b)
{
    int code = 0;
    if (b & Qt::LeftButton)
        code |= 1;
    if (b & Qt::RightButton)
        code |= 2;
    if (b & Qt::MiddleButton)
        code |= 4;
    return code;
}
}  // namespace

void FlexGrid::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    const QPoint pos = event->position().toPoint();
    int row = -1, col = -1;
    HitTest(pos, &row, &col);
    mouseRow_ = row;
    mouseCol_ = col;
    if (event->button() == Qt::LeftButton) {
        const int border = ColumnBorderAt(pos);
        if (border >= 0) {
            bool cancel = false;
            emit BeforeUserResize(row, border, cancel);
            if (!cancel) {
                resizingCol_ = border;
                resizeStartX_ = pos.x();
                resizeStartWidth_ = ColPx(border);
            }
            return;
        }
        pressedHeaderCol_ = row >= 0 && row < fixedRows_ ? col : -1;
        if (row >= fixedRows_) {
            if (col >= 0)
                col_ = col;
            const RowInfo& info = store_.Row(row);
            // An outline column the grid does not have draws no button to hit.
            if (info.subtotal && outlineBar_ != flexOutlineBarNone && outlineCol_ >= 0 && outlineCol_ < store_.cols()) {
                const QRect cell = CellRect(row, outlineCol_);
                if (OutlineButtonRect(cell, row).adjusted(-2, -2, 2, 2).contains(pos)) {
                    {
                        SelectionWatch watch(*this);
                        const bool moved = row_ != row;
                        row_ = row;
                        SelectOnly(row);
                        if (moved)
                            NotifyCurrent();
                    }
                    SetCollapsed(row, !info.collapsed, true);
                    return;
                }
            }
            MoveCurrent(row, event->modifiers());
        }
    }
}

void FlexGrid::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint pos = event->position().toPoint();
    if (resizingCol_ >= 0) {
        const int px = std::max(0, resizeStartWidth_ + pos.x() - resizeStartX_);
        store_.Col(resizingCol_).width = qRound(px * 1440.0 / qMax(1, logicalDpiX()));
        viewport()->update();
        return;
    }
    int row = -1, col = -1;
    HitTest(pos, &row, &col);
    mouseRow_ = row;
    mouseCol_ = col;
    viewport()->setCursor(ColumnBorderAt(pos) >= 0 ? Qt::SplitHCursor : Qt::ArrowCursor);
    emit MouseMove(ButtonCode(event->buttons()), ShiftState(event->modifiers()), ToTwipsX(pos.x()), ToTwipsY(pos.y()));
}

void FlexGrid::mouseReleaseEvent(QMouseEvent* event)
{
    const QPoint pos = event->position().toPoint();
    if (resizingCol_ >= 0 && event->button() == Qt::LeftButton) {
        const int col = resizingCol_;
        resizingCol_ = -1;
        UpdateScrollBars();
        emit AfterUserResize(0, col);
    }
    int row = -1, col = -1;
    HitTest(pos, &row, &col);
    mouseRow_ = row;
    mouseCol_ = col;
    if (event->button() == Qt::LeftButton && pressedHeaderCol_ >= 0 && row >= 0 && row < fixedRows_ &&
        col == pressedHeaderCol_) {
        // A click on a header: this column ascending, then descending, then the rows' own order.
        if (sortCol_ != col)
            SortByColumn(col, Qt::AscendingOrder);
        else if (sortOrder_ == Qt::AscendingOrder)
            SortByColumn(col, Qt::DescendingOrder);
        else
            SortByColumn(-1, Qt::AscendingOrder);
    }
    pressedHeaderCol_ = -1;
    emit MouseUp(ButtonCode(event->button()), ShiftState(event->modifiers()), ToTwipsX(pos.x()), ToTwipsY(pos.y()));
}

void FlexGrid::mouseDoubleClickEvent(QMouseEvent* event)
{
    const QPoint pos = event->position().toPoint();
    int row = -1, col = -1;
    HitTest(pos, &row, &col);
    mouseRow_ = row;
    mouseCol_ = col;
    if (event->button() == Qt::LeftButton && ColumnBorderAt(pos) < 0)
        emit DblClick();
}

bool FlexGrid::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::Leave && resizingCol_ < 0) {
        mouseRow_ = -1;
        mouseCol_ = -1;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void FlexGrid::keyPressEvent(QKeyEvent* event)
{
    EnsureLayout();
    if (event->matches(QKeySequence::SelectAll)) {
        SelectAll();
        return;
    }
    if (event->matches(QKeySequence::Copy)) {
        QGuiApplication::clipboard()->setMimeData(SelectedRowsAsMime(*this));
        return;
    }
    if (visible_.empty()) {
        QAbstractScrollArea::keyPressEvent(event);
        return;
    }
    const qsizetype index = VisibleIndexOf(row_);
    const int last = int(visible_.size()) - 1;
    const int page = std::max(1, verticalScrollBar()->pageStep());
    const Qt::KeyboardModifiers mods = event->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier);
    auto go = [&](qsizetype i) {
        MoveCurrent(visible_[size_t(std::clamp<qsizetype>(i, 0, last))], mods & Qt::ShiftModifier);
    };
    const bool current = row_ >= fixedRows_ && row_ < store_.rows();
    const bool node = current && store_.Row(row_).subtotal;
    // An outline moves through its tree with Left and Right, as Qt's tree views do; a
    // plain list moves its current column.
    const bool outline = outlineBar_ != flexOutlineBarNone;
    auto moveColumn = [&](int delta) {
        // Over the columns that show; past the first or the last one it stays.
        int col = col_ + delta;
        while (col >= 0 && col < store_.cols() && !ColShown(col))
            col += delta;
        if (col >= 0 && col < store_.cols())
            col_ = col;
        ShowCell(std::max(row_, 0), col_);
        Changed();
        NotifyCurrent();
    };
    switch (event->key()) {
    case Qt::Key_Down:
        go(index < 0 ? 0 : index + 1);
        return;
    case Qt::Key_Up:
        go(index < 0 ? 0 : index - 1);
        return;
    case Qt::Key_PageDown:
        go(index < 0 ? 0 : index + page);
        return;
    case Qt::Key_PageUp:
        go(index < 0 ? 0 : index - page);
        return;
    case Qt::Key_Home:
        go(0);
        return;
    case Qt::Key_End:
        go(last);
        return;
    case Qt::Key_Left:
        if (!outline || !current) {
            moveColumn(-1);
        } else if (node && !store_.Row(row_).collapsed) {
            SetCollapsed(row_, true, true);
        } else {
            const int parent = GetNodeRow(row_, flexNTParent);
            if (parent >= fixedRows_)
                MoveCurrent(parent, Qt::NoModifier);
        }
        return;
    case Qt::Key_Right:
        if (!outline || !current || !node) {
            moveColumn(1);
        } else if (store_.Row(row_).collapsed) {
            SetCollapsed(row_, false, true);
        } else {
            const int child = GetNodeRow(row_, flexNTFirstChild);
            if (child >= fixedRows_)
                MoveCurrent(child, Qt::NoModifier);
        }
        return;
    case Qt::Key_Space:
        if (node && mods == Qt::NoModifier) {
            SetCollapsed(row_, !store_.Row(row_).collapsed, true);
            return;
        }
        break;
    case Qt::Key_Plus:
    case Qt::Key_Minus:
        if (node) {
            SetCollapsed(row_, event->key() == Qt::Key_Minus, true);
            return;
        }
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (current) {
            emit RowActivated(row_);
            return;
        }
        break;
    case Qt::Key_Menu:
        if (current) {
            emit ContextMenuKey(row_);
            return;
        }
        break;
    case Qt::Key_F10:
        if (current && (event->modifiers() & Qt::ShiftModifier)) {
            emit ContextMenuKey(row_);
            return;
        }
        break;
    default:
        break;
    }
    QAbstractScrollArea::keyPressEvent(event);
}

void FlexGrid::ScrollTipRequested(int value)
{
    if (!scrollTips_)
        return;
    EnsureLayout();
    if (value < 0 || value >= int(visible_.size()))
        return;
    emit BeforeScrollTip(visible_[size_t(value)]);
    QScrollBar* bar = verticalScrollBar();
    const QPoint at = bar->mapToGlobal(QPoint(-10, bar->height() * value / std::max(1, bar->maximum() + 1)));
    QToolTip::showText(at, scrollTipText_, bar);
}

// ---------------------------------------------------------------- snapshot

void FlexGrid::Write(QDataStream& out) const
{
    store_.Write(out);
    out << qint32(fixedRows_) << qint32(fixedCols_) << qint32(row_) << qint32(col_);
    out << qint32(appearance_) << qint32(backColor_) << qint32(foreColor_) << qint32(backColorBkg_)
        << qint32(gridLines_) << qint32(gridLinesFixed_) << qint32(gridColor_) << qint32(focusRect_)
        << qint32(highLight_) << qint32(outlineBar_) << qint32(outlineCol_) << qint32(ownerDraw_) << wordWrap_
        << scrollTips_ << scrollTipText_;
}

bool FlexGrid::Read(QDataStream& in)
{
    GridStore store;
    if (!store.Read(in))
        return false;
    qint32 fixedRows = 0, fixedCols = 0, row = 0, col = 0;
    qint32 look[12] = {};
    bool wordWrap = false, scrollTips = false;
    QString tip;
    in >> fixedRows >> fixedCols >> row >> col;
    for (qint32& v : look)
        in >> v;
    in >> wordWrap >> scrollTips;
    if (!GridStore::ReadText(in, &tip) || in.status() != QDataStream::Ok || !in.atEnd())
        return false;
    if (fixedRows < 0 || fixedRows > store.rows() || fixedCols < 0 || fixedCols > store.cols() || row < -1 ||
        row >= store.rows() || col < 0 || (store.cols() > 0 && col >= store.cols()))
        return false;
    SelectionWatch watch(*this);
    BeginStructure();
    // Which columns keep their texts whole is the view's choice, not the snapshot's.
    for (int c = 0; c < std::min(store.cols(), store_.cols()); ++c)
        store.Col(c).fitText = store_.Col(c).fitText;
    store_ = std::move(store);
    store_.Touch();
    fixedRows_ = fixedRows;
    fixedCols_ = fixedCols;
    row_ = row;
    col_ = col;
    appearance_ = look[0];
    backColor_ = look[1];
    foreColor_ = look[2];
    backColorBkg_ = look[3];
    gridLines_ = look[4];
    gridLinesFixed_ = look[5];
    gridColor_ = look[6];
    focusRect_ = look[7];
    highLight_ = look[8];
    outlineBar_ = look[9];
    outlineCol_ = look[10];
    ownerDraw_ = look[11];
    wordWrap_ = wordWrap;
    scrollTips_ = scrollTips;
    scrollTipText_ = tip;
    setFrameShape(appearance_ == 0 ? QFrame::NoFrame : QFrame::StyledPanel);
    selected_.clear();
    isSelected_.assign(size_t(store_.rows()), false);
    if (row_ >= fixedRows_)
        SelectOnly(row_);
    nodeIndexDirty_ = true;
    OutlineChanged();
    EndStructure();
    return true;
}

void FlexGrid::SaveGrid(const QString& fileName, int, bool) const
{
    QByteArray payload;
    {
        QDataStream out(&payload, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_6_4);
        Write(out);
    }
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        Raise(automation::ErrPathFileAccess, kSource,
              QStringLiteral("Path/File access error: cannot write '%1'").arg(fileName));
    QDataStream head(&file);
    head.setVersion(QDataStream::Qt_6_4);
    head.writeRawData(kMagic.constData(), int(kMagic.size()));
    head << kSnapshotVersion << quint64(payload.size());
    const QByteArray digest = QCryptographicHash::hash(payload, QCryptographicHash::Sha256);
    head.writeRawData(digest.constData(), int(digest.size()));
    head.writeRawData(payload.constData(), int(payload.size()));
    if (head.status() != QDataStream::Ok || !file.commit())
        Raise(automation::ErrPathFileAccess, kSource,
              QStringLiteral("Path/File access error: cannot write '%1'").arg(fileName));
}

void FlexGrid::LoadGrid(const QString& fileName, int, bool)
{
    QFile file(fileName);
    if (!file.exists())
        Raise(automation::ErrFileNotFound, kSource, QStringLiteral("File not found: '%1'").arg(fileName));
    if (!file.open(QIODevice::ReadOnly))
        Raise(automation::ErrPathFileAccess, kSource,
              QStringLiteral("Path/File access error: cannot read '%1'").arg(fileName));
    LoadGridData(file.readAll(), fileName);
}

void FlexGrid::LoadGridData(const QByteArray& all, const QString& fileName, bool checkDigest)
{
    auto bad = [&](const QString& why) {
        Raise(automation::ErrFileFormat, kSource,
              QStringLiteral("Invalid file format: '%1' is not a grid snapshot (%2)").arg(fileName, why));
    };
    const int headSize = int(kMagic.size()) + 4 + 8 + 32;
    if (all.size() < headSize || !all.startsWith(kMagic))
        bad(QStringLiteral("no snapshot header"));
    QDataStream head(all);
    head.setVersion(QDataStream::Qt_6_4);
    head.skipRawData(int(kMagic.size()));
    quint32 version = 0;
    quint64 size = 0;
    head >> version >> size;
    if (version != kSnapshotVersion)
        bad(QStringLiteral("version %1").arg(version));
    if (size != quint64(all.size() - headSize))
        bad(QStringLiteral("truncated"));
    const QByteArray digest = all.mid(int(kMagic.size()) + 12, 32);
    const QByteArray payload = all.mid(headSize);
    if (checkDigest && QCryptographicHash::hash(payload, QCryptographicHash::Sha256) != digest)
        bad(QStringLiteral("damaged"));
    QDataStream in(payload);
    in.setVersion(QDataStream::Qt_6_4);
    if (!Read(in))
        bad(QStringLiteral("unreadable content"));
}

// ---------------------------------------------------------------- printing

void FlexGrid::SetPrintDialogHandler(PrintDialogHandler handler)
{
    std::lock_guard lock(g_printMutex);
    g_printDialog = std::move(handler);
}

void FlexGrid::PrintGrid(const QString& docName, bool showDialog, int orientation)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(docName);
    const QString pdf = qEnvironmentVariable("BREV_PRINT_TO_PDF");
    if (!pdf.isEmpty()) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
    }
    if (orientation == 1)
        printer.setPageOrientation(QPageLayout::Portrait);
    else if (orientation == 2)
        printer.setPageOrientation(QPageLayout::Landscape);
    if (showDialog) {
        PrintDialogHandler handler;
        {
            std::lock_guard lock(g_printMutex);
            handler = g_printDialog;
        }
        bool accepted = true;
        if (handler) {
            accepted = handler(printer);
        } else if (!DisplayLess()) {
            QPrintDialog dialog(&printer, this);
            accepted = dialog.exec() == QDialog::Accepted;
        }
        if (!accepted)
            return;
    }
    PrintTo(printer);
}

void FlexGrid::PrintTo(QPrinter& printer, const QString& heading, bool pageNumbers)
{
    // Paper gets the columns' own widths.
    printing_ = true;
    struct Done {
        bool& flag;
        ~Done() { flag = false; }
    } done{printing_};
    QPainter p;
    if (!p.begin(&printer)) {
        // A PDF that cannot be written (its folder missing, no right to write there) is told
        // as such, not as a missing printer.
        if (printer.outputFormat() == QPrinter::PdfFormat && !printer.outputFileName().isEmpty())
            Raise(automation::ErrPrinter, kSource,
                  QStringLiteral("Printer error: cannot write the PDF file '%1'")
                      .arg(QDir::toNativeSeparators(printer.outputFileName())));
        Raise(
            automation::ErrPrinter, kSource,
            QStringLiteral("Printer error: no printer is available (set BREV_PRINT_TO_PDF to print into a PDF file)"));
    }
    EnsureLayout();
    const QRect page = printer.pageLayout().paintRectPixels(printer.resolution());
    double scale = double(printer.resolution()) / qMax(1, logicalDpiX());
    const int gridWidth = TotalWidthPx();
    if (gridWidth * scale > page.width() && gridWidth > 0)
        scale = double(page.width()) / gridWidth;
    const int pageH = int(page.height() / scale);
    const QRect all(0, 0, gridWidth + 1, INT_MAX / 2);
    std::vector<int> fixedRows;
    for (int r = 0; r < std::min(fixedRows_, store_.rows()); ++r)
        fixedRows.push_back(r);
    const int fixedH = FixedHeightPx();
    // Paint in screen pixels: the font must be sized in them too, not in printer points.
    QFont screenFont = font();
    screenFont.setPixelSize(QFontInfo(font()).pixelSize());
    const int lineH = QFontMetrics(screenFont).height();
    // A heading and a page number take a line of the page each, inside its printable area:
    // a print preview shows what lies in the margins faded, and some printers cut it off.
    const int headingH = heading.isEmpty() ? 0 : lineH + 4;
    const int footerH = pageNumbers ? lineH + 4 : 0;
    const int rowsH = pageH - headingH - footerH;
    // The pages first, so that a footer can say how many there are.
    std::vector<std::vector<int>> pages;
    size_t next = 0;
    do {
        std::vector<int> chunk;
        int y = fixedH;
        while (next < visible_.size()) {
            const int h = RowPx(visible_[next]);
            if (y + h > rowsH && !chunk.empty())
                break;
            chunk.push_back(visible_[next++]);
            y += h;
        }
        pages.push_back(std::move(chunk));
    } while (next < visible_.size());
    p.scale(scale, scale);
    p.setFont(screenFont);
    const int pageW = int(page.width() / scale);
    for (size_t n = 0; n < pages.size(); ++n) {
        if (n > 0)
            printer.newPage();
        PaintRows(p, fixedRows, headingH, 0, true, all);
        PaintRows(p, pages[n], headingH + fixedH, 0, true, all);
        p.save();
        p.setPen(Qt::black);
        if (!heading.isEmpty())
            p.drawText(QRect(0, 0, pageW, lineH), Qt::AlignLeft | Qt::AlignVCenter, heading);
        if (pageNumbers)
            p.drawText(QRect(0, pageH - lineH, pageW, lineH), Qt::AlignHCenter | Qt::AlignVCenter,
                       tr("Page %1 of %2").arg(n + 1).arg(pages.size()));
        p.restore();
    }
    if (!p.end())
        Raise(automation::ErrPrinter, kSource, QStringLiteral("Printer error: the document could not be finished"));
}

}  // namespace BrevView::grid
