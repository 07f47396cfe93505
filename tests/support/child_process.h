#pragma once
// Other processes for tests that need them (a colleague's commit, a second open window):
// the test program runs itself again in a child mode, "brevview_tests --child=NAME ARGS",
// with the parent's environment (its database, its server's credentials).

#include <memory>

#include <QProcess>
#include <QStringList>

namespace BrevView::test {

using ChildMain = int (*)(const QStringList& args);

// Makes `main` the child mode `name` (at namespace scope: `const ChildRegistration r{...};`).
struct ChildRegistration {
    ChildRegistration(const char* name, ChildMain main);
};

// The exit code of the child mode named on the command line, or -1 when none is.
int RunChildModeIfAsked(int argc, char** argv);

// Starts this program in child mode `name`; its standard output is read through the process.
std::unique_ptr<QProcess> StartChild(const QString& name, const QStringList& args);

}  // namespace BrevView::test
