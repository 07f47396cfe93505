// A host built with make and pkg-config alone, against the installed package's brevview.pc:
// it compiles with the package's flags, links, finds the library at run time, and the library
// it loaded says the version the headers do. Says "makefile host: ok VERSION".
#include <cstdio>
#include <cstring>
#include <memory>

#include <QApplication>
#include <brevview/brevview.h>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (std::strcmp(BrevView::version(), BREVVIEW_VERSION_STRING) != 0) {
        std::printf("makefile host: the library is %s, the headers %s\n", BrevView::version(), BREVVIEW_VERSION_STRING);
        return 1;
    }
    std::unique_ptr<QWidget> view(BrevView::CreateControl(QStringLiteral("BrevView.FlatView")));
    if (!qobject_cast<BrevView::FlatView*>(view.get()))
        return 2;
    std::printf("makefile host: ok %s\n", BrevView::version());
    return 0;
}
