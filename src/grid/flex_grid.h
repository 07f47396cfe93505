#pragma once
// The outline grid that each control hosts as `flexGrid`: a fixed header row,
// per-row data, node (subtotal) rows with outline levels that collapse and expand,
// cell colours and fonts, owner-drawn cells, multi-row selection, a snapshot of
// everything to a file and back, and printing. Its members and events carry the
// grid's own names, because the controls call them so; every member is also
// reachable by name through the meta-object. Sizes are twips at the interface.

#include <functional>
#include <memory>
#include <vector>

#include <QAbstractScrollArea>
#include <QVariant>

#include "automation/variant.h"
#include "grid/column_fit.h"
#include "grid/grid_store.h"

class QPrinter;

namespace BrevView::grid {

class FlexGrid : public QAbstractScrollArea {
    Q_OBJECT
    Q_PROPERTY(int Rows READ Rows WRITE setRows)
    Q_PROPERTY(int Cols READ Cols WRITE setCols)
    Q_PROPERTY(int FixedRows READ FixedRows WRITE setFixedRows)
    Q_PROPERTY(int FixedCols READ FixedCols WRITE setFixedCols)
    Q_PROPERTY(int Row READ Row WRITE setRow)
    Q_PROPERTY(int Col READ Col WRITE setCol)
    Q_PROPERTY(int Redraw READ Redraw WRITE setRedraw)
    Q_PROPERTY(int MouseRow READ MouseRow)
    Q_PROPERTY(int MouseCol READ MouseCol)
    Q_PROPERTY(int SelectedRows READ SelectedRows)
    Q_PROPERTY(QString ScrollTipText READ ScrollTipText WRITE setScrollTipText)
    Q_PROPERTY(bool ScrollTips READ ScrollTips WRITE setScrollTips)
    Q_PROPERTY(QString ToolTipText READ ToolTipText WRITE setToolTipText)
    Q_PROPERTY(int Appearance READ Appearance WRITE setAppearance)
    Q_PROPERTY(int BackColor READ BackColor WRITE setBackColor)
    Q_PROPERTY(int ForeColor READ ForeColor WRITE setForeColor)
    Q_PROPERTY(int BackColorBkg READ BackColorBkg WRITE setBackColorBkg)
    Q_PROPERTY(int GridLines READ GridLines WRITE setGridLines)
    Q_PROPERTY(int GridLinesFixed READ GridLinesFixed WRITE setGridLinesFixed)
    Q_PROPERTY(int GridColor READ GridColor WRITE setGridColor)
    Q_PROPERTY(int FocusRect READ FocusRect WRITE setFocusRect)
    Q_PROPERTY(int HighLight READ HighLight WRITE setHighLight)
    Q_PROPERTY(int OutlineBar READ OutlineBar WRITE setOutlineBar)
    Q_PROPERTY(int OutlineCol READ OutlineCol WRITE setOutlineCol)
    Q_PROPERTY(int OwnerDraw READ OwnerDraw WRITE setOwnerDraw)
    Q_PROPERTY(bool WordWrap READ WordWrap WRITE setWordWrap)
    Q_PROPERTY(int hWnd READ hWnd)

public:
    // Grid lines: none, flat lines.
    enum { flexGridNone = 0, flexGridFlat = 1 };
    // Outline bar styles: none, complete tree, simple, symbols only.
    enum { flexOutlineBarNone = 0, flexOutlineBarComplete = 1, flexOutlineBarSimple = 2, flexOutlineBarSymbols = 3 };
    enum { flexOutlineExpanded = 0, flexOutlineSubtotals = 1, flexOutlineCollapsed = 2 };
    // GetNodeRow: which relative.
    enum { flexNTRoot = 0, flexNTParent = 1, flexNTFirstChild = 2, flexNTLastChild = 3 };

    explicit FlexGrid(QWidget* parent = nullptr);
    ~FlexGrid() override;

    // Shape.
    int Rows() const { return store_.rows(); }
    void setRows(int rows);
    int Cols() const { return store_.cols(); }
    void setCols(int cols);
    int FixedRows() const { return fixedRows_; }
    void setFixedRows(int n);
    int FixedCols() const { return fixedCols_; }
    void setFixedCols(int n);
    int Row() const { return row_; }
    void setRow(int row);
    int Col() const { return col_; }
    void setCol(int col);

    // Inserts a row before `index` (-1: at the end) with `item`'s tab-separated texts
    // in its first cells; the rows after it move down.
    Q_INVOKABLE void AddItem(const QString& item, int index = -1);

    // Content.
    Q_INVOKABLE QString TextMatrix(int row, int col) const;
    Q_INVOKABLE void setTextMatrix(int row, int col, const QString& text);
    void setTextMatrixUtf8(int row, int col, const char* text, int length);
    automation::Variant RowDataValue(int row) const;
    void setRowDataValue(int row, const automation::Variant& value);
    Q_INVOKABLE QVariant RowData(int row) const;
    Q_INVOKABLE void setRowData(int row, const QVariant& value);
    Q_INVOKABLE int RowHeight(int row) const;  // twips
    Q_INVOKABLE void setRowHeight(int row, int twips);
    Q_INVOKABLE int ColWidth(int col) const;  // twips
    Q_INVOKABLE void setColWidth(int col, int twips);
    // A column that keeps its texts whole is drawn at least as wide as its widest text needs
    // in the font it is drawn in (on screen and in print), so that its numbers, dates and
    // amounts are never cut or shown as "###"; ColWidth keeps the twips it was given.
    Q_INVOKABLE bool ColFitText(int col) const;
    Q_INVOKABLE void setColFitText(int col, bool fit);
    Q_INVOKABLE bool ColHidden(int col) const;
    // Whether a column ever shows its texts: not hidden and wider than a placeholder (a
    // column under two pixels wide, such as the priority view's "P", never shows a text).
    // Copy, export, the item model and the accessible table carry only these columns.
    Q_INVOKABLE bool ColShown(int col) const;
    std::vector<int> ShownCols() const;
    // The column whose text a cell shows: its own; or, for an empty cell of a node row, the
    // node's caption when that sits in a column never shown and runs on over this cell
    // first.
    int TextColOf(int row, int col) const;
    // The first shown column whose cell in `row` shows a text (else the first shown column;
    // -1 when no column shows): where the keyboard and a screen reader land on a row.
    int ReadableCol(int row) const;
    Q_INVOKABLE void setColHidden(int col, bool hidden);
    Q_INVOKABLE int ColAlignment(int col) const;
    Q_INVOKABLE void setColAlignment(int col, int alignment);
    Q_INVOKABLE int ColDataType(int col) const;
    Q_INVOKABLE void setColDataType(int col, int type);
    Q_INVOKABLE QString ColFormat(int col) const;
    Q_INVOKABLE void setColFormat(int col, const QString& format);
    // The text a cell shows (its text through the column's format).
    Q_INVOKABLE QString DisplayText(int row, int col) const;
    // Cell(Setting, Row1, Col1, Row2, Col2); a missing Row2/Col2 (-1) means the same as Row1/Col1.
    Q_INVOKABLE QVariant Cell(int setting, int row1, int col1, int row2 = -1, int col2 = -1) const;
    Q_INVOKABLE void setCell(int setting, int row1, int col1, int row2, int col2, const QVariant& value);

    // Outline.
    Q_INVOKABLE bool IsSubtotal(int row) const;
    Q_INVOKABLE void setIsSubtotal(int row, bool subtotal);
    Q_INVOKABLE int RowOutlineLevel(int row) const;
    Q_INVOKABLE void setRowOutlineLevel(int row, int level);
    // 0 expanded, 2 collapsed. A plain row answers for (and sets) the node that holds
    // it; a row under no node is always expanded. Setting raises AfterCollapse.
    Q_INVOKABLE int IsCollapsed(int row) const;
    Q_INVOKABLE void setIsCollapsed(int row, int state);
    Q_INVOKABLE int GetNodeRow(int row, int which) const;  // -1 when there is none
    // The node row whose row data reads `key` ("N3"), or -1.
    Q_INVOKABLE int GetNode(const QString& key) const;
    Q_INVOKABLE bool NodeExpanded(int nodeRow) const;
    Q_INVOKABLE void setNodeExpanded(int nodeRow, bool expanded);
    // Whether `row` is shown (not inside a collapsed node).
    Q_INVOKABLE bool RowIsVisible(int row) const;

    // Search, scrolling, selection.
    // Searches the row data (col -1) or the text of `col` from `row` (-1: the first
    // data row) on; -1 when nothing matches.
    Q_INVOKABLE int FindRow(const QVariant& item, int row = -1, int col = -1, bool caseSensitive = false,
                            bool fullMatch = true) const;
    int FindRowValue(const automation::Variant& item, int row = -1, int col = -1, bool caseSensitive = false,
                     bool fullMatch = true) const;
    Q_INVOKABLE void ShowCell(int row, int col);
    Q_INVOKABLE void Refresh();
    int SelectedRows() const { return int(selected_.size()); }
    Q_INVOKABLE int SelectedRow(int index) const;
    Q_INVOKABLE void SelectRows(const QList<int>& rows);
    // Every data row, the ones inside collapsed nodes included (Ctrl+A).
    Q_INVOKABLE void SelectAll();
    bool RowIsSelected(int row) const
    {
        return row >= 0 && size_t(row) < isSelected_.size() && isSelected_[size_t(row)];
    }
    int TopRow() const;
    Q_INVOKABLE void setTopRow(int row);
    // The data rows shown, in order (rebuilt after collapse changes, not per call).
    const std::vector<int>& VisibleRows() const;
    // Every data row in the order it is shown, the rows of collapsed nodes included.
    const std::vector<int>& DisplayOrder() const;
    // The place of `row` among VisibleRows(), or -1 when it is not shown.
    int VisibleIndexOf(int row) const;

    // Sorting by a column, as a click on its header does: the rows of each node (every row
    // of a grid without nodes) are shown in the order of the column's values (numbers and
    // amounts as numbers, dates as dates, text by the locale's collation); node rows stay
    // where they are. It changes only the order rows are shown in: row numbers, row data and
    // the selection stay as they are. A column of -1 shows the rows in their own order again,
    // as does filling the grid anew (Rows = FixedRows).
    Q_INVOKABLE void SortByColumn(int col, Qt::SortOrder order);
    int SortColumn() const { return sortCol_; }
    Qt::SortOrder SortOrder() const { return sortOrder_; }
    // Cell rectangle in viewport pixels (empty when the cell is not on screen).
    Q_INVOKABLE QRect CellRect(int row, int col) const;

    // Pointer state.
    int MouseRow() const { return mouseRow_; }
    int MouseCol() const { return mouseCol_; }

    // Grid-wide look.
    int Redraw() const { return redraw_; }
    void setRedraw(int redraw);
    QString ScrollTipText() const { return scrollTipText_; }
    void setScrollTipText(const QString& text) { scrollTipText_ = text; }
    bool ScrollTips() const { return scrollTips_; }
    void setScrollTips(bool on) { scrollTips_ = on; }
    QString ToolTipText() const;
    void setToolTipText(const QString& text);
    int Appearance() const { return appearance_; }
    void setAppearance(int a);
    int BackColor() const { return backColor_; }
    void setBackColor(int c)
    {
        backColor_ = c;
        Changed();
    }
    int ForeColor() const { return foreColor_; }
    void setForeColor(int c)
    {
        foreColor_ = c;
        Changed();
    }
    int BackColorBkg() const { return backColorBkg_; }
    void setBackColorBkg(int c)
    {
        backColorBkg_ = c;
        Changed();
    }
    int GridLines() const { return gridLines_; }
    void setGridLines(int g)
    {
        gridLines_ = g;
        Changed();
    }
    int GridLinesFixed() const { return gridLinesFixed_; }
    void setGridLinesFixed(int g)
    {
        gridLinesFixed_ = g;
        Changed();
    }
    int GridColor() const { return gridColor_; }
    void setGridColor(int c)
    {
        gridColor_ = c;
        Changed();
    }
    int FocusRect() const { return focusRect_; }
    void setFocusRect(int f)
    {
        focusRect_ = f;
        Changed();
    }
    int HighLight() const { return highLight_; }
    void setHighLight(int h)
    {
        highLight_ = h;
        Changed();
    }
    int OutlineBar() const { return outlineBar_; }
    void setOutlineBar(int o)
    {
        outlineBar_ = o;
        Changed();
    }
    int OutlineCol() const { return outlineCol_; }
    void setOutlineCol(int c)
    {
        outlineCol_ = c;
        store_.Touch();
        Changed();
    }
    int OwnerDraw() const { return ownerDraw_; }
    void setOwnerDraw(int o)
    {
        ownerDraw_ = o;
        Changed();
    }
    bool WordWrap() const { return wordWrap_; }
    void setWordWrap(bool w)
    {
        wordWrap_ = w;
        Changed();
    }
    int hWnd() const;

    // Snapshot and printing.
    Q_INVOKABLE void SaveGrid(const QString& fileName, int saveWhat = 0, bool fixedCells = true) const;
    Q_INVOKABLE void LoadGrid(const QString& fileName, int loadWhat = 0, bool fixedCells = true);
    // LoadGrid's work on the bytes of a snapshot (`what` names them in errors). The fuzzer
    // turns the digest check off to reach the content reader with damaged content.
    void LoadGridData(const QByteArray& all, const QString& what, bool checkDigest = true);
    // To the default printer, or through the print dialog; $BREV_PRINT_TO_PDF names a
    // PDF file to print into instead (for tests and machines without a printer).
    Q_INVOKABLE void PrintGrid(const QString& docName = QString(), bool showDialog = false, int orientation = 0);
    // Paints the grid as shown, paginated with the fixed rows on every page; `heading` above
    // and "Page n of m" below the rows of each page, each on a line of the page's printable
    // area, when asked for.
    void PrintTo(QPrinter& printer, const QString& heading = QString(), bool pageNumbers = false);
    // How the print dialog is shown; a handler returns false to cancel. Without one,
    // the dialog is a modal QPrintDialog on a real display and skipped (accepted) on
    // a display-less platform.
    using PrintDialogHandler = std::function<bool(QPrinter&)>;
    static void SetPrintDialogHandler(PrintDialogHandler handler);

    const GridStore& store() const { return store_; }
    // Whether rows or their outline shape are being changed and StructureChanged is still due.
    bool StructureChanging() const { return structureChanging_; }
    // Tells what changed while redraw is off now, without waiting for redraw: a call that
    // ends with redraw still off (a refresh that failed midway) leaves no model half told.
    void FlushNotices();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    // The colour a cell's text is drawn in, as the cell is painted on screen (not selected);
    // under a dark palette a colour the view chose is drawn as its dark counterpart.
    QColor TextColorOf(int row, int col) const;
    // `base` with the cell's own font settings (name, size in points, bold, italic, underline).
    QFont CellFont(int row, int col, const QFont& base) const;
    // How a cell's text is aligned: the cell's own alignment, else its column's; "general"
    // puts numbers right and text left.
    Qt::Alignment TextAlignmentOf(int row, int col) const;
    // The colour behind a cell on screen (not selected).
    QColor BackColorOf(int row, int col) const;
    // Whether the colours the views fix are drawn as their dark counterparts: on screen, under
    // a palette whose base is darker than its text.
    bool DrawsDark() const;
    int TwipsPerPixelX() const;
    int TwipsPerPixelY() const;

signals:
    void DblClick();
    void MouseUp(int Button, int Shift, float X, float Y);
    void MouseMove(int Button, int Shift, float X, float Y);
    void AfterCollapse(int Row, int State);
    void BeforeUserResize(int Row, int Col, bool& Cancel);
    void AfterUserResize(int Row, int Col);
    void DrawCell(QPainter* painter, int Row, int Col, int Left, int Top, int Right, int Bottom, bool& Done);
    void BeforeScrollTip(int Row);

    // Beside the grid's own events, for item models, accessibility and keyboard users:
    void SelectionChanged();  // the selected rows changed (user or code)
    void CurrentChanged(int Row, int Col);
    void StructureAboutToChange();         // rows or their outline shape are about to change
    void StructureChanged();               // ... and have settled (when redraw is on again)
    void ContentChanged();                 // cell texts, row data or cell styles changed
    void OutlineToggled(int Row);          // a node was collapsed or expanded
    void SortChanged(int Col, int Order);  // Col -1: the rows' own order
    void RowActivated(int Row);            // Enter or Return on the current row
    void ContextMenuKey(int Row);          // the Menu key or Shift+F10 on the current row
    void ColumnsChanged();                 // the columns shown (ColShown) changed
protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    class SelectionWatch;
    void BeginStructure();  // before a change of rows or of their outline shape
    void EndStructure();    // after it: StructureChanged, unless redraw is off
    void ContentTouched();  // ContentChanged now, or when redraw comes back on
    void NotifyCurrent();   // CurrentChanged, and the accessibility focus
    // Raise 9 for a row or column the grid does not have; inline, since every cell access
    // of a fill loop passes them.
    void CheckRow(int row, const char* what) const
    {
        if (row < 0 || row >= store_.rows()) [[unlikely]]
            RaiseBadRow(row, what);
    }
    void CheckCol(int col, const char* what) const
    {
        if (col < 0 || col >= store_.cols()) [[unlikely]]
            RaiseBadCol(col, what);
    }
    [[noreturn]] void RaiseBadRow(int row, const char* what) const;
    [[noreturn]] void RaiseBadCol(int col, const char* what) const;
    void Changed();             // content or look changed: repaint when redraw is on
    void OutlineChanged();      // collapse state or nodes changed: visible rows are stale
    void EnsureLayout() const;  // rebuilds the visible-row index when stale
    void UpdateScrollBars();
    int RowPx(int row) const;
    int ColPx(int col) const;     // on screen, the last column shown is stretched to the edge
    int OwnColPx(int col) const;  // the column's own width
    int FixedHeightPx() const;
    int TotalWidthPx() const;
    int ColLeftPx(int col) const;  // in content coordinates (before horizontal scroll)
    void HitTest(const QPoint& pos, int* row, int* col) const;
    int ColumnBorderAt(const QPoint& pos) const;
    QRect OutlineButtonRect(const QRect& cell, int row) const;
    void SetCollapsed(int row, bool collapsed, bool raiseEvent);
    void SelectOnly(int row);
    void MoveCurrent(int row, Qt::KeyboardModifiers mods);
    int ShiftState(Qt::KeyboardModifiers mods) const;
    float ToTwipsX(int px) const;
    float ToTwipsY(int px) const;
    void PaintRows(QPainter& p, const std::vector<int>& rows, int top, int left, bool printing, const QRect& clip);
    void PaintCell(QPainter& p, const QRect& rect, int row, int col, bool printing);
    QColor ColorOf(qint32 colorref, const QColor& fallback) const;
    void RebuildNodeIndex() const;
    void ScrollTipRequested(int value);
    void Write(QDataStream& out) const;
    bool Read(QDataStream& in);

    GridStore store_;
    ColumnFit fit_;
    int fixedRows_ = 1;
    int fixedCols_ = 0;
    int row_ = -1;
    int col_ = 0;
    int redraw_ = 1;
    int mouseRow_ = -1;
    int mouseCol_ = -1;
    QString scrollTipText_;
    bool scrollTips_ = false;
    int appearance_ = 1;
    int backColor_ = -1;
    int foreColor_ = -1;
    int backColorBkg_ = -1;
    int gridLines_ = flexGridFlat;
    int gridLinesFixed_ = flexGridFlat;
    int gridColor_ = -1;  // the palette's
    bool printing_ = false;
    int sortCol_ = -1;
    Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
    int pressedHeaderCol_ = -1;
    mutable std::vector<int> order_;  // DisplayOrder(), kept while sorted
    mutable bool orderDirty_ = true;
    mutable std::vector<int> visiblePos_;  // per row: its place in visible_, or -1
    void BuildOrder() const;
    bool structureChanging_ = false;
    bool contentPending_ = false;
    int focusRect_ = 1;
    int highLight_ = 1;
    int outlineBar_ = flexOutlineBarComplete;
    int outlineCol_ = 0;
    int ownerDraw_ = 0;
    bool wordWrap_ = false;

    std::vector<int> selected_;  // in selection order
    std::vector<bool> isSelected_;
    int anchor_ = -1;

    mutable std::vector<int> visible_;
    mutable bool layoutDirty_ = true;
    bool layoutPending_ = false;
    mutable QHash<QString, int> nodeIndex_;
    mutable bool nodeIndexDirty_ = true;

    int defaultRowPx_ = 0;  // the font's height plus padding; kept up to date on font changes
    int resizingCol_ = -1;
    int resizeStartX_ = 0;
    int resizeStartWidth_ = 0;
};

}  // namespace BrevView::grid
