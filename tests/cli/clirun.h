#pragma once

// Runs the tarpo-cli executable with arguments and a number of emulated cameras, and collects
// what it printed. A run that does not end in time is killed and reported with exit code -1.

#include <QProcess>
#include <QStringList>

struct CliRun
{
    int exitCode = -1;
    QStringList out; // standard output, a line each, empty lines left out
    QString err;

    QString lastLine() const { return out.isEmpty() ? QString() : out.last(); }
};

inline CliRun runCli(const QStringList& args, const QString& emulatedCameras = "2",
                     int timeoutMs = 60000)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TARPO_CAMEMU", emulatedCameras);
    process.setProcessEnvironment(environment);
    process.start(TARPO_CLI, args);
    CliRun run;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        run.err = "timed out";
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}
