#include <brevview/flat_view.h>

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
#include "host/mouse_pointer.h"
#include "host/object_factory.h"
#include "views/flat/flat_view_private.h"

namespace BrevView {

using automation::ToDouble;
using automation::ToLong;
using automation::ToText;
using automation::Variant;
using detail::IgnoringErrors;
using detail::Traced;

namespace {

const detail::DataAccessTraits kDataAccess{"FlatView", "BrevView.FlatView::SetupDataAccess",
                                           "BrevView.FlatView::CleanupDataAcess", true, false};
const detail::PrintTraits kPrint{"BrevView.FlatView::PrintView", "BrevView.FlatView::SetupViewForPrint", "User:Narg",
                                 false, false};
const QString kDblClickName = QStringLiteral("BrevView.FlatView::flexGrid_DblClick");

QString KeyFor(qint32 source)
{
    return source == eViewMainTable ? QStringLiteral("PrefIBOListView") : QStringLiteral("PrefIBOArchiveView");
}

}  // namespace

FlatViewPrivate::FlatViewPrivate(FlatView* owner)
    : q(owner),
      flexGrid(new grid::FlexGrid(owner)),
      boundary(owner,
               [owner](const RuntimeError& e) { emit owner->ErrorRaised(e.number(), e.source(), e.description()); })
{}

FlatViewPrivate* FlatViewPrivate::Of(FlatView* view)
{
    return view->d.get();
}

// ---------------------------------------------------------------- life cycle

void FlatViewPrivate::UserControl_Initialize()
{
    Traced(QStringLiteral("BrevView.FlatView::UserControl_Initialize"), [&] {
        da.databaseSettings =
            host::ObjectFactory::CreateAs<host::IDatabaseSettings>(QString::fromLatin1(host::kProgIdDatabase));
        viewSource = eViewMainTable;
        da.ready = false;
        InitView();
        InitFieldIndices();
        InitProbabilityMatrix();
        LoadViewPreferences(viewSource);
        PresetColumnWidths();
    });
}

void FlatViewPrivate::UserControl_Terminate()
{
    Traced(QStringLiteral("BrevView.FlatView::UserControl_Terminate"), [&] {
        SaveViewPreferences(viewSource);
        detail::CleanupDataAccess(da, kDataAccess);
        da.databaseSettings.reset();
    });
}

void FlatViewPrivate::UserControl_Resize()
{
    IgnoringErrors([&] {
        flexGrid->setRedraw(0);
        flexGrid->setGeometry(0, 0, q->width(), q->height());
        flexGrid->setRedraw(1);
    });
}

void FlatViewPrivate::InitView()
{
    Traced(QStringLiteral("BrevView.FlatView::InitView"), [&] {
        headers = {QStringLiteral("IBO#"),      QStringLiteral("Status"),     QStringLiteral("WWIH?"),
                   QStringLiteral("Last Name"), QStringLiteral("First Name"), QStringLiteral("Company"),
                   QStringLiteral("WIH?"),      QStringLiteral("WWGI?"),      QStringLiteral("%"),
                   QStringLiteral("Product"),   QStringLiteral("Value"),      QStringLiteral("IBO Note")};
        longHeaders = {QStringLiteral("IBO Number"),
                       QStringLiteral("Status"),
                       QStringLiteral("When Will It Happen?"),
                       QStringLiteral("Last Name"),
                       QStringLiteral("First Name"),
                       QStringLiteral("Company"),
                       QStringLiteral("Will It Happen?"),
                       QStringLiteral("Will We Get It?"),
                       QStringLiteral("Probability percent"),
                       QStringLiteral("Product"),
                       QStringLiteral("Value"),
                       QStringLiteral("IBO Notes")};
        colIboNumber = 0;
        colStatus = 1;
        colDate = 2;
        colLastName = 3;
        colFirstName = 4;
        colCompany = 5;
        colUwih = 6;
        colUwwgi = 7;
        colProbability = 8;
        colProduct = 9;
        colValue = 10;
        colNote = 11;
        grid::FlexGrid& g = *flexGrid;
        g.setRedraw(0);
        g.setRows(1);
        g.setCols(12);
        g.setColAlignment(colIboNumber, grid::flexAlignRightCenter);
        g.setColAlignment(colProbability, grid::flexAlignRightCenter);
        g.setColDataType(colDate, grid::flexDTDate);
        g.setColDataType(colValue, grid::flexDTCurrency);
        g.setColFormat(colValue, QStringLiteral("$###,##0"));
        // Numbers, dates and amounts are drawn whole in any font.
        for (int c : {colIboNumber, colStatus, colDate, colUwih, colUwwgi, colProbability, colValue})
            g.setColFitText(c, true);
        g.setFixedRows(1);
        g.setFixedCols(0);
        // A plain list: no outline bar, row selection, scroll tips while dragging.
        g.setOutlineBar(grid::FlexGrid::flexOutlineBarNone);
        g.setScrollTips(true);
        for (int c = 0; c < headers.size(); ++c)
            g.setTextMatrix(0, c, headers[c]);
        g.setRedraw(1);
    });
}

void FlatViewPrivate::InitFieldIndices()
{
    Traced(QStringLiteral("BrevView.FlatView::InitFieldIndices"), [&] { fi.Init(); });
}

void FlatViewPrivate::InitProbabilityMatrix()
{
    Traced(QStringLiteral("BrevView.FlatView::InitProbabilityMatrix"), [&] { probability.Init(); });
}

void FlatViewPrivate::PresetColumnWidths()
{
    Traced(QStringLiteral("BrevView.FlatView::PresetColumnWidths"), [&] {
        flexGrid->setRedraw(0);
        for (size_t i = 0; i < columnWidths.size(); ++i)
            flexGrid->setColWidth(int(i), columnWidths[i]);
        flexGrid->setRedraw(1);
    });
}

// ---------------------------------------------------------------- preferences

void FlatViewPrivate::SaveViewPreferences(qint32 eViewSource)
{
    Traced(QStringLiteral("BrevView.FlatView::SaveViewPreferences"), [&] {
        if (eViewSource != eViewMainTable && eViewSource != eViewArchiveTable)
            automation::Raise(automation::ErrSubscriptOutOfRange,
                              QStringLiteral("BrevView.FlatView::SaveViewPreferences"));
        const QString key = KeyFor(eViewSource);
        QStringList fields(13);
        fields[0] = QString::number(filter);
        for (int c = 0; c < flexGrid->Cols(); ++c) {
            if (c + 1 >= fields.size())
                automation::Raise(automation::ErrSubscriptOutOfRange,
                                  QStringLiteral("BrevView.FlatView::SaveViewPreferences"));
            fields[c + 1] = QString::number(ToLong(Variant(double(flexGrid->ColWidth(c)))));
        }
        const QString text =
            detail::JoinPreferenceFields(fields, QStringLiteral("BrevView.FlatView::SaveViewPreferences"));
        detail::SaveViewPreference(key, text);
    });
}

void FlatViewPrivate::LoadViewPreferences(qint32 eViewSource)
{
    Traced(QStringLiteral("BrevView.FlatView::LoadViewPreferences"), [&] {
        if (eViewSource != eViewMainTable && eViewSource != eViewArchiveTable)
            automation::Raise(automation::ErrSubscriptOutOfRange,
                              QStringLiteral("BrevView.FlatView::LoadViewPreferences"));
        const QString key = KeyFor(eViewSource);
        const int defaultEntry = eViewSource == eViewMainTable ? 103 : 104;
        QString text = detail::GetViewPreference(key);
        if (text.isEmpty())
            text = detail::LoadResString(defaultEntry);
        const QStringList fields = text.split(QLatin1Char(';'));
        if (fields.size() == 13) {
            filter = ToLong(Variant(fields[0]));
            if (filter < 0 || filter > 15)
                filter = 15;
            std::vector<qint32> widths(12);
            for (int j = 0; j < 12; ++j)
                widths[size_t(j)] = ToLong(Variant(fields[j + 1]));
            columnWidths = widths;
        } else {
            // Anything but thirteen fields (the built-in entries among them) falls back.
            filter = 15;
            columnWidths.assign(12, 900);
        }
    });
}

// ---------------------------------------------------------------- refresh

QString FlatViewPrivate::GetFilterString()
{
    return Traced(QStringLiteral("BrevView.FlatView::GetFilterString"), [&]() -> QString {
        if (!da.recordset || !da.recordset->IsOpen())
            return QString();
        const QString n = da.recordset->FieldName(fi.DescriptorStatus);
        if (filter == eFilterShowNone)
            return QStringLiteral("(") + n + QStringLiteral("=99)");
        QString text = QStringLiteral("(") + n + QStringLiteral("=1)");
        if (!(filter & eFilterShowOpen))
            text.clear();
        const struct {
            qint32 flag;
            int status;
        } rest[] = {{eFilterShowWon, 2}, {eFilterShowLost, 3}, {eFilterShowCancelled, 4}};
        for (const auto& r : rest) {
            if (filter & r.flag) {
                if (!text.isEmpty())
                    text += QStringLiteral(" OR ");
                text += QStringLiteral("(") + n + QStringLiteral("=") + QString::number(r.status) + QStringLiteral(")");
            }
        }
        return text;
    });
}

void FlatViewPrivate::Refresh()
{
    const qint32 savedPointer = host::ScreenMousePointer::Get();
    Traced(
        QStringLiteral("BrevView.FlatView::Refresh"),
        [&] {
            host::ScreenMousePointer::Set(host::kPointerArrowHourglass);
            grid::FlexGrid& g = *flexGrid;
            g.setRedraw(0);
            g.setRows(1);
            detail::SetupDataAccess(da, kDataAccess);
            if (da.recordset) {
                da.recordset->Close();
                da.recordset.reset();
            }
            if (da.query) {
                da.query->Close();
                da.query.reset();
            }
            if (viewSource == eViewMainTable)
                da.query = detail::GetStoredQuery(da.database.get(), QString::fromLatin1(detail::kFlatViewFromMainName),
                                                  detail::FlatViewFromMainSql());
            else
                da.query =
                    detail::GetStoredQuery(da.database.get(), QString::fromLatin1(detail::kFlatViewFromArchiveName),
                                           detail::FlatViewFromArchiveSql());
            da.recordset = detail::OpenQuery(da.query, data::dbOpenSnapshot);
            da.recordset->SetFilter(GetFilterString());
            filtered = da.recordset->OpenRecordset();
            da.recordset->SetFilter(QString());
            data::Recordset& rs = *filtered;
            if (!(rs.Bof() && rs.Eof())) {
                rs.MoveFirst();
                g.setRows(1);
            }
            int r = 1;
            // The list is in closing-date order: one date's text serves the rows after it
            // that hold the same stored date.
            detail::RepeatedText lastDate;
            QString shortDate;
            while (!rs.Eof()) {
                g.setRows(g.Rows() + 1);
                g.setRowDataValue(r, Variant(ToLong(rs.Field(fi.IboID))));
                // The day of DateWWIH; read straight from its stored text when it is one.
                const char* dateText = nullptr;
                int dateLength = 0;
                const bool isText = rs.FieldUtf8(fi.DateWWIH, &dateText, &dateLength);
                if (!lastDate.Repeats(isText ? dateText : nullptr, dateLength)) {
                    if (!isText || !detail::ShortDateTextOfCanonical(dateText, dateLength, &shortDate))
                        shortDate = automation::FormatShortDate(
                            detail::NormalizeDateIgnoringErrors(rs.Field(fi.DateWWIH)).ToQDate());
                }
                g.setTextMatrix(r, colDate, shortDate);
                detail::SetTextFromField(g, r, colIboNumber, rs, fi.IboNumber);
                g.setTextMatrix(r, colStatus, detail::StatusLabel(rs.Field(fi.DescriptorStatus)));
                detail::SetTextFromField(g, r, colLastName, rs, fi.ConLastName);
                detail::SetTextFromField(g, r, colFirstName, rs, fi.ConFirstName);
                detail::SetTextFromField(g, r, colCompany, rs, fi.ConCompany);
                const Variant uwih = rs.Field(fi.DescriptorUwih);
                const Variant uwwgi = rs.Field(fi.DescriptorUwwgi);
                g.setTextMatrix(r, colUwih, detail::DescriptorLabel(uwih));
                g.setTextMatrix(r, colUwwgi, detail::DescriptorLabel(uwwgi));
                g.setTextMatrix(r, colProbability, detail::PercentText(probability.Lookup(uwih, uwwgi)));
                detail::SetProductTextFromField(g, r, colProduct, rs, fi.Product);
                detail::SetTextOfValue(
                    g, r, colValue,
                    detail::IboValue(ToDouble(rs.Field(fi.IboValueNumeric)), ToDouble(rs.Field(fi.IboValueDecimal))));
                detail::SetTextFromField(g, r, colNote, rs, fi.Note);
                ++r;
                rs.MoveNext();
            }
            if (g.Rows() > 1)
                g.setCell(grid::flexcpForeColor, 1, colUwih, g.Rows() - 1, colUwwgi, 16711680);
            g.setRedraw(1);
            filtered->Close();
            filtered.reset();
            da.recordset->Close();
            da.recordset.reset();
            host::ScreenMousePointer::Set(savedPointer);
        },
        [&] {
            // The error tail: both recordsets go, the pointer comes back; redraw stays
            // off and the rows filled so far stay.
            IgnoringErrors([&] {
                if (filtered)
                    filtered->Close();
            });
            filtered.reset();
            IgnoringErrors([&] {
                if (da.recordset)
                    da.recordset->Close();
            });
            da.recordset.reset();
            host::ScreenMousePointer::Set(savedPointer);
        });
}

// ---------------------------------------------------------------- grid events

void FlatViewPrivate::OnAfterUserResize()
{
    IgnoringErrors([&] { SaveViewPreferences(viewSource); });
}

void FlatViewPrivate::OnBeforeScrollTip(int row)
{
    IgnoringErrors([&] { flexGrid->setScrollTipText(QStringLiteral("Row#") + QString::number(row)); });
}

// ---------------------------------------------------------------- public surface

FlatView::FlatView(QWidget* parent) : QWidget(parent), d(std::make_unique<FlatViewPrivate>(this))
{
    modInit::EnsureLoaded();
    d->UserControl_Initialize();
    d->UserControl_Resize();
    detail::WireGridEvents(this, d->flexGrid, &d->boundary, {kDblClickName, false, d->longHeaders, {}, {}});
    connect(d->flexGrid, &grid::FlexGrid::AfterUserResize, this, [this](int, int) { d->OnAfterUserResize(); });
    connect(d->flexGrid, &grid::FlexGrid::BeforeScrollTip, this, [this](int row) { d->OnBeforeScrollTip(row); });
    d->flexGrid->setAccessibleName(tr("IBO list"));
    d->told = {d->viewSource, d->filter, d->flexGrid->hWnd()};
    d->boundary.SetAfterCall([this] { d->TellChanges(); });
    d->boundary.SetAfterMemberCall([this] { d->flexGrid->FlushNotices(); });
    d->windowWatch = detail::WatchNativeWindow(this, d->flexGrid, [this] { d->TellChanges(); });
}

void FlatViewPrivate::TellChanges()
{
    detail::TellIfChanged(told.viewSource, viewSource, [this](qint32 v) { emit q->ViewSourceChanged(v); });
    detail::TellIfChanged(told.filter, filter, [this](qint32 v) { emit q->FilterChanged(v); });
    detail::TellIfChanged(told.hWnd, flexGrid->hWnd(), [this](qint32 v) { emit q->FlexGridHWndChanged(v); });
}

FlatView::~FlatView()
{
    delete d->windowWatch;
    try {
        d->UserControl_Terminate();
    } catch (const RuntimeError&) {
        // reported through the trace; a destructor cannot pass it on
    }
}

qint32 FlatView::ViewSource()
{
    return d->boundary.Run([&] {
        return Traced(QStringLiteral("BrevView.FlatView::ViewSource.PropertyGet"), [&] {
            d->SaveViewPreferences(d->viewSource);
            return d->viewSource;
        });
    });
}

void FlatView::setViewSource(qint32 eSource)
{
    d->boundary.Run([&] {
        Traced(QStringLiteral("BrevView.FlatView::ViewSource.PropertyLet"), [&] {
            d->viewSource = eSource;
            d->LoadViewPreferences(d->viewSource);
            d->PresetColumnWidths();
        });
    });
}

qint32 FlatView::Filter() const
{
    return d->filter;
}

void FlatView::setFilter(qint32 eFilter)
{
    d->boundary.Run([&] {
        d->filter = eFilter;
        d->SaveViewPreferences(d->viewSource);
    });
}

qint32 FlatView::FlexGridHWnd() const
{
    return d->flexGrid->hWnd();
}

QVariant FlatView::GetSelection()
{
    return d->boundary.Run([&] {
        return detail::GetSelection(*d->flexGrid, QStringLiteral("BrevView.FlatView::GetSelection"),
                                    detail::SelectionRule::ConvertDirectly);
    });
}

void FlatView::SaveViewPreferences(qint32 eViewSource)
{
    d->boundary.Run([&] { d->SaveViewPreferences(eViewSource); });
}

void FlatView::LoadViewPreferences(qint32 eViewSource)
{
    d->boundary.Run([&] { d->LoadViewPreferences(eViewSource); });
}

void FlatView::PrintView()
{
    d->boundary.Run([&] { detail::PrintView(*d->flexGrid, kPrint); });
}

void FlatView::GotoIBO(qint32 lIboID)
{
    d->boundary.Run([&] { detail::GotoIBO(*d->flexGrid, lIboID, detail::RevealRule::None); });
}

void FlatView::Refresh()
{
    d->boundary.Run([&] { d->Refresh(); });
}

void FlatView::SetupViewForPrint()
{
    d->boundary.Run([&] { detail::SetupViewForPrint(*d->flexGrid, kPrint); });
}

void FlatView::RestoreViewAfterPrint()
{
    d->boundary.Run([&] { detail::RestoreViewAfterPrint(*d->flexGrid, kPrint); });
}

std::optional<RuntimeError> FlatView::lastError() const
{
    return d->boundary.LastError();
}

QAbstractItemModel* FlatView::model() const
{
    return detail::ModelOf(d->flexGrid, const_cast<FlatView*>(this), d->model);
}

int FlatView::columnCount() const
{
    return d->flexGrid->Cols();
}

int FlatView::columnWidth(int column) const
{
    return d->boundary.Run([&] {
        return detail::ColumnWidthTwips(*d->flexGrid, column, QStringLiteral("BrevView.FlatView::columnWidth"));
    });
}

void FlatView::setColumnWidth(int column, int twips)
{
    d->boundary.Run([&] {
        detail::SetColumnWidthTwips(*d->flexGrid, column, twips, QStringLiteral("BrevView.FlatView::setColumnWidth"));
        d->SaveViewPreferences(d->viewSource);
    });
}

void FlatView::copySelection()
{
    d->boundary.Run([&] { detail::CopySelection(*d->flexGrid); });
}

bool FlatView::exportCsv(const QString& fileName, bool allRows, std::function<bool(qint64, qint64)> progress)
{
    return d->boundary.Run([&] {
        return detail::ExportCsv(*d->flexGrid, fileName, allRows, progress,
                                 QStringLiteral("BrevView.FlatView::exportCsv"));
    });
}

bool FlatView::findNext(const QString& text, QTextDocument::FindFlags options)
{
    return d->boundary.Run([&] { return detail::FindNext(*d->flexGrid, text, int(options)); });
}

void FlatView::print(QPrinter* printer)
{
    d->boundary.Run([&] {
        if (!printer)
            automation::Raise(automation::ErrObjectNotSet, QStringLiteral("BrevView.FlatView::print"),
                              QStringLiteral("No printer"));
        detail::PrintInto(*d->flexGrid, *printer,
                          d->viewSource == eViewArchiveTable ? tr("Archived IBOs") : tr("IBOs"));
    });
}

QSize FlatView::sizeHint() const
{
    return d->flexGrid->sizeHint();
}

QSize FlatView::minimumSizeHint() const
{
    return d->flexGrid->minimumSizeHint();
}

void FlatView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    d->UserControl_Resize();
}

bool FlatView::event(QEvent* event)
{
    // Only posted calls need the boundary; other events (the grid's ChildAdded among them)
    // also arrive while the members are still being made.
    if (event->type() != QEvent::MetaCall)
        return QWidget::event(event);
    return d->boundary.DeliverPosted(event, [this](QEvent* e) { return QWidget::event(e); });
}

}  // namespace BrevView
