#include <brevview/forecast_view.h>

#include <utility>
#include <vector>

#include <QResizeEvent>

#include "automation/conversions.h"
#include "automation/locale_info.h"
#include "common/control_surface.h"
#include "common/dates.h"
#include "common/grid_events.h"
#include "common/grid_fill.h"
#include "common/mod_init.h"
#include "common/traced.h"
#include "common/view_preferences.h"
#include "common/view_printing.h"
#include "host/clock.h"
#include "host/mouse_pointer.h"
#include "host/object_factory.h"
#include "views/forecast/forecast_view_private.h"

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

const char* const kForecastQueryName = "V21_GetIbosForForecastView";

QString ForecastSql()
{
    return QStringLiteral("SELECT IboID,IboNumber,DateWWIH,ConFirstName,ConLastName,") +
           QStringLiteral("ConCompany, DescriptorUwwgi, DescriptorUwih, Product,") +
           QStringLiteral("IboValueNumeric, IboValueDecimal,DescriptorStatus,DateWonLostCancel, Note FROM IboMain ") +
           QStringLiteral(
               "WHERE ((DescriptorStatus=1) OR (DescriptorStatus=2)) AND ((RecStatusArchive=False) AND (RecStatusDelete=False))");
}

QString ForecastSort()
{
    return QStringLiteral(
        "((Year([DateWWIH])*12)+Month([DateWWIH])), ([DescriptorUwwgi]*[IboMain].[DescriptorUwih] + "
        "(([DescriptorStatus]-1)*20) ) DESC , IboMain.DescriptorUwih DESC , IboMain.DescriptorUwwgi DESC , "
        "IboMain.IboValueNumeric DESC");
}

}  // namespace detail

namespace {

const detail::DataAccessTraits kDataAccess{"ForecastView", "BrevView.ForecastView::SetupDataAccess",
                                           "BrevView.ForecastView::CleanupDataAcess", true, false};
const detail::PrintTraits kPrint{"BrevView.ForecastView::PrintView", "BrevView.ForecastView::SetupViewForPrint", "",
                                 true, false};
const QString kDblClickName = QStringLiteral("BrevView.ForecastView::flexGrid_DblClick");
const QString kOverflow = QStringLiteral("**********");

constexpr qint32 kPaleBlue = 0xFFF1E0;
constexpr qint32 kMidBlue = 0xDC8764;
constexpr qint32 kDarkGreen = 0x8000;
constexpr qint32 kWonBack = 0xBCC5FB;

// "#mm/dd/yyyy#", the form the filters are written in ("Null" for no date).
QString JetDate(const std::optional<Date>& d)
{
    if (!d)
        return QStringLiteral("Null");
    return d->ToQDate().toString(QStringLiteral("'#'MM'/'dd'/'yyyy'#'"));
}

Date FirstOfMonth(const QDate& d)
{
    return Date::FromParts(d.year(), d.month(), 1);
}

}  // namespace

ForecastViewPrivate::ForecastViewPrivate(ForecastView* owner)
    : q(owner),
      flexGrid(new grid::FlexGrid(owner)),
      boundary(owner,
               [owner](const RuntimeError& e) { emit owner->ErrorRaised(e.number(), e.source(), e.description()); })
{}

ForecastViewPrivate* ForecastViewPrivate::Of(ForecastView* view)
{
    return view->d.get();
}

// ---------------------------------------------------------------- life cycle

void ForecastViewPrivate::UserControl_Initialize()
{
    Traced(QStringLiteral("BrevView.ForecastView::UserControl_Initialize"), [&] {
        da.databaseSettings =
            host::ObjectFactory::CreateAs<host::IDatabaseSettings>(QString::fromLatin1(host::kProgIdDatabase));
        refreshed = false;
        da.ready = false;
        InitLookups();
        InitForecastView();
        InitFieldIndices();
        InitTotalsHeader();
        LoadViewPreferences();
        PresetColumnWidths();
    });
}

void ForecastViewPrivate::UserControl_Terminate()
{
    Traced(QStringLiteral("BrevView.ForecastView::UserControl_Terminate"), [&] {
        SaveViewPreferences();
        da.databaseSettings.reset();
        if (ibos) {
            ibos->Close();
            ibos.reset();
        }
        detail::CleanupDataAccess(da, kDataAccess);
    });
}

void ForecastViewPrivate::UserControl_Resize()
{
    Traced(QStringLiteral("BrevView.ForecastView::UserControl_Resize"), [&] {
        flexGrid->setRedraw(0);
        flexGrid->setGeometry(0, 0, q->width(), q->height());
        flexGrid->setRedraw(1);
    });
}

void ForecastViewPrivate::InitLookups()
{
    Traced(QStringLiteral("BrevView.ForecastView::InitLookups"), [&] {
        monthNames = {QStringLiteral("Jan"), QStringLiteral("Feb"), QStringLiteral("Mar"), QStringLiteral("Apr"),
                      QStringLiteral("May"), QStringLiteral("Jun"), QStringLiteral("Jul"), QStringLiteral("Aug"),
                      QStringLiteral("Sep"), QStringLiteral("Oct"), QStringLiteral("Nov"), QStringLiteral("Dec")};
        longTitles = {QStringLiteral("When Will It Happen?"),
                      QStringLiteral("IBO Number"),
                      QStringLiteral("Last Name"),
                      QStringLiteral("First Name"),
                      QStringLiteral("Company"),
                      QStringLiteral("Will It Happen?"),
                      QStringLiteral("Will We Get It?"),
                      QStringLiteral("Probability percent"),
                      QStringLiteral("Product"),
                      QStringLiteral("Total # of IBOs"),
                      QStringLiteral("Value"),
                      QString(),
                      QString(),
                      QString(),
                      QString(),
                      QString(),
                      QStringLiteral("IBO Note")};
        Traced(QStringLiteral("BrevView.ForecastView::InitProbabilityMatrix"), [&] { probability.Init(); });
    });
}

void ForecastViewPrivate::InitForecastView()
{
    // Reported under the double-click handler's name, as the product always has.
    Traced(kDblClickName, [&] {
        headers = {QStringLiteral("WWIH?"),
                   QStringLiteral("IBO#"),
                   QStringLiteral("Last Name"),
                   QStringLiteral("First Name"),
                   QStringLiteral("Company"),
                   QStringLiteral("WIH?"),
                   QStringLiteral("WWGI?"),
                   QStringLiteral("%"),
                   QStringLiteral("Product"),
                   QStringLiteral("#"),
                   QStringLiteral("Value"),
                   QString(),
                   QString(),
                   QString(),
                   QString(),
                   QString(),
                   QStringLiteral("IBO Note")};
        colDate = 0;
        colIboNumber = 1;
        colLastName = 2;
        colFirstName = 3;
        colCompany = 4;
        colWih = 5;
        colWwgi = 6;
        colProbability = 7;
        colProduct = 8;
        colCount = 9;
        colValue = 10;
        colAmount1 = 11;
        colAmount2 = 12;
        colAmount3 = 13;
        colAmount4 = 14;
        colAmount5 = 15;
        colNote = 16;
        grid::FlexGrid& g = *flexGrid;
        g.setRedraw(0);
        g.setRows(4);
        g.setCols(17);
        g.setColAlignment(colProbability, grid::flexAlignRightCenter);
        g.setColAlignment(colCount, grid::flexAlignRightCenter);
        g.setColAlignment(colIboNumber, grid::flexAlignRightCenter);
        for (int c = colAmount1; c <= colAmount5; ++c) {
            g.setColHidden(c, true);
            g.setColDataType(c, grid::flexDTCurrency);
        }
        g.setColDataType(colDate, grid::flexDTDate);
        g.setColDataType(colValue, grid::flexDTCurrency);
        g.setColFormat(colValue, QStringLiteral("$###,##0"));
        // Numbers, dates and amounts are drawn whole in any font.
        for (int c : {colDate, colIboNumber, colWih, colWwgi, colProbability, colCount, colValue})
            g.setColFitText(c, true);
        g.setFixedRows(1);
        g.setFixedCols(0);
        g.setOutlineCol(colDate);
        for (int i = 0; i < headers.size(); ++i)
            g.setTextMatrix(0, i, headers[i]);
    });
}

void ForecastViewPrivate::InitFieldIndices()
{
    Traced(QStringLiteral("BrevView.ForecastView::InitFieldIndices"), [&] { fi.Init(); });
}

void ForecastViewPrivate::InitTotalsHeader()
{
    Traced(QStringLiteral("BrevView.ForecastView::InitTotalsHeader"), [&] {
        overdueRowMember = 1;
        forecastRowMember = 2;
        const int over = overdueRowMember, fc = forecastRowMember;
        grid::FlexGrid& g = *flexGrid;
        g.setRedraw(0);
        g.setRows(1);
        g.setRows(4);
        g.setOutlineBar(grid::FlexGrid::flexOutlineBarSymbols);
        g.setCell(grid::flexcpBackColor, over, 0, over, colNote, kPaleBlue);
        g.setCell(grid::flexcpForeColor, over, 0, fc, colCount, kMidBlue);
        g.setCell(grid::flexcpForeColor, fc, 0, fc, colCount, kMidBlue);
        for (int r = 1; r <= 3; ++r) {
            g.setIsSubtotal(r, true);
            g.setRowOutlineLevel(r, 0);
        }
        g.setTextMatrix(fc, 0, QStringLiteral("Forecast"));
        g.setTextMatrix(fc, colValue, QStringLiteral("0"));
        g.setTextMatrix(over, 0, QStringLiteral("Overdue IBOs not appearing in forecast"));
        g.setTextMatrix(over, colValue, QStringLiteral("0"));
        g.setCell(grid::flexcpAlignment, fc, 0, fc, 0, grid::flexAlignLeftCenter);
        g.setCell(grid::flexcpAlignment, over, 0, over, 0, grid::flexAlignLeftCenter);
        g.setCell(grid::flexcpFontBold, over, 0, fc, colValue, true);
        g.setCell(grid::flexcpAlignment, over, colIboNumber, fc, colIboNumber, grid::flexAlignRightCenter);
        g.setCell(grid::flexcpForeColor, over, colCount, fc, colCount, kMidBlue);
        g.setCell(grid::flexcpForeColor, over, colValue, fc, colValue, kDarkGreen);
        g.setRowDataValue(over, Variant(QStringLiteral("N0")));
        g.setRowDataValue(fc, Variant(QStringLiteral("N1")));
        g.setRedraw(1);
    });
}

void ForecastViewPrivate::PresetColumnWidths()
{
    Traced(QStringLiteral("BrevView.ForecastView::PresetColumnWidths"), [&] {
        flexGrid->setRedraw(0);
        for (size_t i = 0; i < columnWidths.size(); ++i)
            flexGrid->setColWidth(int(i), ToLong(Variant(double(columnWidths[i]))));
        flexGrid->setRedraw(1);
    });
}

// ---------------------------------------------------------------- preferences

void ForecastViewPrivate::SaveViewPreferences()
{
    Traced(QStringLiteral("BrevView.ForecastView::SaveViewPreferences"), [&] {
        QStringList fields(20);
        fields[0] = QString::number(forecastMode);
        fields[1] = showWon ? QStringLiteral("1") : QStringLiteral("0");
        fields[2] = QString::number(showWonRange);
        for (int c = 0; c < flexGrid->Cols(); ++c) {
            if (c + 3 >= fields.size())
                automation::Raise(automation::ErrSubscriptOutOfRange,
                                  QStringLiteral("BrevView.ForecastView::SaveViewPreferences"));
            fields[c + 3] = QString::number(ToLong(Variant(double(flexGrid->ColWidth(c)))));
        }
        const QString text =
            detail::JoinPreferenceFields(fields, QStringLiteral("BrevView.ForecastView::SaveViewPreferences"));
        detail::SaveViewPreference(QStringLiteral("PrefForecastView"), text);
    });
}

void ForecastViewPrivate::LoadViewPreferences()
{
    Traced(QStringLiteral("BrevView.ForecastView::LoadViewPreferences"), [&] {
        QString text = detail::GetViewPreference(QStringLiteral("PrefForecastView"));
        if (text.isEmpty())
            text = detail::LoadResString(102);
        const QStringList fields = text.split(QLatin1Char(';'));
        if (fields.size() != 20)
            detail::RaiseWithLastErrorNumber(QStringLiteral("BrevView.ForecastView::LoadViewPreferences"),
                                             QStringLiteral("View preference info field count mismatch."));
        forecastMode = ToLong(Variant(fields[0]));
        showWon = fields[1] == QLatin1String("1");
        showWonRange = ToLong(Variant(fields[2]));
        std::vector<qint32> widths(17);
        for (int j = 0; j < 17; ++j)
            widths[size_t(j)] = ToLong(Variant(fields[j + 3]));
        columnWidths = widths;
    });
}

// ---------------------------------------------------------------- values

Currency ForecastViewPrivate::Chosen(Currency unweighted, Currency weighted, Currency unweightedWon,
                                     Currency weightedWon) const
{
    if (showWon)
        return forecastMode == eUnweightedForecast ? unweightedWon : weightedWon;
    return forecastMode == eUnweightedForecast ? unweighted : weighted;
}

void ForecastViewPrivate::UpdateForecastValues()
{
    qint32 saved = 0;
    Traced(
        QStringLiteral("BrevView.ForecastView::UpdateForecastValues"),
        [&] {
            saved = host::ScreenMousePointer::Get();
            host::ScreenMousePointer::Set(host::kPointerHourglass);
            grid::FlexGrid& g = *flexGrid;
            g.setRedraw(0);
            for (int r = 1; r < g.Rows(); ++r) {
                const Currency a11 = automation::ToCurrency(Variant(g.TextMatrix(r, colAmount1)));
                const Currency a12 = automation::ToCurrency(Variant(g.TextMatrix(r, colAmount2)));
                const Currency a13 = automation::ToCurrency(Variant(g.TextMatrix(r, colAmount3)));
                const Currency a14 = automation::ToCurrency(Variant(g.TextMatrix(r, colAmount4)));
                g.setTextMatrix(r, colValue, Chosen(a11, a12, a13, a14).ToText());
            }
            g.setRedraw(1);
            host::ScreenMousePointer::Set(saved);
        },
        [&] {
            // The rows before the failing one already show the new mode.
            IgnoringErrors([&] { flexGrid->setRedraw(1); });
            host::ScreenMousePointer::Set(saved);
        });
}

void ForecastViewPrivate::WriteAmounts(int row, Currency a11, Currency a12, Currency a13, Currency a14)
{
    grid::FlexGrid& g = *flexGrid;
    g.setTextMatrix(row, colAmount1, a11.ToText());
    g.setTextMatrix(row, colAmount2, a12.ToText());
    g.setTextMatrix(row, colAmount3, a13.ToText());
    g.setTextMatrix(row, colAmount4, a14.ToText());
    g.setTextMatrix(row, colAmount5, QStringLiteral("0"));
}

// ---------------------------------------------------------------- refresh

qint32 ForecastViewPrivate::CalcRowIDFromDate(const Date& d)
{
    return Traced(QStringLiteral("BrevView.ForecastView::CalcRowIDFromDate"),
                  [&] { return detail::CalcRowIDFromDate(d); });
}

Date ForecastViewPrivate::NormalizeDate(const Date& d)
{
    // Untraced: it runs for every IBO row. An error is still reported under its own source,
    // and the zero date returned.
    try {
        return detail::NormalizeDate(d);
    } catch (const RuntimeError& e) {
        detail::ReportTrapped(QStringLiteral("BrevView.ForecastView::NormalizeDate"), e);
        return Date();
    }
}

void ForecastViewPrivate::GetAllOpenWon()
{
    Traced(QStringLiteral("BrevView.ForecastView::GetAllOpenWon"), [&] {
        da.query = detail::GetStoredQuery(da.database.get(), QString::fromLatin1(detail::kForecastQueryName),
                                          detail::ForecastSql());
        da.recordset = detail::OpenQuery(da.query, data::dbOpenDynaset);
        data::Recordset& rs = *da.recordset;
        const int status = rs.FieldIndex(QStringLiteral("DescriptorStatus"));
        const int wonDate = rs.FieldIndex(QStringLiteral("DateWonLostCancel"));
        // Every won IBO's date is written, or none: one transaction for the refresh. The dates
        // to write are found first and the transaction holds the writes alone: a refresh that
        // has nothing to write (every refresh but the first after an edit) takes no write lock
        // at all, and one that writes holds it for a moment, so open windows do not queue
        // behind each other's reads, nor a host's own save behind them.
        std::vector<std::pair<qint64, Variant>> writes;  // record number, won date
        for (qint64 record = 0; !rs.Eof(); rs.MoveNext(), ++record) {
            if (ToLong(rs.Field(status)) != 2)
                continue;
            const Variant won = rs.Field(wonDate);
            if (won.IsNull()) {
                // Storing the Null would erase the only date the IBO still has, and stopping
                // here would keep the whole team's forecast from showing for one bad record:
                // that IBO alone is left as it is, and reported.
                detail::ReportTrapped(
                    QStringLiteral("BrevView.ForecastView::GetAllOpenWon"),
                    RuntimeError(automation::ErrInvalidUseOfNull, {},
                                 QStringLiteral("Invalid use of Null: won IBO %1 has no DateWonLostCancel; "
                                                "its DateWWIH is left as it is")
                                     .arg(ToText(rs.Field(fi.IboID)))));
                continue;
            }
            // A won IBO whose DateWWIH already holds its won date is left alone: the table
            // ends up the same, and an unchanged row wakes no colleague's ChangeWatcher, so
            // open forecast views do not keep refreshing each other.
            if (!(rs.Field(fi.DateWWIH) == won))
                writes.emplace_back(record, won);
        }
        if (!writes.empty()) {
            da.database->BeginTrans();
            try {
                rs.MoveFirst();
                qint64 at = 0;
                for (const auto& [record, won] : writes) {
                    for (; at < record; ++at)
                        rs.MoveNext();
                    rs.Edit();
                    rs.SetField(QStringLiteral("DateWWIH"), won);
                    rs.Update();
                }
                da.database->CommitTrans();
            } catch (...) {
                IgnoringErrors([&] { da.database->Rollback(); });
                throw;
            }
        }
        rs.SetSort(detail::ForecastSort());
        ibos = rs.OpenRecordset();
    });
}

QString ForecastViewPrivate::GetForecastFilter(Date& wonStart)
{
    return Traced(QStringLiteral("BrevView.ForecastView::GetForecastFilter"), [&]() -> QString {
        const Date today = NormalizeDate(host::Clock::Today());
        if (showWon) {
            const QDate now = today.ToQDate();
            switch (showWonRange) {
            case 0:
                wonStart = Date::FromParts(1904, 1, 1);
                break;
            case 2:
                wonStart = FirstOfMonth(now.addMonths(-2));
                break;
            case 3:
                wonStart = FirstOfMonth(now.addMonths(-3));
                break;
            default:
                wonStart = FirstOfMonth(now);
                break;
            }
            return QStringLiteral("(DateWWIH>=") + JetDate(today) + QStringLiteral(" AND DescriptorStatus=") +
                   QStringLiteral("1") + QStringLiteral(") OR (DateWWIH>=") + JetDate(wonStart) +
                   QStringLiteral(" AND DescriptorStatus=") + QStringLiteral("2") + QStringLiteral(")");
        }
        return QStringLiteral("(DateWWIH>=") + JetDate(today) + QStringLiteral(" AND DescriptorStatus=") +
               QStringLiteral("1") + QStringLiteral(")");
    });
}

void ForecastViewPrivate::InitMonthlyTotalsRS()
{
    Traced(QStringLiteral("BrevView.ForecastView::InitMonthlyTotalsRS"), [&] {
        months.Clear();
        Date wonStart;
        const QString filter = GetForecastFilter(wonStart);
        ibos->SetFilter(filter);
        filtered = ibos->OpenRecordset(data::dbOpenSnapshot);
        ibos->SetFilter(QString());
        data::Recordset& rs = *filtered;
        if (!(rs.Bof() && rs.Eof())) {
            Date first =
                (showWon && showWonRange != 0) ? wonStart : NormalizeDate(detail::DateOfField(rs, fi.DateWWIH));
            rs.MoveLast();
            Date last = NormalizeDate(detail::DateOfField(rs, fi.DateWWIH));
            if (!(last < first)) {
                QDate m = FirstOfMonth(first.ToQDate()).ToQDate();
                const QDate end = FirstOfMonth(last.ToQDate()).ToQDate();
                for (; m <= end; m = m.addMonths(1))
                    months.AddMonth(Date::FromQDate(m), monthNames);
            }
            rs.MoveFirst();
            const int status = rs.FieldIndex(QStringLiteral("DescriptorStatus"));
            while (!rs.Eof()) {
                const qint32 key = CalcRowIDFromDate(detail::DateOfField(rs, fi.DateWWIH));
                detail::MonthRow* month = months.Find(key);
                if (!month)
                    automation::Raise(automation::ErrNoCurrentRecord,
                                      QStringLiteral("BrevView.ForecastView::InitMonthlyTotalsRS"),
                                      QStringLiteral("No current record: the month %1 has no row").arg(key));
                const double value = ToDouble(
                    detail::IboValue(ToDouble(rs.Field(fi.IboValueNumeric)), ToDouble(rs.Field(fi.IboValueDecimal))));
                if (ToLong(rs.Field(status)) == 1) {
                    Traced(QStringLiteral("BrevView.ForecastView::AccmuluateMonthlyTotalsForOpen"), [&] {
                        detail::AccumulateOpen(
                            *month, grand, value,
                            probability.Lookup(rs.Field(fi.DescriptorUwwgi), rs.Field(fi.DescriptorUwih)));
                    });
                } else {
                    Traced(QStringLiteral("BrevView.ForecastView::AccmuluateMonthlyTotalsForWon"),
                           [&] { detail::AccumulateWon(*month, grand, value); });
                }
                rs.MoveNext();
            }
        }
        // The refresh places the same IBOs under their months next: it reads them from
        // this set again (from its first record) rather than filtering a second time.
        shown = filtered;
        filtered.reset();
    });
}

std::pair<double, double> ForecastViewPrivate::FillIboRow(int r, data::Recordset& rs, bool won, qint32 level)
{
    grid::FlexGrid& g = *flexGrid;
    g.setRowDataValue(r, Variant(ToLong(rs.Field(fi.IboID))));
    g.setRowOutlineLevel(r, level);
    g.setTextMatrix(r, colDate,
                    automation::FormatShortDate(NormalizeDate(detail::DateOfField(rs, fi.DateWWIH)).ToQDate()));
    detail::SetTextFromField(g, r, colIboNumber, rs, fi.IboNumber);
    detail::SetTextFromField(g, r, colLastName, rs, fi.ConLastName);
    detail::SetTextFromField(g, r, colFirstName, rs, fi.ConFirstName);
    detail::SetTextFromField(g, r, colCompany, rs, fi.ConCompany);
    const Variant uwih = rs.Field(fi.DescriptorUwih);
    const Variant uwwgi = rs.Field(fi.DescriptorUwwgi);
    g.setTextMatrix(r, colWih, detail::DescriptorLabel(uwih));
    g.setTextMatrix(r, colWwgi, detail::DescriptorLabel(uwwgi));
    const qint32 percent = probability.Lookup(uwih, uwwgi);
    g.setTextMatrix(r, colProbability, detail::PercentText(percent));
    detail::SetProductTextFromField(g, r, colProduct, rs, fi.Product);
    const double value =
        ToDouble(detail::IboValue(ToDouble(rs.Field(fi.IboValueNumeric)), ToDouble(rs.Field(fi.IboValueDecimal))));
    // The amounts as text: the plain value as the double it is, the weighted one as Currency.
    const QString plain = automation::DoubleToText(value);
    // A won IBO counts at 100 percent: its weighted amount is its value.
    const Currency weightedAmount = won ? Currency() : detail::WeightedValue(percent, value);
    const double weightedValue = won ? value : weightedAmount.ToDouble();
    const QString weighted = won ? plain : weightedAmount.ToText();
    const QString a11 = won ? QStringLiteral("0") : plain;
    const QString a12 = won ? QStringLiteral("0") : weighted;
    g.setTextMatrix(r, colAmount1, a11);
    g.setTextMatrix(r, colAmount2, a12);
    g.setTextMatrix(r, colAmount3, plain);
    g.setTextMatrix(r, colAmount4, weighted);
    g.setTextMatrix(r, colAmount5, QStringLiteral("0"));
    const bool unweighted = forecastMode == eUnweightedForecast;
    g.setTextMatrix(r, colValue, showWon ? (unweighted ? plain : weighted) : (unweighted ? a11 : a12));
    detail::SetTextFromField(g, r, colNote, rs, fi.Note);
    return {value, weightedValue};
}

void ForecastViewPrivate::ProcessOverdues(int& overdueRow)
{
    Traced(QStringLiteral("BrevView.ForecastView::ProcessOverdues"), [&] {
        const QString criterion = QStringLiteral("DateWWIH<") + JetDate(NormalizeDate(host::Clock::Today())) +
                                  QStringLiteral(" AND DescriptorStatus=") + QStringLiteral("1");
        ibos->SetFilter(criterion);
        filtered = ibos->OpenRecordset(data::dbOpenSnapshot);
        ibos->SetFilter(QString());
        grid::FlexGrid& g = *flexGrid;
        data::Recordset& rs = *filtered;
        int k = 0;
        while (!rs.Eof()) {
            const int r = overdueRow + 1 + k;
            g.AddItem(QString(), r);
            const auto [value, weighted] = FillIboRow(r, rs, false, 1);
            detail::AddToGrand(overdueWeighted, weighted);
            detail::AddToGrand(overdueUnweighted, value);
            ++k;
            rs.MoveNext();
        }
        WriteAmounts(overdueRow, overdueUnweighted, overdueWeighted, overdueUnweighted, overdueWeighted);
        g.setTextMatrix(overdueRow, colCount, QString::number(k));
        const Currency shown = forecastMode == eUnweightedForecast ? overdueUnweighted : overdueWeighted;
        g.setTextMatrix(overdueRow, colValue, shown.IsNegative() ? kOverflow : shown.ToText());
        filtered->Close();
        filtered.reset();
    });
}

void ForecastViewPrivate::Refresh()
{
    qint32 saved = host::ScreenMousePointer::Get();
    Traced(
        QStringLiteral("BrevView.ForecastView::Refresh"),
        [&] {
            refreshing = true;
            detail::SetupDataAccess(da, kDataAccess);
            host::ScreenMousePointer::Set(host::kPointerHourglass);
            grand = detail::GrandTotals{};
            overdueUnweighted = Currency();
            overdueWeighted = Currency();
            if (ibos) {
                ibos->Close();
                ibos.reset();
            }
            GetAllOpenWon();
            InitTotalsHeader();
            grid::FlexGrid& g = *flexGrid;
            g.setRedraw(0);
            InitMonthlyTotalsRS();
            int overdueRow = overdueRowMember;
            ProcessOverdues(overdueRow);

            // The placeholder row below "Forecast" goes: the last row is the forecast row,
            // the node every month hangs from.
            g.setRows(g.Rows() - 1);
            const int fc = g.Rows() - 1;
            g.setIsSubtotal(fc, true);
            g.setRowOutlineLevel(fc, 0);
            forecastRowMember = fc;
            WriteAmounts(fc, grand.unweightedOpen, grand.weightedOpen, grand.unweightedOpenWon, grand.weightedOpenWon);
            qint32 countOpen = 0, countWon = 0;
            for (const detail::MonthRow& m : months.rows()) {
                countOpen += m.IboCount;
                countWon += m.IboCountWon;
            }
            g.setTextMatrix(fc, colCount, QString::number(showWon ? countWon : countOpen));
            const Currency total =
                Chosen(grand.unweightedOpen, grand.weightedOpen, grand.unweightedOpenWon, grand.weightedOpenWon);
            g.setTextMatrix(fc, colValue, total.IsNegative() ? kOverflow : total.ToText());

            // The months, each followed by its IBOs in the sort order.
            filtered = shown;
            shown.reset();
            data::Recordset& rs = *filtered;
            if (!(rs.Bof() && rs.Eof()))
                rs.MoveFirst();
            const int status = rs.FieldIndex(QStringLiteral("DescriptorStatus"));
            for (const detail::MonthRow& m : months.rows()) {
                g.setRows(g.Rows() + 1);
                const int mr = g.Rows() - 1;
                g.setIsSubtotal(mr, true);
                g.setRowOutlineLevel(mr, 1);
                g.setRowDataValue(mr, Variant(QStringLiteral("N") + QString::number(m.RowID)));
                g.setTextMatrix(mr, 0, m.Label);
                g.setTextMatrix(mr, colCount, QString::number(showWon ? m.IboCountWon : m.IboCount));
                g.setTextMatrix(mr, colLastName, QStringLiteral(" "));
                const Currency chosen =
                    Chosen(m.UnweightedValTotal, m.WeightedValTotal, m.UnweightedWonValTotal, m.WeightedWonValTotal);
                g.setTextMatrix(mr, colValue, chosen.IsNegative() ? kOverflow : chosen.ToText());
                WriteAmounts(mr, m.UnweightedValTotal, m.WeightedValTotal, m.UnweightedWonValTotal,
                             m.WeightedWonValTotal);
                g.setCell(grid::flexcpForeColor, mr, colIboNumber, mr, colIboNumber, kMidBlue);
                g.setCell(grid::flexcpAlignment, mr, 0, mr, 0, grid::flexAlignRightCenter);
                g.setCell(grid::flexcpFontBold, mr, 0, mr, colValue, true);
                g.setCell(grid::flexcpForeColor, mr, 0, mr, colCount, kMidBlue);
                while (!rs.Eof()) {
                    const qint32 key = detail::CalcRowIDFromDate(detail::DateOfField(rs, fi.DateWWIH));
                    if (key > m.RowID)
                        break;
                    if (key == m.RowID) {
                        g.setRows(g.Rows() + 1);
                        const int r = g.Rows() - 1;
                        const bool won = ToLong(rs.Field(status)) == 2;
                        FillIboRow(r, rs, won, 2);
                        if (won)
                            g.setCell(grid::flexcpBackColor, r, 0, r, colNote, kWonBack);
                    }
                    rs.MoveNext();
                }
            }

            // Every node starts closed; the Expander opens the ones the user had open.
            for (int r = 1; r < g.Rows(); ++r) {
                if (g.IsSubtotal(r))
                    g.setIsCollapsed(r, grid::FlexGrid::flexOutlineCollapsed);
            }
            expander.RefreshOutline(g);
            filtered->Close();
            filtered.reset();
            months.Clear();
            // The won-date dynaset holds a copy of every open and won IBO, and ibos reads the
            // same rows through statements of their own: keeping it until the next refresh
            // would double what the view holds. It goes once the grid is filled; letting it go
            // before the reads measured a third slower at 100,000 IBOs.
            da.recordset->Close();
            da.recordset.reset();
            g.setRedraw(1);
            host::ScreenMousePointer::Set(saved);
            refreshed = true;
            refreshing = false;
        },
        [&] {
            refreshing = false;
            IgnoringErrors([&] {
                if (filtered)
                    filtered->Close();
                if (shown)
                    shown->Close();
            });
            filtered.reset();
            shown.reset();
            IgnoringErrors([&] { flexGrid->setRedraw(1); });
            host::ScreenMousePointer::Set(saved);
        });
}

// ---------------------------------------------------------------- grid events

void ForecastViewPrivate::OnAfterCollapse(int row, int state)
{
    detail::HandleAfterCollapse(*flexGrid, expander, row, state, refreshing, inCollapseHandler,
                                QStringLiteral("BrevView.ForecastView::flexGrid_AfterCollapse"));
}

// ---------------------------------------------------------------- public surface

ForecastView::ForecastView(QWidget* parent) : QWidget(parent), d(std::make_unique<ForecastViewPrivate>(this))
{
    modInit::EnsureLoaded();
    d->UserControl_Initialize();
    detail::WireGridEvents(
        this, d->flexGrid, &d->boundary,
        {kDblClickName, true, d->longTitles, {}, [this](int row, int state) { d->OnAfterCollapse(row, state); }});
    d->flexGrid->setAccessibleName(tr("Forecast"));
    d->told = {d->forecastMode, d->showWon, d->showWonRange, d->flexGrid->hWnd()};
    d->boundary.SetAfterCall([this] { d->TellChanges(); });
    d->boundary.SetAfterMemberCall([this] { d->flexGrid->FlushNotices(); });
    d->windowWatch = detail::WatchNativeWindow(this, d->flexGrid, [this] { d->TellChanges(); });
}

void ForecastViewPrivate::TellChanges()
{
    detail::TellIfChanged(told.forecastMode, forecastMode, [this](qint32 v) { emit q->ForecastModeChanged(v); });
    detail::TellIfChanged(told.showWon, showWon, [this](bool v) { emit q->ShowWonIBOsChanged(v); });
    detail::TellIfChanged(told.showWonRange, showWonRange, [this](qint32 v) { emit q->ShowWonDateRangeChanged(v); });
    detail::TellIfChanged(told.hWnd, flexGrid->hWnd(), [this](qint32 v) { emit q->FlexGridHWndChanged(v); });
}

ForecastView::~ForecastView()
{
    delete d->windowWatch;
    try {
        d->UserControl_Terminate();
    } catch (const RuntimeError&) {
        // reported through the trace; a destructor cannot pass it on
    }
}

qint32 ForecastView::ForecastMode() const
{
    return d->forecastMode;
}

void ForecastView::setForecastMode(qint32 eMode)
{
    d->boundary.Run([&] {
        Traced(QStringLiteral("BrevView.ForecastView::PropLet:ForecastMode"), [&] {
            d->forecastMode = eMode;
            if (d->refreshed)
                d->UpdateForecastValues();
            d->SaveViewPreferences();
        });
    });
}

qint32 ForecastView::FlexGridHWnd() const
{
    return d->flexGrid->hWnd();
}

QVariant ForecastView::GetSelection()
{
    return d->boundary.Run([&] {
        return detail::GetSelection(*d->flexGrid, QStringLiteral("BrevView.ForecastView::GetSelection"),
                                    detail::SelectionRule::NumericOnly);
    });
}

bool ForecastView::ShowWonIBOs() const
{
    return d->showWon;
}

void ForecastView::setShowWonIBOs(bool bShowWon)
{
    d->boundary.Run([&] {
        Traced(QStringLiteral("BrevView.ForecastView::ShowWonIBOs"), [&] {
            d->showWon = bShowWon;
            d->SaveViewPreferences();
        });
    });
}

qint32 ForecastView::ShowWonDateRange() const
{
    return d->showWonRange;
}

void ForecastView::setShowWonDateRange(qint32 lShowWonRange)
{
    d->boundary.Run([&] {
        Traced(QStringLiteral("BrevView.ForecastView::ShowWonDateRange"), [&] {
            d->showWonRange = lShowWonRange;
            d->SaveViewPreferences();
        });
    });
}

void ForecastView::SaveViewPreferences()
{
    d->boundary.Run([&] { d->SaveViewPreferences(); });
}

void ForecastView::LoadViewPreferences()
{
    d->boundary.Run([&] { d->LoadViewPreferences(); });
}

void ForecastView::PrintView()
{
    d->boundary.Run([&] { detail::PrintView(*d->flexGrid, kPrint); });
}

void ForecastView::GotoIBO(qint32 lIboID)
{
    d->boundary.Run([&] { detail::GotoIBO(*d->flexGrid, lIboID, detail::RevealRule::ExpandAncestors); });
}

void ForecastView::ExpandAllNodes()
{
    d->boundary.Run([&] { detail::SetAllNodes(*d->flexGrid, true); });
}

void ForecastView::CollapseAllNodes()
{
    d->boundary.Run([&] { detail::SetAllNodes(*d->flexGrid, false); });
}

void ForecastView::Refresh()
{
    d->boundary.Run([&] { d->Refresh(); });
}

void ForecastView::SetupViewForPrint()
{
    d->boundary.Run([&] { detail::SetupViewForPrint(*d->flexGrid, kPrint); });
}

void ForecastView::RestoreViewAfterPrint()
{
    d->boundary.Run([&] { detail::RestoreViewAfterPrint(*d->flexGrid, kPrint); });
}

void ForecastView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    d->boundary.AtEvent([this] { d->UserControl_Resize(); });
}

std::optional<RuntimeError> ForecastView::lastError() const
{
    return d->boundary.LastError();
}

QAbstractItemModel* ForecastView::model() const
{
    return detail::ModelOf(d->flexGrid, const_cast<ForecastView*>(this), d->model);
}

int ForecastView::columnCount() const
{
    return d->flexGrid->Cols();
}

int ForecastView::columnWidth(int column) const
{
    return d->boundary.Run([&] {
        return detail::ColumnWidthTwips(*d->flexGrid, column, QStringLiteral("BrevView.ForecastView::columnWidth"));
    });
}

void ForecastView::setColumnWidth(int column, int twips)
{
    d->boundary.Run([&] {
        detail::SetColumnWidthTwips(*d->flexGrid, column, twips,
                                    QStringLiteral("BrevView.ForecastView::setColumnWidth"));
        d->SaveViewPreferences();
    });
}

void ForecastView::copySelection()
{
    d->boundary.Run([&] { detail::CopySelection(*d->flexGrid); });
}

bool ForecastView::exportCsv(const QString& fileName, bool allRows, std::function<bool(qint64, qint64)> progress)
{
    return d->boundary.Run([&] {
        return detail::ExportCsv(*d->flexGrid, fileName, allRows, progress,
                                 QStringLiteral("BrevView.ForecastView::exportCsv"));
    });
}

bool ForecastView::findNext(const QString& text, QTextDocument::FindFlags options)
{
    return d->boundary.Run([&] { return detail::FindNext(*d->flexGrid, text, int(options)); });
}

void ForecastView::print(QPrinter* printer)
{
    d->boundary.Run([&] {
        if (!printer)
            automation::Raise(automation::ErrObjectNotSet, QStringLiteral("BrevView.ForecastView::print"),
                              QStringLiteral("No printer"));
        detail::PrintInto(
            *d->flexGrid, *printer,
            tr("Forecast") + QStringLiteral("  \u2014  ") +
                (d->forecastMode == eWeightedForecast ? tr("Weighted forecast") : tr("Unweighted forecast")));
    });
}

QSize ForecastView::sizeHint() const
{
    return d->flexGrid->sizeHint();
}

QSize ForecastView::minimumSizeHint() const
{
    return d->flexGrid->minimumSizeHint();
}

bool ForecastView::event(QEvent* event)
{
    // Only posted calls need the boundary; other events (the grid's ChildAdded among them)
    // also arrive while the members are still being made.
    if (event->type() != QEvent::MetaCall)
        return QWidget::event(event);
    return d->boundary.DeliverPosted(event, [this](QEvent* e) { return QWidget::event(e); });
}

}  // namespace BrevView
