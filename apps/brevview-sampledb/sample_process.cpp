#include "sample_process.h"

#include <QProcess>

namespace BrevView::sample {

QString GenerateWithProgram(const QString& path, int count, int archivePercent)
{
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(QStringLiteral(BREVVIEW_SAMPLEDB_PROGRAM),
                  {QStringLiteral("--count"), QString::number(count), QStringLiteral("--archive-percent"),
                   QString::number(archivePercent), path});
    // A million IBOs take about a minute on a server.
    if (!program.waitForFinished(15 * 60 * 1000)) {
        program.kill();
        program.waitForFinished();
        return QStringLiteral("brevview-sampledb did not finish: %1").arg(program.errorString());
    }
    const QString output = QString::fromLocal8Bit(program.readAll()).trimmed();
    if (program.exitStatus() != QProcess::NormalExit || program.exitCode() != 0)
        return output.isEmpty() ? QStringLiteral("brevview-sampledb failed (exit %1)").arg(program.exitCode()) : output;
    return QString();
}

}  // namespace BrevView::sample
