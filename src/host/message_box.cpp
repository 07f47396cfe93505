#include "host/message_box.h"

#include <cstdio>
#include <mutex>

#include <QApplication>
#include <QMessageBox>

namespace BrevView::host {
namespace {

std::mutex g_mutex;
MessageBoxHandler g_handler;

bool CanShowWindow()
{
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return false;
    const QString platform = QGuiApplication::platformName();
    return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal");
}

}  // namespace

void SetMessageBoxHandler(MessageBoxHandler handler)
{
    std::lock_guard lock(g_mutex);
    g_handler = std::move(handler);
}

void ShowMessageBox(const MessageBoxRequest& request)
{
    MessageBoxHandler handler;
    {
        std::lock_guard lock(g_mutex);
        handler = g_handler;
    }
    if (handler) {
        handler(request);
        return;
    }
    if (CanShowWindow()) {
        QMessageBox box(QMessageBox::Warning, request.title, request.text, QMessageBox::Ok);
        box.exec();
        return;
    }
    std::fprintf(stderr, "%s: %s\n", qPrintable(request.title), qPrintable(request.text));
}

}  // namespace BrevView::host
