#include <brevview/priority_view.h>

#include <QLabel>
#include <QPainter>
#include <QResizeEvent>

#include "automation/conversions.h"
#include "automation/locale_info.h"
#include "common/control_surface.h"
#include "common/dates.h"
#include "common/grid_events.h"
#include "common/grid_fill.h"
#include "common/mod_init.h"
#include "common/traced.h"
#include "common/view_printing.h"
#include "host/app_settings.h"
#include "host/clock.h"
#include "host/mouse_pointer.h"
#include "host/object_factory.h"
#include "views/priority/outline_drawing.h"
#include "views/priority/priority_view_private.h"

namespace BrevView {

using automation::Currency;
using automation::Date;
using automation::ToDouble;
using automation::ToLong;
using automation::ToText;
using automation::Variant;
using detail::IgnoringErrors;
using detail::Traced;

namespace detail {

const char* const kPriorityOverduesName = "V21_GetIbosForPriorityViewOverdues";
const char* const kPriorityName = "V21_GetIbosForPriorityView";

// The fourteen fields in the order the view's field indices read them.
static QString PrioritySelect()
{
    return QStringLiteral(
        "SELECT DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, "
        "IboValueNumeric, IboValueDecimal, Product, DateQualified, IboID, DescriptorPriority, IboNumber, Note "
        "FROM IboMain ");
}

QString PriorityOverduesSql()
{
    return PrioritySelect() +
           QStringLiteral("WHERE ((DescriptorStatus = 1) And (RecStatusArchive = False) And (RecStatusDelete = False) "
                          "And (DateWWIH < Date())) "
                          "ORDER BY DescriptorPriority, DateWWIH, IboValueNumeric, IboNumber;");
}

QString PrioritySql()
{
    return PrioritySelect() +
           QStringLiteral("WHERE ((DescriptorStatus = 1) And (RecStatusArchive = False) And (RecStatusDelete = False) "
                          "And (DateWWIH >= Date()) And (DescriptorPriority = @Priority)) "
                          "ORDER BY DateWWIH, IboValueNumeric, IboNumber;");
}

}  // namespace detail

namespace {

const detail::DataAccessTraits kDataAccess{"PriorityView", "BrevView.PriorityView::SetupDataAccess",
                                           "BrevView.PriorityView::CleanupDataAccess", false, true};
const detail::PrintTraits kPrint{"BrevView.PriorityView::PrintView", "BrevView.PriorityView::SetupViewForPrint",
                                 "User:Narg", false, true};
const QString kDblClickName = QStringLiteral("BrevView.PriorityView::flexGrid_DblClick");
const QString kApp = QStringLiteral("Brev");
const QString kSection = QStringLiteral("PriorityView");
const QString kOverflow = QStringLiteral("**********");

constexpr qint32 kNodeBack = 0xFFF1E0;  // RGB(224, 241, 255)
constexpr qint32 kNodeFore = 0xDC8764;  // RGB(100, 135, 220)
constexpr qint32 kWhite = 0xFFFFFF;
constexpr qint32 kBlue = 0xFF0000;   // RGB(0, 0, 255)
constexpr qint32 kGreen = 0x008000;  // RGB(0, 128, 0)

}  // namespace

PriorityViewPrivate::PriorityViewPrivate(PriorityView* owner)
    : q(owner),
      flexGrid(new grid::FlexGrid(owner)),
      boundary(owner,
               [owner](const RuntimeError& e) { emit owner->ErrorRaised(e.number(), e.source(), e.description()); })
{}

PriorityViewPrivate* PriorityViewPrivate::Of(PriorityView* view)
{
    return view->d.get();
}

// ---------------------------------------------------------------- life cycle

void PriorityViewPrivate::UserControl_Initialize()
{
    Traced(QStringLiteral("BrevView.PriorityView::UserControl_Initialize"), [&] {
        da.databaseSettings =
            host::ObjectFactory::CreateAs<host::IDatabaseSettings>(QString::fromLatin1(host::kProgIdDatabase));
        detail::SetupDataAccess(da, kDataAccess);
        InitialiseAfterDatabase();
    });
}

void PriorityViewPrivate::InitialiseAfterDatabase()
{
    RefreshViewDates();
    flexGrid->setRedraw(0);
    flexGrid->setGeometry(0, 0, q->width(), q->height());
    flexGrid->setRedraw(1);
    InitFieldIndices();
    InitLookups();
    InitPriorityView();
    LoadViewPreferences();
    RefreshViewDates();
    RefreshSCHeader();
}

void PriorityViewPrivate::ShowOpenError(const RuntimeError* error)
{
    if (!error) {
        if (errorLabel)
            errorLabel->hide();
        return;
    }
    if (!errorLabel) {
        errorLabel = new QLabel(q);
        errorLabel->setObjectName(QStringLiteral("openError"));
        errorLabel->setAlignment(Qt::AlignCenter);
        errorLabel->setWordWrap(true);
        errorLabel->setAutoFillBackground(true);
        errorLabel->setBackgroundRole(QPalette::Base);
        errorLabel->setForegroundRole(QPalette::Text);
        errorLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    }
    errorLabel->setText(QStringLiteral("Run-time error %1: %2").arg(error->number()).arg(error->description()));
    errorLabel->setGeometry(flexGrid->geometry());
    errorLabel->show();
    errorLabel->raise();
}

void PriorityViewPrivate::UserControl_Terminate()
{
    Traced(QStringLiteral("BrevView.PriorityView::UserControl_Terminate"), [&] {
        SaveViewPreferences();
        detail::CleanupDataAccess(da, kDataAccess);
        da.databaseSettings.reset();
    });
}

void PriorityViewPrivate::UserControl_Resize()
{
    Traced(QStringLiteral("BrevView.PriorityView::UserControl_Resize"), [&] {
        flexGrid->setRedraw(0);
        flexGrid->setGeometry(0, 0, q->width(), q->height());
        flexGrid->setRedraw(1);
    });
}

void PriorityViewPrivate::InitFieldIndices()
{
    Traced(QStringLiteral("BrevView.PriorityView::InitFieldIndices"), [&] { fi.Init(); });
}

void PriorityViewPrivate::InitLookups()
{
    Traced(QStringLiteral("BrevView.PriorityView::InitLookups"), [&] {
        priorityLabels = {QStringLiteral("Review First"), QStringLiteral("Review Second"),
                          QStringLiteral("Review Third"), QStringLiteral("Breakthrough Needed"),
                          QStringLiteral("Leave It Alone")};
        Traced(QStringLiteral("BrevView.PriorityView::InitProbabilityMatrix"), [&] { probability.Init(); });
    });
}

void PriorityViewPrivate::InitPriorityView()
{
    Traced(QStringLiteral("BrevView.PriorityView::InitPriorityView"), [&] {
        const QStringList shortCaptions = {
            QStringLiteral("P"),           QStringLiteral("IBO#"),      QStringLiteral("WTC"),
            QStringLiteral("WWIH?"),       QStringLiteral("Last Name"), QStringLiteral("First Name"),
            QStringLiteral("Company"),     QStringLiteral("WIH?"),      QStringLiteral("WWGI?"),
            QStringLiteral("%"),           QStringLiteral("#"),         QStringLiteral("Value"),
            QStringLiteral("Sales Cycle"), QStringLiteral("Product"),   QString(),
            QStringLiteral("IBO Note")};
        longCaptions = {QStringLiteral("Priority"),
                        QStringLiteral("IBO Number"),
                        QStringLiteral("Weeks To Close"),
                        QStringLiteral("When Will It Happen?"),
                        QStringLiteral("Last Name"),
                        QStringLiteral("First Name"),
                        QStringLiteral("Company"),
                        QStringLiteral("Will It Happen?"),
                        QStringLiteral("Will We Get It?"),
                        QStringLiteral("Probability percent"),
                        QStringLiteral("Total # of IBOs"),
                        QStringLiteral("Value"),
                        QStringLiteral("Sales Cycle"),
                        QStringLiteral("Product"),
                        QString(),
                        QStringLiteral("IBO Note")};
        colPriority = 0;
        colIboNumber = 1;
        colWtc = 2;
        colDate = 3;
        colLastName = 4;
        colFirstName = 5;
        colCompany = 6;
        colWih = 7;
        colWwgi = 8;
        colProbability = 9;
        colCount = 10;
        colValue = 11;
        colSalesCycle = 12;
        colProduct = 13;
        colQualified = 14;
        colNote = 15;
        grid::FlexGrid& g = *flexGrid;
        g.setRedraw(0);
        g.setCols(16);
        g.setRows(2);
        g.setFixedRows(1);
        g.setFixedCols(0);
        g.setRowHeight(0, 500);
        g.setColAlignment(colIboNumber, grid::flexAlignRightCenter);
        g.setColAlignment(colWtc, grid::flexAlignRightCenter);
        g.setColAlignment(colProbability, grid::flexAlignRightCenter);
        g.setColAlignment(colCount, grid::flexAlignRightCenter);
        g.setColAlignment(colSalesCycle, grid::flexAlignCenterTop);
        g.setColDataType(colDate, grid::flexDTDate);
        g.setColDataType(colValue, grid::flexDTCurrency);
        g.setColFormat(colValue, QStringLiteral("$###,##0"));
        g.setColHidden(colQualified, true);
        // Numbers, dates, amounts and the sales-cycle caption are drawn whole in any font.
        for (int c :
             {colIboNumber, colWtc, colDate, colWih, colWwgi, colProbability, colCount, colValue, colSalesCycle})
            g.setColFitText(c, true);
        // An outline with +/- buttons in the first column; the sales-cycle cells are drawn by the view.
        g.setOutlineBar(grid::FlexGrid::flexOutlineBarComplete);
        g.setOutlineCol(colPriority);
        g.setOwnerDraw(1);
        for (int c = 0; c < shortCaptions.size(); ++c)
            g.setTextMatrix(0, c, shortCaptions[c]);
        g.setRedraw(1);
    });
}

// ---------------------------------------------------------------- sales cycle

void PriorityViewPrivate::RefreshViewDates()
{
    Traced(QStringLiteral("BrevView.PriorityView::RefreshViewDates"),
           [&] { viewDates = detail::ComputeViewDates(host::Clock::Today(), rangeValue, rangeUnits); });
}

void PriorityViewPrivate::RefreshSCHeader()
{
    Traced(QStringLiteral("BrevView.PriorityView::RefreshSCHeader"), [&] {
        flexGrid->setTextMatrix(0, colSalesCycle,
                                detail::SalesCycleHeaderText(viewDates, automation::ShortDateOrder()));
    });
}

QString PriorityViewPrivate::GetSalesCycleTooltip(const Date& dtStart, const Date& dtEnd)
{
    return Traced(QStringLiteral("BrevView.PriorityView::GetSalesCycleTooltip"),
                  [&] { return detail::SalesCycleTooltip(dtStart, dtEnd, host::Clock::Today()); });
}

Date PriorityViewPrivate::NormalizeDate(const Date& d)
{
    // Untraced: it runs for every IBO row. An error is still reported under its own source,
    // and the zero date returned.
    try {
        return detail::NormalizeDate(d);
    } catch (const RuntimeError& e) {
        detail::ReportTrapped(QStringLiteral("BrevView.PriorityView::NormalizeDate"), e);
        return Date();
    }
}

// ---------------------------------------------------------------- refresh

void PriorityViewPrivate::ReadGroup(data::Recordset& rs, int nodeRow, bool overdue, qint32& count, Currency& total)
{
    Q_UNUSED(nodeRow);
    grid::FlexGrid& g = *flexGrid;
    const Date today = host::Clock::Today();
    // The group is in closing-date order: the texts made for one stored date serve the rows
    // after it that hold the same date.
    detail::RepeatedText lastDate;
    QString dateText, weeksText;
    while (!rs.Eof()) {
        g.setRows(g.Rows() + 1);
        const int r = g.Rows() - 1;
        g.setRowDataValue(r, Variant(ToLong(rs.Field(fi.IboID))));
        detail::SetTextFromField(g, r, colIboNumber, rs, fi.IboNumber);
        const char* stored = nullptr;
        int storedLength = 0;
        const bool isText = rs.FieldUtf8(fi.DateWWIH, &stored, &storedLength);
        if (!lastDate.Repeats(isText ? stored : nullptr, storedLength)) {
            const Date closing = detail::DateOfField(rs, fi.DateWWIH);
            dateText = automation::FormatShortDate(NormalizeDate(closing).ToQDate());
            weeksText = detail::WeeksToCloseText(closing, today);
        }
        g.setTextMatrix(r, colDate, dateText);
        detail::SetTextFromField(g, r, colLastName, rs, fi.ConLastName);
        detail::SetTextFromField(g, r, colFirstName, rs, fi.ConFirstName);
        detail::SetTextFromField(g, r, colCompany, rs, fi.ConCompany);
        const Variant uwwgi = rs.Field(fi.DescriptorUwwgi);
        const Variant uwih = rs.Field(fi.DescriptorUwih);
        g.setTextMatrix(r, colWwgi, detail::DescriptorLabel(uwwgi));
        g.setTextMatrix(r, colWih, detail::DescriptorLabel(uwih));
        const Variant value =
            detail::IboValue(ToDouble(rs.Field(fi.IboValueNumeric)), ToDouble(rs.Field(fi.IboValueDecimal)));
        total = detail::AddOutlineTotal(total, ToDouble(value));
        detail::SetTextOfValue(g, r, colValue, value);
        detail::SetProductTextFromField(g, r, colProduct, rs, fi.Product);
        g.setTextMatrix(r, colQualified, ToText(rs.Field(fi.DateQualified)));
        if (overdue)
            g.setCell(grid::flexcpBackColor, r, 0, r, colQualified, kNodeBack);
        g.setTextMatrix(r, colWtc, weeksText);
        g.setTextMatrix(r, colProbability, detail::PercentText(probability.Lookup(uwih, uwwgi)));
        detail::SetTextFromField(g, r, colNote, rs, fi.Note);
        ++count;
        rs.MoveNext();
    }
}

void PriorityViewPrivate::FinishNode(int nodeRow, qint32 count, Currency total)
{
    grid::FlexGrid& g = *flexGrid;
    g.setTextMatrix(nodeRow, colValue, total.IsNegative() ? kOverflow : total.ToText());
    g.setTextMatrix(nodeRow, colSalesCycle, QStringLiteral(" "));
    g.setTextMatrix(nodeRow, colCount, QString::number(count));
    g.setCell(grid::flexcpFontBold, nodeRow, 0, nodeRow, colValue, true);
    g.setIsCollapsed(nodeRow, grid::FlexGrid::flexOutlineCollapsed);
}

void PriorityViewPrivate::Refresh()
{
    qint32 savedPointer = 0;
    Traced(
        QStringLiteral("BrevView.PriorityView::Refresh"),
        [&] {
            if (openFailed) {
                // The database could not be opened when the control was made: try again.
                detail::SetupDataAccess(da, kDataAccess);
                openFailed = false;
                ShowOpenError(nullptr);
            }
            refreshing = true;
            savedPointer = host::ScreenMousePointer::Get();
            host::ScreenMousePointer::Set(host::kPointerArrowHourglass);
            grid::FlexGrid& g = *flexGrid;
            g.setRedraw(0);
            g.setRows(1);
            RefreshSCHeader();
            g.setRowDataValue(0, Variant(qint32(-1)));

            // The overdue group.
            da.query = detail::GetStoredQuery(da.database.get(), QString::fromLatin1(detail::kPriorityOverduesName),
                                              detail::PriorityOverduesSql());
            da.recordset = detail::OpenQuery(da.query, data::dbOpenForwardOnly);
            g.setRows(g.Rows() + 1);
            int node = g.Rows() - 1;
            g.setTextMatrix(node, colPriority, QStringLiteral("Overdues"));
            g.setRowDataValue(node, Variant(QStringLiteral("N0")));
            g.setIsSubtotal(node, true);
            g.setRowOutlineLevel(node, 0);
            g.setCell(grid::flexcpBackColor, node, 0, node, colSalesCycle, kNodeBack);
            g.setCell(grid::flexcpForeColor, node, 0, node, colCount, kNodeFore);
            g.setCell(grid::flexcpFontBold, node, 0, node, colSalesCycle, true);
            qint32 count = 0;
            Currency total;
            ReadGroup(*da.recordset, node, true, count, total);
            FinishNode(node, count, total);
            da.recordset->Close();

            // One group per priority.
            da.query = detail::GetStoredQuery(da.database.get(), QString::fromLatin1(detail::kPriorityName),
                                              detail::PrioritySql());
            for (qint32 p = 1; p <= 5; ++p) {
                g.setRows(g.Rows() + 1);
                node = g.Rows() - 1;
                g.setTextMatrix(node, colPriority, priorityLabels[p - 1]);
                g.setRowDataValue(node, Variant(QStringLiteral("N") + QString::number(p)));
                g.setIsSubtotal(node, true);
                g.setRowOutlineLevel(node, 0);
                g.setCell(grid::flexcpBackColor, node, 0, node, colSalesCycle, kWhite);
                g.setCell(grid::flexcpForeColor, node, 0, node, colCount, kNodeFore);
                if (!da.query)
                    automation::Raise(automation::ErrObjectNotSet);
                da.query->SetParameter(QStringLiteral("@Priority"), Variant(p));
                da.recordset = detail::OpenQuery(da.query, data::dbOpenForwardOnly);
                count = 0;
                total = Currency();
                ReadGroup(*da.recordset, node, false, count, total);
                FinishNode(node, count, total);
                da.recordset->Close();
            }

            if (g.Rows() > 1) {
                g.setCell(grid::flexcpForeColor, 2, colWih, g.Rows() - 1, colWwgi, kBlue);
                g.setCell(grid::flexcpForeColor, 1, colValue, g.Rows() - 1, colValue, kGreen);
            }
            if (da.recordset && da.recordset->IsOpen())
                da.recordset->Close();
            da.recordset.reset();
            da.query.reset();
            expander.RefreshOutline(g);
            g.setRedraw(1);
            host::ScreenMousePointer::Set(savedPointer);
            filled = true;
            refreshing = false;
        },
        [&] {
            // The error tail: the refreshing flag is cleared; redraw and the pointer come back too.
            refreshing = false;
            IgnoringErrors([&] {
                if (da.recordset)
                    da.recordset->Close();
            });
            da.recordset.reset();
            IgnoringErrors([&] { flexGrid->setRedraw(1); });
            host::ScreenMousePointer::Set(savedPointer);
        });
}

// ---------------------------------------------------------------- preferences

void PriorityViewPrivate::SaveViewPreferences()
{
    IgnoringErrors(
        [&] { settings::SaveSetting(kApp, kSection, QStringLiteral("SCRangeUnits"), QString::number(rangeUnits)); });
    IgnoringErrors(
        [&] { settings::SaveSetting(kApp, kSection, QStringLiteral("SCRangeValue"), QString::number(rangeValue)); });
    for (int c = 1; c < flexGrid->Cols(); ++c) {
        IgnoringErrors([&] {
            settings::SaveSetting(kApp, kSection, QStringLiteral("ColWidth") + QString::number(c),
                                  QString::number(ToLong(Variant(double(flexGrid->ColWidth(c))))));
        });
    }
}

void PriorityViewPrivate::LoadViewPreferences()
{
    Traced(QStringLiteral("BrevView.PriorityView::LoadViewPreferences"), [&] {
        qint32 units =
            ToLong(Variant(settings::GetSetting(kApp, kSection, QStringLiteral("SCRangeUnits"), QStringLiteral("2"))));
        qint32 value =
            ToLong(Variant(settings::GetSetting(kApp, kSection, QStringLiteral("SCRangeValue"), QStringLiteral("3"))));
        if (units < 0 || units >= 4)
            units = eSalesCycleUnitMonths;
        if (value < 1 || value > 99)
            value = 3;
        rangeUnits = units;
        rangeValue = value;
        columnWidths.assign(size_t(flexGrid->Cols()), 0);
        for (int c = 1; c < flexGrid->Cols(); ++c) {
            const qint32 w = ToLong(Variant(settings::GetSetting(
                kApp, kSection, QStringLiteral("ColWidth") + QString::number(c), QStringLiteral("900"))));
            columnWidths[size_t(c)] = w;
            flexGrid->setColWidth(c, w);
        }
        flexGrid->setColWidth(0, 10);
    });
}

// ---------------------------------------------------------------- grid events

bool PriorityViewPrivate::SalesCycleTooltip()
{
    // Over the "Sales Cycle" cell of an IBO row: where today lies in its sales cycle.
    const int r = flexGrid->MouseRow();
    const int c = flexGrid->MouseCol();
    if (c != colSalesCycle || r < 1)
        return false;
    const QString data = ToText(flexGrid->RowDataValue(r));
    if (!automation::IsNumericText(data) || ToDouble(Variant(data)) < 0)
        return false;
    const Date start = automation::ToDate(Variant(flexGrid->TextMatrix(r, colQualified)));
    const Date end = automation::ToDate(Variant(flexGrid->TextMatrix(r, colDate)));
    QString tip;
    try {
        tip = GetSalesCycleTooltip(start, end);
    } catch (const RuntimeError&) {
        // reported; the tooltip is then empty
    }
    flexGrid->setToolTipText(tip);
    return true;
}

void PriorityViewPrivate::OnAfterCollapse(int row, int state)
{
    detail::HandleAfterCollapse(*flexGrid, expander, row, state, refreshing, inCollapseHandler,
                                QStringLiteral("BrevView.PriorityView::flexGrid_AfterCollapse"));
}

void PriorityViewPrivate::OnBeforeUserResize(int col, bool& cancel)
{
    Traced(QStringLiteral("BrevView.PriorityView::flexGrid_BeforeUserResize"), [&] {
        if (col == colPriority)
            cancel = true;
    });
}

void PriorityViewPrivate::OnDrawCell(QPainter* painter, int row, int col, int left, int top, int right, int bottom,
                                     bool& done)
{
    done = false;
    IgnoringErrors([&] {
        if (col != colSalesCycle || row < 1 || flexGrid->IsSubtotal(row))
            return;
        IgnoringErrors([&] {
            if (!filled || row < 1)
                return;
            const Date qualified = automation::ToDate(Variant(flexGrid->TextMatrix(row, colQualified)));
            const Date closing = automation::ToDate(Variant(flexGrid->TextMatrix(row, colDate)));
            detail::DrawCycleBar(*painter, viewDates, qualified, closing, left, top, right, bottom);
        });
        IgnoringErrors([&] { detail::DrawTodayMarker(*painter, viewDates, left, top, right, bottom); });
        done = true;
    });
}

// ---------------------------------------------------------------- public surface

PriorityView::PriorityView(QWidget* parent) : QWidget(parent), d(std::make_unique<PriorityViewPrivate>(this))
{
    modInit::EnsureLoaded();
    try {
        d->UserControl_Initialize();
    } catch (const RuntimeError& e) {
        // A constructor has no caller that could catch (a .ui form, CreateControl): the
        // control is made all the same and reports the error once the host has had a
        // chance to connect. When it is the database that could not be opened, the rest of
        // the set-up is done, the error is shown where the grid would be, and the next
        // Refresh opens the database again.
        if (!d->da.database) {
            d->openFailed = true;
            d->boundary.AtEvent([&] { d->InitialiseAfterDatabase(); });
            d->ShowOpenError(&e);
        }
        d->boundary.ReportLater(e);
    }
    grid::FlexGrid* g = d->flexGrid;
    detail::WireGridEvents(this, g, &d->boundary,
                           {kDblClickName, true, d->longCaptions, [this] { return d->SalesCycleTooltip(); },
                            [this](int row, int state) { d->OnAfterCollapse(row, state); }});
    connect(g, &grid::FlexGrid::BeforeUserResize, this,
            [this](int, int col, bool& cancel) { d->boundary.AtEvent([&] { d->OnBeforeUserResize(col, cancel); }); });
    connect(g, &grid::FlexGrid::DrawCell, this,
            [this](QPainter* p, int row, int col, int l, int t, int r, int b, bool& done) {
                d->OnDrawCell(p, row, col, l, t, r, b, done);
            });
    g->setAccessibleName(tr("Priorities"));
    d->told = {d->rangeValue, d->rangeUnits, g->hWnd()};
    d->boundary.SetAfterCall([this] { d->TellChanges(); });
    d->boundary.SetAfterMemberCall([this] { d->flexGrid->FlushNotices(); });
    d->windowWatch = detail::WatchNativeWindow(this, g, [this] { d->TellChanges(); });
}

void PriorityViewPrivate::TellChanges()
{
    detail::TellIfChanged(told.rangeValue, rangeValue, [this](qint32 v) { emit q->SalesCycleRangeValueChanged(v); });
    detail::TellIfChanged(told.rangeUnits, rangeUnits, [this](qint32 v) { emit q->SalesCycleRangeUnitsChanged(v); });
    detail::TellIfChanged(told.hWnd, flexGrid->hWnd(), [this](qint32 v) { emit q->FlexGridHWndChanged(v); });
}

PriorityView::~PriorityView()
{
    delete d->windowWatch;
    try {
        d->UserControl_Terminate();
    } catch (const RuntimeError&) {
        // reported through the trace; a destructor cannot pass it on
    }
}

qint32 PriorityView::FlexGridHWnd() const
{
    return d->flexGrid->hWnd();
}

qint32 PriorityView::SalesCycleRangeValue() const
{
    return d->rangeValue;
}

void PriorityView::setSalesCycleRangeValue(qint32 lRange)
{
    d->boundary.Run([&] {
        Traced(QStringLiteral("BrevView.PriorityView::PropertyLet:SalesCycleRangeValue"), [&] {
            d->rangeValue = lRange == 0 ? 1 : lRange;
            d->RefreshViewDates();
            d->RefreshSCHeader();
            d->flexGrid->setRedraw(0);
            d->flexGrid->setRedraw(1);
        });
    });
}

qint32 PriorityView::SalesCycleRangeUnits() const
{
    return d->rangeUnits;
}

void PriorityView::setSalesCycleRangeUnits(qint32 eUnits)
{
    d->boundary.Run([&] {
        qint32 saved = 0;
        Traced(
            QStringLiteral("BrevView.PriorityView::PropertyLet:SalesCycleRangeUnits"),
            [&] {
                saved = host::ScreenMousePointer::Get();
                host::ScreenMousePointer::Set(host::kPointerArrowHourglass);
                d->rangeUnits = eUnits;
                d->RefreshViewDates();
                d->RefreshSCHeader();
                d->flexGrid->setRedraw(0);
                d->flexGrid->setRedraw(1);
                host::ScreenMousePointer::Set(saved);
            },
            [&] { host::ScreenMousePointer::Set(saved); });
    });
}

QVariant PriorityView::GetSelection()
{
    return d->boundary.Run([&] {
        return detail::GetSelection(*d->flexGrid, QStringLiteral("BrevView.PriorityView::GetSelection"),
                                    detail::SelectionRule::NumericOnly);
    });
}

Currency PriorityView::AddOutlineTotal(Currency curTotal, double dValue)
{
    return detail::AddOutlineTotal(curTotal, dValue);
}

void PriorityView::SaveViewPreferences()
{
    d->boundary.Run([&] { d->SaveViewPreferences(); });
}

void PriorityView::LoadViewPreferences()
{
    d->boundary.Run([&] { d->LoadViewPreferences(); });
}

void PriorityView::GotoIBO(qint32 lIboID)
{
    d->boundary.Run([&] { detail::GotoIBO(*d->flexGrid, lIboID, detail::RevealRule::ExpandRow); });
}

void PriorityView::ExpandAllNodes()
{
    d->boundary.Run([&] { detail::SetAllNodes(*d->flexGrid, true); });
}

void PriorityView::CollapseAllNodes()
{
    d->boundary.Run([&] { detail::SetAllNodes(*d->flexGrid, false); });
}

void PriorityView::Refresh()
{
    d->boundary.Run([&] { d->Refresh(); });
}

void PriorityView::PrintView()
{
    d->boundary.Run([&] { detail::PrintView(*d->flexGrid, kPrint); });
}

void PriorityView::SetupViewForPrint()
{
    d->boundary.Run([&] { detail::SetupViewForPrint(*d->flexGrid, kPrint); });
}

void PriorityView::RestoreViewAfterPrint()
{
    d->boundary.Run([&] { detail::RestoreViewAfterPrint(*d->flexGrid, kPrint); });
}

void PriorityView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    d->boundary.AtEvent([this] { d->UserControl_Resize(); });
    if (d->errorLabel)
        d->errorLabel->setGeometry(d->flexGrid->geometry());
}

std::optional<RuntimeError> PriorityView::lastError() const
{
    return d->boundary.LastError();
}

QAbstractItemModel* PriorityView::model() const
{
    return detail::ModelOf(d->flexGrid, const_cast<PriorityView*>(this), d->model);
}

int PriorityView::columnCount() const
{
    return d->flexGrid->Cols();
}

int PriorityView::columnWidth(int column) const
{
    return d->boundary.Run([&] {
        return detail::ColumnWidthTwips(*d->flexGrid, column, QStringLiteral("BrevView.PriorityView::columnWidth"));
    });
}

void PriorityView::setColumnWidth(int column, int twips)
{
    d->boundary.Run([&] {
        // The first column keeps its width, as it does against a drag of its border.
        detail::SetColumnWidthTwips(*d->flexGrid, column, twips,
                                    QStringLiteral("BrevView.PriorityView::setColumnWidth"), d->colPriority);
        d->SaveViewPreferences();
    });
}

void PriorityView::copySelection()
{
    d->boundary.Run([&] { detail::CopySelection(*d->flexGrid); });
}

bool PriorityView::exportCsv(const QString& fileName, bool allRows, std::function<bool(qint64, qint64)> progress)
{
    return d->boundary.Run([&] {
        return detail::ExportCsv(*d->flexGrid, fileName, allRows, progress,
                                 QStringLiteral("BrevView.PriorityView::exportCsv"));
    });
}

bool PriorityView::findNext(const QString& text, QTextDocument::FindFlags options)
{
    return d->boundary.Run([&] { return detail::FindNext(*d->flexGrid, text, int(options)); });
}

void PriorityView::print(QPrinter* printer)
{
    d->boundary.Run([&] {
        if (!printer)
            automation::Raise(automation::ErrObjectNotSet, QStringLiteral("BrevView.PriorityView::print"),
                              QStringLiteral("No printer"));
        detail::PrintInto(*d->flexGrid, *printer, tr("Priorities"));
    });
}

QSize PriorityView::sizeHint() const
{
    return d->flexGrid->sizeHint();
}

QSize PriorityView::minimumSizeHint() const
{
    return d->flexGrid->minimumSizeHint();
}

bool PriorityView::event(QEvent* event)
{
    // Only posted calls need the boundary; other events (the grid's ChildAdded among them)
    // also arrive while the members are still being made.
    if (event->type() != QEvent::MetaCall)
        return QWidget::event(event);
    return d->boundary.DeliverPosted(event, [this](QEvent* e) { return QWidget::event(e); });
}

}  // namespace BrevView
