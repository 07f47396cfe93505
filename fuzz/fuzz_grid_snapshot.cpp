// libFuzzer target: the grid's snapshot loader. Any bytes must give a loaded grid or
// a numbered error (321), never a crash, a hang or a huge allocation.

#include <QApplication>

#include "automation/runtime_error.h"
#include "grid/flex_grid.h"

namespace {
BrevView::grid::FlexGrid* g_grid = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QApplication app(*argc, *argv);
    g_grid = new BrevView::grid::FlexGrid;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        // Without the digest check, so that damaged content reaches the reader itself.
        g_grid->LoadGridData(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)), QStringLiteral("fuzz"),
                             false);
        (void)g_grid->VisibleRows();
        static int runs = 0;
        if (++runs % 256 == 0)
            QCoreApplication::processEvents();
    } catch (const BrevView::RuntimeError& e) {
        if (e.number() != 321)
            __builtin_trap();
    }
    return 0;
}
