// labels: gui netns slow
#include "tests/common/xvfbserver.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QSet>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const char* const kTitle = "Tarpo Viewer 64-Bit";

// The viewer executable of this build.
QString viewerPath()
{
    return QDir(QCoreApplication::applicationDirPath()).filePath("../../app/tarpo-viewer");
}

} // namespace

// The viewer as a user meets it: the real executable on its own X server, driven by keys sent
// through the X server, its message log read from its traces, its recordings read by ffprobe.
class tst_ViewerSession : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void openGrabRecordStopAndClose();
    void monitorModeTitle();
    void missingLibraryEndsWithExitCode5();

private:
    // Starts the viewer with `arguments` and waits for a window named `title`.
    bool startViewer(const QStringList& arguments, const QString& title,
                     const QMap<QString, QString>& extraEnvironment = {});
    QString xdotool(const QStringList& arguments);
    QString logText() const;
    bool waitForLog(const QString& text, int timeoutMs = 20000);
    void key(const QString& keys);
    QImage screenshot(const QString& name);
    int waitForExit(int timeoutMs = 20000);

    XvfbServer m_xvfb;
    std::unique_ptr<QTemporaryDir> m_home;
    QProcess m_viewer;
    QString m_window;
};

void tst_ViewerSession::initTestCase()
{
    QVERIFY2(QFile::exists(viewerPath()), qPrintable(viewerPath()));
    if (QStandardPaths::findExecutable("xdotool").isEmpty())
        QFAIL("xdotool is not installed (scripts/setup.sh installs it)");
    QVERIFY(m_xvfb.start());
}

void tst_ViewerSession::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    QSettings settings(m_home->filePath("config/Morvex/Tarpo Viewer.conf"), QSettings::IniFormat);
    settings.setValue("MainWindow/SkipAllHints", true);
    settings.setValue("Recording/OutputFolder", m_home->filePath("recordings"));
    settings.setValue("Recording/OutputType", 0);
    settings.setValue("Recording/SamplingMethod", 0);
    settings.setValue("Recording/FrameBasedFrameLimitEnabled", true);
    settings.setValue("Recording/FrameBasedFrameLimit", 30);
    settings.setValue("Recording/ShowOptionsOnRecordStart", false);
    settings.sync();
    QFile properties(m_home->filePath("trace.properties"));
    QVERIFY(properties.open(QIODevice::WriteOnly));
    properties.write(QString("log4cpp.rootCategory=ERROR\n"
                             "log4cpp.category.tarpoViewer.MessageLog=DEBUG, log\n"
                             "log4cpp.appender.log=FileAppender\n"
                             "log4cpp.appender.log.fileName=%1\n"
                             "log4cpp.appender.log.layout=PatternLayout\n"
                             "log4cpp.appender.log.layout.ConversionPattern=%m%n\n")
                         .arg(m_home->filePath("messages.log"))
                         .toUtf8());
}

void tst_ViewerSession::cleanup()
{
    if (m_viewer.state() != QProcess::NotRunning) {
        m_viewer.kill();
        m_viewer.waitForFinished();
    }
}

bool tst_ViewerSession::startViewer(const QStringList& arguments, const QString& title,
                                    const QMap<QString, QString>& extraEnvironment)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", QString::fromStdString(m_xvfb.display));
    environment.insert("QT_QPA_PLATFORM", "xcb");
    environment.insert("XDG_CONFIG_HOME", m_home->filePath("config"));
    environment.insert("XDG_DATA_HOME", m_home->filePath("data"));
    environment.insert("TARPO_CAMEMU", "2");
    environment.insert("TARPO_LOG4CPP", m_home->filePath("trace.properties"));
    for (auto it = extraEnvironment.begin(); it != extraEnvironment.end(); ++it)
        environment.insert(it.key(), it.value());
    m_viewer.setProcessEnvironment(environment);
    m_viewer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_viewer.start(viewerPath(), arguments);
    if (!m_viewer.waitForStarted())
        return false;
    return QTest::qWaitFor(
        [&] {
            m_window = xdotool({"search", "--name", "^" + QRegularExpression::escape(title) + "$"})
                           .split('\n', Qt::SkipEmptyParts)
                           .value(0);
            return !m_window.isEmpty();
        },
        20000);
}

QString tst_ViewerSession::xdotool(const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", QString::fromStdString(m_xvfb.display));
    process.setProcessEnvironment(environment);
    process.start("xdotool", arguments);
    process.waitForFinished(10000);
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

QString tst_ViewerSession::logText() const
{
    QFile log(m_home->filePath("messages.log"));
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

bool tst_ViewerSession::waitForLog(const QString& text, int timeoutMs)
{
    const bool found = QTest::qWaitFor([&] { return logText().contains(text); }, timeoutMs);
    if (!found)
        qWarning("not in the log: %s\nthe log:\n%s", qPrintable(text), qPrintable(logText()));
    return found;
}

void tst_ViewerSession::key(const QString& keys)
{
    xdotool({"windowfocus", "--sync", m_window});
    xdotool({"key", "--clearmodifiers", keys});
}

QImage tst_ViewerSession::screenshot(const QString& name)
{
    const QString file = m_home->filePath(name + ".png");
    QProcess::execute(
        "import", {"-display", QString::fromStdString(m_xvfb.display), "-window", "root", file});
    const QString keep = qEnvironmentVariable("TARPO_SCREENSHOT_DIR");
    if (!keep.isEmpty() && QDir().mkpath(keep))
        QFile::copy(file, QDir(keep).filePath(name + ".png"));
    return QImage(file);
}

int tst_ViewerSession::waitForExit(int timeoutMs)
{
    if (!m_viewer.waitForFinished(timeoutMs))
        return -1;
    return m_viewer.exitStatus() == QProcess::NormalExit ? m_viewer.exitCode() : -2;
}

void tst_ViewerSession::openGrabRecordStopAndClose()
{
    QVERIFY(startViewer({"-p", "EMU0001"}, kTitle));
    const QString camera = "\"Emulated Camera (EMU0001)\"";
    QVERIFY(waitForLog("\"Emulated Camera (EMU0002)\" has been detected."));
    QVERIFY(waitForLog(camera + " has been detected."));
    // "-p" preselected the camera: Ctrl+O opens it.
    QTest::qWait(300);
    key("ctrl+o");
    QVERIFY(waitForLog(camera + " has been opened."));
    key("F7");
    QVERIFY(waitForLog("Continuous shot on " + camera + " has been started."));
    QTest::qWait(1500);
    const QImage live = screenshot("viewer-live");
    QVERIFY(!live.isNull());
    // The image window shows the camera's picture: many colours where the empty MDI area has one.
    QSet<QRgb> colours;
    for (int y = live.height() / 4; y < live.height() * 3 / 4; y += 7)
        for (int x = live.width() / 4; x < live.width() * 3 / 4; x += 7)
            colours.insert(live.pixel(x, y));
    QVERIFY2(colours.size() > 20, qPrintable(QString::number(colours.size())));

    key("ctrl+r");
    QVERIFY(waitForLog("Recording has been started."));
    QVERIFY(waitForLog("Recording has been stopped.", 30000));
    const QStringList videos =
        QDir(m_home->filePath("recordings")).entryList({"*.avi"}, QDir::Files);
    QCOMPARE(videos.size(), 1);
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-count_frames", "-select_streams", "v:0",
                            "-show_entries", "stream=nb_read_frames", "-of", "csv=p=0",
                            m_home->filePath("recordings/" + videos.first())});
    QVERIFY(probe.waitForFinished(30000));
    QCOMPARE(probe.readAllStandardOutput().trimmed().toInt(), 30);

    key("F8");
    QVERIFY(waitForLog("Continuous shot on " + camera + " has been stopped."));
    screenshot("viewer-stopped");
    // File, Exit: the menu a user takes.
    key("alt+f");
    QTest::qWait(300);
    key("x");
    QCOMPARE(waitForExit(), 0);
    QVERIFY(logText().contains("Tarpo Viewer 0.1.0 64-Bit is shutting down."));
    QSettings settings(m_home->filePath("config/Morvex/Tarpo Viewer.conf"), QSettings::IniFormat);
    QVERIFY(settings.contains("MainWindow/layout"));
}

void tst_ViewerSession::monitorModeTitle()
{
    QVERIFY(startViewer({"-m"}, QString(kTitle) + " (Multicast Monitor)"));
    key("alt+f");
    QTest::qWait(300);
    key("x");
    QCOMPARE(waitForExit(), 0);
}

void tst_ViewerSession::missingLibraryEndsWithExitCode5()
{
    QVERIFY(startViewer({}, "Tarpo Viewer", {{"TARPO_EXTENSION_PLUGIN", "NoSuchConverter"}}));
    screenshot("viewer-missing-library");
    key("Return");
    QCOMPARE(waitForExit(), 5);
}

QTEST_MAIN(tst_ViewerSession)
#include "tst_viewersession.moc"
