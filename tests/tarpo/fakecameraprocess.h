#pragma once

// Aravis' GigE fake camera as a child process on loopback, for the tests that run in a private
// network namespace (tst_gige*.cpp): started with its own serial number and options, ready
// once it answers a unicast discovery, killed when the test is done with it.
// Thread: test thread only.

#include "tarpo/gvcpdiscovery.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

class FakeCameraProcess
{
public:
    explicit FakeCameraProcess(const QString& serialNumber, const QStringList& options = {})
        : m_serialNumber(serialNumber), m_options(options)
    {
    }
    ~FakeCameraProcess() { kill(); }
    FakeCameraProcess(const FakeCameraProcess&) = delete;
    FakeCameraProcess& operator=(const FakeCameraProcess&) = delete;

    static QString program() { return QStandardPaths::findExecutable("arv-fake-gv-camera-0.8"); }

    // Starts the camera and waits until it answers at 127.0.0.1; false with errorString() set.
    bool start()
    {
        if (program().isEmpty()) {
            m_error = "arv-fake-gv-camera-0.8 is not installed (package aravis-tools)";
            return false;
        }
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(program(),
                        QStringList{"-i", "127.0.0.1", "-s", m_serialNumber} + m_options);
        if (!m_process.waitForStarted(5000)) {
            m_error = m_process.errorString();
            return false;
        }
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 5000) {
            for (const auto& identity : Tarpo::CGvcpDiscovery::probe({"127.0.0.1"}, 100)) {
                if (QString::fromStdString(identity.serialNumber) == m_serialNumber)
                    return true;
            }
            QThread::msleep(20);
        }
        m_error = "the fake camera did not answer at 127.0.0.1 within 5 s";
        return false;
    }

    // SIGKILL: the camera vanishes without a word, as an unplugged one does.
    void kill()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.kill();
        m_process.waitForFinished(5000);
    }

    QString fullName() const { return "Aravis-Fake-" + m_serialNumber; }
    QString errorString() const { return m_error; }

private:
    QString m_serialNumber;
    QStringList m_options;
    QProcess m_process;
    QString m_error;
};
