#pragma once
// The one message box the library shows (when its trace object cannot be created).
// A host or a test can take the box over; without a handler it is a modal box on
// a real display and a line on standard error on a display-less platform.

#include <functional>

#include <QString>

namespace BrevView::host {

enum class MessageBoxIcon { Critical = 16, Question = 32, Exclamation = 48, Information = 64 };

struct MessageBoxRequest {
    QString text;
    QString title;
    MessageBoxIcon icon = MessageBoxIcon::Exclamation;
    bool okButtonOnly = true;
};

using MessageBoxHandler = std::function<void(const MessageBoxRequest&)>;

void SetMessageBoxHandler(MessageBoxHandler handler);  // empty: the default behaviour
void ShowMessageBox(const MessageBoxRequest& request);

}  // namespace BrevView::host
