#include "common/view_printing.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "automation/locale_info.h"
#include "automation/runtime_error.h"
#include "common/traced.h"
#include "grid/flex_grid.h"
#include "host/clock.h"
#include "host/object_factory.h"

namespace BrevView::detail {
namespace {

// The print look: flat, white, light-grey lines, black text, bold header.
void ApplyPrintLook(grid::FlexGrid& g, bool setup, bool helvetica)
{
    g.setAppearance(0);
    g.setGridLines(grid::FlexGrid::flexGridFlat);       // 41
    g.setGridLinesFixed(grid::FlexGrid::flexGridFlat);  // 42
    g.setBackColorBkg(0xFFFFFF);                        // 20
    if (setup)
        g.setBackColor(0xFFFFFF);
    g.setGridColor(0xE0E0E0);  // 43
    g.setFocusRect(0);         // 44
    g.setHighLight(0);         // 83
    const int lastRow = g.Rows() - 1;
    const int lastCol = g.Cols() - 1;
    if (lastRow >= 0 && lastCol >= 0) {
        g.setCell(grid::flexcpForeColor, 0, 0, lastRow, lastCol, 0);
        if (setup)
            g.setCell(grid::flexcpBackColor, 0, 0, lastRow, lastCol, 0xFFFFFF);
        if (helvetica)
            g.setCell(grid::flexcpFontName, 0, 0, lastRow, lastCol, QStringLiteral("Helvetica"));
        g.setCell(grid::flexcpFontBold, 0, 0, 0, lastCol, true);
    }
}

}  // namespace

QString PrintSnapshotPath()
{
    return QDir::tempPath() + QStringLiteral("/tempgrid.fg");
}

QString SetupSnapshotPath()
{
    auto config = host::ObjectFactory::CreateAs<host::IConfig>(QString::fromLatin1(host::kProgIdConfig));
    return config->GetValue(QStringLiteral("InstallPath")) + QStringLiteral("view.tmp");
}

void PrintView(grid::FlexGrid& g, const PrintTraits& traits)
{
    Traced(QString::fromLatin1(traits.printTraceName), [&] {
        const QString file = PrintSnapshotPath();
        g.setRedraw(0);
        g.SaveGrid(file, 0, true);
        ApplyPrintLook(g, false, false);
        g.setRedraw(1);
        g.PrintGrid(QString::fromLatin1(traits.docName), traits.showDialog, 0);
        g.LoadGrid(file, 0, true);
    });
}

void PrintInto(grid::FlexGrid& g, QPrinter& printer, const QString& heading)
{
    QTemporaryDir dir;
    if (!dir.isValid())
        automation::Raise(automation::ErrPathFileAccess, QStringLiteral("BrevView"),
                          QStringLiteral("No temporary folder for printing"));
    const QString file = dir.filePath(QStringLiteral("print.fg"));
    const QString title = heading + QStringLiteral("  \u2014  ") +
                          automation::CurrentLocale().toString(host::Clock::Today().ToQDate(), QLocale::LongFormat);
    g.setRedraw(0);
    g.SaveGrid(file, 0, true);
    ApplyPrintLook(g, false, false);
    g.setRedraw(1);
    try {
        g.PrintTo(printer, title, true);
    } catch (const RuntimeError&) {
        g.LoadGrid(file, 0, true);
        throw;
    }
    g.LoadGrid(file, 0, true);
}

void SetupViewForPrint(grid::FlexGrid& g, const PrintTraits& traits)
{
    Traced(QString::fromLatin1(traits.setupTraceName), [&] {
        const QString file = SetupSnapshotPath();
        g.setRedraw(0);
        g.SaveGrid(file, 0, true);
        ApplyPrintLook(g, true, traits.helvetica);
        g.setRedraw(1);
    });
}

void RestoreViewAfterPrint(grid::FlexGrid& g, const PrintTraits& traits)
{
    Traced(QString::fromLatin1(traits.setupTraceName), [&] {
        const QString file = SetupSnapshotPath();
        g.setRedraw(0);
        g.LoadGrid(file, 0, true);
        g.setRedraw(1);
        // Forced: a read-only snapshot is deleted as well.
        QFile::setPermissions(file, QFile::permissions(file) | QFileDevice::WriteOwner);
        if (!QFile::remove(file))
            automation::Raise(automation::ErrPermissionDenied, QString::fromLatin1(traits.setupTraceName),
                              QStringLiteral("Permission denied: cannot delete '%1'").arg(file));
    });
}

}  // namespace BrevView::detail
