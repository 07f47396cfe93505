#include "child_process.h"

#include <map>
#include <string>

#include <QCoreApplication>

namespace BrevView::test {
namespace {

std::map<std::string, ChildMain>& Modes()
{
    static std::map<std::string, ChildMain> modes;
    return modes;
}

}  // namespace

ChildRegistration::ChildRegistration(const char* name, ChildMain main)
{
    Modes()[name] = main;
}

int RunChildModeIfAsked(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray arg(argv[i]);
        if (!arg.startsWith("--child="))
            continue;
        const auto mode = Modes().find(arg.mid(8).toStdString());
        if (mode == Modes().end())
            return 2;
        QStringList args;
        for (int j = i + 1; j < argc; ++j)
            args << QString::fromLocal8Bit(argv[j]);
        return mode->second(args);
    }
    return -1;
}

std::unique_ptr<QProcess> StartChild(const QString& name, const QStringList& args)
{
    auto child = std::make_unique<QProcess>();
    child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child->start(QCoreApplication::applicationFilePath(), QStringList{QStringLiteral("--child=") + name} + args);
    child->waitForStarted();
    return child;
}

}  // namespace BrevView::test
